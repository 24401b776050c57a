// Every panel of the live screen while the market server misbehaves: whatever an answer holds, each figure
// that is drawn is one of the record that the view has, in its row and column, and none is called live after
// a failed exchange. The records are read as their views write them for other programs, digit by digit.
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "../scripted_host/sleeping_threads.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/market_rows.h"
#include "cli/screen/view_panel.h"
#include "cli/views/feed_health.h"
#include "cli/views/market_views.h"
#include "panel_surroundings.h"
#include "running_market.h"

namespace {

using cli::FeedState;
using rapidjson::Value;
using Words = std::vector<std::string>;

constexpr cli::ChartSize kWall{300, 40};

Words WordsIn(const std::string& text) {
  std::istringstream stream(text);
  Words words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

// Without the marks of a cursor, of the current row and of figures that moved.
Words Drawn(const std::string& line) {
  Words words = WordsIn(line);
  std::erase_if(words, [](const std::string& word) { return word == "▸" || word == "•"; });
  for (std::string& word : words) {
    for (const std::string mark : {cli::kRose, cli::kFell}) {
      if (word.size() > mark.size() && word.ends_with(mark)) {
        word.resize(word.size() - mark.size());
      }
    }
  }
  return words;
}

const Value& At(const Value& object, const std::string& member) {
  static const Value kNothing;
  return object.HasMember(member.c_str()) ? object[member.c_str()] : kNothing;
}

double Number(const Value& value) {
  return value.IsNumber() ? value.GetDouble() : std::nan("");
}

std::string TextIn(const Value& value) {
  return cli::Clip(cli::Printable(std::string_view(value.GetString(), value.GetStringLength())), 24);
}

// How a value of the record is written under that head.
std::string Written(const std::string& head, const Value& value) {
  using Heads = std::set<std::string>;
  static const Heads kSignedPercents = {"change", "cr", "lead_change"};
  static const Heads kAmounts = {"vol", "amt", "mc", "cmc", "tso", "shares", "bpin"};
  static const Heads kCounts = {"cud", "num_u", "num_z", "num_d", "status"};
  if (value.IsString()) {
    return TextIn(value);
  }
  const double number = Number(value);
  if (std::isnan(number)) {
    return "--";
  }
  if (head == "diff") {
    return cli::Signed(number, 2);
  }
  if (head == "tr" || head == "amp") {
    return cli::Fixed(number, 2) + "%";
  }
  return kSignedPercents.contains(head) ? cli::SignedPercent(number, 2)
         : kAmounts.contains(head)      ? cli::ShortAmount(number)
                                        : cli::Fixed(number, kCounts.contains(head) ? 0 : 2);
}

// The words of each line that a panel draws of `data`; of a chart those above it.
using Expect = std::vector<Words> (*)(const Value& data, const std::vector<std::string>& lines);

std::vector<Words> Rows(const Value& data, const std::vector<std::string>& lines) {
  std::vector<Words> rows = {WordsIn(lines.front())};
  for (const Value& record : data.GetArray()) {
    std::string row;
    for (const std::string& head : rows.front()) {
      const std::string member = head == "code" && record.HasMember("bk") ? "bk" : head;
      const bool is_number = head == "#" || head == "row";
      row += " " + (is_number ? std::to_string(rows.size() - (head == "row" ? 1 : 0))
                              : Written(head, At(record, member)));
    }
    rows.push_back(WordsIn(row));
  }
  return rows;
}

std::vector<Words> Events(const Value& data, const std::vector<std::string>& /*lines*/) {
  std::vector<Words> rows = {{"time", "event"}};
  for (const Value& event : data.GetArray()) {
    std::string row;
    for (const char* const member : {"time", "content"}) {
      const Value& text = event[member];
      row += cli::Printable(std::string_view(text.GetString(), text.GetStringLength())) + " ";
    }
    rows.push_back(WordsIn(row));
  }
  return rows;
}

std::vector<Words> Quote(const Value& data, const std::vector<std::string>& /*lines*/) {
  static constexpr const char* kPrices[] = {"open",     "high",       "low", "preclose", "avg_price",
                                            "limit_up", "limit_down", "amp", "pe",       "pb"};
  static constexpr const char* kTrade[] = {"vol", "amt", "tr", "qrr", "cr", "mc", "cmc", "tso", "shares"};
  const Value& quote = data[0];
  std::vector<Words> lines(12);
  for (const char* const member : {"code", "name", "last", "diff", "change"}) {
    const Value& value = quote[member];
    const std::string text =
        value.IsString() ? cli::Printable(std::string_view(value.GetString(), value.GetStringLength()))
                         : Written(member, value);
    std::ranges::copy(WordsIn(text), std::back_inserter(lines[0]));
  }
  const auto status = static_cast<int>(Number(quote["status"]));
  if (status >= 1 && status <= 7) {
    std::ranges::copy(WordsIn(status == 5   ? "new listing"
                              : status == 6 ? "ex rights"
                                            : "suspended"),
                      std::back_inserter(lines[0]));
  }
  const auto add = [&](std::size_t line, const char* member) {
    lines[line].push_back(member);
    lines[line].push_back(Written(member, quote[member]));
  };
  for (std::size_t i = 0; i < std::size(kPrices); ++i) {
    add(i + 1, kPrices[i]);
  }
  for (std::size_t i = 0; i < std::size(kTrade); ++i) {
    add(i + 1, kTrade[i]);
  }
  const auto level = [&](const std::string& side, rapidjson::SizeType i, std::size_t line) {
    const Value& prices = quote[(side + "_prices").c_str()];
    const Value& volumes = quote[(side + "_volumes").c_str()];
    const bool has_price = i < prices.Size() && prices[i].IsNumber();
    const bool has_volume = i < volumes.Size() && volumes[i].IsNumber();
    lines[line].push_back(side + std::to_string(i + 1));
    lines[line].push_back(has_price ? cli::Fixed(prices[i].GetFloat(), 2) : "--");
    lines[line].push_back(has_volume ? cli::Fixed(volumes[i].GetDouble(), 0) : "--");
  };
  for (rapidjson::SizeType i = 0; i < 5; ++i) {
    level("ask", i, 5 - i);
    level("bid", i, 7 + i);
  }
  lines[6].push_back("-------------------------------");
  return lines;
}

std::vector<Words> Flows(const Value& data, const std::vector<std::string>& lines) {
  std::vector<Words> rows = {WordsIn("code name days big in big out big net small in small out small net")};
  // Amounts below zero arrive wrapped around.
  const auto yuan = [](std::uint64_t amount) {
    return static_cast<double>(static_cast<std::int64_t>(amount));
  };
  for (const char* const days : {"d1", "d5", "d10"}) {
    const Value& period = data[days];
    const Words drawn = WordsIn(lines[rows.size()]);
    Words row = {TextIn(data["symbol"]), drawn.at(1), days + 1};
    for (const std::string size : {"big", "small"}) {
      const std::uint64_t in = period[(size + "_in").c_str()].GetUint64();
      const std::uint64_t out = period[(size + "_out").c_str()].GetUint64();
      row.push_back(cli::ShortAmount(yuan(in)));
      row.push_back(cli::ShortAmount(yuan(out)));
      row.push_back(cli::SignedShortAmount(yuan(in - out)));
    }
    rows.push_back(row);
  }
  return rows;
}

std::vector<Words> Minutes(const Value& data, const std::vector<std::string>& /*lines*/) {
  const Value& day = data["days"][data["days"].Size() - 1];
  const Value& last = day["points"][day["points"].Size() - 1];
  double amount = 0;
  for (const Value& point : day["points"].GetArray()) {
    amount += Number(point["amount"]);
  }
  return {WordsIn(cli::DateText(day["date"].GetUint()) + " " + cli::MinuteText(last["time"].GetInt()) + " " +
                  cli::Fixed(Number(last["price"]), 2) + " " + cli::Signed(Number(last["change"]), 2) + " " +
                  cli::SignedPercent(Number(last["change_rate"]), 2) + " amount " +
                  cli::ShortAmount(amount))};
}

std::vector<Words> Candles(const Value& data, const std::vector<std::string>& /*lines*/) {
  std::vector<const Value*> candles;
  for (const Value& candle : data["candles"].GetArray()) {
    if (Number(candle["close"]) > 0) {
      candles.push_back(&candle);
    }
  }
  const Value& last = *candles.back();
  const double close = Number(last["close"]);
  const double preclose = Number(last["preclose"]);
  Words words = {cli::DateText(last["date"].GetUint()), cli::Fixed(close, 2)};
  if (preclose > 0) {
    words.push_back(cli::SignedPercent((close - preclose) / preclose * 100, 2));
  }
  words.insert(words.end(), {"amount", cli::ShortAmount(Number(last["amount"]))});
  for (const std::size_t span : {5U, 10U, 20U, 60U}) {
    double sum = 0;
    for (std::size_t i = 0; i < std::min(span, candles.size()); ++i) {
      sum += Number((*candles[candles.size() - 1 - i])["close"]);
    }
    words.push_back("MA" + std::to_string(span));
    words.push_back(candles.size() < span ? "--" : cli::Fixed(sum / static_cast<double>(span), 2));
  }
  return {words};
}

std::vector<Words> Strength(const Value& data, const std::vector<std::string>& /*lines*/) {
  const Value& last = data[data.Size() - 1];
  return {WordsIn("Strength 2024-03-15 " + cli::MinuteText(last["min"].GetInt()) + " up " +
                  cli::Fixed(Number(last["up"]), 0) + " (line) down " + cli::Fixed(Number(last["down"]), 0) +
                  " (dots)")};
}

std::vector<Words> Effect(const Value& data, const std::vector<std::string>& /*lines*/) {
  const Value& last = data[data.Size() - 1];
  return {WordsIn("Money-making effect 2024-03-15 " + cli::MinuteText(last["time"].GetInt()) + " " +
                  cli::Signed(Number(last["average"]), 4))};
}

std::vector<Words> Spread(const Value& data, const std::vector<std::string>& lines) {
  const auto count = [](const Value& value) { return cli::Fixed(Number(value), 0); };
  std::vector<Words> rows = {WordsIn("2024-03-15 up " + count(data["up"]) + " unchanged " +
                                     count(data["nochange"]) + " down " + count(data["down"]))};
  const auto buckets = data["first_half"].Size() + data["second_half"].Size();
  for (const char* const half : {"first_half", "second_half"}) {
    for (const Value& bucket : data[half].GetArray()) {
      Words words = WordsIn(cli::RangeName(rows.size() - 1, buckets));
      const double share = Number(bucket["ratio"]) * 100;
      words.insert(words.end(), {count(bucket["count"]), cli::Fixed(share, 1) + "%"});
      const Words drawn = WordsIn(lines.at(rows.size()));
      if (drawn.size() > words.size()) {
        words.push_back(drawn.back());  // the bar
      }
      rows.push_back(words);
    }
  }
  return rows;
}

class ScreenFaults : public RunningMarket {
 protected:
  struct Part {
    const char* name;
    std::unique_ptr<cli::Panel> panel;
    Expect expect;
    bool is_chart;
    const cli::View* view = nullptr;  // of the panel
  };

  ScreenFaults() { options_.stocks = 100; }

  template <class PanelType>
  void Add(const char* name, std::unique_ptr<cli::View> view, Expect expect, bool is_chart = false) {
    parts_.push_back({name, std::make_unique<PanelType>(around_.context, std::move(view)), expect, is_chart});
  }

  void Open() {
    ASSERT_NO_FATAL_FAILURE(StartAll("2024-03-15 14:30:00", 0));
    ASSERT_TRUE(LoadReferenceData());
    const auto now = static_cast<market_server::model::Instant>(Now());
    const auto stocks = market_->Stocks(now);
    const auto traded = std::find_if(stocks.begin(), stocks.end(), [&](const auto* stock) {
      return market_->DayCandle(*stock, now).has_value();
    });
    ASSERT_NE(traded, stocks.end());
    const cli::Security stock = cli::SecurityOf(common::s2ws((*traded)->code, common::kUtf8),
                                                common::s2ws((*traded)->name, common::kUtf8));
    std::string error;
    ASSERT_TRUE(stock_host::AddToWatchList(stock.code, error)) << error;
    const cli::ViewContext& views = around_.context.views;
    const cli::ListChoice stock_list = cli::ListBy(cli::kStockColumns);
    const cli::ListChoice plate_list = cli::ListBy(cli::kPlateColumns);
    Add<cli::ViewPanel>("index", std::make_unique<cli::IndexView>(views), &Rows);
    Add<cli::ListPanel>("board", std::make_unique<cli::BoardView>(views, stock_list), &Rows);
    Add<cli::ListPanel>("plates", std::make_unique<cli::PlatesView>(views, plate_list), &Rows);
    Add<cli::ListPanel>("members", std::make_unique<cli::MembersView>(views, plate_list), &Rows);
    Add<cli::ListPanel>("stock ranking",
                        std::make_unique<cli::StockRankingView>(views, stock_list, 30, false), &Rows);
    Add<cli::ListPanel>("plate ranking", std::make_unique<cli::PlateRankingView>(views, plate_list, 30),
                        &Rows);
    Add<cli::ListPanel>("watch list",
                        std::make_unique<cli::WatchListView>(views, cli::ListBy(cli::kWatchListColumns, 0)),
                        &Rows);
    Add<cli::ListPanel>("events", std::make_unique<cli::EventsView>(views, 0, std::nullopt), &Events);
    Add<cli::ViewPanel>("quote", std::make_unique<cli::QuoteView>(views), &Quote);
    Add<cli::ViewPanel>("flows", std::make_unique<cli::FlowView>(views), &Flows);
    Add<cli::ViewPanel>("spread", std::make_unique<cli::DistributionView>(views, 0), &Spread);
    Add<cli::ChartPanel>("strength", cli::MakeStrengthView(views, 0), &Strength, true);
    Add<cli::ChartPanel>("effect", cli::MakeEffectView(views, 0), &Effect, true);
    parts_.push_back({"minutes", cli::MakeMinuteLinePanel(around_.context), &Minutes, true});
    parts_.push_back({"candles", cli::MakeKLinePanel(around_.context), &Candles, true});
    for (Part& part : parts_) {
      auto* const panel = dynamic_cast<cli::ViewPanel*>(part.panel.get());
      ASSERT_NE(panel, nullptr);
      part.view = &panel->view();
      panel->Select(stock);
      panel->Select({L"bk1001", L"", stock::kSymbolPlate});
      panel->Select(stock);
      panel->Show();
    }
    AwaitPictures();
  }

  // Until every panel draws what the server sends.
  void AwaitPictures() {
    for (const Part& part : parts_) {
      SCOPED_TRACE(part.name);
      ASSERT_TRUE(around_.RunUntil([&] { return part.view->has_data() && part.view->WhyEmpty().empty(); }));
    }
  }

  // Asks once more for everything, until all that came of it has reached the views.
  void AskAgain() {
    const auto all_answered = [] { return stock_host::ReadCounters().under_way == 0; };
    ASSERT_TRUE(around_.RunUntil(all_answered));
    for (const Part& part : parts_) {
      part.panel->Refresh();
    }
    ASSERT_TRUE(around_.RunUntil(all_answered));
    AwaitSleepingThreads();
    around_.RunPosted();
  }

  // Compares all that is drawn with the records. How many panels draw something.
  int Compare() {
    int drawing = 0;
    for (const Part& part : parts_) {
      const std::vector<std::string> lines = tests::TextsOf(part.panel->Picture(kWall));
      if (lines.empty()) {
        EXPECT_FALSE(part.view->has_data() && part.view->WhyEmpty().empty()) << part.name << " draws nothing";
        continue;
      }
      drawing += part.is_chart || lines.size() > 1 ? 1 : 0;
      rapidjson::Document record;
      record.Parse<rapidjson::kParseFullPrecisionFlag>(part.view->JsonLine().c_str());
      EXPECT_FALSE(record.HasParseError()) << part.name;
      const std::vector<Words> wanted = part.expect(record["data"], lines);
      for (std::size_t i = 0; i < lines.size() && (i == 0 || !part.is_chart); ++i) {
        const bool is_note = i == lines.size() - 1 && lines[i] == part.view->Note();
        EXPECT_TRUE(is_note || i < wanted.size()) << part.name << " has a line of nothing: " << lines[i];
        EXPECT_TRUE(is_note || i >= wanted.size() || Drawn(lines[i]) == wanted[i])
            << part.name << " draws\n  " << lines[i] << "\nof\n  " << testing::PrintToString(wanted[i]);
      }
    }
    return drawing;
  }

  tests::PanelSurroundings around_;
  std::vector<Part> parts_;
};

// Of each kind of damage, at the depth of records where that can be said. Left out is what takes its time:
// floods, and lines that are silent until the limit; nothing of those reaches a view.
constexpr const char* kDamaged[] = {"null",
                                    "null::1:data/*/*",
                                    "null::1:data/list/*/*",
                                    "null::1:data/list/*/last",
                                    "null::1:data/*/last",
                                    "missing::1:data/*/*",
                                    "missing",
                                    "missing::1:data/list/*",
                                    "wrong_type::1:data/*/*",
                                    "wrong_type::1:data/list/*/*",
                                    "no_rows",
                                    "hostile_numbers",
                                    "hostile_texts",
                                    "duplicate_keys",
                                    "invalid_utf8",
                                    "empty_object",
                                    "array_root",
                                    "old_answer",
                                    "gzip",
                                    "chunked",
                                    "reorder",
                                    "errno",
                                    "not_json",
                                    "truncated",
                                    "length_short"};
constexpr const char* kFailing[] = {"status", "gzip_wrong", "chunked_cut", "close_in_body",
                                    "reset_in_header"};

TEST_F(ScreenFaults, everyFigureIsThatOfItsRecord) {
  ASSERT_NO_FATAL_FAILURE(Open());
  EXPECT_EQ(Compare(), std::ssize(parts_));
  for (const char* const fault : kDamaged) {
    SCOPED_TRACE(fault);
    server_->SetFaults({fault});
    ASSERT_NO_FATAL_FAILURE(AskAgain());
    Compare();
  }
  server_->SetFaults({});
  ASSERT_NO_FATAL_FAILURE(AskAgain());
  ASSERT_NO_FATAL_FAILURE(AwaitPictures());
  EXPECT_EQ(Compare(), std::ssize(parts_));
}

TEST_F(ScreenFaults, figuresOfBeforeStayAndAreNotLive) {
  ASSERT_NO_FATAL_FAILURE(Open());
  for (const char* const fault : kFailing) {
    SCOPED_TRACE(fault);
    server_->SetFaults({fault});
    ASSERT_NO_FATAL_FAILURE(AskAgain());
    Compare();
    for (const Part& part : parts_) {
      const FeedState state = part.panel->Report(cli::Panel::Clock::now(), cli::CurrentPhase()).state;
      EXPECT_TRUE(state != FeedState::kLive && state != FeedState::kUnchanged)
          << part.name << " is called live";
    }
    server_->SetFaults({});
    ASSERT_NO_FATAL_FAILURE(AskAgain());
    ASSERT_NO_FATAL_FAILURE(AwaitPictures());
    EXPECT_EQ(Compare(), std::ssize(parts_));
  }
}

}  // namespace
