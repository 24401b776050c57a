// Every pane has the market's own figures, in the morning, at lunch, in the afternoon, in the evening and on
// the next day.
#include <array>

#include "charts/market_data.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "running_desk.h"

namespace {

using cli::Fixed;
using cli::ShortAmount;
using cli::SignedPercent;
using desktop::ListPane;
using desktop::Pane;
using market_server::model::Date;
using market_server::model::Instant;
using market_server::model::Market;
using market_server::model::Quote;
using Lines = std::vector<std::string>;

constexpr const char* kStock = "sh600000";

struct Moment {
  const Market& market;
  Instant now;
  Date day = market_server::model::SessionDate(now);

  [[nodiscard]] Quote QuoteOf(const char* code) const { return market.QuoteOf(*market.Find(code), now); }
};

// What a pane has to show at a moment.
struct Truth {
  const char* page;
  const char* pane;
  Lines columns;          // of a list; none: of a chart or sheet, each line stands somewhere in it
  std::size_t first = 0;  // as many rows are compared; 0: all
  Lines (*of)(const Moment& moment) = nullptr;
};

template <class... Pieces>
std::string Row(const Pieces&... pieces) {
  return ((std::string(pieces) + " | ") + ...);
}

// The place of a minute of the session, 09:30 is 0 and 15:00 is 240.
int Place(int clock) {
  const int minute = clock / 100 * 60 + clock % 100 - (9 * 60 + 30);
  return minute > 120 ? minute - 90 : minute;
}

std::string Point(std::size_t curve, int x, double y) {
  return "curve " + std::to_string(curve) + ": " + std::to_string(x) + " " + Fixed(y, 4) + "\n";
}
std::string Points(std::size_t curve, std::size_t count) {
  return "curve " + std::to_string(curve) + " has " + std::to_string(count) + "\n";
}

// Of a stock whose change is that of the day, or of the last five minutes.
template <double Quote::*kChange>
std::string Ranked(const Quote& quote) {
  return Row(quote.security->code, quote.security->name, Fixed(quote.last, 2),
             SignedPercent(quote.*kChange, 2));
}

// A stock that is suspended has a price on the board and nothing that moves.
std::string OnBoard(const Quote& quote) {
  return market_server::model::Trades(quote.status)
             ? Ranked<&Quote::change>(quote) +
                   Row(Fixed(quote.high, 2), ShortAmount(static_cast<double>(quote.vol)))
             : Row(quote.security->code, quote.security->name, Fixed(quote.last, 2), "--", "--", "--");
}

// Those that rose most first, equal ones by code; or the other way round.
template <double Quote::*kChange = &Quote::change>
Lines Ordered(std::vector<Quote> quotes, bool falls, std::string (*row)(const Quote& quote)) {
  std::stable_sort(quotes.begin(), quotes.end(), [falls](const Quote& a, const Quote& b) {
    return falls ? a.*kChange < b.*kChange : a.*kChange > b.*kChange;
  });
  Lines lines;
  for (const Quote& quote : quotes) {
    lines.push_back(row(quote));
  }
  return lines;
}

template <double Quote::*kChange, bool kFalls>
Lines StockRanking(const Moment& moment) {
  return Ordered<kChange>(moment.market.BoardAt(moment.now)->stocks, kFalls, &Ranked<kChange>);
}

// A plate without members has none that leads; `nothing` is said of its change then.
std::string Lead(const Quote& quote, const char* nothing) {
  return quote.lead == nullptr ? Row("", nothing)
                               : Row(quote.lead->name, SignedPercent(quote.lead_change, 2));
}

Lines Industries(const Moment& moment, std::string (*row)(const Quote& quote)) {
  std::vector<Quote> plates = moment.market.BoardAt(moment.now)->plates;
  std::erase_if(plates, [](const Quote& quote) { return quote.security->plate_kind != 1; });
  return Ordered(plates, false, row);
}

Lines QuoteLines(const Moment& moment) {
  const Quote quote = moment.QuoteOf(kStock);
  Lines lines = {quote.security->name,           Fixed(quote.last, 2),
                 SignedPercent(quote.change, 2), cli::Signed(quote.diff, 2),
                 ShortAmount(quote.amt),         ShortAmount(static_cast<double>(quote.vol))};
  for (const double price :
       {quote.open, quote.high, quote.low, quote.preclose, quote.limit_up, quote.limit_down}) {
    lines.push_back(Fixed(price, 2));
  }
  for (const auto* const side : {&quote.bids, &quote.asks}) {
    for (const auto& level : *side) {
      lines.push_back(Fixed(level.price, 2));
    }
  }
  return lines;
}

Lines MinuteLines(const Moment& moment) {
  const auto line = moment.market.MinuteLineOf(*moment.market.Find(kStock), moment.day, moment.now);
  Lines lines = {Points(1, line.points.size())};
  for (const auto& point : line.points) {
    lines.push_back(Point(1, Place(point.minute), point.last));
    lines.push_back(Point(0, Place(point.minute), point.amt / static_cast<double>(point.vol)));
  }
  return lines;
}

Lines CandleLines(const Moment& moment) {
  using namespace market_server::model;
  const Security& stock = *moment.market.Find(kStock);
  std::vector<Candle> candles =
      moment.market.Candles(stock, Period::kDay, Adjustment::kNone, PreviousTradingDay(moment.day));
  candles.push_back(*moment.market.DayCandle(stock, moment.now));
  Lines lines;
  for (std::size_t i = candles.size() - 20; i < candles.size(); ++i) {
    const Candle& one = candles[i];
    lines.push_back("candle " + std::to_string(i) + ": " +
                    Row(Fixed(one.open, 2), Fixed(one.high, 2), Fixed(one.low, 2), Fixed(one.close, 2)));
  }
  return lines;
}

Lines FlowLines(const Moment& moment) {
  const auto flows = moment.market.FlowsOf(*moment.market.Find(kStock), moment.now);
  Lines lines;
  for (const auto& [days, of] : {std::pair("1 day, ", &flows.d1), std::pair("5 days, ", &flows.d5),
                                 std::pair("10 days, ", &flows.d10)}) {
    const auto yuan = [](std::uint64_t amount) { return static_cast<double>(amount); };
    const auto net = [&](std::uint64_t in, std::uint64_t out) {
      return cli::SignedShortAmount(yuan(in) - yuan(out));
    };
    lines.push_back(days + ("big in " + ShortAmount(yuan(of->big_in))) + ", big out " +
                    ShortAmount(yuan(of->big_out)) + ", big net " + net(of->big_in, of->big_out) +
                    ", small in " + ShortAmount(yuan(of->small_in)) + ", small out " +
                    ShortAmount(yuan(of->small_out)) + ", small net " + net(of->small_in, of->small_out));
  }
  return lines;
}

Lines PlateLines(const Moment& moment) {
  Lines lines;
  for (const auto* const plate : moment.market.PlatesOf(*moment.market.Find(kStock), 1)) {
    lines.push_back(Row(plate->code, plate->name));
  }
  return lines;
}

Lines StrengthLines(const Moment& moment) {
  const auto rows = moment.market.BreadthOn(moment.day, moment.now);
  Lines lines = {Points(0, rows.size()), Points(1, rows.size())};
  for (const auto& row : rows) {
    lines.push_back(Point(0, Place(row.minute), row.down));
    lines.push_back(Point(1, Place(row.minute), row.up));
  }
  lines.push_back("up " + std::to_string(rows.back().up));
  lines.push_back("down " + std::to_string(rows.back().down));
  return lines;
}

Lines EffectLines(const Moment& moment) {
  const auto rows = moment.market.BreadthOn(moment.day, moment.now);
  Lines lines = {Points(0, rows.size()), cli::Signed(rows.back().average, 4)};
  for (const auto& row : rows) {
    lines.push_back(Point(0, Place(row.minute), row.average));
  }
  return lines;
}

Lines DistributionLines(const Moment& moment) {
  static constexpr std::array kRanges = {"limit down", "below -7%",  "-7% to -5%", "-5% to -3%", "-3% to 0%",
                                         "0% to +3%",  "+3% to +5%", "+5% to +7%", "above +7%",  "limit up"};
  const auto spread = moment.market.DistributionOn(moment.day, moment.now);
  Lines lines = {cli::DateText(moment.day) + " up " + std::to_string(spread.up) + " unchanged " +
                 std::to_string(spread.unchanged) + " down " + std::to_string(spread.down)};
  double total = 0;
  for (const std::int32_t count : spread.buckets) {
    total += count;
  }
  for (std::size_t i = 0; i < kRanges.size(); ++i) {
    lines.push_back(std::string("; ") + kRanges.at(i) + " " + std::to_string(spread.buckets.at(i)) + " " +
                    Fixed(spread.buckets.at(i) / total * 100, 1) + "%");
  }
  return lines;
}

Lines EventLines(const Moment& moment) {
  Lines lines;
  for (const auto& event : moment.market.Events(moment.day, moment.now)) {
    lines.push_back(Row(cli::ClockTime(static_cast<std::int64_t>(event.time)), event.content));
  }
  return lines;
}

// The oldest day first; the first one of all is what the second is compared with.
Lines MarginLines(const Moment& moment) {
  const auto days = moment.market.Margin(moment.now, 120);
  Lines lines;
  for (std::size_t i = days.size() - 1; i-- > 0;) {
    const auto balance = [&days](std::size_t day) {
      return static_cast<double>(days[day].sh_balance + days[day].sz_balance);
    };
    lines.push_back(Row(cli::DateText(days[i].date), Fixed(std::trunc(days[i].sh_close), 0),
                        Fixed(std::trunc(days[i].sz_close), 0), Fixed(balance(i) / 1e8, 2) + "亿",
                        cli::SignedShortAmount(balance(i) - balance(i + 1))));
  }
  return lines;
}

Lines NewShareLines(const Moment& moment) {
  const auto figure = [](double value, int decimals) {
    return value == 0 ? std::string("--") : Fixed(value, decimals);
  };
  Lines lines;
  for (const auto& share : moment.market.NewShares(moment.now)) {
    lines.push_back(Row(share.security->code, share.security->name, share.buy_code,
                        cli::DateText(share.publish), cli::DateText(share.publish_online),
                        figure(share.publish_price, 2), figure(share.pe, 2), figure(share.publish_num, 0),
                        figure(share.publish_online_num, 0), figure(share.buy_limit, 2),
                        figure(share.total_price, 2), figure(share.chance, 4)));
  }
  return lines;
}

// Of 2024, as the exchanges announced them; days of the weekends left out.
Lines CalendarLines(const Moment& /*moment*/) {
  return {Row("2024-01", "22", "01"),       Row("2024-02", "15", "09 12 13 14 15 16"),
          Row("2024-03", "21", ""),         Row("2024-04", "20", "04 05"),
          Row("2024-05", "20", "01 02 03"), Row("2024-06", "19", "10"),
          Row("2024-07", "23", ""),         Row("2024-08", "22", ""),
          Row("2024-09", "19", "16 17"),    Row("2024-10", "18", "01 02 03 04 07"),
          Row("2024-11", "21", ""),         Row("2024-12", "22", "")};
}

// Of the first plate.
Lines MemberLines(const Moment& moment) {
  std::vector<Quote> quotes = moment.market.BoardAt(moment.now)->stocks;
  const auto members = moment.market.Members(moment.market.plates().front());
  std::erase_if(quotes, [&](const Quote& quote) {
    return std::find(members.begin(), members.end(), quote.security) == members.end();
  });
  return Ordered(quotes, false, &Ranked<&Quote::change>);
}

const Lines kRankingColumns = {"code", "name", "last", "change"};
constexpr std::size_t kRankedRows = 50;

const Truth kTruths[] = {
    {"board",
     "board",
     {"code", "name", "last", "change", "high", "vol"},
     20,
     [](const Moment& moment) {
       return Ordered(moment.market.BoardAt(moment.now)->stocks, false, &OnBoard);
     }},
    {"board",
     "indices",
     {},
     0,
     [](const Moment& moment) {
       Lines lines;
       for (const char* const code : {"sh000001", "sz399001", "sz399006"}) {
         const Quote quote = moment.QuoteOf(code);
         lines.push_back(quote.security->name + " " + Fixed(quote.last, 2) + " " +
                         cli::Signed(quote.diff, 2) + " " + SignedPercent(quote.change, 2));
       }
       return lines;
     }},
    {"stock", "quote", {}, 0, &QuoteLines},
    {"stock", "minutes", {}, 0, &MinuteLines},
    {"stock", "candles", {}, 0, &CandleLines},
    {"stock", "flows", {}, 0, &FlowLines},
    {"stock", "plates-of", {"code", "name"}, 0, &PlateLines},
    {"plates",
     "plates",
     {"code", "name", "last", "change", "num_u", "num_z", "num_d", "lead", "lead_change", "amt"},
     20,
     [](const Moment& moment) {
       return Industries(moment, [](const Quote& quote) {
         return Ranked<&Quote::change>(quote) +
                Row(std::to_string(quote.num_u), std::to_string(quote.num_z), std::to_string(quote.num_d)) +
                Lead(quote, "--") + Row(ShortAmount(quote.amt));
       });
     }},
    {"plates", "members", kRankingColumns, 10, &MemberLines},
    {"ranks", "gainers", kRankingColumns, kRankedRows, &StockRanking<&Quote::change, false>},
    {"ranks", "losers", kRankingColumns, kRankedRows, &StockRanking<&Quote::change, true>},
    {"ranks", "risers-now", kRankingColumns, kRankedRows, &StockRanking<&Quote::five_change, false>},
    {"ranks", "fallers-now", kRankingColumns, kRankedRows, &StockRanking<&Quote::five_change, true>},
    {"ranks",
     "plate-ranking",
     {"code", "name", "change", "bpin", "cud", "lead", "lead_change"},
     kRankedRows,
     [](const Moment& moment) {
       return Industries(moment, [](const Quote& quote) {
         return Row(quote.security->code, quote.security->name, SignedPercent(quote.change, 2),
                    ShortAmount(quote.bpin), std::to_string(quote.cud)) +
                Lead(quote, "0.00%");
       });
     }},
    {"breadth", "strength", {}, 0, &StrengthLines},
    {"breadth", "effect", {}, 0, &EffectLines},
    {"breadth", "distribution", {}, 0, &DistributionLines},
    {"events", "events", {"time", "event"}, 0, &EventLines},
    {"more", "margin", {"date", "Shanghai", "Shenzhen", "balance", "change"}, 0, &MarginLines},
    {"more",
     "new-shares",
     {"code", "name", "apply", "published", "online on", "price", "pe", "issued", "online", "limit", "raised",
      "chance"},
     0,
     &NewShareLines},
    {"more", "calendar", {"month", "trading days", "holidays"}, 0, &CalendarLines},
};

class FiguresTest : public RunningDesk {
 protected:
  [[nodiscard]] const Pane& PaneOf(const Truth& truth) const {
    const Pane* const pane = window_->page().Find(truth.pane);
    return pane == nullptr ? window_->indices() : *pane;
  }

