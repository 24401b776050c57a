// What a record keeps of the exchanges, what it never keeps, and what a crash leaves of it.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "answers.h"
#include "host/network.h"
#include "host/signing.h"
#include "host/singleton.h"
#include "host/text.h"
#include "loopback_server.h"
#include "recorded_exchange.h"
#include "recorder.h"
#include "replayer.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::Answering;
using host_test::Answers;
using host_test::LoopbackServer;
using host_test::ReadFile;
using host_test::RunningHost;
using host_test::TemporaryDirectory;
using host_test::WriteFile;
using stock_host::HttpError;
using stock_host::RecordedExchange;
using stock_host::Recorder;
using stock_host::RecordFile;
using stock_host::RecordReader;

stock_host::Settings Recording(const TemporaryDirectory& directory, const LoopbackServer& server) {
  stock_host::Settings settings;
  settings.api_root = server.Url("");
  settings.key_id = "desk-of-the-test";
  settings.key = "hush, a secret";
  settings.record_directory = directory.Path("record");
  return settings;
}

bool Ask(const std::wstring& url) {
  std::string body;
  return GetSync(url, body, {}, 20);
}

std::wstring Signed(const std::wstring& path, const std::map<std::string, std::string>& parameters) {
  return pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, parameters);
}

struct Recorded {
  std::vector<RecordedExchange> exchanges;
  int starts = 0;
  int damaged = 0;
  RecordReader::Found end = RecordReader::Found::kEnd;
};

Recorded Read(const std::string& directory) {
  using Found = RecordReader::Found;
  Recorded content;
  std::string error;
  const auto reader = RecordReader::Open(directory, error);
  if (!reader) {
    content.end = Found::kLost;
    return content;
  }
  const std::string file = ReadFile(RecordFile(directory));
  for (;;) {
    switch (const Found found = reader->Next()) {
      case Found::kStart:
        ++content.starts;
        break;
      case Found::kDamaged:
        ++content.damaged;
        break;
      case Found::kExchange:
        content.exchanges.push_back(reader->exchange());
        content.exchanges.back().answer.body =
            file.substr(static_cast<std::size_t>(reader->body_at()), reader->body_size());
        break;
      case Found::kTorn:
      case Found::kLost:
      case Found::kEnd:
        content.end = found;
        return content;
    }
  }
}

// A record of three exchanges, made without a server.
std::string ThreeExchanges() {
  std::string bytes(stock_host::RecordTitle());
  bytes += stock_host::EncodeStart(1'000'000);
  for (int i = 0; i < 3; ++i) {
    RecordedExchange exchange;
    exchange.asked = 1'000'000 + i * 1000;
    exchange.duration = 10 + i;
    exchange.endpoint = "/pc/rt/one";
    exchange.request = "/pc/rt/one?n=" + std::to_string(i);
    exchange.limit = 30000;
    exchange.date = 1710469800 + i;
    exchange.answer.error = HttpError::kNone;
    exchange.answer.status = 200;
    exchange.answer.body = "body " + std::to_string(i) + "\nof the exchange";
    bytes += Encode(exchange);
  }
  return bytes;
}

