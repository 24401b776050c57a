// The table of faults and what each of them does to an answer. How rules are read and chosen is faults.cpp.
#include <algorithm>

#include "market_server/faults.h"
#include "market_server/gzip.h"
#include "market_server/json_damage.h"
#include "market_server/model/market.h"

namespace market_server {
namespace {

using http::Step;
using std::chrono::milliseconds;
using Argument = FaultEntry::Argument;

constexpr std::string_view kStatic = "/static/";
constexpr std::uint64_t kForever = UINT64_MAX;
constexpr double kMostBytes = 1 << 30;

milliseconds Milliseconds(double number) {
  return milliseconds(static_cast<std::int64_t>(std::clamp(number, 0.0, 3.6e6)));
}

/// The argument as a count from 0 to `most`.
std::uint64_t Count(const FaultCall& call, double most) {
  return static_cast<std::uint64_t>(std::clamp(call.number, 0.0, most));
}

Step Write(std::string bytes) {
  return {Step::Kind::kWrite, std::move(bytes), 1, {}};
}
Step Drip(std::string bytes, milliseconds pause) {
  return {Step::Kind::kDrip, std::move(bytes), 1, pause};
}
Step Wait(milliseconds pause) {
  return {Step::Kind::kWait, {}, 1, pause};
}
Step Hold() {
  return {Step::Kind::kHold, {}, 1, {}};
}
Step Close() {
  return {Step::Kind::kClose, {}, 1, {}};
}
Step Reset() {
  return {Step::Kind::kReset, {}, 1, {}};
}

/// A reset throws away what the kernel has not sent yet, so it waits until that has left.
constexpr milliseconds kBeforeReset{30};

std::string Half(const std::string& text) {
  return text.substr(0, text.size() / 2);
}

void SetField(Exchange& ex, std::string_view name, std::string value) {
  for (auto& field : ex.fields) {
    if (field.first == name) {
      field.second = std::move(value);
      return;
    }
  }
  ex.fields.emplace_back(name, std::move(value));
}

void RemoveField(Exchange& ex, std::string_view name) {
  std::erase_if(ex.fields, [name](const auto& field) { return field.first == name; });
}

void CloseAfterwards(Exchange& ex) {
  ex.delivery.keep_alive = false;
  SetField(ex, "Connection", "close");
}

void SetBody(Exchange& ex, std::string body) {
  ex.answer.body = std::move(body);
}

/// The body of a chunked answer in chunks of `size` bytes, without the last chunk.
std::string Chunks(const std::string& body, std::size_t size) {
  std::string out;
  char length[24];
  for (std::size_t at = 0; at < body.size(); at += size) {
    const std::size_t count = std::min(size, body.size() - at);
    std::snprintf(length, sizeof length, "%zx\r\n", count);
    out += length;
    out.append(body, at, count);
    out += "\r\n";
  }
  return out;
}

void BecomeChunked(Exchange& ex) {
  RemoveField(ex, "Content-Length");
  SetField(ex, "Transfer-Encoding", "chunked");
}

bool IsPackage(const Exchange& ex) {
  return ex.request.path.starts_with(kStatic) && ex.answer.status == 200 && !ex.answer.body.empty();
}

/// Adds `delta` to the little-endian number `from_end` bytes before the end of a gzip file.
void BendTail(Exchange& ex, std::size_t from_end) {
  if (!IsPackage(ex) || ex.answer.body.size() < from_end) return;
  char& byte = ex.answer.body[ex.answer.body.size() - from_end];
  byte = static_cast<char>(byte ^ 0x5A);
}

std::string OddLines(const std::string& text) {
  static constexpr std::string_view kOdd[] = {"",
                                              "[]",
                                              "{}",
                                              "[1,2,3]",
                                              "not json",
                                              "[20240315,1,2,3,4,5,6,7,8,9,10,11]",
                                              "[\"20240315\",null,true,{},[],1,2,3,4]",
                                              "[20240315,1e400,-1e400,-1,2,3,1e30,-5,0]",
                                              "[20240315,1,2,3,4,5,6,7,8]\r",
                                              ":",
                                              "sh999999:{\"d\":{\"b\":\"x\"",
                                              "  [20240315, 1, 2, 3, 4, 5, 6, 7, 8]  "};
  std::string out;
  std::size_t next = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    out.append(text, at, end - at);
    out.push_back('\n');
    at = end + 1;
    if (next < std::size(kOdd)) {
      out += kOdd[next++];
      out.push_back('\n');
    }
  }
  for (; next < std::size(kOdd); ++next) {
    out += kOdd[next];
    out.push_back('\n');
  }
  return out;
}

/// "/static/kline.SYMBOL.day.bfq.VERSION.gzip" with another symbol.
std::string OtherSymbolPath(const std::string& path, std::string_view other) {
  static constexpr std::string_view kPrefix = "/static/kline.";
  const std::size_t end = path.find('.', kPrefix.size());
  if (!path.starts_with(kPrefix) || end == std::string::npos || path.starts_with("/static/kline.meta."))
    return path;
  return std::string(kPrefix) + std::string(other) + path.substr(end);
}

/// "/static/kline.SYMBOL.day.bfq.VERSION.gzip" with the version of some trading days before.
std::string EarlierPackagePath(const std::string& path, std::uint64_t days) {
  static constexpr std::string_view kSuffix = ".gzip";
  if (!path.starts_with("/static/kline.") || path.starts_with("/static/kline.meta.") ||
      !path.ends_with(kSuffix))
    return path;
  const std::size_t end = path.size() - kSuffix.size();
  const std::size_t dot = path.rfind('.', end - 1);
  const auto through = model::Market::KLineVersionDate(path.substr(dot + 1, end - dot - 1));
  if (!through) return path;
  model::Date date = *through;
  for (; days > 0 && date > model::kFirstTradingDay; --days) date = model::PreviousTradingDay(date);
  return path.substr(0, dot + 1) + std::to_string(date) + std::string(kSuffix);
}

/// Until that minute of a trading day, HHMM, the history is that of the evening two sessions before.
void LateHistory(Exchange& ex, const FaultCall& call) {
  const auto until = static_cast<int>(Count(call, 2359));
  const model::Instant now = ex.instant + ex.data_offset;
  if (ex.request.path != "/kql" || model::SecondOfDay(now) >= until / 100 * 3600 + until % 100 * 60) return;
  const model::Date last = model::PreviousTradingDay(model::DateOf(now));
  ex.data_offset += model::InstantOf(model::PreviousTradingDay(last), 20, 0, 0) - now;
}

std::string RepeatText(std::string_view text, std::uint64_t count) {
  std::string out;
  out.reserve(text.size() * count);
  for (std::uint64_t i = 0; i < count; ++i) out += text;
  return out;
}

// Faults with more than a line or two to them.

void StatusWithoutBody(Exchange& ex, const FaultCall& call) {
  ex.answer.status = static_cast<unsigned>(std::clamp(call.number, 100.0, 599.0));
  ex.answer.content_type = "text/html";
  ex.answer.body = "<html><body>The server is not well.</body></html>";
}

void StatusWithGoodBody(Exchange& ex, const FaultCall& call) {
  ex.answer.status = static_cast<unsigned>(std::clamp(call.number, 100.0, 599.0));
}

void DeepNesting(Exchange& ex, const FaultCall& call) {
  const std::uint64_t depth = Count(call, 10'000'000);
  SetBody(ex, "{\"errno\":0,\"data\":" + RepeatText("[", depth) + RepeatText("]", depth) + "}");
}

void EndlessHeaders(Exchange& ex, const FaultCall&) {
  std::string head = ex.head;
  head.resize(head.size() - 2);  // without the empty line that would end it
  ex.delivery.steps = {Write(std::move(head)),
                       {Step::Kind::kRepeat, "X-Filler: " + std::string(1000, 'f') + "\r\n", kForever, {}},
                       Close()};
}

void OversizeChunked(Exchange& ex, const FaultCall&) {
  ex.delivery.steps = {Write(std::move(ex.head)),
                       {Step::Kind::kRepeat, "4000\r\n" + std::string(0x4000, ' ') + "\r\n", kForever, {}},
                       Close()};
}

void Oversize(Exchange& ex, const FaultCall& call) {
  const std::uint64_t mebibytes = Count(call, 4096);
  const std::uint64_t size = mebibytes << 20;
  SetField(ex, "Content-Length", std::to_string(ex.answer.body.size() + size));
  RenderHead(ex);
  ex.delivery.steps = {Write(std::move(ex.head)),
                       {Step::Kind::kRepeat, std::string(std::size_t{1} << 16, ' '), size >> 16, {}},
                       Write(std::move(ex.answer.body))};
}

void OddPackage(Exchange& ex, const FaultCall&) {
  if (IsPackage(ex)) SetBody(ex, Gzip(OddLines(Gunzip(ex.answer.body))));
}

void TwoMembers(Exchange& ex, const FaultCall&) {
  if (!IsPackage(ex)) return;
  const std::string text = Gunzip(ex.answer.body);
  const std::size_t middle = std::min(text.find('\n', text.size() / 2), text.size() - 1) + 1;
  SetBody(ex, Gzip(std::string_view(text).substr(0, middle)) + Gzip(std::string_view(text).substr(middle)));
}

void OldAnswer(Exchange& ex, const FaultCall& call) {
  if (call.ordinal % 2 == 1) ex.data_offset -= std::clamp(call.number, -3e8, 3e8);
}

void Reorder(Exchange& ex, const FaultCall& call) {
  if (call.ordinal % 2 == 0) ex.delay += Milliseconds(call.number);
}

const std::vector<FaultEntry>& Table() {
  using P = FaultPhase;
  constexpr auto kNone = Argument::kNone;
  constexpr auto kNumber = Argument::kNumber;
  constexpr auto kText = Argument::kText;
  // clang-format off
  static const auto& table = *new std::vector<FaultEntry>{
    // Connections, whatever is asked for on them.
    {"refuse", "connect", P::kConnect, kNone, "", "", "nobody listens: connections are refused, open ones end with their next request", nullptr},
    {"reset_on_connect", "connect", P::kConnect, kNone, "", "", "a connection is reset as soon as it stands", nullptr},
    {"close_on_connect", "connect", P::kConnect, kNone, "", "", "a connection is closed as soon as it stands", nullptr},
    {"silence_on_connect", "connect", P::kConnect, kNone, "", "", "a connection stands and nothing is ever read from it", nullptr},

    // The server's idea of the time.
    {"clock_wrong", "clock", P::kRequest, kNumber, "3600", "seconds (3600)", "the server's clock is that far ahead (behind, if negative): Date, data and the check of signing times",
     [](Exchange& ex, const FaultCall& call) { ex.instant += std::clamp(call.number, -3e8, 3e8); }},
    {"old_answer", "clock", P::kRequest, kNumber, "60", "seconds (60)", "every other answer has the figures of that many seconds ago",
     OldAnswer},
    {"history_late", "clock", P::kRequest, kNumber, "945", "HHMM (945)", "history queries lack the last session until that minute of the day", LateHistory},
    {"date_wrong", "clock", P::kRequest, kNumber, "3600", "seconds (3600)", "only the Date header is that far ahead (behind, if negative)",
     [](Exchange& ex, const FaultCall& call) { ex.date_offset += std::clamp(call.number, -3e8, 3e8); }},
    {"date_missing", "clock", P::kHead, kNone, "", "", "no Date header", [](Exchange& ex, const FaultCall&) { RemoveField(ex, "Date"); }},
    {"date_malformed", "clock", P::kHead, kText, "yesterday", "text (yesterday)", "the Date header holds that text",
     [](Exchange& ex, const FaultCall& call) { SetField(ex, "Date", std::string(call.argument)); }},

    // Packages and the metadata file; answers of other paths stay whole.
    {"package_other_symbol", "package", P::kRequest, kText, "sz000001", "symbol (sz000001)", "a package holds the candles of that symbol",
     [](Exchange& ex, const FaultCall& call) { ex.request.path = OtherSymbolPath(ex.request.path, call.argument); }},
    {"package_behind", "package", P::kRequest, kNumber, "3", "trading days (3)", "a package ends that many trading days before its version, in the base of that day",
     [](Exchange& ex, const FaultCall& call) { ex.request.path = EarlierPackagePath(ex.request.path, Count(call, 1000)); }},
    {"package_missing", "package", P::kBody, kNone, "", "", "404 for files that are there",
     [](Exchange& ex, const FaultCall&) { if (IsPackage(ex)) { ex.answer.status = 404; ex.answer.body.clear(); } }},
    {"package_not_gzip", "package", P::kBody, kNone, "", "", "the text itself in place of the gzip file",
     [](Exchange& ex, const FaultCall&) { if (IsPackage(ex)) SetBody(ex, Gunzip(ex.answer.body)); }},
    {"package_odd_lines", "package", P::kBody, kNone, "", "", "lines between the lines: empty, short, long, no JSON, odd numbers, carriage returns", OddPackage},
    {"package_concatenated", "package", P::kBody, kNone, "", "", "two gzip members, one after the other, hold the text", TwoMembers},
    {"package_bomb", "package", P::kBody, kNumber, "100", "MiB (100)", "a small gzip file that unpacks to that many MiB of blanks",
     [](Exchange& ex, const FaultCall& call) { if (IsPackage(ex)) SetBody(ex, GzipBomb(Count(call, 4095))); }},
    {"package_empty", "package", P::kBody, kNone, "", "", "a correct gzip file of no text", [](Exchange& ex, const FaultCall&) { if (IsPackage(ex)) SetBody(ex, Gzip({})); }},
    {"package_wrong_sum", "package", P::kBody, kNone, "", "", "the check sum of the gzip file is wrong", [](Exchange& ex, const FaultCall&) { BendTail(ex, 8); }},
    {"package_wrong_size", "package", P::kBody, kNone, "", "", "the size at the end of the gzip file is wrong", [](Exchange& ex, const FaultCall&) { BendTail(ex, 4); }},
    {"package_truncated", "package", P::kBody, kNumber, "-1", "bytes kept (half)", "the gzip file ends early, in good order for HTTP",
     [](Exchange& ex, const FaultCall& call) {
       if (IsPackage(ex)) ex.answer.body.resize(call.number < 0 ? ex.answer.body.size() / 2 : std::min(ex.answer.body.size(), static_cast<std::size_t>(Count(call, kMostBytes))));
     }},
    {"package_trailing", "package", P::kBody, kNone, "", "", "bytes that belong to nothing follow the gzip file",
     [](Exchange& ex, const FaultCall&) { if (IsPackage(ex)) ex.answer.body += "trailing garbage"; }},

    // JSON texts.
    {"errno", "json", P::kBody, kText, "1001", "JSON value (1001)", "\"errno\" is that value, of whatever type, beside the good data",
     [](Exchange& ex, const FaultCall& call) { SetBody(ex, ReplaceRootMember(ex.answer.body, "errno", call.argument)); }},
    {"rows", "json", P::kBody, kNumber, "100000", "rows (100000)", "the rows of the longest list are repeated until there are that many",
     [](Exchange& ex, const FaultCall& call) { SetBody(ex, RepeatRows(ex.answer.body, Count(call, 1e6))); }},
    {"no_rows", "json", P::kBody, kNone, "", "", "the longest list is empty", [](Exchange& ex, const FaultCall&) { SetBody(ex, EmptyRows(ex.answer.body)); }},
    {"wrong_type", "json", P::kBody, kText, "data", "path (data)", "values at the path have another type; \"*\" is any member or element",
     [](Exchange& ex, const FaultCall& call) { SetBody(ex, PatchJson(ex.answer.body, call.argument, JsonPatch::kWrongType)); }},
    {"null", "json", P::kBody, kText, "data", "path (data)", "values at the path are null",
     [](Exchange& ex, const FaultCall& call) { SetBody(ex, PatchJson(ex.answer.body, call.argument, JsonPatch::kNull)); }},
    {"missing", "json", P::kBody, kText, "data", "path (data)", "values at the path are not there",
     [](Exchange& ex, const FaultCall& call) { SetBody(ex, PatchJson(ex.answer.body, call.argument, JsonPatch::kRemove)); }},
    {"hostile_numbers", "json", P::kBody, kNone, "", "", "numbers out of range, negative, huge, tiny, of sixty digits",
     [](Exchange& ex, const FaultCall&) { SetBody(ex, HostileNumbers(ex.answer.body)); }},
    {"hostile_texts", "json", P::kBody, kNone, "", "", "texts with control characters, formats, paths, direction marks, lone surrogates, and a long one",
     [](Exchange& ex, const FaultCall&) { SetBody(ex, HostileTexts(ex.answer.body)); }},
    {"duplicate_keys", "json", P::kBody, kNone, "", "", "every member stands twice, first with a container",
     [](Exchange& ex, const FaultCall&) { SetBody(ex, DuplicateKeys(ex.answer.body)); }},
    {"deep_nesting", "json", P::kBody, kNumber, "100000", "depth (100000)", "\"data\" is an array in an array, that deep", DeepNesting},
    {"empty_object", "json", P::kBody, kNone, "", "", "the answer is {}", [](Exchange& ex, const FaultCall&) { SetBody(ex, "{}"); }},
    {"array_root", "json", P::kBody, kNone, "", "", "the answer is []", [](Exchange& ex, const FaultCall&) { SetBody(ex, "[]"); }},
    {"not_json", "json", P::kBody, kNone, "", "", "the answer is a page of HTML, with status 200",
     [](Exchange& ex, const FaultCall&) { ex.answer.content_type = "text/html"; SetBody(ex, "<!DOCTYPE html><html><body>Please log in</body></html>"); }},
    {"trailing", "json", P::kBody, kNone, "", "", "something follows the JSON text", [](Exchange& ex, const FaultCall&) { ex.answer.body += "}garbage"; }},
    {"invalid_utf8", "json", P::kBody, kNone, "", "", "texts hold bytes that are no UTF-8",
     [](Exchange& ex, const FaultCall&) {
       const std::size_t quote = ex.answer.body.rfind('"');
       if (quote != std::string::npos) ex.answer.body.insert(quote, "\xff\xc0\xaf\xed\xa0\x80");
     }},
    {"truncated", "json", P::kBody, kNumber, "-1", "bytes kept (half)", "the body ends early, in good order for HTTP",
     [](Exchange& ex, const FaultCall& call) {
       ex.answer.body.resize(call.number < 0 ? ex.answer.body.size() / 2 : std::min(ex.answer.body.size(), static_cast<std::size_t>(Count(call, kMostBytes))));
     }},
    {"empty_body", "json", P::kBody, kNone, "", "", "status 200 and no body", [](Exchange& ex, const FaultCall&) { ex.answer.body.clear(); }},

    // Status, header fields and framing.
    {"status", "http", P::kBody, kNumber, "500", "status (500)", "that status with a page of HTML; 204 and 304 without a body", StatusWithoutBody},
    {"status_good_body", "http", P::kBody, kNumber, "500", "status (500)", "that status with the good body", StatusWithGoodBody},
    {"redirect", "http", P::kHead, kText, "/", "location (/)", "302 to that address",
     [](Exchange& ex, const FaultCall& call) { ex.status_line = "HTTP/1.1 302 Found"; SetField(ex, "Location", std::string(call.argument)); }},
    {"redirect_loop", "http", P::kHead, kNone, "", "", "302 to the same address",
     [](Exchange& ex, const FaultCall&) { ex.status_line = "HTTP/1.1 302 Found"; SetField(ex, "Location", ex.request.target); }},
    {"bad_status_line", "http", P::kHead, kText, "HTP/1 2xx", "text (HTP/1 2xx)", "the status line is that text",
     [](Exchange& ex, const FaultCall& call) { ex.status_line = call.argument; ex.delivery.keep_alive = false; }},
    {"bad_header", "http", P::kHead, kText, "This line has no colon", "text (This line has no colon)", "that line stands among the header fields",
     [](Exchange& ex, const FaultCall& call) { ex.fields.emplace_back(call.argument, ""); }},
    {"nul_in_header", "http", P::kHead, kNone, "", "", "a header field holds a zero byte",
     [](Exchange& ex, const FaultCall&) { ex.fields.emplace_back("X-Zero", std::string("a\0b", 3)); }},
    {"long_header", "http", P::kHead, kNumber, "1024", "KiB (1024)", "one header field is that long",
     [](Exchange& ex, const FaultCall& call) { ex.fields.emplace_back("X-Long", std::string(Count(call, 65536) << 10, 'l')); }},
    {"gzip", "http", P::kHead, kNone, "", "", "the body is sent with Content-Encoding gzip, as it may be",
     [](Exchange& ex, const FaultCall&) { SetBody(ex, Gzip(ex.answer.body)); SetField(ex, "Content-Encoding", "gzip"); SetField(ex, "Content-Length", std::to_string(ex.answer.body.size())); }},
    {"gzip_wrong", "http", P::kHead, kNone, "", "", "Content-Encoding says gzip and the body is plain",
     [](Exchange& ex, const FaultCall&) { SetField(ex, "Content-Encoding", "gzip"); }},
    {"gzip_bomb", "http", P::kHead, kNumber, "256", "MiB (256)", "Content-Encoding gzip and a small body that unpacks to that many MiB of blanks",
     [](Exchange& ex, const FaultCall& call) { SetBody(ex, GzipBomb(Count(call, 4095))); SetField(ex, "Content-Encoding", "gzip"); SetField(ex, "Content-Length", std::to_string(ex.answer.body.size())); }},
    {"length_missing", "http", P::kHead, kNone, "", "", "no Content-Length: the body ends with the connection, as it may",
     [](Exchange& ex, const FaultCall&) { RemoveField(ex, "Content-Length"); CloseAfterwards(ex); }},
    {"length_short", "http", P::kHead, kNone, "", "", "Content-Length is half of the body's",
     [](Exchange& ex, const FaultCall&) { SetField(ex, "Content-Length", std::to_string(ex.answer.body.size() / 2)); CloseAfterwards(ex); }},
    {"length_long", "http", P::kHead, kNone, "", "", "Content-Length is 1000 more than the body's, then the connection ends",
     [](Exchange& ex, const FaultCall&) { SetField(ex, "Content-Length", std::to_string(ex.answer.body.size() + 1000)); CloseAfterwards(ex); }},
    {"length_wrong", "http", P::kHead, kText, "-1", "text (-1)", "Content-Length is that text",
     [](Exchange& ex, const FaultCall& call) { SetField(ex, "Content-Length", std::string(call.argument)); CloseAfterwards(ex); }},
    {"length_twice", "http", P::kHead, kNone, "", "", "two Content-Length fields that contradict each other",
     [](Exchange& ex, const FaultCall&) { ex.fields.emplace_back("Content-Length", std::to_string(ex.answer.body.size() + 5)); CloseAfterwards(ex); }},
    {"chunked", "http", P::kHead, kNumber, "1000", "bytes (1000)", "the body comes in chunks of that size, as it may",
     [](Exchange& ex, const FaultCall& call) { BecomeChunked(ex); SetBody(ex, Chunks(ex.answer.body, std::max<std::uint64_t>(1, Count(call, kMostBytes))) + "0\r\n\r\n"); }},
    {"chunked_cut", "http", P::kHead, kNone, "", "", "the body comes in chunks and the last one never comes",
     [](Exchange& ex, const FaultCall&) { BecomeChunked(ex); CloseAfterwards(ex); SetBody(ex, Chunks(ex.answer.body, 1000)); }},
    {"chunked_wrong", "http", P::kHead, kNone, "", "", "the size of a chunk is no number",
     [](Exchange& ex, const FaultCall&) { BecomeChunked(ex); CloseAfterwards(ex); SetBody(ex, "zz\r\n" + ex.answer.body + "\r\n0\r\n\r\n"); }},
    {"chunked_endless", "http", P::kHead, kNone, "", "", "chunks without end",
     [](Exchange& ex, const FaultCall& call) { BecomeChunked(ex); RenderHead(ex); OversizeChunked(ex, call); }},
    {"oversize", "http", P::kHead, kNumber, "9", "MiB (9)", "that many MiB of blanks stand before the body; Content-Length is right", Oversize},
    {"headers_endless", "http", P::kWire, kNone, "", "", "header fields without end", EndlessHeaders},
    {"body_only", "http", P::kWire, kNone, "", "", "the body without status line and header fields",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(ex.answer.body), Close()}; }},

