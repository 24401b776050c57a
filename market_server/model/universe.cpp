#include "market_server/model/universe.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/case_conv.hpp>
#include <cmath>
#include <locale>
#include <numeric>
#include <string>
#include <unordered_set>

#include "market_server/model/logarithm.h"
#include "market_server/model/names.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

constexpr std::uint64_t kStructure = 0x5eed0fa11c0de5ULL;  // key of everything that no seed changes
constexpr int kSuspensionSlot = 512;
constexpr int kLongestSuspension = 12;
constexpr int kScriptedPosition = 12;  // of the scripted day within its block

/// One range of codes, listed in the order of codes between two dates.
struct CodeRange {
  std::string_view prefix;  // exchange and the first three digits
  Board board;
  int count;
  Date first_listing, last_listing;
  double price;  // typical at listing or at the start
};
constexpr std::array kRanges{
    CodeRange{"sh600", Board::kShanghaiMain, 850, 19910108, 20041220, 10},
    CodeRange{"sh601", Board::kShanghaiMain, 190, 20060105, 20200930, 9},
    CodeRange{"sh603", Board::kShanghaiMain, 600, 20140127, 20240930, 20},
    CodeRange{"sh605", Board::kShanghaiMain, 130, 20200903, 20271126, 24},
    CodeRange{"sh688", Board::kStar, 620, 20190722, 20271217, 36},
    CodeRange{"sz000", Board::kShenzhenMain, 400, 19910403, 20000928, 10},
    CodeRange{"sz001", Board::kShenzhenMain, 90, 20210412, 20271210, 22},
    CodeRange{"sz002", Board::kSme, 970, 20040625, 20210330, 13},
    CodeRange{"sz300", Board::kGrowth, 980, 20091030, 20210820, 17},
    CodeRange{"sz301", Board::kGrowth, 700, 20210915, 20271222, 28},
};

std::string_view TextOf(Board board) {
  switch (board) {
    case Board::kShanghaiMain:
    case Board::kShenzhenMain:
      return "MB";
    case Board::kSme:
      return "SME";
    case Board::kGrowth:
      return "GEM";
    case Board::kStar:
      return "STAR";
    case Board::kNone:
      break;
  }
  return "";
}

std::string ThreeDigits(int n) {
  return {static_cast<char>('0' + n / 100), static_cast<char>('0' + n / 10 % 10),
          static_cast<char>('0' + n % 10)};
}

constexpr double kSecondsOfDay = 86400;

Date Shift(Date date, std::int64_t days) {
  return DateOf(InstantOf(date, 12, 0, 0) + static_cast<double>(days) * kSecondsOfDay);
}

std::int64_t DaysBetween(Date from, Date to) {
  return static_cast<std::int64_t>((InstantOf(to, 12, 0, 0) - InstantOf(from, 12, 0, 0)) / kSecondsOfDay);
}

/// A lognormal value from a hash.
double Spread(double middle, double deviation, std::uint64_t hash) {
  const double x = static_cast<double>(Normal(kOne, hash)) / kOne;
  return middle * Exponential(deviation * x);
}

std::uint64_t RoundToTenThousand(double shares) {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(Nearest(shares / 1e4), 1000)) * 10000;
}

/// Names in an order that the structure key fixes; each is given away once.
class Namer {
 public:
  void Name(Security& security, int industry, std::uint64_t key) {
    for (std::uint64_t attempt = 0;; ++attempt) {
      const std::uint64_t h = Mix(key, attempt);
      const auto all = Syllables();
      const auto count = static_cast<std::uint32_t>(all.size());
      const Word& one = all[Below(h, count)];
      const Word& two = all[Below(Mix(h, 1), count)];
      const Word& ending = Industries()[static_cast<std::size_t>(industry)].endings[Below(Mix(h, 2), 2)];
      const std::uint32_t form = Below(Mix(h, 3), 100);
      std::string name(one.text);
      std::string initials(one.initials);
      if (form >= 14) {
        if (one.text == two.text) {
          continue;
        }
        name += two.text;
        initials += two.initials;
      }
      if (form < 92) {
        name += ending.text;
        initials += ending.initials;
      }
      if (used_.insert(name).second) {
        security.name = std::move(name);
        security.pinyin = std::move(initials);
        return;
      }
    }
  }