TEST(Record, holdsNoSecret) {
  const TemporaryDirectory directory;
  std::mutex mutex;
  std::set<std::string> travelled;
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    for (std::string request; !(request = connection.ReadRequest()).empty();) {
      {
        const std::lock_guard lock(mutex);
        for (const char* name : {"_n=", "_s="}) {
          const std::size_t at = request.find(name);
          ASSERT_NE(at, std::string::npos) << request;
          travelled.insert(request.substr(at + 3, request.find_first_of("& ", at) - at - 3));
        }
      }
      connection.Answer("{\"errno\":0}");
    }
  });
  {
    const RunningHost host(Recording(directory, server));
    EXPECT_TRUE(Ask(Signed(L"/pc/rt/one", {{"stock_arr", "[\"sh000001\"]"}, {"zone", "a"}})));
    EXPECT_TRUE(Ask(Signed(L"/pc/rt/two", {})));
  }
  ASSERT_EQ(travelled.size(), 4U);
  const std::string record = ReadFile(directory.Path("record/exchanges.csm"));
  for (const std::string& secret : travelled) {
    EXPECT_EQ(record.find(secret), std::string::npos) << secret;
  }
  for (const char* secret : {"desk-of-the-test", "hush", "_k", "_n", "_s", "_t", "_v", "csm1"}) {
    EXPECT_EQ(record.find(secret), std::string::npos) << secret;
  }
  EXPECT_NE(record.find("/pc/rt/one?stock_arr=%5B%22sh000001%22%5D&zone=a\n"), std::string::npos) << record;
  EXPECT_NE(record.find("/pc/rt/two\n"), std::string::npos) << record;
  EXPECT_EQ(std::filesystem::status(directory.Path("record/exchanges.csm")).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(Record, keepsTimesSettingOutcomeDateAndBytes) {
  const TemporaryDirectory directory;
  const std::string body = std::string("\0\n\xff", 3) + "entry 1 1 1\nx\n" + std::string(5000, '\r');
  LoopbackServer server(
      Answering(body, "Date: Fri, 15 Mar 2024 02:30:00 GMT\r\nX-Market-Speed: 60\r\nX-Secret: hush\r\n"));
  const auto now = [] {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
  };
  const auto before = now();
  {
    const RunningHost host(Recording(directory, server));
    std::string got;
    EXPECT_TRUE(GetSync(Signed(L"/pc/rt/one", {{"a", "b"}}), got, {}, 8));
    EXPECT_EQ(got, body);
    EXPECT_EQ(stock_host::ReadCounters().recorded, 1U);
  }
  const auto after = now();
  const Recorded content = Read(directory.Path("record"));
  EXPECT_EQ(content.starts, 1);
  ASSERT_EQ(content.exchanges.size(), 1U);
  const RecordedExchange& one = content.exchanges[0];
  EXPECT_GE(one.asked, before - 1000);
  EXPECT_LE(one.ended(), after + 1000);
  EXPECT_GT(one.duration, 0);
  EXPECT_EQ(one.endpoint, "/pc/rt/one");
  EXPECT_EQ(one.request, "/pc/rt/one?a=b");
  EXPECT_EQ(one.limit, 8000);
  EXPECT_EQ(one.date, 1710469800);
  EXPECT_EQ(one.speed, "60");
  EXPECT_EQ(one.answer.error, HttpError::kNone);
  EXPECT_EQ(one.answer.status, 200);
  EXPECT_EQ(one.answer.body, body);
  EXPECT_EQ(ReadFile(directory.Path("record/exchanges.csm")).find("hush"), std::string::npos);
}

TEST(Record, limitBelowASecondIsOneSecond) {
  const TemporaryDirectory directory;
  LoopbackServer server(Answering("well"));
  Answers answers;
  {
    const RunningHost host(Recording(directory, server));
    GetAsyn(server.WideUrl(), answers.Callback(), {}, 0);
    GetAsyn(server.WideUrl(), answers.Callback(), {}, -7);
    ASSERT_TRUE(answers.Wait(2));
  }
  const Recorded content = Read(directory.Path("record"));
  ASSERT_EQ(content.exchanges.size(), 2U);
  for (const RecordedExchange& one : content.exchanges) EXPECT_EQ(one.limit, 1000);
}

TEST(Record, namesTheServersApart) {
  const TemporaryDirectory directory;
  LoopbackServer server(Answering("x"));
  {
    const RunningHost host(Recording(directory, server));
    EXPECT_TRUE(Ask(server.WideUrl("/static/kline.meta.gzip")));
    EXPECT_TRUE(Ask(server.WideUrl("/kql?q=%22")));
    EXPECT_TRUE(Ask(L"http://localhost:" + std::to_wstring(server.port()) + L"/else?_s=1&a=2"));
  }
  std::vector<std::string> requests;
  for (const RecordedExchange& exchange : Read(directory.Path("record")).exchanges) {
    requests.push_back(exchange.endpoint + " " + exchange.request);
  }
  EXPECT_EQ(requests, (std::vector<std::string>{
                          "static static/kline.meta.gzip", "history history/kql?q=%22",
                          "other http://localhost:" + std::to_string(server.port()) + "/else?a=2"}));
}

TEST(Record, keepsFailuresAndNothingThatWasNotSent) {
  const TemporaryDirectory directory;
  LoopbackServer server([](LoopbackServer::Connection& connection) {
    for (std::string request; !(request = connection.ReadRequest()).empty();) {
      if (request.find("/silent") != std::string::npos) {
        connection.WaitForClose();
        return;
      }
      connection.Write("HTTP/1.1 503 Busy\r\nContent-Length: 4\r\n\r\nbusy");
    }
  });
  {
    const RunningHost host(Recording(directory, server));
    EXPECT_FALSE(Ask(server.WideUrl("/pc/rt/status")));
    EXPECT_FALSE(Ask(L"http://127.0.0.1:" + std::to_wstring(host_test::ClosedPort()) + L"/"));
    stock_host::HttpRequest hurried;
    hurried.url = server.Url("/pc/rt/silent");
    hurried.limit = std::chrono::milliseconds(50);
    EXPECT_EQ(stock_host::TheHttpClient().Fetch(hurried).error, HttpError::kTimeout);
    EXPECT_FALSE(Ask(L""));
    GetAsyn(
        server.WideUrl("/pc/rt/silent"), [](bool, const char*, std::size_t) {}, {}, 20);
  }
  const Recorded content = Read(directory.Path("record"));
  ASSERT_EQ(content.exchanges.size(), 3U);
  EXPECT_EQ(content.exchanges[0].answer.error, HttpError::kStatus);
  EXPECT_EQ(content.exchanges[0].answer.status, 503);
  EXPECT_EQ(content.exchanges[0].answer.body, "busy");
  EXPECT_EQ(content.exchanges[0].answer.reason, "HTTP status 503");
  EXPECT_EQ(content.exchanges[1].answer.error, HttpError::kConnection);
  EXPECT_NE(content.exchanges[1].answer.reason, "");
  EXPECT_EQ(content.exchanges[2].answer.error, HttpError::kTimeout);
  EXPECT_EQ(content.exchanges[2].limit, 50);
  EXPECT_GE(content.exchanges[2].duration, 50000);
}

TEST(Record, goesOnWithWhatIsThere) {
  const TemporaryDirectory directory;
  LoopbackServer server(Answering("x"));
  for (int i = 0; i < 2; ++i) {
    const RunningHost host(Recording(directory, server));
    EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/" + std::to_string(i))));
  }
  const Recorded content = Read(directory.Path("record"));
  EXPECT_EQ(content.starts, 2);
  ASSERT_EQ(content.exchanges.size(), 2U);
  EXPECT_EQ(content.exchanges[1].request, "/pc/rt/1");
}

TEST(Record, refusesADirectoryThatHoldsSomethingElse) {
  const auto refusal = [](const std::string& name, const std::string& bytes) {
    const TemporaryDirectory directory;
    WriteFile(directory.Path(name), bytes);
    std::string error;
    EXPECT_EQ(Recorder::Open(directory.Path(), error), nullptr) << name;
    EXPECT_EQ(ReadFile(directory.Path(name)), bytes) << name;
    return error;
  };
  EXPECT_NE(refusal("letter.txt", "dear").find("it holds something else (\"letter.txt\")"),
            std::string::npos);
  EXPECT_NE(refusal("exchanges.csm", "a text of some length that is no record").find("is no record"),
            std::string::npos);
  EXPECT_NE(refusal("exchanges.csm", "short").find("is no record"), std::string::npos);
  std::string error;
  EXPECT_EQ(Recorder::Open("/dev/null/record", error), nullptr);
  EXPECT_NE(error.find("cannot record into \"/dev/null/record\""), std::string::npos) << error;
}

TEST(Record, hasOneWriter) {
  const TemporaryDirectory directory;
  std::string error;
  const auto first = Recorder::Open(directory.Path("record"), error);
  ASSERT_NE(first, nullptr) << error;
  EXPECT_EQ(Recorder::Open(directory.Path("record"), error), nullptr);
  EXPECT_NE(error.find("another process records"), std::string::npos) << error;
}

TEST(Record, cutAnywhereKeepsTheWholeEntriesBefore) {
  const std::string whole = ThreeExchanges();
  const TemporaryDirectory directory;
  std::size_t most = 0;
  for (std::size_t size = stock_host::RecordTitle().size(); size <= whole.size(); ++size) {
    WriteFile(directory.Path("exchanges.csm"), whole.substr(0, size));
    const Recorded content = Read(directory.Path());
    EXPECT_EQ(content.damaged, 0) << size;
    EXPECT_GE(content.exchanges.size(), most) << size;
    most = std::max(most, content.exchanges.size());
    for (std::size_t i = 0; i < content.exchanges.size(); ++i) {
      EXPECT_EQ(content.exchanges[i].answer.body, "body " + std::to_string(i) + "\nof the exchange");
    }
    std::string error;
    const bool replayed = stock_host::Replayer::Open(directory.Path(), 1, error) != nullptr;
    EXPECT_EQ(replayed, !content.exchanges.empty()) << size;
  }
  EXPECT_EQ(most, 3U);
}

TEST(Record, cutAnywhereIsContinued) {
  const std::string whole = ThreeExchanges();
  for (std::size_t size = 0; size < whole.size(); size += 13) {
    const TemporaryDirectory directory;
    WriteFile(directory.Path("exchanges.csm"), whole.substr(0, size));
    const Recorded before = Read(directory.Path());
    std::string error;
    ASSERT_NE(Recorder::Open(directory.Path(), error), nullptr) << size << " " << error;
    const Recorded after = Read(directory.Path());
    EXPECT_EQ(after.end, RecordReader::Found::kEnd) << size;
    EXPECT_EQ(after.exchanges.size(), before.exchanges.size()) << size;
    EXPECT_EQ(after.starts, before.starts + 1) << size;
  }
}

TEST(Record, damagedAnywhereGivesNoWrongAnswer) {
  const std::string whole = ThreeExchanges();
  const TemporaryDirectory directory;
  const auto good = [&] {
    WriteFile(directory.Path("exchanges.csm"), whole);
    return Read(directory.Path()).exchanges;
  }();
  ASSERT_EQ(good.size(), 3U);
  std::size_t noticed = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    std::string bytes = whole;
    bytes[at] = static_cast<char>(bytes[at] ^ 0x11);
    WriteFile(directory.Path("exchanges.csm"), bytes);
    const Recorded content = Read(directory.Path());
    noticed += content.starts < 1 || content.exchanges.size() < good.size() ? 1U : 0U;
    for (const RecordedExchange& exchange : content.exchanges) {
      EXPECT_TRUE(std::any_of(good.begin(), good.end(), [&](const RecordedExchange& other) {
        return other.request == exchange.request && other.asked == exchange.asked &&
               other.answer.body == exchange.answer.body && other.date == exchange.date;
      })) << at;
    }
  }
  EXPECT_EQ(noticed, whole.size());
}

