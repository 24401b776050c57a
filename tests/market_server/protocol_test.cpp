// docs/protocol.md says what the server does: its tables are compared with the code. With CSM_UPDATE_DOCS set
// in the environment the page is brought up to date instead. With CSM_WRITE_PAGE the page is written to that
// file, with an answer of a running server below each endpoint (target `protocol_page`).
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "endpoint_fixture.h"
#include "market_server/answer.h"
#include "market_server/gzip.h"
#include "market_server/model/calendar.h"
#include "market_server/routes.h"

namespace market_server::testing {
namespace {

constexpr std::size_t kColumns = 110;
constexpr rapidjson::SizeType kShownElements = 2;

std::string Quoted(const rapidjson::Value& value) {
  std::string text;
  JsonWriter(text).Value(std::string_view(value.GetString(), value.GetStringLength()));
  return text;
}

/// JSON for a reader: on one line what fits there, long arrays cut after their first elements.
std::string Readable(const rapidjson::Value& value, std::size_t indent, bool one_line) {
  if (value.IsString()) return Quoted(value);
  if (value.IsNumber()) {
    std::string text;
    if (value.IsUint64()) {
      JsonWriter(text).Value(value.GetUint64());
    } else if (value.IsInt64()) {
      JsonWriter(text).Value(value.GetInt64());
    } else {
      JsonWriter(text).Value(value.GetDouble());
    }
    return text;
  }
  if (!value.IsArray() && !value.IsObject())
    return value.IsNull() ? "null" : value.GetBool() ? "true" : "false";

  std::vector<std::pair<std::string, const rapidjson::Value*>> parts;
  std::string more;
  if (value.IsArray()) {
    const bool cut = value.Size() > kShownElements + 1 && value[0].IsObject();
    const rapidjson::SizeType shown = cut || value.Size() > 20 ? kShownElements : value.Size();
    for (rapidjson::SizeType i = 0; i < shown; ++i) parts.emplace_back("", &value[i]);
    if (shown < value.Size()) more = "\"... " + std::to_string(value.Size() - shown) + " more\"";
  } else {
    const bool cut = value.MemberCount() > 100;
    for (const auto& member : value.GetObject()) {
      if (cut && parts.size() == kShownElements) {
        more = "\"...\": \"" + std::to_string(value.MemberCount() - kShownElements) + " more\"";
        break;
      }
      parts.emplace_back(Quoted(member.name) + ": ", &member.value);
    }
  }
  const char* brackets = value.IsArray() ? "[]" : "{}";
  std::string line(1, brackets[0]);
  for (const auto& [key, part] : parts)
    line += (line.size() > 1 ? ", " : "") + key + Readable(*part, 0, true);
  if (!more.empty()) line += ", " + more;
  line += brackets[1];
  if (one_line || line.size() + indent <= kColumns) return line;

  // Broken: as many scalar members on a line as fit.
  const std::string margin(indent + 2, ' ');
  std::string text(1, brackets[0]);
  std::string row;
  const auto flush = [&] {
    if (!row.empty()) text += "\n" + margin + row;
    row.clear();
  };
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const bool last = i + 1 == parts.size() && more.empty();
    const std::string item =
        parts[i].first + Readable(*parts[i].second, indent + 2, false) + (last ? "" : ",");
    const bool scalar = !parts[i].second->IsObject() && !parts[i].second->IsArray();
    if (!scalar || margin.size() + row.size() + item.size() + 1 > kColumns) flush();
    row += (row.empty() ? "" : " ") + item;
    if (!scalar) flush();
  }
  if (!more.empty()) row += (row.empty() ? "" : " ") + more;
  flush();
  return text + "\n" + std::string(indent, ' ') + brackets[1];
}

std::string Readable(const std::string& json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(json.data(), json.size());
  return document.HasParseError() ? json : Readable(document, 0, false);
}

std::string KindText(ParameterKind kind) {
  switch (kind) {
    case ParameterKind::kSymbols:
      return "JSON array of symbols, without blanks";
    case ParameterKind::kSymbol:
      return "text";
    case ParameterKind::kStockSort:
      return "column of stocks";
    case ParameterKind::kPlateSort:
      return "column of plates";
    case ParameterKind::kStockType:
      return "board";
    case ParameterKind::kPlateType:
      return "kind of plate";
    case ParameterKind::kDirection:
      return "direction";
    case ParameterKind::kInteger:
      return "signed decimal of 32 bits";
    case ParameterKind::kDate:
      return "YYYYMMDD; 0 is the session of the server's clock";
    case ParameterKind::kYear:
      return "YYYY, or YYYYMMDD for its year";
    case ParameterKind::kSeconds:
      return "seconds since 1970-01-01 UTC";
  }
  return {};
}

QueryMap ExampleQuery(const Route& route) {
  QueryMap query;
  std::istringstream parts{std::string(route.example)};
  for (std::string part; std::getline(parts, part, '&');) {
    const std::size_t equals = part.find('=');
    query[part.substr(0, equals)] = part.substr(equals + 1);
  }
  return query;
}

std::string Endpoints(Bench& bench, bool with_answers) {
  std::string text;
  for (const Route& route : Routes()) {
    text += "### " + std::string(route.path) + "\n\n" + std::string(route.summary) + "\n\n";
    if (route.parameters.empty()) {
      text += "No parameters.\n\n";
    } else {
      text += "| parameter | value |\n|---|---|\n";
      for (const ParameterRule& parameter : route.parameters) {
        text += "| `" + std::string(parameter.name) + "` | " + KindText(parameter.kind) + " |\n";
      }
      text += "\n";
    }
    if (!route.example.empty()) {
      text += "Example: `" + std::string(route.example) + "`\n\n";
    }
    if (with_answers) {
      text += "```\n" + Readable(bench.Get(std::string(route.path), ExampleQuery(route)).body) + "\n```\n\n";
    }
  }
  text.pop_back();
  return text;
}

std::string WordsTable() {
  const auto list = [](ParameterKind kind) {
    std::string text;
    for (const std::string_view word : Words(kind))
      text += (text.empty() ? "`" : ", `") + std::string(word) + "`";
    return text;
  };
  return "| kind | words | empty |\n|---|---|---|\n| column of stocks | " + list(ParameterKind::kStockSort) +
         " | `change` |\n| column of plates | " + list(ParameterKind::kPlateSort) +
         " | `change` |\n| board | " + list(ParameterKind::kStockType) + " | `cn_a` |\n| kind of plate | " +
         list(ParameterKind::kPlateType) + " | both |\n| direction | " + list(ParameterKind::kDirection) +
         " | `desc` |\n";
}

std::string ErrorsTable() {
  std::string text = "| errno | errmsg | when |\n|---|---|---|\n";
  for (const ErrorInfo& error : Errors()) {
    text += "| " + std::to_string(static_cast<int>(error.error)) + " | " + std::string(error.text) + " | " +
            std::string(error.meaning) + " |\n";
  }
  return text;
}

std::string FaultsTable() {
  std::string text = "| fault | stage | argument | what a client meets |\n|---|---|---|---|\n";
  for (const FaultInfo& fault : Faults()) {
    text +=
        "| `" + fault.name + "` | " + fault.stage + " | " + fault.arguments + " | " + fault.summary + " |\n";
  }
  return text;
}

std::string ScenariosTable() {
  std::string text = "| scenario | what happens |\n|---|---|\n";
  for (const ScenarioInfo& scenario : Scenarios())
    text += "| `" + scenario.name + "` | " + scenario.summary + " |\n";
  return text;
}

/// The first lines of a text in a code block.
std::string Head(const std::string& text, int lines) {
  std::size_t end = 0;
  for (int i = 0; i < lines && end != std::string::npos; ++i) end = text.find('\n', end + (i > 0 ? 1 : 0));
  return "```\n" + text.substr(0, end) + "\n```\n";
}

constexpr const char* kPage = CSM_DOCS "/protocol.md";

std::string ReadPage() {
  std::ostringstream page;
  page << std::ifstream(kPage).rdbuf();
  return page.str();
}

/// What `csm serve --clock '2024-03-15 10:30:00' --speed 0` serves, with a key that is known.
Options DefaultMarket(const std::string& clock = "2024-03-15 10:30:00") {
  Options options;
  options.clock = clock;
  options.speed = 0;
  options.keys = {{"test-key", "secret"}};
  return options;
}

TEST(ProtocolPage, agreesWithTheServer) {
  Bench bench(DefaultMarket());
  const std::string version = bench.Json("/pc/rt/stock_version")["version"].GetString();
  const std::string history =
      "/kql?q={%22foo%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22mtime%22:0,%22type%22:%22bfq%22,"
      "%22offset%22:0,%22limit%22:2}]}";
  const char* const copy = std::getenv("CSM_WRITE_PAGE");
  const std::map<std::string, std::string> blocks = {
      {"endpoints", Endpoints(bench, copy != nullptr)},
      {"words", WordsTable()},
      {"errors", ErrorsTable()},
      {"faults", FaultsTable()},
      {"scenarios", ScenariosTable()},
      {"metadata", Head(Gunzip(bench.Raw("/static/kline.meta.gzip").body), 4)},
      {"package", Head(Gunzip(bench.Raw("/static/kline.sh600000.day.bfq." + version + ".gzip").body), 2)},
      {"history", "```\n" + Readable(bench.Raw(history).body) + "\n```\n"}};

  std::string text = ReadPage();
  const bool update = std::getenv("CSM_UPDATE_DOCS") != nullptr;
  for (const auto& [name, block] : blocks) {
    const std::string begin = "<!-- " + name + " -->\n";
    const std::string end = "<!-- end of " + name + " -->\n";
    const std::size_t from = text.find(begin);
    const std::size_t to = text.find(end);
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos && from < to) << "no block " << name;
    const std::size_t start = from + begin.size();
    if (update || copy != nullptr) {
      text.replace(start, to - start, block);
    } else {
      EXPECT_TRUE(text.substr(start, to - start) == block)
          << "docs/protocol.md, " << name << ": run this test with CSM_UPDATE_DOCS=1 and read what changed";
    }
  }
  if (update || copy != nullptr) std::ofstream(copy != nullptr ? copy : kPage) << text;
}