 private:
  std::unordered_set<std::string> used_;
};

}  // namespace

Days::Days(Date scripted) {
  const int position = scripted == 0 ? -1 : DayNumber(scripted);
  if (position >= 0) {
    offset_ = ((kScriptedPosition - position) % kBlock + kBlock) % kBlock;
    scripted_ = position + offset_;
  }
  count_ = static_cast<int>(TradingDays().size()) + offset_;
}

int Days::NumberOf(Date date) const {
  const int position = DayNumber(date);
  return position < 0 ? -1 : position + offset_;
}

Date Days::DateAt(int number) const {
  const auto days = TradingDays();
  const int last = static_cast<int>(days.size()) - 1;
  return days[static_cast<std::size_t>(std::clamp(number - offset_, 0, last))];
}

const Suspension* Stock::SuspendedOn(int day) const {
  for (const Suspension& s : suspensions) {
    if (day < s.first) {
      return nullptr;
    }
    if (day < s.first + s.length) {
      return &s;
    }
  }
  return nullptr;
}

const ExRights* Stock::ExRightsOn(int day) const {
  for (const ExRights& e : ex_rights) {
    if (e.day >= day) {
      return e.day == day ? &e : nullptr;
    }
  }
  return nullptr;
}

double Stock::SplitFactor(int day) const {
  double factor = 1;
  for (const ExRights& e : ex_rights) {
    if (e.day > day) {
      break;
    }
    factor = e.factor;
  }
  return factor;
}

namespace {

std::uint64_t AfterSplits(std::uint64_t shares, const std::vector<ExRights>& ex_rights, int day) {
  for (const ExRights& e : ex_rights) {
    if (e.day > day) {
      break;
    }
    shares = shares / 10 * static_cast<std::uint64_t>(10 + e.bonus);
  }
  return shares;
}

}  // namespace

std::uint64_t Stock::TotalOn(int day) const {
  return AfterSplits(total, ex_rights, day);
}
std::uint64_t Stock::CirculatingOn(int day) const {
  return AfterSplits(circulating, ex_rights, day);
}

Universe::Universe(const Options& options, const Days& days) {
  MakeStocks(options, days);
  MakeHistory(options, days);
  MakeIndices();
  MakePlates();
  for (const auto* list : {&stock_securities, &indices, &plates}) {
    for (const Security& security : *list) {
      by_code_.emplace(security.code, &security);
    }
  }
}

const Security* Universe::Find(std::string_view code) const {
  const auto found =
      by_code_.find(boost::algorithm::to_lower_copy(std::string(code), std::locale::classic()));
  return found == by_code_.end() ? nullptr : found->second;
}

