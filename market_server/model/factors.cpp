#include "market_server/model/factors.h"

#include <algorithm>
#include <cstdlib>

#include "market_server/model/logarithm.h"
#include "market_server/model/names.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

constexpr std::int32_t Fixed(double x) {
  return static_cast<std::int32_t>(x * kOne);
}

/// A return of the market that makes a day of panic or of joy now and then.
std::int32_t MarketReturn(std::uint64_t key, int day) {
  const std::uint64_t h = Mix(key, static_cast<std::uint64_t>(day));
  const double regime = 1.15 + 0.75 * SmoothNoise(Mix(key, 0xca1a), day, 45);
  std::int32_t r = Normal(static_cast<std::int32_t>(Fixed(0.0085) * regime), h);
  const std::uint32_t luck = Below(Mix(h, 1), 1000);
  if (luck < 6) {
    r = -Fixed(0.03) - static_cast<std::int32_t>(Below(Mix(h, 2), static_cast<std::uint32_t>(Fixed(0.04))));
  } else if (luck < 10) {
    r = Fixed(0.025) + static_cast<std::int32_t>(Below(Mix(h, 2), static_cast<std::uint32_t>(Fixed(0.03))));
  }
  return r;
}

}  // namespace

Factors::Factors(const Options& options, const Days& days)
    : key_(Mix(options.seed, 0xfac7025)),
      count_(static_cast<int>(Industries().size()) + 1),
      days_((days.count() + kBlock - 1) / kBlock * kBlock) {
  const std::size_t size = static_cast<std::size_t>(count_) * static_cast<std::size_t>(days_);
  returns_.resize(size);
  levels_.resize(size);
  if (options.scenario == Scenario::kCalm) {
    calm_day_ = days.scripted();
  }
  for (int f = 0; f < count_; ++f) {
    MakeReturns(f, options, days);
  }
  activity_.resize(static_cast<std::size_t>(days_));
  for (int d = 0; d < days_; ++d) {
    const double move = static_cast<double>(std::abs(DayReturn(market(), d))) / kOne;
    activity_[static_cast<std::size_t>(d)] =
        (1 + 0.45 * SmoothNoise(Mix(key_, 0xac71), d, 60) + 0.15 * SmoothNoise(Mix(key_, 0xac72), d, 7)) *
        (0.92 + 12 * move) * (d == calm_day_ ? 0.6 : 1.0);
  }
}

/// Within a block of days the returns are drawn freely, then shifted alike so that the block ends at its
/// anchor, which is a smooth function of the block's number: no day needs the days of another block.
void Factors::MakeReturns(int factor, const Options& options, const Days& days) {
  const bool is_market = factor == market();
  const std::uint64_t key = Mix(key_, static_cast<std::uint64_t>(factor));
  const auto anchor = [&](int block) {
    if (is_market) {
      return 0.0022 * block + 0.07 * SmoothNoise(Mix(key, 1), block, 4) +
             0.13 * SmoothNoise(Mix(key, 2), block, 12) + 0.2 * SmoothNoise(Mix(key, 3), block, 40);
    }
    return 0.05 * SmoothNoise(Mix(key, 1), block, 4) + 0.17 * SmoothNoise(Mix(key, 2), block, 16);
  };
  std::int32_t level = 0;
  for (int first = 0; first < days_; first += kBlock) {
    std::array<std::int32_t, kBlock> drawn{};
    std::int64_t sum = 0;
    int scripted = -1;
    for (int i = 0; i < kBlock; ++i) {
      const int day = first + i;
      std::int32_t r = is_market ? MarketReturn(key, day)
                                 : Normal(Fixed(0.0085), Mix(key, static_cast<std::uint64_t>(day)));
      if (day == days.scripted() && options.scenario != Scenario::kNone &&
          options.scenario != Scenario::kOutage && options.scenario != Scenario::kSuspended) {
        scripted = i;
        const bool calm = options.scenario == Scenario::kCalm;
        const std::int32_t script = calm                                   ? Fixed(0.0003)
                                    : options.scenario == Scenario::kCrash ? -Fixed(0.069)
                                                                           : Fixed(0.051);
        r = is_market ? script : r / (calm ? 8 : 2);
      }
      drawn[static_cast<std::size_t>(i)] = r;
      sum += r;
    }
    const int block = first / kBlock;
    const std::int64_t wanted = Fixed(anchor(block + 1)) - Fixed(anchor(block));
    const std::int64_t missing = wanted - sum;
    const std::int64_t parts = scripted >= 0 ? kBlock - 1 : kBlock;
    std::int64_t part = 0;
    for (int i = 0; i < kBlock && first + i < days_; ++i) {
      std::int64_t r = drawn[static_cast<std::size_t>(i)];
      if (i != scripted) {
        r += missing * (part + 1) / parts - missing * part / parts;
        ++part;
      }
      level += static_cast<std::int32_t>(r);
      returns_[At(factor, first + i)] = static_cast<std::int32_t>(r);
      levels_[At(factor, first + i)] = level;
    }
  }
}

