// Every page of the live screen on terminals from the smallest to a wall: which panels and columns each has
// room for, that nothing on a small one is a piece of a figure, and that the figures of the wall are the
// market's.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "child_process.h"
#include "cli/format/figures.h"
#include "cli/format/text.h"
#include "market_server/model/market.h"
#include "screen_reader.h"

namespace tests {
namespace {

namespace model = market_server::model;
using Texts = std::vector<std::string>;

struct Size {
  int columns;
  int rows;
};
constexpr std::array kSizes = {Size{60, 14},  Size{80, 24},  Size{100, 30}, Size{120, 40},
                               Size{160, 50}, Size{200, 60}, Size{300, 100}};
constexpr Size kWidest{900, 120};

// The characters of `row` from column `begin` to `end`.
std::string Columns(const std::string& row, int begin, int end) {
  std::string part;
  int column = 0;
  for (std::size_t i = 0; i < row.size();) {
    std::size_t next = i + 1;
    while (next < row.size() && (static_cast<unsigned char>(row[next]) & 0xC0U) == 0x80U) {
      ++next;
    }
    const std::string character = row.substr(i, next - i);
    if (column >= begin && column < end) {
      part += character;
    }
    column += cli::DisplayWidth(character);
    i = next;
  }
  return part;
}

Texts WordsIn(const std::string& text) {
  std::istringstream stream(text);
  Texts words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

bool HasDigit(const std::string& word) {
  return std::any_of(word.begin(), word.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

// Without the marks of a cursor, of the current row and of figures that moved.
Texts FiguresIn(const std::string& text) {
  Texts words = WordsIn(text);
  std::erase_if(words, [](const std::string& word) { return word == "▸" || word == "•"; });
  for (std::string& word : words) {
    for (const std::string mark : {"▴", "▾"}) {
      if (word.size() > mark.size() && word.ends_with(mark)) {
        word.resize(word.size() - mark.size());
      }
    }
  }
  return words;
}

// A panel as it stands on the screen.
struct Seen {
  std::string title;
  Texts inside;  ///< without title and state
  std::string state;
};

// The panels between head and foot, column by column.
std::vector<Seen> PanelsOn(const Texts& rows, int columns) {
  std::vector<int> edges = {0};
  const std::string& titles = rows[2];
  for (std::size_t at = titles.find("│"); at != std::string::npos; at = titles.find("│", at + 1)) {
    edges.push_back(cli::DisplayWidth(titles.substr(0, at)) + 2);
  }
  edges.push_back(columns + 2);
  std::vector<Seen> panels;
  for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
    for (std::size_t row = 2; row + 2 < rows.size(); ++row) {
      const std::string text = Columns(rows[row], edges[i], edges[i + 1] - 2);
      const std::size_t rule = text.find(" ─");
      if ((text.rfind("▸ ", 0) == 0 || text.rfind("  ", 0) == 0) && rule != std::string::npos &&
          text.find_first_not_of(' ', 2) != rule + 1) {
        const std::size_t begin = text.find(' ') == 0 ? 2 : std::string("▸ ").size();
        panels.push_back({text.substr(begin, rule - begin), {}, ""});
      } else if (!panels.empty()) {
        panels.back().inside.push_back(text);
      }
    }
  }
  for (Seen& panel : panels) {
    panel.state = panel.inside.empty() ? "" : panel.inside.back();
    panel.inside.resize(panel.inside.empty() ? 0 : panel.inside.size() - 1);
  }
  return panels;
}

bool IsChart(const Seen& panel) {
  const std::string& title = panel.title;
  return title.rfind("minute", 0) == 0 || title.rfind("candles", 0) == 0 || title.rfind("average", 0) == 0 ||
         title.rfind("stocks up", 0) == 0;
}

// "board: all A shares by change, descending" is "board".
std::string ShortTitle(const std::string& title) {
  std::size_t end = title.find_first_of(":,");
  for (const char* const word : {" of ", " by ", " in "}) {
    end = std::min(end, title.find(word));
  }
  return title.substr(0, end);
}

bool IsTable(const Seen& panel) {
  return !panel.inside.empty() && !IsChart(panel) && !WordsIn(panel.inside.front()).empty() &&
         !HasDigit(panel.inside.front());
}

// "board(code name last change) quote".
std::string LayoutOf(const std::vector<Seen>& panels) {
  std::string layout;
  for (const Seen& panel : panels) {
    layout += (layout.empty() ? "" : ", ") + ShortTitle(panel.title);
    if (IsTable(panel)) {
      std::string header;
      for (const std::string& word : WordsIn(panel.inside.front())) {
        header += (header.empty() ? "" : " ") + word;
      }
      layout += "(" + header + ")";
    }
  }
  return layout;
}

// Words with digits in head and panels; of charts those of their headings.
std::set<std::string> FiguresOn(const Texts& rows, const std::vector<Seen>& panels) {
  std::set<std::string> figures;
  const auto take = [&](const std::string& text) {
    for (const std::string& word : WordsIn(text)) {
      if (HasDigit(word)) {
        figures.insert(word);
      }
    }
  };
  take(rows[0]);
  for (const Seen& panel : panels) {
    for (std::size_t i = 0; i < panel.inside.size() && (i == 0 || !IsChart(panel)); ++i) {
      take(panel.inside[i]);
    }
  }
  return figures;
}

// The market at the instant at which csm's own one stands still, and what the panels must say of it.
class Expected {
 public:
  static constexpr const char* kClock = "2024-03-13 10:30:00";

  // What `panel` shows line by line as words, as far as there is room; of a chart its heading.
  [[nodiscard]] std::vector<Texts> LinesOf(const Seen& panel) const {
    const std::string what = ShortTitle(panel.title);
    if (what == "board") {
      return Rows(panel, stocks_, panel.inside.size());
    }
    if (what == "top 30") {
      const bool of_plates = panel.title.find("plates") != std::string::npos;
      return Rows(panel, of_plates ? industries_ : stocks_, 30);
    }
    if (what == "industry plates") {
      return Rows(panel, industries_, panel.inside.size());
    }
    if (what == "watch list") {
      return Rows(panel, {Current()}, 1);
    }
    if (what == "unusual events") {
      return EventRows();
    }
    if (what == "flows") {
      return FlowRows();
    }
    if (what == "quote") {
      return Sheet();
    }
    if (what == "spread") {
      return Spread();
    }
    return {Heading(what)};
  }

  // The line of the indices.
  [[nodiscard]] Texts Indices() const {
    Texts words;
    for (const char* const code : {"sh000001", "sz399001", "sz399006"}) {
      const model::Quote index = market_.QuoteOf(*market_.Find(code), now_);
      for (const char* const member : {"name", "last", "diff", "change"}) {
        words.push_back(Cell(member, index));
      }
    }
    return words;
  }

 private:
  using Quotes = std::vector<model::Quote>;
  using Write = std::function<std::string(const model::Quote&)>;

  static std::string Percent(double value) { return cli::Fixed(value, 2) + "%"; }
  static std::string PriceOf(const model::BookLevel& level) {
    return level.volume == 0 ? "--" : cli::Fixed(level.price, 2);
  }
  static std::string VolumeOf(const model::BookLevel& level) {
    return level.volume == 0 ? "--" : cli::Fixed(level.volume, 0);
  }
  template <class Type>
  static Write Price(Type model::Quote::*member) {
    return [member](const model::Quote& quote) { return cli::Fixed(quote.*member, 2); };
  }
  template <class Type>
  static Write Amount(Type model::Quote::*member) {
    return
        [member](const model::Quote& quote) { return cli::ShortAmount(static_cast<double>(quote.*member)); };
  }
  template <class Type>
  static Write Count(Type model::Quote::*member) {
    return [member](const model::Quote& quote) { return cli::Fixed(quote.*member, 0); };
  }
  static Write Rate(double model::Quote::*member, bool is_signed) {
    return [member, is_signed](const model::Quote& quote) {
      return is_signed ? cli::SignedPercent(quote.*member, 2) : Percent(quote.*member);
    };
  }

  // What stands under the head `member`.
  static std::string Cell(const std::string& member, const model::Quote& quote) {
    using model::Quote;
    static const std::map<std::string, Write> kCells = {
        {"code", [](const Quote& q) { return q.security->code; }},
        {"name", [](const Quote& q) { return q.security->name; }},
        {"lead", [](const Quote& q) { return q.lead == nullptr ? std::string() : q.lead->name; }},
        {"status", [](const Quote& q) { return std::to_string(static_cast<int>(q.status)); }},
        {"diff", [](const Quote& q) { return cli::Signed(q.diff, 2); }},
        {"bid1", [](const Quote& q) { return PriceOf(q.bids[0]); }},
        {"ask1", [](const Quote& q) { return PriceOf(q.asks[0]); }},
        {"avg_price",
         [](const Quote& q) {
           return q.vol == 0 ? "--" : cli::Fixed(q.amt / static_cast<double>(q.vol), 2);
         }},
        {"limit_up", [](const Quote& q) { return q.limit_up == 0 ? "--" : cli::Fixed(q.limit_up, 2); }},
        {"limit_down", [](const Quote& q) { return q.limit_down == 0 ? "--" : cli::Fixed(q.limit_down, 2); }},
        {"last", Price(&Quote::last)},
        {"open", Price(&Quote::open)},
        {"high", Price(&Quote::high)},
        {"low", Price(&Quote::low)},
        {"preclose", Price(&Quote::preclose)},
        {"qrr", Price(&Quote::qrr)},
        {"pe", Price(&Quote::pe)},
        {"pb", Price(&Quote::pb)},
        {"change", Rate(&Quote::change, true)},
        {"cr", Rate(&Quote::cr, true)},
        {"lead_change", Rate(&Quote::lead_change, true)},
        {"tr", Rate(&Quote::tr, false)},
        {"amp", Rate(&Quote::amp, false)},
        {"vol", Amount(&Quote::vol)},
        {"amt", Amount(&Quote::amt)},
        {"mc", Amount(&Quote::mc)},
        {"cmc", Amount(&Quote::cmc)},
        {"tso", Amount(&Quote::tso)},
        {"shares", Amount(&Quote::shares)},
        {"bpin", Amount(&Quote::bpin)},
        {"cud", Count(&Quote::cud)},
        {"num_u", Count(&Quote::num_u)},
        {"num_z", Count(&Quote::num_z)},
        {"num_d", Count(&Quote::num_d)}};
    return kCells.at(member)(quote);
  }

  // Equal ones stay in the order of their codes.
  static Quotes RoseMost(Quotes quotes) {
    std::stable_sort(quotes.begin(), quotes.end(),
                     [](const model::Quote& a, const model::Quote& b) { return a.change > b.change; });
    return quotes;
  }
  [[nodiscard]] static Quotes IndustriesIn(Quotes plates) {
    std::erase_if(plates, [](const model::Quote& plate) { return plate.security->plate_kind != 1; });
    return plates;
  }
  [[nodiscard]] const model::Quote& Current() const { return stocks_.front(); }

  // Under the heads that the panel has.
  [[nodiscard]] std::vector<Texts> Rows(const Seen& panel, const Quotes& quotes, std::size_t most) const {
    const Texts heads = WordsIn(panel.inside.front());
    std::vector<Texts> rows = {heads};
    for (std::size_t i = 0; i < std::min(quotes.size(), most); ++i) {
      std::string row;
      for (const std::string& head : heads) {
        const auto plates = head == "plate" ? market_.PlatesOf(*quotes[i].security, 1)
                                            : std::vector<const model::Security*>();
        row += " " + (head == "#"       ? std::to_string(i + 1)
                      : !plates.empty() ? plates.front()->name
                      : head == "plate" ? std::string()
                                        : Cell(head, quotes[i]));
      }
      rows.push_back(WordsIn(row));
    }
    return rows;
  }

  [[nodiscard]] std::vector<Texts> EventRows() const {
    std::vector<Texts> rows = {{"time", "event"}};
    for (const model::MarketEvent& event : market_.Events(kDay, now_)) {
      const auto seconds = static_cast<int>((static_cast<std::int64_t>(event.time) + 8 * 3600) % 86400);
      char clock[16];
      std::snprintf(clock, sizeof clock, "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
      rows.push_back(WordsIn(std::string(clock) + " " + event.content));
    }
    return rows;
  }

  [[nodiscard]] std::vector<Texts> FlowRows() const {
    std::vector<Texts> rows = {WordsIn("code name days big in big out big net small in small out small net")};
    const model::Security& stock = *Current().security;
    const model::Flows flows = market_.FlowsOf(stock, now_);
    for (const auto& [days, amounts] : {std::pair("1", flows.d1), {"5", flows.d5}, {"10", flows.d10}}) {
      const auto yuan = [](std::uint64_t amount) { return static_cast<double>(amount); };
      rows.push_back(WordsIn(stock.code + " " + stock.name + " " + days));
      for (const auto& [in, out] :
           {std::pair(amounts.big_in, amounts.big_out), {amounts.small_in, amounts.small_out}}) {
        rows.back().push_back(cli::ShortAmount(yuan(in)));
        rows.back().push_back(cli::ShortAmount(yuan(out)));
        rows.back().push_back(cli::SignedShortAmount(yuan(in) - yuan(out)));
      }
    }
    return rows;
  }

  // Prices, trade and book side by side below the headline.
  [[nodiscard]] std::vector<Texts> Sheet() const {
    static constexpr const char* kPrices[] = {"open",     "high",       "low", "preclose", "avg_price",
                                              "limit_up", "limit_down", "amp", "pe",       "pb"};
    static constexpr const char* kTrade[] = {"vol", "amt", "tr", "qrr", "cr", "mc", "cmc", "tso", "shares"};
    const model::Quote quote = Current();
    std::vector<Texts> lines(12);
    lines[0] = WordsIn(Cell("code", quote) + " " + Cell("name", quote));
    for (const char* const member : {"last", "diff", "change"}) {
      lines[0].push_back(Cell(member, quote));
    }
    for (std::size_t i = 0; i < std::size(kPrices); ++i) {
      lines[i + 1] = {kPrices[i], Cell(kPrices[i], quote)};
    }
    for (std::size_t i = 0; i < std::size(kTrade); ++i) {
      lines[i + 1].insert(lines[i + 1].end(), {kTrade[i], Cell(kTrade[i], quote)});
    }
    for (std::size_t i = 0; i < 5; ++i) {
      const std::string level = std::to_string(i + 1);
      lines[5 - i].insert(lines[5 - i].end(),
                          {"ask" + level, PriceOf(quote.asks[i]), VolumeOf(quote.asks[i])});
      lines[7 + i].insert(lines[7 + i].end(),
                          {"bid" + level, PriceOf(quote.bids[i]), VolumeOf(quote.bids[i])});
    }
    lines[6].push_back("-------------------------------");
    return lines;
  }

  [[nodiscard]] std::vector<Texts> Spread() const {
    static constexpr const char* kRanges[] = {"limit down", "below -7%", "-7% to -5%", "-5% to -3%",
                                              "-3% to 0%",  "0% to +3%", "+3% to +5%", "+5% to +7%",
                                              "above +7%",  "limit up"};
    const model::Distribution spread = market_.DistributionOn(kDay, now_);
    const int moved = spread.up + spread.down;
    std::vector<Texts> lines = {WordsIn("2024-03-13 up " + cli::Fixed(spread.up, 0) + " unchanged " +
                                        cli::Fixed(spread.unchanged, 0) + " down " +
                                        cli::Fixed(spread.down, 0))};
    for (std::size_t i = 0; i < spread.buckets.size(); ++i) {
      lines.push_back(WordsIn(std::string(kRanges[i]) + " " + cli::Fixed(spread.buckets[i], 0) + " " +
                              cli::Fixed(100.0 * spread.buckets[i] / moved, 1) + "%"));
    }
    return lines;
  }

  [[nodiscard]] Texts Heading(const std::string& what) const {
    const model::Quote quote = Current();
    const std::string price = cli::Fixed(quote.last, 2);
    const std::string change = cli::SignedPercent(quote.change, 2);
    if (what == "minute line") {
      return WordsIn("2024-03-13 10:30 " + price + " " + cli::Signed(quote.diff, 2) + " " + change +
                     " amount " + cli::ShortAmount(quote.amt));
    }
    if (what == "candles") {
      std::vector<model::Candle> candles =
          market_.Candles(*quote.security, model::Period::kDay, model::Adjustment::kNone, 20240312);
      candles.push_back(*market_.DayCandle(*quote.security, now_));
      Texts words = WordsIn("2024-03-13 " + price + " " + change + " amount " + cli::ShortAmount(quote.amt));
      for (const std::size_t span : {5U, 10U, 20U, 60U}) {
        double sum = 0;
        for (std::size_t i = 0; i < std::min(span, candles.size()); ++i) {
          sum += candles[candles.size() - 1 - i].close;
        }
        words.push_back("MA" + std::to_string(span));
        words.push_back(candles.size() < span ? "--" : cli::Fixed(sum / static_cast<double>(span), 2));
      }
      return words;
    }
    const model::Breadth breadth = market_.BreadthOn(kDay, now_).back();
    if (what == "stocks up and down") {
      return WordsIn("Strength 2024-03-13 10:30 up " + cli::Fixed(breadth.up, 0) + " (line) down " +
                     cli::Fixed(breadth.down, 0) + " (dots)");
    }
    return WordsIn("Money-making effect 2024-03-13 10:30 " + cli::Signed(breadth.average, 4));
  }

  static constexpr model::Date kDay = 20240313;

  const model::Market market_{model::Options{}};
  const model::Instant now_ = model::InstantOf(kDay, 10, 30, 0);
  const Quotes stocks_ = RoseMost(market_.BoardAt(now_)->stocks);
  const Quotes industries_ = RoseMost(IndustriesIn(market_.BoardAt(now_)->plates));
};

// Every figure of `panels`, word by word; empty: they are the market's.
std::string Differences(const Expected& expected, const Texts& rows, const std::vector<Seen>& panels) {
  std::ostringstream differences;
  const auto compare = [&](const std::string& where, const Texts& shown, const Texts& wanted) {
    if (shown != wanted) {
      differences << where << "\n  shows ";
      for (const std::string& word : shown) differences << word << " ";
      differences << "\n  not   ";
      for (const std::string& word : wanted) differences << word << " ";
      differences << "\n";
    }
  };
  compare("indices", FiguresIn(rows[0]), expected.Indices());
  for (const Seen& panel : panels) {
    const std::vector<Texts> wanted = expected.LinesOf(panel);
    const bool is_bars = ShortTitle(panel.title) == "spread";
    for (std::size_t i = 0; i < panel.inside.size() && (i == 0 || !IsChart(panel)); ++i) {
      Texts shown = FiguresIn(panel.inside[i]);
      if (is_bars && i > 0 && shown.size() > 1 && !HasDigit(shown.back())) {
        shown.pop_back();
      }
      compare(panel.title + ", line " + std::to_string(i), shown, i < wanted.size() ? wanted[i] : Texts());
    }
  }
  return differences.str();
}

struct Golden {
  char page;
  std::array<const char*, kSizes.size()> layouts;
};

const Golden kGolden[] = {
    {'1',
     {"board(code name last diff change tr)", "board(code name last change), quote",
      "board(code name last diff change), quote", "board(code name last diff change tr amt), quote",
      "board(code name last diff change), quote, minute line, unusual events(time event), flows(days big in "
      "big out big net small in small out)",
      "board(code name last diff change tr amt), quote, minute line, unusual events(time event), flows(days "
      "big in big out big net small in small out small net)",
      "board(code name last diff change tr vol amt open high low preclose), quote, minute line, unusual "
      "events(time event), flows(code name days big in big out big net small in small out small net)"}},
    {'2',
     {"minute line", "minute line, quote", "minute line, quote", "minute line, quote",
      "minute line, quote, flows(days big in big out big net small in small out), unusual events(time event)",
      "minute line, quote, flows(days big in big out big net small in small out small net), unusual "
      "events(time event)",
      "minute line, quote, flows(code name days big in big out big net small in small out small net), "
      "unusual events(time event)"}},
    {'3',
     {"candles", "candles, quote", "candles, quote", "candles, quote",
      "candles, quote, minute line, flows(days big in big out big net small in small out)",
      "candles, quote, minute line, flows(days big in big out big net small in small out small net)",
      "candles, quote, minute line, flows(code name days big in big out big net small in small out small "
      "net)"}},
    {'4',
     {"top 30(code name last diff change tr)",
      "top 30(# code name last diff change tr), top 30(# code name change bpin cud lead lead_change)",
      "top 30(# code name last diff change tr), top 30(# code name change bpin cud lead lead_change)",
      "top 30(code name last diff change tr), top 30(code name change lead lead_change), board(code name "
      "last "
      "diff change)",
      "top 30(# code name last diff change tr), top 30(# code name change bpin cud lead lead_change), "
      "board(code name last diff change tr amt)",
      "top 30(# code name last diff change tr), top 30(# code name change bpin cud lead lead_change), "
      "board(code name last diff change tr vol amt open)",
      "top 30(# code name last diff change tr), top 30(# code name change bpin cud lead lead_change), "
      "board(code name last diff change tr vol amt open high low preclose amp qrr)"}},
    {'5',
     {"watch list(code name last diff change tr)", "watch list(code name last change), quote",
      "watch list(code name last diff change), quote", "watch list(code name last diff change tr amt), quote",
      "watch list(code name last diff change), quote, minute line, unusual events(time event), flows(days "
      "big in big out big net small in small out)",
      "watch list(code name last diff change tr amt), quote, minute line, unusual events(time event), "
      "flows(days big in big out big net small in small out small net)",
      "watch list(code name last diff change tr vol amt open high low plate), quote, minute line, unusual "
      "events(time event), flows(code name days big in big out big net small in small out small net)"}},
    {'6',
     {"unusual events(time event)",
      "unusual events(time event), flows(code days big in big out big net small in small out small net)",
      "unusual events(time event), flows(days big in big out big net small in small out), quote",
      "unusual events(time event), flows(days big in big out big net small in small out small net), quote",
      "unusual events(time event), flows(days big in big out big net small in small out), quote, minute line",
      "unusual events(time event), flows(code days big in big out big net small in small out small net), "
      "quote, minute line",
      "unusual events(time event), flows(code name days big in big out big net small in small out small "
      "net), quote, minute line"}},
    {'7',
     {"stocks up and down", "stocks up and down, average change",
      "stocks up and down, average change, spread", "stocks up and down, average change, spread",
      "stocks up and down, average change, spread", "stocks up and down, average change, spread",
      "stocks up and down, average change, spread"}},
    {'8',
     {"average change", "average change, stocks up and down, quote",
      "average change, stocks up and down, quote", "average change, stocks up and down, quote",
      "average change, stocks up and down, quote", "average change, stocks up and down, quote, spread",
      "average change, stocks up and down, quote, spread"}},
    {'9',
     {"industry plates(code name last change lead)", "industry plates(code name last change), quote",
      "industry plates(code name last change lead), quote",
      "industry plates(code name last change lead lead_change), quote",
      "industry plates(code name last change lead), quote, minute line, unusual events(time event), "
      "flows(days big in big out big net small in small out)",
      "industry plates(code name last diff change lead lead_change), quote, minute line, unusual events(time "
      "event), flows(days big in big out big net small in small out small net)",
      "industry plates(code name last diff change num_u num_z num_d lead lead_change tr amt), quote, minute "
      "line, unusual events(time event), flows(code name days big in big out big net small in small out "
      "small net)"}},
};

TEST(GoldenScreens, haveTheirPanelsAndColumnsAndTheFiguresOfTheMarket) {
  const Expected expected;
  ChildProcess csm(Csm({"--clock", Expected::kClock, "--speed", "0"}), {}, ChildProcess::Around::kTerminal);
  ScreenReader reader(100, 30);
  std::size_t read = 0;
  Texts rows;
  Size size{100, 30};
  std::vector<Seen> panels;
  // True when nothing more has come since the last look, so that no line is half read: only then the screen
  // is looked at.
  const auto is_quiet = [&] {
    const bool is_same = read == csm.output().size();
    reader.Read(std::string_view(csm.output()).substr(read));
    read = csm.output().size();
    if (is_same) {
      rows = reader.Rows();
      panels = PanelsOn(rows, size.columns);
    }
    return is_same;
  };
  const auto shows = [&](const std::string& text) {
    return std::any_of(rows.begin(), rows.end(),
                       [&](const std::string& row) { return row.find(text) != std::string::npos; });
  };
  const auto resize = [&](const Size& to) {
    size = to;
    reader.Read(std::string_view(csm.output()).substr(read));
    read = csm.output().size();
    reader.Resize(size.columns, size.rows);
    csm.Resize(size.columns, size.rows);
  };
  // A picture may come in pieces, from top to bottom: its foot and the state of each panel stand, and
  // nothing is waited for.
  const auto is_whole = [&](char page) {
    return rows.back().find("[" + std::string(1, page) + " ") != std::string::npos && !shows("… w") &&
           std::all_of(panels.begin(), panels.end(), [](const Seen& panel) {
             return panel.state.find_first_of("*=-") != std::string::npos;
           });
  };
  ASSERT_TRUE(csm.ReadUntil([&] { return is_quiet() && shows("bid5"); }));
  csm.Type("5+");
  ASSERT_TRUE(csm.ReadUntil([&] { return is_quiet() && shows("▸ s"); }));
  for (const Golden& golden : kGolden) {
    const char page = golden.page;
    csm.Type(std::string(1, page));
    std::vector<std::set<std::string>> figures;
    for (std::size_t i = 0; i < kSizes.size(); ++i) {
      SCOPED_TRACE(std::string("page ") + page + " on " + std::to_string(kSizes[i].columns) + " by " +
                   std::to_string(kSizes[i].rows));
      resize(kSizes[i]);
      const bool is_there =
          csm.ReadUntil([&] { return is_quiet() && is_whole(page) && LayoutOf(panels) == golden.layouts[i]; },
                        std::chrono::seconds(20));
      EXPECT_TRUE(is_there) << "    \"" << LayoutOf(panels) << "\",\n" << reader.Text();
      EXPECT_EQ(rows[1].rfind("SIMULATED  ", 0), 0U) << rows[1];
      EXPECT_TRUE(rows[1].find("= unchanged since 10:30:00") != std::string::npos ||
                  rows[1].find("* live") != std::string::npos)
          << rows[1];
      for (const Seen& panel : panels) {
        EXPECT_TRUE(!IsChart(panel) || panel.inside.size() > 4) << panel.title;
      }
      figures.push_back(FiguresOn(rows, panels));
      EXPECT_FALSE(figures.back().empty());
    }
    // Where there is room for everything nothing needs to be cut: what stands there is the market's, and
    // what stands on smaller screens is a part of it.
    SCOPED_TRACE(std::string("page ") + page);
    resize(kWidest);
    std::string differences;
    EXPECT_TRUE(csm.ReadUntil(
        [&] {
          differences =
              is_quiet() && is_whole(page) ? Differences(expected, rows, panels) : "no whole picture";
          return differences.empty();
        },
        std::chrono::seconds(20)))
        << differences;
    const std::set<std::string> whole = FiguresOn(rows, panels);
    for (std::size_t i = 0; i < figures.size(); ++i) {
      for (const std::string& figure : figures[i]) {
        EXPECT_EQ(whole.count(figure), 1U)
            << "on " << kSizes[i].columns << " by " << kSizes[i].rows << ": " << figure;
      }
    }
  }
  csm.Type("q");
  EXPECT_EQ(csm.Wait(), 0);
  EXPECT_TRUE(reader.unknown().empty()) << reader.unknown().front();
}

}  // namespace
}  // namespace tests