/// Whether the page says so, whatever its line breaks.
::testing::AssertionResult PageSays(const std::string& words) {
  std::istringstream page(ReadPage());
  std::string text;
  for (std::string word; page >> word;) text += word + " ";
  if (text.find(words) != std::string::npos) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "docs/protocol.md does not say: " << words;
}

/// What each sentence of the page that names a number says, asked of a running server.
class ProtocolSentences : public Endpoint {
 protected:
  explicit ProtocolSentences(Options options = DefaultMarket()) : Endpoint(std::move(options)) {}
  Document Details(const std::vector<std::string>& symbols) {
    return Json("/pc/rt/stock_detail_list", {{"stock_arr", List(symbols)}});
  }
  Document Quotes(const std::string& query) {
    Document document;
    document.Parse(bench.Raw("/kql?q=" + Encode(query)).body.c_str());
    return document;
  }
  int KqlErrno(const std::string& target) {
    Document document;
    document.Parse(bench.Raw(target).body.c_str());
    return document["errno"].GetInt();
  }
  /// The minutes of a line as they are labelled.
  std::vector<int> Minutes(const std::string& clock, const std::string& symbol = "sh600000") {
    bench.server().SetClock(clock);
    Document line = Json("/pc/rt/get_day_time", {{"stock_arr", List({symbol})}});
    std::vector<int> minutes;
    for (const Value& point : line["data"][symbol.c_str()]["list"].GetArray())
      minutes.push_back(point["min"].GetInt());
    return minutes;
  }
  /// The symbol of a stock that does not trade today.
  std::string Suspended() {
    const Document board = Board("cn_a");
    for (const Value& row : board["data"].GetArray()) {
      const int status = std::stoi(Text(row, "status"));
      if ((status >= 1 && status <= 4) || status == 7) return Text(row, "code");
    }
    return {};
  }
};

