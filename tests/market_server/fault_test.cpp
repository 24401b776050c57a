// Every fault of the table, seen on a raw socket; and how rules are read and chosen.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <set>
#include <thread>

#include "server_fixture.h"

namespace market_server::testing {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kQuiet{250};  // nothing for so long counts as silence
const QueryMap kIndices = {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}};

/// Unpacks one gzip member and all that follow it; none when the file is not whole.
std::optional<std::string> Unpack(const std::string& file) {
  std::string text;
  std::string_view rest = file;
  while (!rest.empty()) {
    z_stream stream{};
    inflateInit2(&stream, 15 + 16);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(rest.data()));
    stream.avail_in = static_cast<uInt>(rest.size());
    int result = Z_OK;
    std::string block(1 << 16, '\0');
    while (result == Z_OK) {
      stream.next_out = reinterpret_cast<Bytef*>(block.data());
      stream.avail_out = static_cast<uInt>(block.size());
      result = inflate(&stream, Z_NO_FLUSH);
      text.append(block, 0, block.size() - stream.avail_out);
      if (result == Z_BUF_ERROR || stream.avail_in == 0) break;
    }
    const std::size_t used = rest.size() - stream.avail_in;
    inflateEnd(&stream);
    if (result != Z_STREAM_END) return std::nullopt;
    rest.remove_prefix(used);
  }
  return text;
}

/// A server with one rule in force, and what a test asks of it.
class World {
 public:
  explicit World(const std::string& rule) { bench.server().SetFaults({rule}); }

  RawAnswer Index() { return bench.Get("/pc/rt/stock_detail_list", kIndices); }
  std::string Body() { return Index().body; }
  std::string Good() {
    const std::vector<std::string> rules = bench.server().ActiveFaults();
    bench.server().SetFaults({});
    std::string body = Body();
    bench.server().SetFaults(rules);
    return body;
  }
  /// All bytes of an answer to an index request on a connection of its own, or the first `most`, and how it
  /// ended. The client has no further request, so the server ends the connection if nothing else does.
  std::pair<std::string, End> Wire(std::size_t most = std::size_t{1} << 26) {
    RawClient client(bench.server().port());
    client.SendGet(bench.Sign("/pc/rt/stock_detail_list", kIndices));
    client.EndSending();
    std::string text = client.ReadUntil([most](const std::string& read) { return read.size() >= most; });
    return {std::move(text), client.end()};
  }
  /// What has arrived of an answer that stops when it `has_stopped`, and in the moment after it.
  std::string Stopped(const std::function<bool(const std::string&)>& has_stopped) {
    RawClient client(bench.server().port());
    client.SendGet(bench.Sign("/pc/rt/stock_detail_list", kIndices));
    std::string text = client.ReadUntil(has_stopped) + client.ReadAll(kQuiet);
    EXPECT_EQ(client.end(), End::kOpen);
    EXPECT_FALSE(ParseAnswer(text).complete);
    return text;
  }
  std::string PackagePath(const std::string& symbol = "sh600000") {
    const std::vector<std::string> rules = bench.server().ActiveFaults();
    bench.server().SetFaults({});
    const std::string version = bench.Json("/pc/rt/stock_version")["version"].GetString();
    bench.server().SetFaults(rules);
    return "/static/kline." + symbol + ".day.bfq." + version + ".gzip";
  }
  std::string GoodPackage(const std::string& symbol = "sh600000") {
    const std::vector<std::string> rules = bench.server().ActiveFaults();
    bench.server().SetFaults({});
    const std::string body = bench.Raw(PackagePath(symbol)).body;
    bench.server().SetFaults(rules);
    return *Unpack(body);
  }
  RawAnswer Package() { return bench.Raw(PackagePath()); }

  Bench bench;
};

void ExpectCut(const std::pair<std::string, End>& wire, End end) {
  EXPECT_EQ(wire.second, end);
  EXPECT_FALSE(ParseAnswer(wire.first).complete);
}

bool BodyHasBegun(const std::string& text) {
  return !ParseAnswer(text).body.empty();
}

bool HasBegun(const std::string& text) {
  return !text.empty();
}