std::int32_t Factors::IntradayDeviation(int factor, int day) const {
  const std::int32_t still = factor == market() ? Fixed(0.0038) : Fixed(0.0042);
  return (day == calm_day_ ? still / 6 : still) + std::abs(DayReturn(factor, day)) / 4;
}

HalfHours Factors::HalfHoursOf(int factor, int day) const {
  const std::uint64_t h =
      Mix(Mix(key_, 0x4a1f + static_cast<std::uint64_t>(factor)), static_cast<std::uint64_t>(day));
  const std::int32_t deviation = IntradayDeviation(factor, day);
  HalfHours out{};
  out[0] = DayReturn(factor, day) / 4 + Normal(deviation / 3, Mix(h, 1));
  out[kSegments] = DayReturn(factor, day);
  Bridge(out, deviation, h);
  return out;
}

void Factors::Minutes(int factor, int day, Deviations& out) const {
  WalkMinutes(IntradayDeviation(factor, day),
              Mix(Mix(key_, 0x313 + static_cast<std::uint64_t>(factor)), static_cast<std::uint64_t>(day)),
              out);
}

void Bridge(HalfHours& out, std::int32_t deviation, std::uint64_t hash) {
  // One byte makes one draw, uniform with a deviation of 73.9.
  const auto draw = [&hash](std::int32_t sd) {
    const auto byte = static_cast<std::int32_t>(hash & 0xff) * 2 - 255;
    hash >>= 8;
    return static_cast<std::int32_t>(static_cast<std::int64_t>(byte) * sd / 148);
  };
  out[4] = (out[0] + out[8]) / 2 + draw(deviation / 2);
  out[2] = (out[0] + out[4]) / 2 + draw(deviation * 11 / 32);
  out[6] = (out[4] + out[8]) / 2 + draw(deviation * 11 / 32);
  for (std::size_t k = 1; k < 8; k += 2) {
    out[k] = (out[k - 1] + out[k + 1]) / 2 + draw(deviation / 4);
  }
}

void WalkMinutes(std::int32_t deviation, std::uint64_t seed, Deviations& out) {
  Stream stream(seed);
  const std::int64_t width = deviation * 7 / 64;  // sqrt(3) / sqrt(240): a uniform step of that half width
  for (int segment = 0; segment < kSegments; ++segment) {
    std::int32_t* const at = out.data() + segment * kSegmentMinutes;
    std::int32_t sum = 0;
    for (int j = 0; j < kSegmentMinutes; ++j) {
      sum += static_cast<std::int32_t>((static_cast<std::int32_t>(stream.Next()) * width) >> 31);
      at[j] = sum;
    }
    for (int j = 0; j < kSegmentMinutes; ++j) {
      at[j] -= sum * (j + 1) / kSegmentMinutes;
    }
  }
}

}  // namespace market_server::model