TEST(Record, aDamagedEntryCostsNoOther) {
  std::string bytes = ThreeExchanges();
  const TemporaryDirectory directory;
  bytes[bytes.find("body 1")] = 'X';
  WriteFile(directory.Path("exchanges.csm"), bytes);
  const Recorded content = Read(directory.Path());
  EXPECT_EQ(content.damaged, 1);
  EXPECT_EQ(content.exchanges.size(), 2U);
  EXPECT_EQ(content.end, RecordReader::Found::kEnd);
}

TEST(Record, thatIsLostInTheMiddleIsNotContinued) {
  const TemporaryDirectory directory;
  const std::string bytes = ThreeExchanges() + "no entry at all\n";
  WriteFile(directory.Path("exchanges.csm"), bytes);
  std::string error;
  EXPECT_EQ(Recorder::Open(directory.Path(), error), nullptr);
  EXPECT_NE(error.find("is damaged and cannot be continued"), std::string::npos) << error;
  EXPECT_EQ(ReadFile(directory.Path("exchanges.csm")), bytes);
}

TEST(Record, thatCannotGrowLeavesTheExchangeAlone) {
  const TemporaryDirectory directory;
  LoopbackServer server(Answering(std::string(200'000, 'x')));
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  {
    const RunningHost host(Recording(directory, server));
    rlimit small = before;
    small.rlim_cur = 300'000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/one")));
    EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/two")));
    EXPECT_TRUE(Ask(server.WideUrl("/pc/rt/three")));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    const auto counters = stock_host::ReadCounters();
    EXPECT_EQ(counters.succeeded, 3U);
    EXPECT_EQ(counters.recorded, 1U);
    EXPECT_NE(counters.recording_failure.find("cannot write the record"), std::string::npos);
    EXPECT_NE(host.LogFile().find("nothing more is recorded"), std::string::npos);
  }
  const Recorded content = Read(directory.Path("record"));
  EXPECT_EQ(content.exchanges.size(), 1U);
  EXPECT_EQ(content.end, RecordReader::Found::kEnd);
}

// The roots of the three servers below each other in every order.
TEST(Record, holdsNoSignatureWhereverTheServersLie) {
  struct Roots {
    const char* api;
    const char* files;
    const char* history;
  };
  for (const Roots& roots : std::vector<Roots>{{"", "/", ""},
                                               {"/api", "/", "/api/history"},
                                               {"/files/api", "/files/", "/files/api/"},
                                               {"/api", "/api/pc/rt/", "/"},
                                               {"/api/", "/api/files", "/api/files/history"}}) {
    const TemporaryDirectory directory;
    LoopbackServer server([](LoopbackServer::Connection& connection) {
      for (std::string request = connection.ReadRequest(); !request.empty();
           request = connection.ReadRequest()) {
        connection.Answer(request.substr(0, request.find_first_of("?\r")));
      }
    });
    stock_host::Settings settings = Recording(directory, server);
    settings.api_root = server.Url(roots.api);
    settings.static_root = server.Url(roots.files);
    settings.history_root = server.Url(roots.history);
    const auto ask_all = [](std::vector<std::string>& answers) {
      UrlHelper& helper = *pattern::CSingleton<UrlHelper>::GetInstance();
      for (const std::wstring& url :
           {Signed(L"/pc/rt/one", {{"a", "1"}}), Signed(L"/pc/rt/two", {}),
            helper.StaticRoot() + L"kline.meta.gzip", helper.HistoryRoot() + L"/kql?q=x"}) {
        std::string body;
        EXPECT_TRUE(GetSync(url, body, {}, 20)) << common::ws2s(url, common::kUtf8);
        answers.push_back(body);
      }
    };
    std::vector<std::string> answers;
    {
      const RunningHost host(settings);
      ask_all(answers);
    }
    const std::string file = ReadFile(RecordFile(directory.Path("record")));
    for (const char* secret : {"_s=", "_n=", "_k=", "_t=", "_v=", "desk-of-the-test"}) {
      EXPECT_EQ(file.find(secret), std::string::npos) << roots.api << " " << roots.files << " " << secret;
    }
    stock_host::Settings replaying;
    replaying.replay_directory = directory.Path("record");
    const RunningHost host(replaying);
    std::vector<std::string> replayed;
    ask_all(replayed);
    EXPECT_EQ(replayed, answers) << roots.api << " " << roots.files;
  }
}

}  // namespace