void Universe::MakeStocks(const Options& options, const Days& days) {
  int full = 0;
  for (const CodeRange& range : kRanges) {
    full += range.count;
  }
  const int wanted =
      options.stocks == 0 ? full : static_cast<int>(std::clamp<std::size_t>(options.stocks, 200, 5550));
  Namer namer;
  const auto industry_count = static_cast<std::uint32_t>(Industries().size());
  for (const CodeRange& range : kRanges) {
    const int count = std::max(range.count * wanted / full, 4);
    const std::int64_t span = DaysBetween(range.first_listing, range.last_listing);
    for (int i = 0; i < count; ++i) {
      Security security;
      // Codes stand in the slots of 1000 / count, the first of a range at its beginning.
      const int slot = i * 1000 / count;
      const int width = (i + 1) * 1000 / count - slot;
      const std::string prefix(range.prefix);
      const std::uint64_t rough_key =
          Mix(kStructure, Mix(static_cast<std::uint64_t>(range.prefix[2] - '0') * 100 +
                                  static_cast<std::uint64_t>(range.prefix[3] - '0') * 10 +
                                  static_cast<std::uint64_t>(range.prefix[4] - '0'),
                              static_cast<std::uint64_t>(slot)));
      const int first = prefix == "sz000" || prefix == "sz001" || prefix == "sz002" || prefix == "sz300" ||
                                prefix == "sz301" || prefix == "sh688" || prefix == "sh605"
                            ? 1
                            : 0;
      const int last_digits =
          i == 0 ? first
                 : slot + static_cast<int>(Below(rough_key, static_cast<std::uint32_t>(std::max(width, 1))));
      security.code = prefix + ThreeDigits(std::max(last_digits, first));
      if (!stock_securities.empty() && stock_securities.back().code >= security.code) {
        security.code = prefix + ThreeDigits(std::stoi(stock_securities.back().code.substr(5)) + 1);
      }
      const std::uint64_t key = Mix(rough_key, 7);
      security.board = range.board;
      security.board_text = TextOf(range.board);
      security.number = static_cast<std::uint32_t>(stock_securities.size());

      Stock stock;
      stock.industry = static_cast<int>(Below(Mix(key, 1), industry_count));
      namer.Name(security, stock.industry, Mix(key, 2));

      Date listed = Shift(range.first_listing, span * i / count);
      while (!IsTradingDay(listed)) {
        listed = Shift(listed, 1);
      }
      security.listed = listed;
      stock.listed = listed < kFirstTradingDay ? 0 : days.NumberOf(listed);

      const bool bank = stock.industry == 0;
      const bool lively = range.board == Board::kGrowth || range.board == Board::kStar;
      double price = Spread(range.price, 0.55, Mix(key, 3));
      double shares = Spread(range.board == Board::kShanghaiMain ? 8e8 : 4e8, 0.9, Mix(key, 4));
      if (bank) {
        price = Spread(7, 0.3, Mix(key, 3));
        shares *= 12;
      }
      if (security.number == 0) {  // the headline stock of the market
        price = 36;
        shares = 1.6e10;
      }
      stock.base = Logarithm(std::clamp(price, 3.2, 160.0));
      stock.total = RoundToTenThousand(std::min(shares, 3e11));
      const double free =
          listed < 20140101 ? 0.75 + 0.25 * Unit(Mix(key, 5)) : 0.25 + 0.6 * Unit(Mix(key, 5));
      stock.circulating = RoundToTenThousand(static_cast<double>(stock.total) * free);
      stock.circulating = std::min(stock.circulating, stock.total);
      const double size = static_cast<double>(stock.total) / 6e8;
      stock.turnover = std::clamp(
          Spread(lively ? 0.022 : 0.013, 0.5, Mix(key, 6)) / std::sqrt(std::max(size, 0.3)), 0.0008, 0.08);
      stock.beta = static_cast<std::int32_t>((lively                       ? 1.27
                                              : range.board == Board::kSme ? 1.1
                                                                           : 1.0) *
                                             256) +
                   Normal(45, Mix(key, 8));
      stock.deviation =
          static_cast<std::int32_t>((lively ? 0.019 : 0.015) * (0.7 + 0.7 * Unit(Mix(key, 9))) * kOne);
      if (bank || security.number == 0) {
        stock.deviation /= 2;
      }
      const std::uint64_t earnings = Mix(key, 10);
      stock.pe =
          Below(earnings, 8) == 0 ? -Spread(60, 0.6, Mix(key, 11)) : Spread(bank ? 6 : 32, 0.5, Mix(key, 11));
      stock.pb = Spread(bank ? 0.8 : 2.6, 0.4, Mix(key, 12));
      stock.key = Mix(Mix(options.seed, 0x570c4), key);
      stock_securities.push_back(std::move(security));
      stocks.push_back(std::move(stock));
    }
  }
  for (std::size_t i = 0; i < stocks.size(); ++i) {
    stocks[i].security = &stock_securities[i];
  }
}