bool IsSilent(const std::string& text) {
  return text.empty();
}

using Check = std::function<void(World&)>;

/// Each rule, and what is seen while it is in force.
const std::map<std::string, Check>& Checks() {
  static const auto& checks = *new std::map<std::string, Check>{
      {"refuse",
       [](World&) {
         World world("status:/none");
         EXPECT_EQ(world.Index().status, 200);
         world.bench.server().SetFaults({"refuse"});
         EXPECT_EQ(world.bench.Raw("/x").status, 0) << "the open connection";
         EXPECT_EQ(RawClient(world.bench.server().port()).end(), End::kRefused);
         world.bench.server().SetFaults({});
         EXPECT_EQ(world.Index().status, 200);
       }},
      {"reset_on_connect",
       [](World& world) {
         const auto wire = world.Wire();
         EXPECT_EQ(wire.first, "");
         EXPECT_NE(wire.second, End::kOpen);
       }},
      {"close_on_connect",
       [](World& world) {
         RawClient client(world.bench.server().port());
         EXPECT_EQ(client.ReadAll(), "");
         EXPECT_EQ(client.end(), End::kClosed);
       }},
      {"silence_on_connect", [](World& world) { EXPECT_EQ(world.Stopped(&IsSilent), ""); }},
      {"clock_wrong::1:86400",
       [](World& world) {
         world.bench.signer().time = kMidMorning;
         const std::string target = world.bench.signer().Sign("/pc/rt/stock_version", {});
         const RawAnswer answer = world.bench.Raw(target);
         EXPECT_EQ(answer.Field("Date"), "Sat, 16 Mar 2024 02:30:00 GMT");
         EXPECT_NE(answer.body.find("\"errno\":1025"), std::string::npos) << answer.body;
       }},
      {"old_answer::1:86400",
       [](World& world) {
         const std::string first = world.Body();
         const std::string second = world.Body();
         EXPECT_EQ(first, world.Good());
         EXPECT_TRUE(second.starts_with("{\"errno\":0,")) << second;
         EXPECT_NE(first, second);
         EXPECT_EQ(world.Body(), first);
       }},
      {"history_late",
       [](World&) {
         const auto last_row = [](const char* fault) {
           World world(fault);
           const std::string body =
               world.bench
                   .Raw(
                       "/kql?q={%22foo%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22mtime%22:0,"
                       "%22type%22:%22bfq%22,%22offset%22:0,%22limit%22:1}]}")
                   .body;
           return body.substr(body.rfind("[[") + 2, 8);
         };
         EXPECT_EQ(last_row("history_late:/none"), "20240314");
         EXPECT_EQ(last_row("history_late::1:1031"), "20240313");
         EXPECT_EQ(last_row("history_late::1:1030"), "20240314") << "it is half past ten";
       }},
      {"date_wrong::1:-3600",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.Field("Date"), "Fri, 15 Mar 2024 01:30:00 GMT");
         EXPECT_EQ(answer.body, world.Good());
       }},
      {"date_missing", [](World& world) { EXPECT_EQ(world.Index().Field("Date"), ""); }},
      {"date_malformed", [](World& world) { EXPECT_EQ(world.Index().Field("Date"), "yesterday"); }},
      {"package_other_symbol",
       [](World& world) {
         EXPECT_EQ(*Unpack(world.Package().body), world.GoodPackage("sz000001"));
         EXPECT_NE(world.GoodPackage("sz000001"), world.GoodPackage());
       }},
      {"package_behind::1:2",
       [](World& world) {
         const std::string text = *Unpack(world.Package().body);
         EXPECT_EQ(text.find("[20240313,"), std::string::npos);
         EXPECT_NE(text.find("\n[20240312,"), std::string::npos);
         EXPECT_NE(world.GoodPackage().find("\n[20240314,"), std::string::npos);
       }},
      {"package_missing", [](World& world) { EXPECT_EQ(world.Package().status, 404); }},
      {"package_not_gzip", [](World& world) { EXPECT_EQ(world.Package().body, world.GoodPackage()); }},
      {"package_odd_lines",
       [](World& world) {
         const std::string text = *Unpack(world.Package().body);
         for (const char* line : {"\n\n", "\n[]\n", "\n{}\n", "\n[1,2,3]\n", "\nnot json\n", "8]\r\n"}) {
           EXPECT_NE(text.find(line), std::string::npos) << line;
         }
         const std::string good = world.GoodPackage();
         EXPECT_NE(text.find(good.substr(good.size() - 200)), std::string::npos);
       }},
      {"package_concatenated",
       [](World& world) {
         const std::string file = world.Package().body;
         EXPECT_EQ(*Unpack(file), world.GoodPackage());
         EXPECT_NE(file.find("\x1f\x8b\x08", 1), std::string::npos);
       }},
      {"package_bomb::1:70",
       [](World& world) {
         const std::string file = world.Package().body;
         EXPECT_LT(file.size(), 1'000'000U);
         EXPECT_EQ(Unpack(file)->size(), std::size_t{70} << 20);
       }},
      {"package_empty", [](World& world) { EXPECT_EQ(*Unpack(world.Package().body), ""); }},
      {"package_wrong_sum", [](World& world) { EXPECT_FALSE(Unpack(world.Package().body).has_value()); }},
      {"package_wrong_size", [](World& world) { EXPECT_FALSE(Unpack(world.Package().body).has_value()); }},
      {"package_truncated",
       [](World& world) {
         const RawAnswer answer = world.Package();
         EXPECT_TRUE(answer.complete);
         EXPECT_FALSE(Unpack(answer.body).has_value());
         world.bench.server().SetFaults({"package_truncated::1:100"});
         EXPECT_EQ(world.Package().body.size(), 100U);
       }},
      {"package_trailing",
       [](World& world) { EXPECT_TRUE(world.Package().body.ends_with("trailing garbage")); }},
      {"errno",
       [](World& world) {
         EXPECT_TRUE(world.Body().starts_with("{\"errno\":1001,\"data\":{"));
         for (const char* value : {"-1", "5.5", "\"7\"", "true", "null", "3000000000", "{}"}) {
           world.bench.server().SetFaults({std::string("errno::1:") + value});
           EXPECT_TRUE(world.Body().starts_with(std::string("{\"errno\":") + value + ",")) << value;
         }
       }},
      {"rows::1:5000",
       [](World& world) {
         const rapidjson::Document answer = world.bench.Json("/pc/rt/stock_detail_list", kIndices);
         ASSERT_EQ(answer["data"]["list"].Size(), 5000U);
         EXPECT_EQ(answer["data"]["list"][0], answer["data"]["list"][3]);
       }},
      {"no_rows", [](World& world) { EXPECT_EQ(world.Body(), R"({"errno":0,"data":{"list":[]}})"); }},
      {"wrong_type::1:data/list/*/last",
       [](World& world) {
         const rapidjson::Document answer = world.bench.Json("/pc/rt/stock_detail_list", kIndices);
         for (const auto& row : answer["data"]["list"].GetArray()) EXPECT_TRUE(row["last"].IsString());
         world.bench.server().SetFaults({"wrong_type"});
         EXPECT_EQ(world.Body(), R"({"errno":0,"data":[]})");
       }},
      {"null::1:data/list/1/change",
       [](World& world) {
         const rapidjson::Document answer = world.bench.Json("/pc/rt/stock_detail_list", kIndices);
         EXPECT_TRUE(answer["data"]["list"][0]["change"].IsNumber());
         EXPECT_TRUE(answer["data"]["list"][1]["change"].IsNull());
       }},
      {"missing::1:data/list/*/name",
       [](World& world) {
         const rapidjson::Document answer = world.bench.Json("/pc/rt/stock_detail_list", kIndices);
         for (const auto& row : answer["data"]["list"].GetArray()) EXPECT_FALSE(row.HasMember("name"));
         world.bench.server().SetFaults({"missing"});
         EXPECT_EQ(world.Body(), R"({"errno":0})");
       }},
      {"hostile_numbers",
       [](World& world) {
         const std::string body = world.Body();
         EXPECT_TRUE(body.starts_with("{\"errno\":0,")) << body;
         for (const char* number : {":1e400", ":-0.0", ":18446744073709551616", ":4.9e-324"}) {
           EXPECT_NE(body.find(number), std::string::npos) << number;
         }
       }},
      {"hostile_texts",
       [](World& world) {
         std::string body = world.Body();
         for (const char* text : {"forged line", "%s%s%n%d", "\\ud800", "\\u202e", "../../"}) {
           EXPECT_NE(body.find(text), std::string::npos) << text;
         }
       }},
      {"duplicate_keys",
       [](World& world) {
         EXPECT_TRUE(world.Body().starts_with(
             R"({"errno":{"first":[1,{"of":"two"},[[]]]},"errno":0,"data":{"first")"));
       }},
      {"deep_nesting::1:5000",
       [](World& world) {
         EXPECT_EQ(world.Body(),
                   "{\"errno\":0,\"data\":" + std::string(5000, '[') + std::string(5000, ']') + "}");
       }},
      {"empty_object", [](World& world) { EXPECT_EQ(world.Body(), "{}"); }},
      {"array_root", [](World& world) { EXPECT_EQ(world.Body(), "[]"); }},
      {"not_json",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.status, 200);
         EXPECT_EQ(answer.Field("Content-Type"), "text/html");
         EXPECT_TRUE(answer.body.starts_with("<!DOCTYPE html>"));
       }},
      {"trailing", [](World& world) { EXPECT_EQ(world.Body(), world.Good() + "}garbage"); }},
      {"invalid_utf8",
       [](World& world) { EXPECT_NE(world.Body().find("\xff\xc0\xaf\xed\xa0\x80"), std::string::npos); }},
      {"truncated::1:40",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_TRUE(answer.complete);
         EXPECT_EQ(answer.body, world.Good().substr(0, 40));
         world.bench.server().SetFaults({"truncated"});
         EXPECT_EQ(world.Body().size(), world.Good().size() / 2);
       }},
      {"empty_body",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.status, 200);
         EXPECT_EQ(answer.Field("Content-Length"), "0");
       }},
      {"status",
       [](World&) {
         for (const int status : {500, 502, 503, 404, 204, 304}) {
           World world("status::1:" + std::to_string(status));
           const RawAnswer answer = world.Index();
           EXPECT_EQ(answer.status, status);
           EXPECT_EQ(answer.body.empty(), status == 204 || status == 304) << status;
           EXPECT_EQ(world.Index().status, status) << "on the same connection";
         }
       }},
      {"status_good_body::1:502",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.status, 502);
         EXPECT_EQ(answer.body, world.Good());
       }},
      {"redirect::1:http://127.0.0.1:9/elsewhere",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.status, 302);
         EXPECT_EQ(answer.Field("Location"), "http://127.0.0.1:9/elsewhere");
       }},
      {"redirect_loop",
       [](World& world) { EXPECT_EQ(world.bench.Raw("/a/b?c=d").Field("Location"), "/a/b?c=d"); }},
      {"bad_status_line", [](World& world) { EXPECT_TRUE(world.Wire().first.starts_with("HTP/1 2xx\r\n")); }},
      {"bad_header",
       [](World& world) {
         EXPECT_NE(world.Wire().first.find("\r\nThis line has no colon\r\n"), std::string::npos);
       }},
      {"nul_in_header",
       [](World& world) {
         EXPECT_NE(world.Wire().first.find(std::string("X-Zero: a\0b", 11)), std::string::npos);
       }},
      {"long_header::1:200",
       [](World& world) { EXPECT_EQ(world.Index().Field("X-Long").size(), 200U << 10); }},
      {"gzip",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.Field("Content-Encoding"), "gzip");
         EXPECT_EQ(*Unpack(answer.body), world.Good());
       }},
      {"gzip_wrong",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.Field("Content-Encoding"), "gzip");
         EXPECT_EQ(answer.body, world.Good());
       }},
      {"gzip_bomb::1:64",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_EQ(answer.Field("Content-Encoding"), "gzip");
         EXPECT_LT(answer.body.size(), 1'000'000U);
         EXPECT_EQ(Unpack(answer.body)->size(), std::size_t{64} << 20);
       }},
      {"length_missing",
       [](World& world) {
         const auto wire = world.Wire();
         const RawAnswer answer = ParseAnswer(wire.first);
         EXPECT_EQ(answer.Field("Content-Length"), "");
         EXPECT_EQ(answer.body, world.Good());
         EXPECT_EQ(wire.second, End::kClosed);
       }},
      {"length_short",
       [](World& world) {
         const auto wire = world.Wire();
         const RawAnswer answer = ParseAnswer(wire.first);
         EXPECT_EQ(answer.Field("Content-Length"), std::to_string(answer.body.size() / 2));
       }},
      {"length_long",
       [](World& world) {
         const auto wire = world.Wire();
         ExpectCut(wire, End::kClosed);
         EXPECT_EQ(ParseAnswer(wire.first).body, world.Good());
       }},
      {"length_wrong",
       [](World&) {
         for (const char* text : {"-1", "99999999999999999999", "12x"}) {
           World world(std::string("length_wrong::1:") + text);
           EXPECT_EQ(ParseAnswer(world.Wire().first).Field("Content-Length"), text);
         }
       }},
      {"length_twice",
       [](World& world) {
         std::multiset<std::string> lengths;
         for (const auto& [name, value] : ParseAnswer(world.Wire().first).fields) {
           if (name == "Content-Length") lengths.insert(value);
         }
         const std::size_t length = world.Good().size();
         EXPECT_EQ(lengths, (std::multiset<std::string>{std::to_string(length), std::to_string(length + 5)}));
       }},
      {"chunked::1:100",
       [](World& world) {
         const RawAnswer answer = ParseAnswer(world.Wire().first);
         EXPECT_EQ(answer.Field("Transfer-Encoding"), "chunked");
         EXPECT_EQ(answer.Field("Content-Length"), "");
         EXPECT_TRUE(answer.body.starts_with("64\r\n" + world.Good().substr(0, 100) + "\r\n64\r\n"));
         EXPECT_TRUE(answer.body.ends_with("\r\n0\r\n\r\n"));
       }},
      {"chunked_cut",
       [](World& world) {
         const auto wire = world.Wire();
         EXPECT_EQ(wire.second, End::kClosed);
         EXPECT_EQ(ParseAnswer(wire.first).Field("Transfer-Encoding"), "chunked");
         EXPECT_FALSE(wire.first.ends_with("0\r\n\r\n"));
       }},
      {"chunked_wrong",
       [](World& world) { EXPECT_TRUE(ParseAnswer(world.Wire().first).body.starts_with("zz\r\n")); }},
      {"chunked_endless",
       [](World& world) {
         const auto wire = world.Wire(20'000'000);
         EXPECT_GE(wire.first.size(), 20'000'000U);
         EXPECT_EQ(wire.second, End::kOpen);
         EXPECT_TRUE(ParseAnswer(wire.first).body.starts_with("4000\r\n"));
       }},
      {"oversize::1:9",
       [](World& world) {
         const RawAnswer answer = world.Index();
         EXPECT_TRUE(answer.complete);
         EXPECT_EQ(answer.body, std::string(std::size_t{9} << 20, ' ') + world.Good());
       }},
      {"headers_endless",
       [](World& world) {
         const auto wire = world.Wire(5'000'000);
         EXPECT_GE(wire.first.size(), 5'000'000U);
         EXPECT_FALSE(HeadIsWhole(wire.first));
       }},
      {"body_only", [](World& world) { EXPECT_EQ(world.Wire().first, world.Good()); }},
      {"silence", [](World& world) { EXPECT_EQ(world.Stopped(&IsSilent), ""); }},
      {"stall_in_header",
       [](World& world) {
         const std::string text = world.Stopped(&HasBegun);
         EXPECT_TRUE(text.starts_with("HTTP/1.1 200 OK")) << text;
         EXPECT_FALSE(HeadIsWhole(text));
       }},
      {"stall_in_body",
       [](World& world) {
         const std::string text = world.Stopped(&BodyHasBegun);
         EXPECT_TRUE(text.starts_with("HTTP/1.1 200 OK")) << text;
         EXPECT_EQ(ParseAnswer(text).body, world.Good().substr(0, world.Good().size() / 2));
       }},
      {"drip_header::1:1",
       [](World& world) {
         EXPECT_EQ(world.Body(), world.Good());
         world.bench.server().SetFaults({"drip_header::1:60000"});
         EXPECT_EQ(world.Stopped(&HasBegun), "H");
       }},
      {"drip_body:/x:1:1",
       [](World& world) {
         EXPECT_EQ(world.bench.Raw("/x").body, R"({"errno":1001,"errmsg":"unknown path"})");
         world.bench.server().SetFaults({"drip_body::1:60000"});
         EXPECT_EQ(ParseAnswer(world.Stopped(&BodyHasBegun)).body, "{");
       }},
      {"close_before_answer",
       [](World& world) { EXPECT_EQ(world.Wire(), (std::pair<std::string, End>("", End::kClosed))); }},
      {"close_in_header",
       [](World& world) {
         const auto wire = world.Wire();
         ExpectCut(wire, End::kClosed);
         EXPECT_FALSE(HeadIsWhole(wire.first));
       }},
      {"close_in_body",
       [](World& world) {
         const auto wire = world.Wire();
         ExpectCut(wire, End::kClosed);
         EXPECT_TRUE(HeadIsWhole(wire.first));
       }},
      {"reset_before_answer",
       [](World& world) { EXPECT_EQ(world.Wire(), (std::pair<std::string, End>("", End::kReset))); }},
      {"reset_in_header",
       [](World& world) {
         const auto wire = world.Wire();
         ExpectCut(wire, End::kReset);
         EXPECT_FALSE(HeadIsWhole(wire.first));
       }},
      {"reset_in_body",
       [](World& world) {
         const auto wire = world.Wire();
         ExpectCut(wire, End::kReset);
         EXPECT_TRUE(HeadIsWhole(wire.first));
       }},
      {"close_after_answer",
       [](World& world) {
         const auto wire = world.Wire();
         EXPECT_TRUE(ParseAnswer(wire.first).complete);
         EXPECT_EQ(ParseAnswer(wire.first).Field("Connection"), "keep-alive");
         EXPECT_EQ(wire.second, End::kClosed);
       }},
      {"close_on_reuse",
       [](World& world) {
         RawClient client(world.bench.server().port());
         EXPECT_EQ(client.Get("/x").status, 200);
         client.SendGet("/x");
         EXPECT_EQ(client.ReadAll(), "");
         EXPECT_EQ(client.end(), End::kClosed);
       }},
      {"latency::1:60000",
       [](World& world) {
         EXPECT_EQ(world.Stopped(&IsSilent), "");
         world.bench.server().SetFaults({"latency::1:20"});
         EXPECT_EQ(world.Body(), world.Good());
       }},
      {"jitter::1:5",
       [](World& world) {
         EXPECT_EQ(world.Body(), world.Good());
         world.bench.server().SetFaults({"jitter::1:3600000"});
         EXPECT_EQ(world.Stopped(&IsSilent), "");
       }},
      {"reorder::1:60000",
       [](World& world) {
         RawClient first(world.bench.server().port());
         RawClient second(world.bench.server().port());
         first.SendGet("/first");
         while (world.bench.server().ReadCounters().requests == 0) std::this_thread::yield();
         // The second answer arrives although the first, asked for before, does not yet.
         EXPECT_EQ(second.Get("/second").status, 200);
         EXPECT_EQ(first.ReadAll(milliseconds(0)), "");
         world.bench.server().SetFaults({"reorder::1:20"});
         for (const char* late_or_not : {"/third", "/fourth"}) {
           EXPECT_EQ(RawClient(world.bench.server().port()).Get(late_or_not).status, 200);
         }
       }},
  };
  return checks;
}