  static Lines RowsOf(const ListPane& pane, const Lines& columns) {
    auto& list = const_cast<ListPane&>(pane);
    Lines rows;
    for (int row = 0; row < list.table().rowCount(); ++row) {
      std::string line;
      for (const std::string& column : columns) {
        line += Cell(list, row, column) + " | ";
      }
      rows.push_back(line);
    }
    return rows;
  }

  // What a chart or a sheet says of itself, and all that is drawn of curves and candles.
  static std::string PictureOf(const Pane& pane) {
    std::string text = Described(pane);
    const std::vector<QwtPlot*> plots = desktop::PlotsOf(pane);
    if (plots.empty()) {
      return text;
    }
    std::size_t number = 0;
    for (const QwtPlotItem* const curve : plots.front()->itemList(QwtPlotItem::Rtti_PlotCurve)) {
      const auto& series = desktop::SeriesOf<QPointF>(*curve);
      text += Points(number, series.dataSize());
      for (int i = 0; i < static_cast<int>(series.dataSize()); ++i) {
        text += Point(number, static_cast<int>(series.sample(i).x()), series.sample(i).y());
      }
      ++number;
    }
    for (const auto& one :
         desktop::SamplesOf<QwtOHLCSample>(*plots.front(), QwtPlotItem::Rtti_PlotTradingCurve)) {
      text += "candle " + std::to_string(static_cast<int>(one.time)) + ": " +
              Row(Fixed(one.open, 2), Fixed(one.high, 2), Fixed(one.low, 2), Fixed(one.close, 2)) + "\n";
    }
    return text;
  }