    // The way of the answer: steps in place of the usual two.
    {"silence", "answer", P::kWire, kNone, "", "", "no answer; the connection stays open",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Hold()}; }},
    {"stall_in_header", "answer", P::kWire, kNone, "", "", "half of the header, then nothing more",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(Half(ex.head)), Hold()}; }},
    {"stall_in_body", "answer", P::kWire, kNone, "", "", "the header and half of the body, then nothing more",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(ex.head), Write(Half(ex.answer.body)), Hold()}; }},
    {"drip_header", "answer", P::kWire, kNumber, "20", "ms (20)", "the header byte by byte, with that pause in between",
     [](Exchange& ex, const FaultCall& call) { ex.delivery.steps = {Drip(ex.head, Milliseconds(call.number)), Write(ex.answer.body)}; }},
    {"drip_body", "answer", P::kWire, kNumber, "20", "ms (20)", "the body byte by byte, with that pause in between",
     [](Exchange& ex, const FaultCall& call) { ex.delivery.steps = {Write(ex.head), Drip(ex.answer.body, Milliseconds(call.number))}; }},
    {"close_before_answer", "answer", P::kWire, kNone, "", "", "the connection is closed in place of an answer",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Close()}; }},
    {"close_in_header", "answer", P::kWire, kNone, "", "", "half of the header, then the end of the connection",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(Half(ex.head)), Close()}; }},
    {"close_in_body", "answer", P::kWire, kNone, "", "", "the header and half of the body, then the end of the connection",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(ex.head), Write(Half(ex.answer.body)), Close()}; }},
    {"reset_before_answer", "answer", P::kWire, kNone, "", "", "the connection is reset in place of an answer",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Reset()}; }},
    {"reset_in_header", "answer", P::kWire, kNone, "", "", "half of the header, then a reset",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(Half(ex.head)), Wait(kBeforeReset), Reset()}; }},
    {"reset_in_body", "answer", P::kWire, kNone, "", "", "the header and half of the body, then a reset",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(ex.head), Write(Half(ex.answer.body)), Wait(kBeforeReset), Reset()}; }},
    {"close_after_answer", "answer", P::kWire, kNone, "", "", "the answer promises to keep the connection, which then ends",
     [](Exchange& ex, const FaultCall&) { ex.delivery.steps = {Write(ex.head), Write(ex.answer.body), Close()}; }},
    {"close_on_reuse", "answer", P::kWire, kNone, "", "", "a connection answers once and is closed when it is used again",
     [](Exchange& ex, const FaultCall&) { if (ex.request.number > 1) ex.delivery.steps = {Close()}; }},
    {"latency", "answer", P::kWire, kNumber, "500", "ms (500)", "answers come that much later",
     [](Exchange& ex, const FaultCall& call) { ex.delay += Milliseconds(call.number); }},
    {"jitter", "answer", P::kWire, kNumber, "500", "ms (500)", "answers come later by anything up to that much",
     [](Exchange& ex, const FaultCall& call) { ex.delay += Milliseconds(call.number * static_cast<double>(call.random >> 11) * 0x1p-53); }},
    {"reorder", "answer", P::kWire, kNumber, "400", "ms (400)", "every other answer comes that much later, so that newer ones overtake it", Reorder},
  };
  // clang-format on
  return table;
}

}  // namespace

const std::vector<FaultEntry>& FaultTable() {
  return Table();
}

std::vector<FaultInfo> Faults() {
  std::vector<FaultInfo> faults;
  for (const FaultEntry& entry : Table()) {
    faults.push_back({std::string(entry.name), std::string(entry.stage), std::string(entry.argument_help),
                      std::string(entry.summary)});
  }
  return faults;
}

}  // namespace market_server