/// The numbers of a JSON text, as they are written.
void ExpectShortNumbers(const std::string& json, const std::string& what) {
  bool in_text = false;
  for (std::size_t at = 0; at < json.size(); ++at) {
    if (json[at] == '"') in_text = !in_text;  // names hold no escapes
    if (in_text || !(json[at] == '-' || std::isdigit(static_cast<unsigned char>(json[at])) != 0)) continue;
    const std::size_t end = json.find_first_of(",]}", at);
    const std::string number = json.substr(at, end - at);
    const std::size_t point = number.find('.');
    EXPECT_EQ(number.find('e'), std::string::npos) << what << " " << number;
    EXPECT_TRUE(point == std::string::npos || number.size() - point <= 5) << what << " " << number;
    EXPECT_TRUE(point == std::string::npos || number.back() != '0') << what << " " << number;
    at = end - 1;
  }
}

/// On a market of few stocks, where many days are quickly made.
class ProtocolSentencesOfManyDays : public ProtocolSentences {
 protected:
  ProtocolSentencesOfManyDays() : ProtocolSentences(SmallMarket()) {}
};

constexpr const char* kNothingTraded[] = {"open", "high", "low", "vol", "amt", "tr", "amp", "qrr"};

TEST_F(ProtocolSentencesOfManyDays, timeSimulated) {
  EXPECT_TRUE(PageSays("from 2015-01-05 to 2035-12-31"));
  bench.server().SetClock("2015-01-05 10:30:00");
  EXPECT_STREQ(Json("/pc/rt/get_day_time", {{"stock_arr", List({"sh600000"})}})["data"]["sh600000"]["date"]
                   .GetString(),
               "2015-01-05");
  bench.server().SetClock("2035-12-31 16:00:00");
  EXPECT_EQ(Minutes("2035-12-31 16:00:00").size(), 241U);
  bench.server().SetClock("2036-03-03 16:00:00");
  EXPECT_STREQ(Json("/pc/rt/get_day_time", {{"stock_arr", List({"sh600000"})}})["data"]["sh600000"]["date"]
                   .GetString(),
               "2035-12-31");
}