  /// Empty: the pane shows what it has to.
  [[nodiscard]] std::string Difference(const Truth& truth, Lines expected) const {
    const Pane& pane = PaneOf(truth);
    const auto* const list = dynamic_cast<const ListPane*>(&pane);
    if (list == nullptr) {
      const std::string shown = PictureOf(pane);
      for (const std::string& line : expected) {
        if (shown.find(line) == std::string::npos) {
          return "\"" + line + "\" is not in " + shown;
        }
      }
      return expected.empty() ? "nothing to compare" : "";
    }
    Lines shown = RowsOf(*list, truth.columns);
    if (truth.first != 0) {
      expected.resize(std::min(expected.size(), truth.first));
      shown.resize(std::min(shown.size(), truth.first));
    }
    for (std::size_t i = 0; i < std::min(shown.size(), expected.size()); ++i) {
      if (shown[i] != expected[i]) {
        return "row " + std::to_string(i) + ": " + shown[i] + " and not " + expected[i];
      }
    }
    return shown.size() == expected.size() && !shown.empty()
               ? ""
               : std::to_string(shown.size()) + " rows and not " + std::to_string(expected.size());
  }

  void Begin(const std::string& clock) {
    ASSERT_NO_FATAL_FAILURE(Open("plates", clock));
    ASSERT_NO_FATAL_FAILURE(Select(market_->plates().front().code));
    ASSERT_NO_FATAL_FAILURE(Select(kStock));
  }