void Universe::MakeHistory(const Options& options, const Days& days) {
  constexpr std::array kStatuses{Status::kSuspended, Status::kSuspended,    Status::kSuspended,
                                 Status::kHalted,    Status::kInvestigated, Status::kDelisting};
  for (Stock& stock : stocks) {
    const int earliest = stock.listed == 0 ? 4 : stock.listed + 40;
    // Slots begin on a day of the stock's own, or no stock would be suspended towards the common end of a
    // slot.
    const int shift_back = static_cast<int>(Below(Mix(stock.key, 0x300000), kSuspensionSlot));
    for (int slot = 0; slot * kSuspensionSlot < days.count(); ++slot) {
      const std::uint64_t h = Mix(stock.key, 0x100000 + static_cast<std::uint64_t>(slot));
      const int first = slot * kSuspensionSlot - shift_back +
                        static_cast<int>(Below(Mix(h, 1), kSuspensionSlot - 2 * kBlock - kLongestSuspension));
      if (Below(h, 100) >= 70 || first < earliest) {
        continue;
      }
      const Status status = kStatuses[Below(Mix(h, 3), kStatuses.size())];
      const int length = 1 + static_cast<int>(Below(Mix(h, 2), kLongestSuspension));
      if (length > 1) {
        stock.suspensions.push_back({first, length - 1, status});
      }
      stock.suspensions.push_back({first + length - 1, 1, Status::kAwaiting});
    }
    if (options.scenario == Scenario::kSuspended && days.scripted() >= 0 && stock.security->number == 0) {
      // One day by itself, so that no block loses more days than it can do without.
      std::erase_if(stock.suspensions, [&](const Suspension& s) {
        return s.first > days.scripted() - kBlock && s.first < days.scripted() + kBlock;
      });
      stock.suspensions.push_back({days.scripted(), 1, Status::kSuspended});
      std::sort(stock.suspensions.begin(), stock.suspensions.end(),
                [](const Suspension& a, const Suspension& b) { return a.first < b.first; });
    }

    int bonuses = 0;
    double factor = 1;
    // One dividend or split, within so many days from a date on.
    const auto add = [&](std::uint64_t h, Date from, std::uint32_t span, bool may_split) {
      Date date = Shift(from, static_cast<std::int64_t>(Below(Mix(h, 1), span)));
      while (!IsTradingDay(date)) {
        date = Shift(date, 1);
      }
      int day = days.NumberOf(date);
      // Never on the last days of a block, nor with a suspension between it and the block's end.
      const auto unfit = [&](int d) {
        const int end = d / kBlock * kBlock + kBlock;
        return d % kBlock == 0 || d % kBlock > 27 || d == days.scripted() ||
               std::any_of(stock.suspensions.begin(), stock.suspensions.end(),
                           [&](const Suspension& s) { return s.first < end && s.first + s.length > d; });
      };
      for (std::uint64_t attempt = 0; unfit(day); ++attempt) {
        day = day / kBlock * kBlock + kBlock + static_cast<int>(Below(Mix(h, 10 + attempt), kBlock));
      }
      const bool too_soon = !stock.ex_rights.empty() && day <= stock.ex_rights.back().day + kBlock;
      if (day >= days.count() || day < stock.listed + 60 || too_soon) {
        return;
      }
      ExRights event;
      event.day = day;
      event.yield = 0.003 + 0.025 * Unit(Mix(h, 2));
      if (may_split && bonuses < 4 && Below(Mix(h, 3), 100) < 11) {
        constexpr std::array<int, 5> kBonus{2, 3, 4, 5, 10};
        event.bonus = kBonus[Below(Mix(h, 4), kBonus.size())];
        ++bonuses;
      }
      factor = factor * (10 + event.bonus) / 10;
      event.factor = factor;
      stock.ex_rights.push_back(event);
    };
    // In early summer most stocks, from autumn to spring some: any day has some of them in view.
    const bool pays_twice = Below(Mix(stock.key, 0x400000), 4) == 0;
    for (Date year = kFirstTradingDay / 10000; year <= kLastTradingDay / 10000; ++year) {
      const std::uint64_t summer = Mix(stock.key, 0x200000 + std::uint64_t{year});
      if (Below(summer, 100) < 62) {
        add(summer, year * 10000 + 506, 75, true);
      }
      if (pays_twice && year < kLastTradingDay / 10000) {
        add(Mix(stock.key, 0x400000 + std::uint64_t{year}), year * 10000 + 915, 180, true);
      }
    }
  }
}

