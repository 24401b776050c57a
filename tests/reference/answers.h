// The answers of a small market, for tests of the reference data: two Shanghai and three Shenzhen stocks,
// four plates, three indices, two memberships, one holiday and a metadata file.
#pragma once

#include <string>

#include "scripted_host.h"

namespace answers {

inline constexpr const char* kBasicInfoPath = "/pc/rt/get_basic_info";
inline constexpr const char* kPlateListPath = "/pc/rt/get_bk_list";
inline constexpr const char* kIndexListPath = "/pc/rt/stock_index_list";
inline constexpr const char* kInPlatesPath = "/pc/rt/stock_in_bk";
inline constexpr const char* kVersionPath = "/pc/rt/stock_version";
inline constexpr const char* kHolidayPath = "/pc/rt/trade_date";
inline constexpr const char* kMetadataPath = "/kline.meta.gzip";

inline constexpr const char* kBasicInfo = R"({"errno":0,
  "sh":[{"c":"sh600000","n":"浦发银行","py":"PFYH","b":"MB"},
        {"c":"sh600001","n":"邯郸钢铁","py":"HDGT","b":"XX"}],
  "sz":[{"c":"sz000001","n":"平安银行","py":"PAYH","b":"mb"},
        {"c":"sz300001","n":"特锐德","py":"TRD","b":"gem"},
        {"c":"sz002001","n":"新和成","py":"XHC","b":"SME"}]})";

inline constexpr const char* kPlateList = R"({"errno":0,"bk_lists":[
  {"n":"银行","bk":"bk0001","py":"YH","t":1},
  {"n":"地区","bk":"bk0002","py":"DQ","t":2},
  {"n":"锂电池","bk":"bk0003","py":"LDC","t":3},
  {"n":"钢铁","bk":"bk0004","py":"GT","t":1}]})";

inline constexpr const char* kIndexList = R"({"errno":0,"data":{
  "sh":[{"n":"上证指数","c":"sh000001","py":"SZZS"},{"n":"上证50","c":"sh000016","py":"SZ50"}],
  "sz":[{"n":"深证成指","c":"sz399001","py":"SZCZ"}]}})";

inline constexpr const char* kInPlates = R"({"errno":0,"data":{
  "sz000001":[["bk0001","银行"],["bk0003","锂电池"]],
  "sh600000":[["bk0001","银行"]]}})";

inline constexpr const char* kVersion = R"({"errno":0,"version":"20240315"})";

inline constexpr const char* kHolidays = R"({"errno":0,"data":{"list":["2024-01-01"]}})";

inline constexpr const char* kMetadata =
    "version:20240315\n"
    "p:7\n"
    "sh600000:{\"d\":{\"b\":100,\"q\":101,\"h\":102},\"w\":{\"b\":20},\"m\":{\"h\":5}}\n"
    "sz000001:{\"d\":{\"b\":200}}\n";

/// Scripts every request of a start but those to `except`, each any number of times.
inline void Allow(ScriptedHost& host, const std::string& except = {}) {
  const auto allow = [&](const char* path, const std::string& body) {
    if (path != except) {
      host.Allow(Script(path).Inline(Answer::Body(body)));
    }
  };
  allow(kHolidayPath, kHolidays);
  allow(kBasicInfoPath, kBasicInfo);
  allow(kPlateListPath, kPlateList);
  allow(kIndexListPath, kIndexList);
  allow(kInPlatesPath, kInPlates);
  allow(kVersionPath, kVersion);
  allow(kMetadataPath, Gzip(kMetadata));
}

}  // namespace answers