class EachFault : public ::testing::TestWithParam<std::string> {};

TEST_P(EachFault, isSeenOnTheWire) {
  const auto check = std::find_if(Checks().begin(), Checks().end(), [](const auto& one) {
    return one.first.substr(0, one.first.find(':')) == GetParam();
  });
  ASSERT_NE(check, Checks().end()) << "no test looks at this fault";
  World world(check->first);
  check->second(world);
}

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const FaultInfo& fault : Faults()) names.push_back(fault.name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Table, EachFault, ::testing::ValuesIn(Names()),
                         [](const auto& param) { return param.param; });

TEST(FaultTable, namesAreUniqueAndEverythingIsDescribed) {
  std::set<std::string> names;
  const std::set<std::string> stages = {"connect", "clock", "package", "json", "http", "answer"};
  for (const FaultInfo& fault : Faults()) {
    EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
    EXPECT_TRUE(stages.contains(fault.stage)) << fault.name;
    EXPECT_FALSE(fault.summary.empty()) << fault.name;
  }
  EXPECT_GE(names.size(), 50U);
  EXPECT_EQ(names.size(), Checks().size());
}

TEST(FaultRules, actOnTheirEndpointsOnly) {
  Bench bench;
  bench.server().SetFaults({"status:/pc/rt/get*:1:503"});
  EXPECT_EQ(bench.Raw("/pc/rt/get_bk_list").status, 503);
  EXPECT_EQ(bench.Raw("/pc/rt/get").status, 503);
  EXPECT_EQ(bench.Raw("/pc/rt/stock_version").status, 200);
}

