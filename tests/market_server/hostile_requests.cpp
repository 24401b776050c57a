#include "hostile_requests.h"

#include <utility>

namespace market_server::testing {
namespace {

constexpr std::size_t kHeadLimit = 98'304;
constexpr std::size_t kBodyLimit = 65'536;
constexpr int kUnknownPath = 1001;
constexpr int kMalformedQuery = 1003;
constexpr int kMissingParameter = 1010;
constexpr int kBadParameter = 1011;
constexpr int kTooManySymbols = 1013;
constexpr int kRepeatedParameter = 1014;

// A whole request of the fields `fields`, each with its line end.
std::string Get(const std::string& target, const std::string& fields = "Host: a\r\n") {
  return "GET " + target + " HTTP/1.1\r\n" + fields + "\r\n";
}

std::string Post(const std::string& fields, const std::string& body = {}) {
  return "POST /x HTTP/1.1\r\nHost: a\r\n" + fields + "\r\n" + body;
}

std::string Put(const std::string& path, const std::string& body) {
  return "PUT " + path + " HTTP/1.1\r\nHost: localhost:1\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

// A head of so many bytes.
std::string HeadOf(std::size_t bytes) {
  const std::string begin = "GET /x HTTP/1.1\r\nHost: a\r\nX: ";
  return begin + std::string(bytes - begin.size() - 4, 'x') + "\r\n\r\n";
}

std::string Kql(const std::string& query) {
  return Get("/kql?q=" + query);
}

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

std::string ManySymbols(int count) {
  std::string list = "[%22sh600000%22";
  for (int i = 1; i < count; ++i) list += ",%22sh600000%22";
  return list + "]";
}

std::string KqlMembers(int count) {
  std::string query = "{";
  for (int i = 0; i < count; ++i) {
    query += (i > 0 ? ",%22" : "%22") + std::to_string(i) +
             "%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22type%22:%22bfq%22,%22offset%22:0,%22limit%"
             "22:1}]";
  }
  return query + "}";
}

}  // namespace

std::vector<HostileRequest> HostileRequests() {
  const std::string control = "Host: localhost:1\r\n";
  const std::string value = "X: " + std::string(65'534, 'x') + "\r\n";
  const std::string name = std::string(65'534, 'x') + ": x\r\n";
  std::vector<HostileRequest> list = {
      // One of these ended the process: a parser that kept lengths in sixteen bits threw on its thread.
      {"field_of_64_kib", Door::kQuotes, Get("/x", "Host: a\r\n" + value), {200}, kUnknownPath},
      {"name_of_64_kib", Door::kQuotes, Get("/x", "Host: a\r\n" + name), {200}, kUnknownPath},
      {"control_field_of_64_kib", Door::kControl, Get("/status", control + value), {200}},
      {"control_name_of_64_kib", Door::kControl, Get("/status", control + name), {200}},

      {"head_as_long_as_it_may_be", Door::kQuotes, HeadOf(kHeadLimit), {200}, kUnknownPath},
      {"head_too_long", Door::kQuotes, HeadOf(kHeadLimit + 1), {431}},
      {"head_without_end", Door::kQuotes, "GET /x HTTP/1.1\r\nX: " + std::string(kHeadLimit, 'x'), {431}},
      {"control_head_too_long", Door::kControl, HeadOf(kHeadLimit + 1), {431}},
      {"body_as_long_as_it_may_be",
       Door::kQuotes,
       Post("Content-Length: " + std::to_string(kBodyLimit) + "\r\n", std::string(kBodyLimit, 'x')),
       {405}},
      {"body_too_long",
       Door::kQuotes,
       Post("Content-Length: " + std::to_string(kBodyLimit + 1) + "\r\n"),
       {413}},
      {"body_of_all_lengths", Door::kQuotes, Post("Content-Length: 18446744073709551615\r\n"), {413}},
      {"body_of_no_length", Door::kQuotes, Post("Content-Length: -1\r\n"), {400}},
      {"body_of_two_lengths", Door::kQuotes, Post("Content-Length: 0\r\nContent-Length: 0\r\n"), {400}},
      {"body_cut", Door::kQuotes, Post("Content-Length: 10\r\n", "few"), {}},
      {"chunked", Door::kQuotes, Post("Transfer-Encoding: chunked\r\n", "ffffffffffffffff\r\n"), {411}},
      {"expect", Door::kQuotes, Post("Expect: 100-continue\r\nContent-Length: 3\r\n", "abc"), {405}},
      {"expect_too_much", Door::kQuotes, Post("Expect: 100-continue\r\nContent-Length: 99999\r\n"), {413}},
      {"two_hosts", Door::kQuotes, Get("/x", "Host: a\r\nHost: b\r\n"), {400}},
      {"no_http", Door::kQuotes, "hello\r\n\r\n", {400}},
      {"no_such_version", Door::kQuotes, "GET /x HTTP/9.9\r\n\r\n", {400}},
      {"no_colon", Door::kQuotes, Get("/x", "no colon\r\n"), {400}},
      {"nothing_but_zeros", Door::kQuotes, std::string(4096, '\0'), {400}},
      {"tls_hello_in_the_clear",
       Door::kQuotes,
       std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11),
       {400}},
      {"head_cut", Door::kQuotes, "GET /x HT", {}},
      {"pipelined", Door::kQuotes, Times(50, Get("/pc/rt/stock_version")), std::vector<int>(50, 200)},

      {"percent", Door::kQuotes, Get("/%zz?a=%"), {200}, kMalformedQuery},
      {"path_with_zero_byte", Door::kQuotes, Get("/static/%00/../../etc/passwd"), {404}},
      {"path_upwards", Door::kQuotes, Get("/static/../../../etc/passwd"), {404}},
      {"static_name_in_capitals", Door::kQuotes, Get("/static/kline.SH600000.day.bfq.20240314.gzip"), {404}},
      {"no_parameter", Door::kQuotes, Get("/pc/rt/stock_detail_list"), {200}, kMissingParameter},
      {"parameter_twice",
       Door::kQuotes,
       Get("/pc/rt/trade_date?date=2024&date=2024"),
       {200},
       kRepeatedParameter},
      {"list_that_does_not_end",
       Door::kQuotes,
       Get("/pc/rt/stock_detail_list?stock_arr=[[[[["),
       {200},
       kBadParameter},
      {"list_too_deep",
       Door::kQuotes,
       Get("/pc/rt/stock_detail_list?stock_arr=" + std::string(40'000, '[')),
       {200},
       kBadParameter},
      {"list_as_long_as_it_may_be",
       Door::kQuotes,
       Get("/pc/rt/stock_detail_list?stock_arr=" + ManySymbols(4'000)),
       {200}},
      {"list_too_long",
       Door::kQuotes,
       Get("/pc/rt/stock_detail_list?stock_arr=" + ManySymbols(4'001)),
       {200},
       kTooManySymbols},
      {"plates_among_stocks",
       Door::kQuotes,
       Get("/pc/rt/stock_detail_list?stock_arr=[%22sh000001%22,%22bk1001%22,%22bk9999%22,%22x%22]"),
       {200}},
      {"page_from_below",
       Door::kQuotes,
       Get("/pc/rt/get?stock_type=cn_a&sort_key=s1p&sort_type=asc&start=-2147483648&end=2147483647"),
       {200}},
      {"page_beyond_32_bits",
       Door::kQuotes,
       Get("/pc/rt/get?stock_type=cn_a&sort_key=s1p&sort_type=asc&start=0&end=2147483648"),
       {200},
       kBadParameter},
      {"days_before_the_first",
       Door::kQuotes,
       Get("/pc/rt/get_choice_htime?stock=sh600000&date=20150106&rn=2147483647"),
       {200}},
      {"day_that_is_none",
       Door::kQuotes,
       Get("/pc/rt/get_day_htime?stock=sh600000&date=20240231"),
       {200},
       kBadParameter},
      {"history_twice", Door::kQuotes, Get("/kql?q={}&q={}"), {200}, kRepeatedParameter},
      {"history_of_nothing", Door::kQuotes, Get("/kql"), {200}, kMissingParameter},
      {"history_cut", Door::kQuotes, Kql("{%22a%22:["), {200}, kBadParameter},
      {"history_too_deep", Door::kQuotes, Kql(std::string(40'000, '[')), {200}, kBadParameter},
      {"history_of_ten", Door::kQuotes, Kql(KqlMembers(10)), {200}},
      {"history_of_eleven", Door::kQuotes, Kql(KqlMembers(11)), {200}, kBadParameter},
      {"history_of_all_lengths",
       Door::kQuotes,
       Kql("{%22a%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22type%22:%22bfq%22,"
           "%22offset%22:18446744073709551615,%22limit%22:18446744073709551615}]}"),
       {200}},
      {"new_shares", Door::kQuotes, Get("/pc/rt/stock_buy"), {200}},

      {"control_from_a_browser", Door::kControl, Get("/status", control + "Origin: http://x\r\n"), {403}},
      {"control_under_another_name", Door::kControl, Get("/status", "Host: example.com\r\n"), {403}},
      {"control_clock_that_is_none", Door::kControl, Put("/clock", "9999-99-99"), {400}},
      {"control_speed_that_is_none",
       Door::kControl,
       Put("/speed", "nan") + Put("/speed", "-1") + Put("/speed", ""),
       {400, 400, 400}},
      {"control_fault_that_is_none", Door::kControl, Put("/faults", "nonsense:::\nstatus:/x:2:503"), {400}},
      {"control_path_that_is_none", Door::kControl, Put("/x", "x"), {404}},
  };
  return list;
}

std::string SeedOf(const HostileRequest& request) {
  const char first = request.door == Door::kControl ? 1 : 0;
  return std::string{first, '\xff'} + request.bytes;
}

}  // namespace market_server::testing