TEST_F(ProtocolSentences, limits) {
  const Limits limits;
  const auto seconds = [](std::chrono::milliseconds time) { return std::to_string(time.count() / 1000); };
  // The list of hostile requests holds the server to those of heads and bodies.
  EXPECT_TRUE(PageSays("longer than " + std::to_string(limits.body_bytes / 1024) + " KiB |"));
  EXPECT_EQ(limits.header_bytes, 98'304U);
  EXPECT_TRUE(PageSays("longer than 96 KiB, that is 98,304 bytes"));
  EXPECT_TRUE(PageSays(seconds(limits.request_time) + " s for a request from its first byte to its last, " +
                       seconds(limits.idle_time) + " s between requests, " + seconds(limits.answer_time) +
                       " s for an answer, 4,096 connections at once. After an hour"));
  EXPECT_EQ(limits.connections, 4096U);
  EXPECT_EQ(limits.connection_time, std::chrono::hours(1));
}

TEST_F(ProtocolSentences, statusesOfRefusals) {
  const auto status = [this](const std::string& request) {
    RawClient client(bench.server().port());
    client.Send(request);
    return client.ReadAnswer().status;
  };
  EXPECT_TRUE(
      PageSays("| 400 | it is no HTTP/1.0 or HTTP/1.1, has two `Host` fields or two `Content-Length` |"));
  EXPECT_EQ(status("GET /x HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n"), 400);
  EXPECT_EQ(status("GET /x HTTP/1.1\r\nContent-Length: 0\r\nContent-Length: 0\r\n\r\n"), 400);
  EXPECT_EQ(status("GET /x HTTP/1.2\r\n\r\n"), 400);
  EXPECT_EQ(status("GET /x HTTP/1.0\r\n\r\n"), 200);
  EXPECT_TRUE(PageSays("| 411 | it has a `Transfer-Encoding`"));
  EXPECT_EQ(status("POST /x HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"), 411);
  EXPECT_TRUE(PageSays("| 413 | its body is longer"));
  EXPECT_EQ(status("POST /x HTTP/1.1\r\nContent-Length: 65537\r\n\r\n"), 413);
  EXPECT_TRUE(PageSays("| 431 | its head"));
  EXPECT_EQ(status("GET /" + std::string(98'304, 'x')), 431);
  EXPECT_TRUE(PageSays("other methods get status 405"));
  EXPECT_EQ(status("HEAD /x HTTP/1.1\r\n\r\n"), 405);
  EXPECT_TRUE(PageSays("A static file that is not there gets status 404"));
  EXPECT_EQ(status("GET /static/kline.SH600000.day.bfq.20240314.gzip HTTP/1.1\r\n\r\n"), 404);
  EXPECT_EQ(status("GET /static/kline.sh600000.day.bfq.20240314.gzip HTTP/1.1\r\n\r\n"), 200);
}

TEST_F(ProtocolSentences, theHeadOfAnAnswer) {
  EXPECT_TRUE(
      PageSays("HTTP/1.1 with keep-alive, or HTTPS from TLS 1.2 on"));  // Tls.refusesProtocolsBelowTls12
  EXPECT_EQ(bench.Raw("/x").Field("Connection"), "keep-alive");
  EXPECT_TRUE(
      PageSays("`X-Market-Speed` says how many of its seconds pass in one real second (0: it stands still)"));
  EXPECT_EQ(bench.Raw("/x").Field("X-Market-Speed"), "0");
  bench.server().SetSpeed(2.5);
  EXPECT_EQ(bench.Raw("/x").Field("X-Market-Speed"), "2.5");
  bench.server().SetSpeed(1);
  EXPECT_EQ(bench.Raw("/x").Field("X-Market-Speed"), "");
  EXPECT_TRUE(PageSays("`Expect: 100-continue` is answered with `100 Continue` before the body is read"));
  RawClient client(bench.server().port());
  client.Send("POST /x HTTP/1.1\r\nHost: a\r\nExpect: 100-continue\r\nContent-Length: 1\r\n\r\n");
  EXPECT_EQ(client.ReadUntil(&HeadIsWhole), "HTTP/1.1 100 Continue\r\n\r\n");
}

TEST_F(ProtocolSentences, theBookAndTheHours) {
  EXPECT_TRUE(PageSays("| `s1p` ... `s5p`, `s1v` ... `s5v` | the five best offers: price and volume |"));
  EXPECT_TRUE(PageSays("the book of a stock that nobody offers has no `s1p`"));
  const Document rows = Board("cn_a");
  bool nobody_offers = false;
  bool has_five = false;
  for (const Value& row : rows["data"].GetArray()) {
    EXPECT_FALSE(row.HasMember("s6p"));
    EXPECT_EQ(row.HasMember("s1p"), row.HasMember("s1v"));
    has_five = has_five || row.HasMember("s5p");
    nobody_offers = nobody_offers || (row.HasMember("b1p") && !row.HasMember("s1p"));
  }
  EXPECT_TRUE(has_five);
  EXPECT_TRUE(nobody_offers) << "a stock at its upper limit";
  EXPECT_TRUE(PageSays(
      "| 09:30 | trading until 11:30 and from 13:00 to 15:00; figures change every three seconds |"));
  const auto volume = [this](const char* clock) {
    bench.server().SetClock(clock);
    return Number(Details({"sh000001"})["data"]["list"][0], "vol");
  };
  EXPECT_LT(volume("2024-03-15 09:30:00"), volume("2024-03-15 09:30:03"));
  EXPECT_LT(volume("2024-03-15 11:29:00"), volume("2024-03-15 11:30:00"));
  EXPECT_EQ(volume("2024-03-15 11:30:03"), volume("2024-03-15 12:59:59"));
  EXPECT_LT(volume("2024-03-15 13:00:00"), volume("2024-03-15 13:01:00"));
  EXPECT_LT(volume("2024-03-15 14:59:00"), volume("2024-03-15 15:00:03"));
  EXPECT_EQ(volume("2024-03-15 15:00:03"), volume("2024-03-15 23:59:59"));
}

TEST_F(ProtocolSentences, unitsOfQuotes) {
  EXPECT_TRUE(PageSays("are numbers of percent: 1.5 is 1.5 %"));
  EXPECT_TRUE(
      PageSays("Prices and index levels are in yuan, volumes in shares, amounts and capitalisations in"));
  EXPECT_TRUE(PageSays("price to earnings (negative: a loss; of a new share 0)"));
  bool makes_a_loss = false;
  const Document board = Board("cn_a");
  for (const Value& row : board["data"].GetArray()) {
    const std::string code = Text(row, "code");
    const double before = Number(row, "preclose");
    EXPECT_NEAR(Number(row, "change"), Number(row, "diff") / before * 100, 0.0051) << code;
    EXPECT_NEAR(Number(row, "diff"), Number(row, "last") - before, 1e-9) << code;
    EXPECT_NEAR(Number(row, "amp"), (Number(row, "high") - Number(row, "low")) / before * 100, 0.0051)
        << code;
    EXPECT_NEAR(Number(row, "tr"), Number(row, "vol") / Number(row, "shares") * 100, 0.0051) << code;
    EXPECT_NEAR(Number(row, "mc") / (Number(row, "last") * Number(row, "tso")), 1, 1e-6) << code;
    EXPECT_NEAR(Number(row, "cmc") / (Number(row, "last") * Number(row, "shares")), 1, 1e-6) << code;
    if (Number(row, "vol") > 0) {
      const double average = Number(row, "amt") / Number(row, "vol");
      EXPECT_TRUE(average > Number(row, "low") - 0.01 && average < Number(row, "high") + 0.01) << code;
    }
    double bids = 0;
    double offers = 0;
    for (char level = '1'; level <= '5'; ++level) {
      bids += Number(row, {'b', level, 'v'});
      offers += Number(row, {'s', level, 'v'});
    }
    EXPECT_NEAR(Number(row, "cr"), bids + offers > 0 ? (bids - offers) / (bids + offers) * 100 : 0, 0.0051)
        << code;
    makes_a_loss = makes_a_loss || Number(row, "pe") < 0;
  }
  EXPECT_TRUE(makes_a_loss);
}

TEST_F(ProtocolSentences, numbersAreShort) {
  EXPECT_TRUE(PageSays("No figure has more than four decimals: 1.15, never 1.1500000000000001."));
  EXPECT_TRUE(PageSays("whole ones below 10^15 without fraction or exponent"));
  std::vector<Given> requests = GoodRequests();
  requests.push_back(
      {"/pc/rt/get",
       {{"stock_type", "cn_a"}, {"sort_key", "code"}, {"sort_type", "asc"}, {"start", "0"}, {"end", "300"}}});
  for (const Given& given : requests) {
    ExpectShortNumbers(bench.Get(given.path, given.parameters).body, given.path);
  }
  const std::string history =
      R"({"q":["kline.day",{"symbol":"sh600000","type":"qfq","offset":0,"limit":500}]})";
  ExpectShortNumbers(bench.Raw("/kql?q=" + Encode(history)).body, history);
}

TEST_F(ProtocolSentences, pagesAndOrder) {
  EXPECT_TRUE(PageSays("(a negative one is 0)"));
  EXPECT_EQ(Board("cn_a", "code", "asc", "-5", "3")["data"].Size(), 3U);
  EXPECT_TRUE(PageSays("one before `start` gives no rows"));
  EXPECT_EQ(Board("cn_a", "code", "asc", "3", "2")["data"].Size(), 0U);
  EXPECT_TRUE(PageSays("none when it is negative"));
  EXPECT_EQ(Json("/pc/rt/get_stock_rank",
                 {{"stock_type", ""}, {"sort_key", ""}, {"sort_type", ""}, {"num", "-1"}})["data"]
                .Size(),
            0U);
  EXPECT_TRUE(
      PageSays("a figure that is left out of a row, as `s1p` of a stock that nobody offers, counts as 0"));
  const Document board = Board("cn_a", "s1p", "asc");
  const Value& rows = board["data"];
  EXPECT_FALSE(rows[0].HasMember("s1p"));
  EXPECT_TRUE(rows[rows.Size() - 1].HasMember("s1p"));
  ExpectOrdered(rows, "s1p", "asc", "s1p");
  EXPECT_TRUE(PageSays("in the order of their codes, in both directions"));
  const Document down = Board("cn_a", "s1p", "desc");
  std::string last;
  for (const Value& row : down["data"].GetArray()) {
    if (row.HasMember("s1p")) continue;
    EXPECT_LT(last, Text(row, "code"));
    last = Text(row, "code");
  }
  EXPECT_TRUE(PageSays("The first hundred stocks of a board"));
  EXPECT_EQ(
      Json("/pc/rt/stock_five_change", {{"stock_type", ""}, {"sort_key", ""}, {"sort_type", ""}})["data"]
          .Size(),
      100U);
}

TEST_F(ProtocolSentences, listsOfSymbols) {
  EXPECT_TRUE(PageSays("A list has at most 4,000 of them"));
  const std::vector<std::string> most(4000, "sh600000");
  EXPECT_EQ(Details(most)["data"]["list"].Size(), 4000U) << "so many fit into a request";
  const std::vector<std::string> more(4001, "x");
  EXPECT_EQ(bench.Errno("/pc/rt/stock_detail_list", {{"stock_arr", List(more)}}), 1013);
  EXPECT_TRUE(PageSays("as often as they stand there"));
  const Document twice = Details({"SH600000", "sh600000", "bk1001", "sh000000"});
  ASSERT_EQ(twice["data"]["list"].Size(), 3U);
  EXPECT_TRUE(PageSays("A plate has the row of /pc/rt/get_bk_detail"));
  const Document plates =
      Json("/pc/rt/get_bk_detail",
           {{"bk_type", "hy"}, {"sort_key", "code"}, {"sort_type", "asc"}, {"start", "0"}, {"end", "1"}});
  EXPECT_TRUE(twice["data"]["list"][2] == plates["data"][0]);
}

TEST_F(ProtocolSentences, theAuction) {
  EXPECT_TRUE(PageSays("| 09:15 | the call auction."));
  for (const char* clock : {"2024-03-15 09:15:00", "2024-03-15 09:20:00", "2024-03-15 09:24:59"}) {
    bench.server().SetClock(clock);
    const Document board = Board("cn_a");
    for (const Value& row : board["data"].GetArray()) {
      for (const char* key : kNothingTraded) EXPECT_EQ(Number(row, key), 0) << clock << " " << key;
      EXPECT_GT(Number(row, "last"), 0);
      if (!row.HasMember("b1p")) continue;  // suspended
      EXPECT_EQ(Number(row, "b1p"), Number(row, "last"));
      EXPECT_EQ(Number(row, "s1p"), Number(row, "last"));
      EXPECT_FALSE(row.HasMember("b2p") || row.HasMember("s2p"));
    }
    EXPECT_EQ(
        Json("/pc/monitor/get_monitor",
             {{"date", std::to_string(static_cast<std::int64_t>(bench.server().Now()))}})["data"]["list"]
            .Size(),
        0U);
    const Document quotes = Details({"sh000001", "bk1001"});
    const Value& list = quotes["data"]["list"];
    ASSERT_EQ(list.Size(), 2U);
    for (const Value& row : list.GetArray()) {
      for (const char* key : kNothingTraded) EXPECT_EQ(Number(row, key), 0) << clock << " " << key;
    }
    for (const rapidjson::SizeType i : {0U, 1U}) {
      EXPECT_EQ(Number(list[i], "last"), Number(list[i], "preclose"));
      EXPECT_EQ(Number(list[i], "change"), 0);
      EXPECT_EQ(Number(list[i], "diff"), 0);
      EXPECT_GT(Number(list[i], "num_u") + Number(list[i], "num_z") + Number(list[i], "num_d"), 0);
    }
    EXPECT_TRUE(Minutes(clock).empty());
    const Document candles = Json("/pc/rt/get_day_kline", {{"stock_arr", List({"sh600000", "sh000001"})}});
    EXPECT_EQ(candles["data"].MemberCount(), 2U);
    for (const auto& candle : candles["data"].GetObject()) {
      EXPECT_GT(Number(candle.value["list"], "preclose"), 0);
      for (const char* key : {"open", "high", "last", "low", "vol", "amt", "tr"}) {
        EXPECT_EQ(Number(candle.value["list"], key), 0) << key;
      }
    }
  }
  EXPECT_TRUE(PageSays("| 00:00 | everything shows the session before |"));
  EXPECT_EQ(Minutes("2024-03-15 09:14:59").size(), 241U);
  EXPECT_TRUE(
      PageSays("| 09:25 | the auction is over: first prices, volumes and the minute 930 are there |"));
  EXPECT_EQ(Minutes("2024-03-15 09:25:00"), std::vector<int>{930});
  const Document opened = Board("cn_a");
  for (const Value& row : opened["data"].GetArray()) {
    if (!row.HasMember("b1p") && !row.HasMember("s1p")) continue;  // suspended
    for (const char* key : {"open", "high", "low"}) EXPECT_EQ(Number(row, key), Number(row, "last")) << key;
    EXPECT_GT(Number(row, "vol"), 0);
    EXPECT_NEAR(Number(row, "amt"), Number(row, "vol") * Number(row, "open"), 0.01);
  }
}

TEST_F(ProtocolSentences, suspendedStocks) {
  EXPECT_TRUE(PageSays("0 trades, 1 to 4 and 7 suspended, 5 new, 6 ex rights"));
  EXPECT_TRUE(PageSays("A suspended stock stands at its `preclose`"));
  const std::string symbol = Suspended();
  ASSERT_NE(symbol, "");
  const Document quotes = Details({symbol});
  const Value& row = quotes["data"]["list"][0];
  EXPECT_EQ(Number(row, "last"), Number(row, "preclose"));
  EXPECT_GT(Number(row, "last"), 0);
  for (const char* key : kNothingTraded) EXPECT_TRUE(row.HasMember(key) && Number(row, key) == 0) << key;
  EXPECT_EQ(Number(row, "change"), 0);
  EXPECT_EQ(Number(row, "diff"), 0);
  EXPECT_FALSE(row.HasMember("b1p") || row.HasMember("s1p"));
  EXPECT_TRUE(Minutes("2024-03-15 10:30:00", symbol).empty());
  EXPECT_EQ(Json("/pc/rt/get_day_kline", {{"stock_arr", List({symbol})}})["data"].MemberCount(), 0U);
}

TEST_F(ProtocolSentences, labelsOfMinutes) {
  EXPECT_TRUE(PageSays(
      "930 is the opening auction, 931 the minute from 09:30 to 09:31, 1130 the last of the morning, "
      "1301 the first of the afternoon; a whole day has 241 points"));
  EXPECT_TRUE(PageSays("at 10:30:03 the last point is 1031, at 10:30:00 it is 1030"));
  EXPECT_EQ(Minutes("2024-03-15 10:30:00").back(), 1030);
  EXPECT_EQ(Minutes("2024-03-15 10:30:02").back(), 1030);
  EXPECT_EQ(Minutes("2024-03-15 10:30:03").back(), 1031);
  EXPECT_EQ(Minutes("2024-03-15 09:30:30").back(), 931);
  EXPECT_EQ(Minutes("2024-03-15 12:00:00").back(), 1130);
  EXPECT_EQ(Minutes("2024-03-15 13:00:30").back(), 1301);
  std::vector<int> whole_day = {930};
  for (int minute = 9 * 60 + 31; minute <= 15 * 60; ++minute) {
    if (minute <= 11 * 60 + 30 || minute > 13 * 60) whole_day.push_back(minute / 60 * 100 + minute % 60);
  }
  EXPECT_EQ(whole_day.size(), 241U);
  EXPECT_EQ(Minutes("2024-03-15 15:00:00"), whole_day);
  EXPECT_EQ(Minutes("2024-03-15 16:00:00", "sh000001"), whole_day);
  EXPECT_TRUE(PageSays("figures change every three seconds"));
  const auto board = [this](const char* clock) {
    bench.server().SetClock(clock);
    return bench
        .Get("/pc/rt/get",
             {{"stock_type", ""}, {"sort_key", "code"}, {"sort_type", ""}, {"start", "0"}, {"end", "50"}})
        .body;
  };
  EXPECT_EQ(board("2024-03-15 10:30:03"), board("2024-03-15 10:30:05"));
  EXPECT_NE(board("2024-03-15 10:30:05"), board("2024-03-15 10:30:06"));
}

TEST_F(ProtocolSentences, edgesOfTheDistribution) {
  EXPECT_TRUE(PageSays(
      "at the lower limit, below -7, to -5, to -3, to 0, to 3, to 5, to 7, above 7, at the upper limit. "
      "An edge belongs to the bucket next to 0"));
  // The limits of the day follow from the other figures: ten buckets counted from the board's own changes,
  // limits apart.
  const Document distribution = Json("/pc/rt/stock_distribute_num", {{"date", "0"}});
  const Value& counts = distribution["data"]["list"];
  ASSERT_EQ(counts.Size(), 10U);
  std::vector<int> inner(10);
  int at_limit = 0;
  int unchanged = 0;
  const Document board = Board("cn_a");
  for (const Value& row : board["data"].GetArray()) {
    const int status = std::stoi(Text(row, "status"));
    const double change = Number(row, "change");
    const double diff = Number(row, "diff");
    if (status != 0 && status != 5 && status != 6) continue;
    if (diff == 0) {
      ++unchanged;
    } else if (!row.HasMember(diff > 0 ? "s1p" : "b1p")) {
      ++at_limit;  // nobody sells at the upper limit, nobody buys at the lower
    } else {
      ++inner[diff > 0 ? (change > 7   ? 8
                          : change > 5 ? 7
                          : change > 3 ? 6
                                       : 5)
                       : (change < -7   ? 1
                          : change < -5 ? 2
                          : change < -3 ? 3
                                        : 4)];
    }
  }
  for (rapidjson::SizeType i = 1; i < 9; ++i) EXPECT_EQ(counts[i].GetInt(), inner[i]) << i;
  EXPECT_EQ(counts[0].GetInt() + counts[9].GetInt(), at_limit);
  EXPECT_GT(at_limit, 0);
  EXPECT_EQ(distribution["data"]["nochange"].GetInt(), unchanged);
}

TEST_F(ProtocolSentencesOfManyDays, minuteLines) {
  EXPECT_TRUE(PageSays("less than 1 counts as 1, more than 250 as 250"));
  const auto days = [this](const char* date, const char* count, const char* symbol = "sh000001") {
    return Json("/pc/rt/get_choice_htime", {{"stock", symbol}, {"date", date}, {"rn", count}});
  };
  EXPECT_EQ(days("20240313", "-3")["data"]["sh000001"].Size(), 1U);
  const auto size = [&](const char* count) {
    return days("20240313", count, "sh600000")["data"]["sh600000"].Size();
  };
  EXPECT_EQ(size("2147483647"), size("250"));
  model::Date oldest = 20240313;
  for (int day = 1; day < 250; ++day) oldest = model::PreviousTradingDay(oldest);
  const Document most = days("20240313", "250", "sh600000");
  std::string digits = most["data"]["sh600000"][0]["date"].GetString();
  std::erase(digits, '-');
  EXPECT_EQ(digits, std::to_string(oldest));
  const Document first = days("20150106", "250");
  ASSERT_EQ(first["data"]["sh000001"].Size(), 2U) << "the first day of all counts";
  EXPECT_STREQ(first["data"]["sh000001"][0]["date"].GetString(), "2015-01-05");
  EXPECT_EQ(days("20150104", "1")["data"]["sh000001"].Size(), 0U);
  EXPECT_EQ(days("20240313", "1", "sh000000")["data"].MemberCount(), 0U);
  EXPECT_TRUE(PageSays("`\"data\": {}` when the symbol is unknown or the day is none or still to come"));
  for (const auto& [symbol, date] :
       {std::pair{"sh000000", "20240313"}, {"sh600000", "20240316"}, {"sh600000", "20240318"}}) {
    EXPECT_EQ(Json("/pc/rt/get_day_htime", {{"stock", symbol}, {"date", date}})["data"].MemberCount(), 0U)
        << date;
  }
}

TEST_F(ProtocolSentences, analytics) {
  EXPECT_TRUE(PageSays("on the 120 trading days before the session"));
  EXPECT_EQ(Json("/pc/rt/stock_trade")["data"]["list"].Size(), 120U);
  EXPECT_TRUE(PageSays("zeros for indices and plates"));
  const Document flows = Json("/pc/rt/stock_in_out", {{"stock_arr", List({"sh000001", "bk1001"})}});
  for (const Value& row : flows["data"]["list"].GetArray()) {
    for (const auto& member : row.GetObject()) {
      EXPECT_EQ(member.value["in"]["big"]["d10"].GetInt(), 0);
      EXPECT_EQ(member.value["mtime"].GetInt64(), kMidMorning);
    }
  }
  EXPECT_EQ(flows["data"]["list"].Size(), 2U);
  EXPECT_TRUE(PageSays("at most 10 (plates)"));
  const Document plates =
      Json("/pc/rt/get_bk_detail",
           {{"bk_type", ""}, {"sort_key", "cud"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "-1"}});
  EXPECT_LE(Number(plates["data"][0], "cud"), 10);
  EXPECT_GE(Number(plates["data"][plates["data"].Size() - 1], "cud"), -10);
  EXPECT_TRUE(PageSays("in years without a list of their own, the fixed holidays alone"));
  const Document far = Json("/pc/rt/trade_date", {{"date", "2050"}});
  EXPECT_STREQ(far["data"]["list"][0].GetString(), "2050-05-02") << "New Year's Day is a Saturday";
}

TEST_F(ProtocolSentences, unitsOfNewShares) {
  EXPECT_TRUE(PageSays("issued, of which online, most for one subscriber; in ten thousands of shares"));
  EXPECT_TRUE(PageSays("price in yuan; raised, in hundred millions of yuan"));
  EXPECT_TRUE(PageSays("subscriptions that win, 0 until the day after"));
  const Document shares = Json("/pc/rt/stock_buy");
  for (const Value& row : shares["data"]["list"].GetArray()) {
    const std::string code = Text(row, "code");
    // 10^4 shares of so many yuan, in 10^8 yuan
    EXPECT_NEAR(Number(row, "total_price"), Number(row, "publish_num") * Number(row, "publish_price") / 1e4,
                1e-4)
        << code;
    EXPECT_LT(Number(row, "publish_online_num"), Number(row, "publish_num")) << code;
    EXPECT_LT(Number(row, "buy_limit"), Number(row, "publish_online_num")) << code;
    EXPECT_GE(Number(row, "buy_limit"), 0.05) << code;
    EXPECT_EQ(Text(row, "buy_code").size(), 6U) << code;
    EXPECT_NE(Text(row, "name"), "") << code;
    EXPECT_TRUE(row.HasMember("pe")) << code;
    EXPECT_LT(Text(row, "publish_time"), Text(row, "publish_online_time")) << code;
    EXPECT_EQ(Number(row, "chance") > 0, Text(row, "publish_online_time") < "2024-03-15") << code;
  }
  EXPECT_GT(shares["data"]["list"].Size(), 10U);
  EXPECT_TRUE(PageSays("not subscribed for more than 60 trading days ago"));
  const Value& oldest = shares["data"]["list"][shares["data"]["list"].Size() - 1];
  EXPECT_GE(Text(oldest, "publish_online_time"), "2023-12-13") << "sixty trading days before 15 March 2024";
}

TEST_F(ProtocolSentences, packages) {
  EXPECT_TRUE(PageSays("a new one appears at 18:00 of each trading day, and older ones stay there"));
  EXPECT_TRUE(PageSays("an array of nine numbers"));
  const auto version = [this](const char* clock) {
    bench.server().SetClock(clock);
    return std::string(Json("/pc/rt/stock_version")["version"].GetString());
  };
  EXPECT_EQ(version("2024-03-15 17:59:59"), "20240314");
  EXPECT_EQ(version("2024-03-15 18:00:00"), "20240315");
  EXPECT_TRUE(PageSays("a line with the version, a line with the number of symbols, and for each symbol"));
  const std::string metadata = Gunzip(bench.Raw("/static/kline.meta.gzip").body);
  EXPECT_TRUE(metadata.starts_with("version:20240315\n"));
  const std::size_t second = metadata.find('\n') + 1;
  ASSERT_EQ(metadata.compare(second, 2, "p:"), 0);
  EXPECT_EQ(std::stol(metadata.substr(second + 2)), std::count(metadata.begin(), metadata.end(), '\n') - 2);
  EXPECT_TRUE(PageSays("Plates have none"));
  EXPECT_EQ(bench.Raw("/static/kline.bk1001.day.bfq.20240314.gzip").status, 404);
}

TEST_F(ProtocolSentences, historyQueries) {
  const auto query = [](const std::string& terms, const std::string& series = "kline.day") {
    return "{\"a\":[\"" + series + "\",{" + terms + "}]}";
  };
  const std::string symbol = R"("symbol":"SH600000")";
  const std::string rest = R"(,"type":"bfq","offset":0,"limit":1)";
  const auto code = [&](const std::string& q) { return KqlErrno("/kql?q=" + Encode(q)); };
  EXPECT_TRUE(PageSays(
      "`symbol`, `type`, `offset` and `limit` are required, the last two as whole numbers from 0 on; "
      "`mtime` and whatever else stands there is ignored"));
  EXPECT_EQ(code(query(symbol + rest)), 0);
  EXPECT_EQ(code(query(symbol + rest + R"(,"mtime":"x","more":[])")), 0);
  EXPECT_TRUE(PageSays("A malformed query is 1011, no `q` 1010, two are 1014"));
  for (const std::string& terms :
       {symbol + R"(,"type":"bfq","offset":0)", symbol + R"(,"type":"bfq","limit":1)",
        symbol + R"(,"offset":0,"limit":1)", R"("symbol":"")" + rest, rest.substr(1),
        symbol + R"(,"type":"","offset":0,"limit":1)", symbol + R"(,"type":"bfq","offset":-1,"limit":1)",
        symbol + R"(,"type":"bfq","offset":0,"limit":1.5)"}) {
    EXPECT_EQ(code(query(terms)), 1011) << terms;
  }
  EXPECT_EQ(code(query(symbol + rest, "kline.year")), 1011);
  for (const char* none : {"", "x", "[]", R"({"a":[]})", R"({"a":["kline.day",[]]})"})
    EXPECT_EQ(code(none), 1011) << none;
  EXPECT_EQ(code(query(symbol + R"(,"type":"no","offset":0,"limit":1)")), 1011);
  EXPECT_EQ(KqlErrno("/kql"), 1010);
  EXPECT_EQ(KqlErrno("/kql?q={}&q={}"), 1014);
  EXPECT_TRUE(PageSays("an object of up to ten members"));
  std::string ten = "{";
  for (int i = 0; i < 10; ++i) {
    ten += (i > 0 ? ",\"" : "\"") + std::to_string(i) + "\":[\"kline.day\",{" + symbol + rest + "}]";
  }
  EXPECT_EQ(code(ten + "}"), 0);
  EXPECT_EQ(code(ten + ",\"x\":[\"kline.day\",{" + symbol + rest + "}]}"), 1011);
  EXPECT_TRUE(
      PageSays("has an empty `\"list\": []`; so has an offset beyond the first row; a query of no members "
               "answers `\"data\": {}`"));
  for (const std::string& terms : {R"("symbol":"sh000000")" + rest, R"("symbol":"bk1001")" + rest,
                                   symbol + R"(,"type":"bfq","offset":999999,"limit":5)"}) {
    EXPECT_EQ(Quotes(query(terms))["data"]["a"]["list"].Size(), 0U) << terms;
  }
  EXPECT_EQ(Quotes("{}")["data"].MemberCount(), 0U);
  EXPECT_TRUE(PageSays("today's from 15:00 on"));
  const auto last = [&](const char* clock) {
    bench.server().SetClock(clock);
    return Quotes(query(symbol + rest))["data"]["a"]["list"][0][0].GetInt();
  };
  EXPECT_EQ(last("2024-03-15 14:59:59"), 20240314);
  EXPECT_EQ(last("2024-03-15 15:00:00"), 20240315);
  EXPECT_EQ(last("2024-03-17 12:00:00"), 20240315) << "a Sunday";
}

}  // namespace
}  // namespace market_server::testing
