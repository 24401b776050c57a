#include "market_server/model/logarithm.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>

#include "market_server/model/random.h"

namespace market_server::model {
namespace {

constexpr double kLn2High = 6.93147180369123816490e-01;
constexpr double kLn2Low = 1.90821492927058770002e-10;
constexpr double kLog2E = 1.44269504088896338700;

constexpr std::array<double, 13> MakeInverseFactorials() {
  std::array<double, 13> out{};
  double factorial = 1;
  for (std::size_t i = 0; i < out.size(); ++i) {
    factorial *= i == 0 ? 1 : static_cast<double>(i);
    out[i] = 1 / factorial;
  }
  return out;
}
constexpr std::array<double, 13> kInverseFactorials = MakeInverseFactorials();

}  // namespace

double Exponential(double x) {
  const std::int64_t n = Nearest(x * kLog2E);
  const auto whole = static_cast<double>(n);
  const double r = (x - whole * kLn2High) - whole * kLn2Low;
  // Taylor series: |r| is at most 0.35, the first term left out is below 1e-15.
  double sum = kInverseFactorials.back();
  for (std::size_t i = kInverseFactorials.size() - 1; i-- > 0;) {
    sum = sum * r + kInverseFactorials[i];
  }
  return sum * std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52);
}

double Logarithm(double x) {
  int exponent = 0;
  double m = std::frexp(x, &exponent);  // in [0.5, 1)
  if (m < 0.70710678118654752440) {
    m *= 2;
    --exponent;
  }
  const double s = (m - 1) / (m + 1);
  const double z = s * s;
  double sum = 0;
  for (int i = 21; i >= 1; i -= 2) {
    sum = sum * z + 1.0 / i;
  }
  return exponent * kLn2High + (exponent * kLn2Low + 2 * s * sum);
}

double SmoothNoise(std::uint64_t key, double position, double period) {
  const double x = position / period;
  const double cell = std::floor(x);
  const auto value = [key](double at) {
    return Unit(Mix(key, static_cast<std::uint64_t>(static_cast<std::int64_t>(at)))) * 2 - 1;
  };
  const double t = x - cell;
  const double eased = t * t * (3 - 2 * t);
  const double low = value(cell);
  return low + (value(cell + 1) - low) * eased;
}

}  // namespace market_server::model