void Universe::MakeIndices() {
  const auto in_scope = [](const Stock& stock, Scope scope) {
    const Board board = stock.security->board;
    switch (scope) {
      case Scope::kShanghai:
        return board == Board::kShanghaiMain || board == Board::kStar;
      case Scope::kShanghaiMain:
        return board == Board::kShanghaiMain;
      case Scope::kStar:
        return board == Board::kStar;
      case Scope::kShenzhen:
        return board == Board::kShenzhenMain || board == Board::kSme || board == Board::kGrowth;
      case Scope::kSme:
        return board == Board::kSme;
      case Scope::kGrowth:
        return board == Board::kGrowth;
    }
    return false;
  };
  const auto size = [this](std::uint32_t number) {
    const Stock& stock = stocks[number];
    return Exponential(stock.base) * static_cast<double>(stock.total);
  };
  for (const IndexRule& rule : IndexRules()) {
    Security security;
    security.kind = Kind::kIndex;
    security.code = rule.code;
    security.name = rule.name.text;
    security.pinyin = rule.name.initials;
    security.number = static_cast<std::uint32_t>(indices.size());
    indices.push_back(std::move(security));
    std::vector<std::uint32_t> members;
    for (const Stock& stock : stocks) {
      if (in_scope(stock, rule.scope) &&
          (rule.first_industry < 0 ||
           (stock.industry >= rule.first_industry && stock.industry <= rule.last_industry))) {
        members.push_back(stock.security->number);
      }
    }
    if (rule.largest > 0 && static_cast<std::size_t>(rule.largest) < members.size()) {
      std::stable_sort(members.begin(), members.end(),
                       [&](std::uint32_t a, std::uint32_t b) { return size(a) > size(b); });
      members.resize(static_cast<std::size_t>(rule.largest));
      std::sort(members.begin(), members.end());
    }
    index_members.push_back(std::move(members));
  }
}

void Universe::MakePlates() {
  const auto add = [this](int kind, int number, std::string name, std::string pinyin) {
    Security security;
    security.kind = Kind::kPlate;
    security.code = "bk" +
                    std::string(1, static_cast<char>('0' + (kind == 1   ? 1
                                                            : kind == 3 ? 2
                                                                        : 3))) +
                    ThreeDigits(number);
    security.name = std::move(name);
    security.pinyin = std::move(pinyin);
    security.plate_kind = kind;
    security.number = static_cast<std::uint32_t>(plates.size());
    plates.push_back(std::move(security));
    plate_members.emplace_back();
  };
  int n = 0;
  for (const Industry& industry : Industries()) {
    add(1, ++n, std::string(industry.name.text), std::string(industry.name.initials));
  }
  const std::size_t first_concept = plates.size();
  n = 0;
  for (const Word& topic : ConceptTopics()) {
    for (const Word& form : ConceptForms()) {
      add(3, ++n, std::string(topic.text) + std::string(form.text),
          std::string(topic.initials) + std::string(form.initials));
    }
  }
  const std::size_t concepts = plates.size() - first_concept;
  const std::size_t first_region = plates.size();
  n = 0;
  for (const Word& region : Regions()) {
    add(2, ++n, std::string(region.text), std::string(region.initials));
  }
  stock_plates.resize(stocks.size());
  for (std::size_t i = 0; i < stocks.size(); ++i) {
    const std::uint64_t key = Mix(Mix(kStructure, 0x91a7e), i);
    std::vector<std::uint32_t>& held = stock_plates[i];
    held.push_back(static_cast<std::uint32_t>(stocks[i].industry));
    const std::uint32_t wanted = 2 + Below(key, 5);
    for (std::uint64_t k = 1; held.size() < wanted + 1; ++k) {
      const auto plate = static_cast<std::uint32_t>(first_concept) +
                         Below(Mix(key, k), static_cast<std::uint32_t>(concepts));
      if (std::find(held.begin(), held.end(), plate) == held.end()) {
        held.push_back(plate);
      }
    }
    held.push_back(static_cast<std::uint32_t>(first_region) +
                   Below(Mix(key, 99), static_cast<std::uint32_t>(Regions().size())));
    std::sort(held.begin(), held.end());
    for (const std::uint32_t plate : held) {
      plate_members[plate].push_back(static_cast<std::uint32_t>(i));
    }
  }
}

int LimitPercent(Board board, Date date) {
  return board == Board::kStar || (board == Board::kGrowth && date >= 20200824) ? 20 : 10;
}

}  // namespace market_server::model
