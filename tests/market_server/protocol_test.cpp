// docs/protocol.md says what the server does: tables are compared with the code, examples with a running
// server. With CSM_UPDATE_DOCS set in the environment the page is brought up to date instead.
#include <gtest/gtest.h>

#include <chrono>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>

#include "answer.h"
#include "gzip.h"
#include "routes.h"
#include "server_fixture.h"

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

std::string Endpoints(Bench& bench) {
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
    text += "Example" + (route.example.empty() ? std::string() : ", `" + std::string(route.example) + "`") +
            ":\n\n```\n" + Readable(bench.Get(std::string(route.path), ExampleQuery(route)).body) +
            "\n```\n\n";
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

TEST(ProtocolPage, agreesWithTheServer) {
  Bench bench;
  const std::string version = bench.Json("/pc/rt/stock_version")["version"].GetString();
  const std::string history =
      "/kql?q={%22foo%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22mtime%22:0,%22type%22:%22bfq%22,"
      "%22offset%22:0,%22limit%22:2}]}";
  const std::map<std::string, std::string> blocks = {
      {"endpoints", Endpoints(bench)},
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
    if (update) {
      text.replace(start, to - start, block);
    } else {
      EXPECT_TRUE(text.substr(start, to - start) == block)
          << "docs/protocol.md, " << name << ": run this test with CSM_UPDATE_DOCS=1 and read what changed";
    }
  }
  if (update) std::ofstream(kPage) << text;
}

TEST(ProtocolPage, namesTheLimits) {
  const std::string text = ReadPage();
  const Limits limits;
  const auto kibibytes = [](std::size_t bytes) { return std::to_string(bytes / 1024) + " KiB"; };
  const auto seconds = [](std::chrono::milliseconds time) {
    return std::to_string(time.count() / 1000) + " s";
  };
  for (const std::string& words :
       {kibibytes(limits.header_bytes) + " of header", kibibytes(limits.body_bytes) + " of body",
        seconds(limits.request_time) + " for a request", seconds(limits.idle_time) + " between requests",
        seconds(limits.answer_time) + " for an answer"}) {
    EXPECT_NE(text.find(words), std::string::npos) << words;
  }
}

}  // namespace
}  // namespace market_server::testing
