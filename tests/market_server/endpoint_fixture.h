// What tests of endpoints share: requests that return JSON, the words of every parameter, and a look into
// candle packages.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "market_server/gzip.h"
#include "server_fixture.h"

namespace market_server::testing {

using rapidjson::Document;
using rapidjson::Value;

inline const std::vector<std::string> kStockColumns = {
    "code", "name", "last", "change", "diff",     "b1p", "s1p", "tr", "amt", "vol",
    "pe",   "high", "low",  "open",   "preclose", "amp", "qrr", "cr", "mc"};
inline const std::vector<std::string> kPlateColumns = {
    "code", "name",     "last", "change", "diff", "tr", "amt",  "vol",         "pe",   "high", "low",
    "open", "preclose", "amp",  "qrr",    "cr",   "mc", "lead", "lead_change", "bpin", "cud"};
inline const std::vector<std::string> kDirections = {"asc", "desc", ""};
inline const std::vector<std::string> kStockTypes = {"cn_a", "sh_a", "sz_a", "gem", "sme", ""};
inline const std::vector<std::string> kPlateTypes = {"hy", "gn", ""};

inline std::string Text(const Value& row, const std::string& key) {
  return row.HasMember(key.c_str()) && row[key.c_str()].IsString() ? row[key.c_str()].GetString() : "";
}
inline double Number(const Value& row, const std::string& key) {
  return row.HasMember(key.c_str()) && row[key.c_str()].IsNumber() ? row[key.c_str()].GetDouble() : 0;
}

/// Whether rows are in the order of a column, which is under the same key in each row ("bk" for the code of
/// plates).
inline void ExpectOrdered(const Value& rows, const std::string& column, const std::string& direction,
                          const std::string& what) {
  for (rapidjson::SizeType i = 1; i < rows.Size(); ++i) {
    const Value& before = direction == "asc" ? rows[i - 1] : rows[i];
    const Value& after = direction == "asc" ? rows[i] : rows[i - 1];
    if (column == "code" || column == "name" || column == "lead") {
      const std::string key = column == "code" && rows[0].HasMember("bk") ? "bk" : column;
      EXPECT_LE(Text(before, key), Text(after, key)) << what << " row " << i;
    } else {
      EXPECT_LE(Number(before, column), Number(after, column)) << what << " row " << i;
    }
  }
}

inline std::set<std::string> Codes(const Value& rows, const char* key = "code") {
  std::set<std::string> codes;
  for (const Value& row : rows.GetArray()) codes.insert(row[key].GetString());
  return codes;
}

struct Given {
  std::string path;
  QueryMap parameters;
};

/// Good parameters for every route.
inline std::vector<Given> GoodRequests() {
  return {
      {"/pc/rt/stock_detail_list", {{"stock_arr", "[\"sh000001\"]"}}},
      {"/pc/rt/get",
       {{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "9"}}},
      {"/pc/rt/stock_price_list", {{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}}},
      {"/pc/rt/get_bk_detail",
       {{"bk_type", "hy"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "9"}}},
      {"/pc/rt/bk_price_list", {{"bk_type", "hy"}, {"sort_key", "change"}, {"sort_type", "desc"}}},
      {"/pc/rt/get_bk_zone_list",
       {{"bk_code", "bk1001"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "9"}}},
      {"/pc/rt/get_stock_rank",
       {{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"num", "5"}}},
      {"/pc/rt/stock_five_change", {{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}}},
      {"/pc/rt/get_bk_rank",
       {{"bk_type", "hy"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"num", "5"}}},
      {"/pc/rt/get_day_time", {{"stock_arr", "[\"sh600000\"]"}}},
      {"/pc/rt/get_day_htime", {{"stock", "sh600000"}, {"date", "20240313"}}},
      {"/pc/rt/get_choice_htime", {{"stock", "sh600000"}, {"date", "20240313"}, {"rn", "2"}}},
      {"/pc/rt/get_day_kline", {{"stock_arr", "[\"sh600000\"]"}}},
      {"/pc/monitor/get_monitor", {{"date", "1710469800"}}},
      {"/pc/rt/stock_in_out", {{"stock_arr", "[\"sh600000\"]"}}},
      {"/pc/rt/stock_min_num", {{"date", "0"}}},
      {"/pc/rt/stock_distribute_num", {{"date", "0"}}},
      {"/pc/rt/stock_min_average", {{"date", "0"}}},
      {"/pc/rt/stock_trade", {}},
      {"/pc/rt/stock_buy", {}},
      {"/pc/rt/stock_version", {}},
      {"/pc/rt/get_basic_info", {}},
      {"/pc/rt/get_bk_list", {}},
      {"/pc/rt/stock_index_list", {}},
      {"/pc/rt/stock_in_bk", {{"category", "hy"}}},
      {"/pc/rt/trade_date", {{"date", "2024"}}}};
}

class Endpoint : public ::testing::Test {
 protected:
  explicit Endpoint(Options options = SmallMarket()) : bench(std::move(options)) {}
  Document Json(const std::string& path, const QueryMap& parameters = {}) {
    Document answer = bench.Json(path, parameters);
    EXPECT_TRUE(answer.HasMember("errno") && answer["errno"].IsInt() && answer["errno"].GetInt() == 0)
        << path;
    return answer;
  }
  Document Board(const std::string& type, const std::string& key = "code",
                 const std::string& direction = "asc", const std::string& start = "0",
                 const std::string& end = "-1") {
    return Json(
        "/pc/rt/get",
        {{"stock_type", type}, {"sort_key", key}, {"sort_type", direction}, {"start", start}, {"end", end}});
  }
  std::string FirstPlate(const std::string& type) {
    Document plates =
        Json("/pc/rt/bk_price_list", {{"bk_type", type}, {"sort_key", "code"}, {"sort_type", "asc"}});
    return plates["data"][0]["code"].GetString();
  }
  std::string List(const std::vector<std::string>& symbols) {
    std::string text = "[";
    for (const std::string& symbol : symbols) text += (text.size() > 1 ? ",\"" : "\"") + symbol + "\"";
    return text + "]";
  }
  Bench bench;
};

class Packages : public Endpoint {
 protected:
  using Endpoint::Endpoint;
  std::string Version() { return Json("/pc/rt/stock_version")["version"].GetString(); }
  std::string File(const std::string& symbol, const std::string& period, const std::string& adjustment,
                   const std::string& version) {
    return "/static/kline." + symbol + "." + period + "." + adjustment + "." + version + ".gzip";
  }
  /// The rows of a package; empty when there is none.
  std::vector<std::string> Rows(const std::string& symbol, const std::string& period,
                                const std::string& adjustment) {
    const RawAnswer answer = bench.Raw(File(symbol, period, adjustment, Version()));
    std::vector<std::string> rows;
    if (answer.status != 200) return rows;
    const std::string text = Gunzip(answer.body);
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find('\n', at);
      rows.push_back(text.substr(at, end - at));
      at = end + 1;
    }
    return rows;
  }
  std::map<std::string, std::string> Metadata() {
    const RawAnswer answer = bench.Raw("/static/kline.meta.gzip");
    EXPECT_EQ(answer.status, 200);
    const std::string text = Gunzip(answer.body);
    std::map<std::string, std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find('\n', at);
      const std::size_t colon = text.find(':', at);
      lines[text.substr(at, colon - at)] = text.substr(colon + 1, end - colon - 1);
      at = end + 1;
    }
    return lines;
  }
  Document History(const std::string& symbol, const std::string& series, const std::string& adjustment,
                   const std::string& offset, const std::string& limit) {
    // As a client puts it together: braces and commas stay as they are.
    const RawAnswer answer = bench.Raw("/kql?q={%22foo%22:[%22" + series + "%22,{%22symbol%22:%22" + symbol +
                                       "%22,%22mtime%22:0,%22type%22:%22" + adjustment +
                                       "%22,%22offset%22:" + offset + ",%22limit%22:" + limit + "}]}");
    Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(answer.body.c_str());
    EXPECT_FALSE(document.HasParseError()) << answer.body.substr(0, 200);
    return document;
  }
};

}  // namespace market_server::testing