std::string Pattern(Bench& bench, int count) {
  std::string pattern;
  for (int i = 0; i < count; ++i) pattern += bench.Raw("/x").status == 503 ? '!' : '.';
  return pattern;
}

TEST(FaultRules, hitWithTheirProbabilityAndTheSameForTheSameSeed) {
  Bench first;
  Bench second;
  Options options = SmallMarket();
  options.seed = 8;
  Bench other(options);
  const std::vector<std::string> rules = {"status:/x:0.3:503"};
  for (Bench* bench : {&first, &second, &other}) bench->server().SetFaults(rules);
  const std::string pattern = Pattern(first, 400);
  const auto hits = std::count(pattern.begin(), pattern.end(), '!');
  EXPECT_GT(hits, 80);
  EXPECT_LT(hits, 160);
  EXPECT_EQ(Pattern(second, 400), pattern);
  EXPECT_NE(Pattern(other, 400), pattern);
}

TEST(FaultRules, actTogether) {
  Bench bench;
  bench.server().SetFaults({"latency::1:1", "empty_object", "status_good_body::1:500", "date_missing"});
  const RawAnswer answer = bench.Raw("/x");
  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, "{}");
  EXPECT_EQ(answer.Field("Date"), "");
}

TEST(FaultRules, thatMakeNoSenseAreRefusedAndChangeNothing) {
  Bench bench;
  bench.server().SetFaults({"empty_object:/x"});
  for (const char* text :
       {"", "nonsense", "silence:pc", "silence::2", "silence::x", "silence::1:5", "latency::1:slow",
        "refuse:/x", "refuse::0.5", "rows::1:many", "silence::-0.1", "reset_on_connect:/pc/*"}) {
    EXPECT_THROW(bench.server().SetFaults({text}), std::runtime_error) << text;
  }
  EXPECT_EQ(bench.server().ActiveFaults(), std::vector<std::string>{"empty_object:/x"});
  EXPECT_EQ(bench.Raw("/x").body, "{}");
}

TEST(FaultRules, canBeReplacedWhileRequestsAreAnswered) {
  Bench bench;
  std::atomic<bool> done{false};
  std::thread asking([&] {
    RawClient client(bench.server().port());
    while (!done) EXPECT_EQ(client.Get("/x").status, 200);
  });
  for (int i = 0; i < 500; ++i) {
    bench.server().SetFaults({"trailing:/x", "empty_object:/x:0.5", "date_missing"});
    bench.server().SetFaults({});
    (void)bench.server().ActiveFaults();
  }
  done = true;
  asking.join();
}

TEST(FaultRules, areCounted) {
  Bench bench;
  bench.server().SetFaults({"empty_object:/x"});
  (void)bench.Raw("/x");
  (void)bench.Raw("/y");
  EXPECT_EQ(bench.server().ReadCounters().faults, 1U);
  EXPECT_EQ(bench.server().ReadCounters().errors, 2U);
}

}  // namespace
}  // namespace market_server::testing