  void ExpectAllFigures() {
    for (const Truth& truth : kTruths) {
      ExpectFigures(truth);
    }
  }

  void ExpectFigures(const Truth& truth) {
    if (window_->page().kind().name != truth.page) {
      window_->ShowPage(truth.page);
    }
    if (QDockWidget* const dock = window_->page().Dock(truth.pane)) {
      dock->raise();
    }
    if (auto* const list = window_->page().Find(truth.pane)) {
      if (auto* const rows = list->findChild<QTableView*>()) {
        rows->scrollToTop();
      }
    }
    const Lines expected = truth.of({*market_, market_->FeedTime(Now())});
    std::string difference;
    EXPECT_TRUE(Await(
        [&] {
          difference = Difference(truth, expected);
          return difference.empty();
        },
        50))
        << truth.pane << ": " << difference.substr(0, 2000);
  }
};

// Answers that a client has to put up with: late, in pieces, packed, over a connection that ends, and now and
// then none at all.
const std::vector<std::string> kHardships[] = {
    {}, {"gzip", "jitter::1:100"}, {"chunked"}, {"close_on_reuse"}, {"truncated::0.3", "errno::0.2"}};

TEST_F(FiguresTest, areTheMarketsInEveryPaneThroughTheDayAndOnTheNextWhateverTheLine) {
  ASSERT_NO_FATAL_FAILURE(Begin("2024-03-15 10:05:00"));
  const auto* faults = std::begin(kHardships);
  for (const char* const clock : {"2024-03-15 10:05:00", "2024-03-15 12:10:00", "2024-03-15 14:30:21",
                                  "2024-03-15 16:00:00", "2024-03-18 09:45:00"}) {
    SCOPED_TRACE(clock);
    server_->SetFaults(*faults++);
    server_->SetClock(clock);
    ExpectAllFigures();
  }
}

TEST_F(FiguresTest, areThoseOfAFallingMarket) {
  server_options_.scenario = "crash";
  ASSERT_NO_FATAL_FAILURE(Begin("2024-03-15 14:40:00"));
  ASSERT_LT(QuoteOf(L"sh000001").change, -5);
  ExpectAllFigures();
}

// A feed that has stopped answers with what it had; later the figures are new ones.
TEST_F(FiguresTest, areThoseOfTheLastInstantWhileTheFeedStandsAndNewAfterwards) {
  server_options_.scenario = "outage";
  ASSERT_NO_FATAL_FAILURE(Begin("2024-03-15 09:50:00"));
  for (const char* const clock : {"2024-03-15 11:00:00", "2024-03-15 13:10:00"}) {
    SCOPED_TRACE(clock);
    server_->SetClock(clock);
    ExpectAllFigures();
  }
}

// Its quote and charts have no figures of the day, and say so.
TEST_F(FiguresTest, ofAStockThatIsSuspendedAreNotMadeUp) {
  server_options_.scenario = "suspended";
  ASSERT_NO_FATAL_FAILURE(Begin("2024-03-15 14:40:00"));
  ASSERT_FALSE(market_server::model::Trades(QuoteOf(L"sh600000").status));
  const Pane& quote = *window_->page().Find("quote");
  EXPECT_TRUE(Await([&] { return Described(quote).find("suspended") != std::string::npos; }))
      << Described(quote);
}

}  // namespace
