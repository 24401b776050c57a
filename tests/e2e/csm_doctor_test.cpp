// `csm doctor`, with everything in order and with one thing after the other out of it.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/stat.h>

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "child_process.h"
#include "market_server/market_server.h"

namespace tests {
namespace {

using Environment = std::map<std::string, std::string>;

constexpr const char* kSecret = "a secret of the test";
const Environment kKey = {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", kSecret}};

market_server::Options SmallMarket(std::vector<std::string> faults = {}) {
  market_server::Options options;
  options.stocks = 200;
  options.keys = {{"tester", kSecret}};
  options.clock = "now";
  options.faults = std::move(faults);
  return options;
}

struct Look {
  int code = -1;
  std::string text;

  // The line of a check, without its state; empty when there is none.
  [[nodiscard]] std::string Line(const std::string& state, const std::string& check) const {
    for (const std::string& line : LinesOf(text)) {
      if (line.rfind(state, 0) == 0 && line.find(" " + check + " ") != std::string::npos) {
        return line;
      }
    }
    return "";
  }
  [[nodiscard]] bool Has(const std::string& part) const { return text.find(part) != std::string::npos; }
};

Look Doctor(const std::vector<std::string>& arguments, const Environment& environment = kKey) {
  std::vector<std::string> all = {"doctor"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  ChildProcess csm(Csm(all), environment);
  Look look;
  look.code = csm.Wait(std::chrono::seconds(120));
  look.text = csm.output();
  EXPECT_EQ((csm.output() + csm.errors()).find(kSecret), std::string::npos);
  return look;
}

Look DoctorOf(const market_server::Server& server, const Environment& environment = kKey) {
  return Doctor({"--server", server.url()}, environment);
}

TEST(CsmDoctor, findsNothingWrongWithAHealthyMarket) {
  market_server::Server server(SmallMarket());
  server.Start();
  const Look look = DoctorOf(server);
  EXPECT_EQ(look.code, 0) << look.text;
  EXPECT_FALSE(look.Has("FAILED")) << look.text;
  EXPECT_FALSE(look.Has("warning")) << look.text;
  for (const char* check : {"settings", "environment", "key", "data directory", "log directory",
                            "configuration directory", "watch list", "name", "connection", "server", "clock",
                            "signed request", "static files", "history", "reference data", "phase"}) {
    EXPECT_NE(look.Line("ok", check), "") << check << "\n" << look.text;
  }
  EXPECT_TRUE(look.Has("accepted with key id tester")) << look.text;
  EXPECT_TRUE(look.Has("connection live")) << look.text;
  EXPECT_NE(look.text.find("\n/pc/rt/get_basic_info "), std::string::npos) << look.text;
  EXPECT_NE(look.text.find("\nstatic "), std::string::npos) << look.text;
}

TEST(CsmDoctor, tellsTheSameAsJson) {
  market_server::Server server(SmallMarket());
  server.Start();
  const Look look = Doctor({"--json", "--server", server.url()});
  EXPECT_EQ(look.code, 0) << look.text;
  std::set<std::string> checks;
  std::set<std::string> endpoints;
  bool total = false;
  for (const std::string& line : LinesOf(look.text)) {
    rapidjson::Document object;
    object.Parse(line.c_str(), line.size());
    ASSERT_FALSE(object.HasParseError()) << line;
    if (object.HasMember("check")) {
      EXPECT_STREQ(object["state"].GetString(), "ok") << line;
      checks.insert(object["check"].GetString());
    } else if (object.HasMember("endpoint")) {
      EXPECT_GE(object["requests"].GetUint64(), 1U) << line;
      EXPECT_GE(object["success_age"].GetDouble(), 0) << line;
      EXPECT_GT(object["last_success"].GetInt64(), 0) << line;
      endpoints.insert(object["endpoint"].GetString());
    } else {
      EXPECT_STREQ(object["connection"].GetString(), "live") << line;
      EXPECT_EQ(object["failures"]["timeout"].GetUint64(), 0U) << line;
      total = true;
    }
  }
  EXPECT_TRUE(total);
  EXPECT_EQ(checks.size(), 17U) << look.text;
  EXPECT_EQ(endpoints.count("/pc/rt/trade_date"), 1U);
  EXPECT_EQ(endpoints.count("history"), 1U);
}

TEST(CsmDoctor, looksAtASimulatedMarketWhenThereIsNoServer) {
  const Look look = Doctor({"--clock", "2024-03-15 10:30:00"}, {});
  EXPECT_EQ(look.code, 0) << look.text;
  EXPECT_NE(look.Line("warning", "key"), "") << look.text;
  EXPECT_NE(look.Line("ok", "signed request"), "") << look.text;
  EXPECT_NE(look.Line("ok", "phase").find("2024-03-15 10:30"), std::string::npos) << look.text;
}

TEST(CsmDoctor, saysThatNobodyListens) {
  const Look look = Doctor({"--server", "http://127.0.0.1:1"});
  EXPECT_EQ(look.code, 1);
  EXPECT_NE(look.Line("ok", "name"), "") << look.text;
  EXPECT_NE(look.Line("FAILED", "connection").find("127.0.0.1 port 1: Connection refused. What to do: "),
            std::string::npos)
      << look.text;
  EXPECT_FALSE(look.Has("signed request")) << look.text;
}

TEST(CsmDoctor, saysThatANameIsUnknown) {
  const Look look = Doctor({"--server", "http://market.invalid"});
  EXPECT_EQ(look.code, 1);
  EXPECT_NE(look.Line("FAILED", "name").find("market.invalid"), std::string::npos) << look.text;
  EXPECT_FALSE(look.Has(" connection  ")) << look.text;
}

TEST(CsmDoctor, saysThatTlsFails) {
  market_server::Server server(SmallMarket());
  server.Start();
  const Look look = Doctor({"--server", "https://127.0.0.1:" + std::to_string(server.port())});
  EXPECT_EQ(look.code, 1);
  EXPECT_NE(look.Line("ok", "connection"), "") << look.text;
  EXPECT_NE(look.Line("FAILED", "TLS").find("certificate"), std::string::npos) << look.text;
}

TEST(CsmDoctor, explainsAWrongKeyAndAnUnknownKeyId) {
  market_server::Server server(SmallMarket());
  server.Start();
  const Look wrong = DoctorOf(server, {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "another"}});
  EXPECT_EQ(wrong.code, 1);
  EXPECT_NE(wrong.Line("FAILED", "signed request").find("errno 1024"), std::string::npos) << wrong.text;
  EXPECT_NE(wrong.Line("ok", "static files"), "") << wrong.text;
  // The requests themselves went well: the reason stands in the log alone.
  EXPECT_NE(wrong.Line("FAILED", "reference data").find("not loaded: StockCommon::"), std::string::npos)
      << wrong.text;
  const Look unknown = DoctorOf(server, {{"CSM_KEY_ID", "nobody"}, {"CSM_KEY", kSecret}});
  EXPECT_EQ(unknown.code, 1);
  EXPECT_NE(unknown.Line("FAILED", "signed request").find("errno 1023"), std::string::npos) << unknown.text;
}

TEST(CsmDoctor, explainsAWrongTime) {
  market_server::Server lying(SmallMarket({"date_wrong:::-7200"}));
  lying.Start();
  const Look refused = DoctorOf(lying);
  EXPECT_EQ(refused.code, 1);
  EXPECT_NE(refused.Line("FAILED", "signed request").find("errno 1025"), std::string::npos) << refused.text;
  EXPECT_NE(refused.Line("warning", "clock").find("behind this machine's"), std::string::npos)
      << refused.text;
  market_server::Server ahead(SmallMarket({"clock_wrong:::3600"}));
  ahead.Start();
  const Look accepted = DoctorOf(ahead);
  EXPECT_EQ(accepted.code, 0) << accepted.text;
  EXPECT_NE(accepted.Line("warning", "clock").find("ahead of this machine's"), std::string::npos)
      << accepted.text;
  EXPECT_NE(accepted.Line("ok", "signed request"), "") << accepted.text;
}

TEST(CsmDoctor, explainsAServerThatIsNoMarket) {
  market_server::Server server(SmallMarket({"not_json"}));
  server.Start();
  const Look page = DoctorOf(server);
  EXPECT_EQ(page.code, 1);
  EXPECT_NE(page.Line("FAILED", "signed request").find("no JSON"), std::string::npos) << page.text;
  server.SetFaults({"status:::503"});
  const Look busy = DoctorOf(server);
  EXPECT_EQ(busy.code, 1);
  EXPECT_NE(busy.Line("FAILED", "server").find("HTTP status 503"), std::string::npos) << busy.text;
  EXPECT_TRUE(busy.Has("(status 1)")) << busy.text;
}

TEST(CsmDoctor, doesNotReadAKeyFileOfOthers) {
  market_server::Server server(SmallMarket());
  server.Start();
  const cli::TemporaryDirectory directory;
  const std::string key = directory.path() + "/key";
  std::ofstream(key) << "key_id = tester\nkey = " << kSecret << "\n";
  chmod(key.c_str(), 0644);
  const Look open = DoctorOf(server, {{"CSM_KEY_FILE", key}});
  EXPECT_EQ(open.code, 1);
  EXPECT_NE(open.Line("FAILED", "key").find("chmod 600"), std::string::npos) << open.text;
  EXPECT_NE(open.Line("FAILED", "signed request").find("no key"), std::string::npos) << open.text;
  EXPECT_NE(open.Line("ok", "static files"), "") << open.text;
  chmod(key.c_str(), 0600);
  const Look good = DoctorOf(server, {{"CSM_KEY_FILE", key}});
  EXPECT_EQ(good.code, 0) << good.text;
}

// The advice was to correct a file that nobody needs.
TEST(CsmDoctor, saysWhichVariableOfAKeyIsMissing) {
  market_server::Server server(SmallMarket());
  server.Start();
  const Look half = DoctorOf(server, {{"CSM_KEY_ID", "tester"}});
  EXPECT_EQ(half.code, 1);
  EXPECT_NE(half.Line("FAILED", "key").find("CSM_KEY_ID and CSM_KEY; both must be set"), std::string::npos)
      << half.text;
  EXPECT_FALSE(half.Has("key file")) << half.text;
}

TEST(CsmDoctor, looksAtTheServerThoughADirectoryCannotBeWritten) {
  market_server::Server server(SmallMarket());
  server.Start();
  Environment environment = kKey;
  environment["CSM_DATA_DIRECTORY"] = "/proc/csm";
  environment["CSM_LOG_DIRECTORY"] = "/proc/self";
  const Look look = DoctorOf(server, environment);
  EXPECT_EQ(look.code, 1);
  EXPECT_NE(look.Line("FAILED", "data directory").find("CSM_DATA_DIRECTORY"), std::string::npos) << look.text;
  EXPECT_NE(look.Line("FAILED", "log directory").find("CSM_LOG_DIRECTORY"), std::string::npos) << look.text;
  EXPECT_NE(look.Line("ok", "reference data"), "") << look.text;
}

TEST(CsmDoctor, endsAtOnceWhenItIsInterrupted) {
  market_server::Server server(SmallMarket({"silence"}));
  server.Start();
  ChildProcess csm(Csm({"doctor", "--server", server.url()}), kKey);
  ASSERT_TRUE(csm.ReadUntilOutput(" connection ")) << csm.errors();
  csm.Signal(SIGINT);
  EXPECT_EQ(csm.Wait(), 1);
}

}  // namespace
}  // namespace tests
