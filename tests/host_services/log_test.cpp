// The log: every line is one line, whatever stands in it, whoever wrote it and whatever the locale is.
#include "log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/log.h"
#include "host/network.h"
#include "host/text.h"
#include "loopback_server.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::ReadFile;
using host_test::TemporaryDirectory;
using stock_host::LogText;
using stock_host::Severity;

constexpr unsigned kAll = 0xffffffffU;

class Log : public testing::Test {
 protected:
  explicit Log(const std::string& level = "info") {
    std::string error;
    EXPECT_TRUE(stock_host::OpenLog(directory_.Path(), false, level, error)) << error;
  }
  ~Log() override { stock_host::CloseLog(); }

  // The messages of the lines, without time and level.
  std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    std::istringstream file(ReadFile(directory_.Path("csm.log")));
    for (std::string line; std::getline(file, line);) {
      const std::size_t at = line.find("] ");
      messages.push_back(at == std::string::npos ? "no line of the log: " + line : line.substr(at + 2));
    }
    return messages;
  }
  const TemporaryDirectory directory_;
};

TEST_F(Log, fixedMessageIsALine) {
  WriteProgramLogString(kAll, L"StockCommon::Init Response Error Code");
  WriteProgramLogString(kAll, L"\u4e2d\u6587");
  EXPECT_EQ(Messages(),
            (std::vector<std::string>{"StockCommon::Init Response Error Code", "\xe4\xb8\xad\xe6\x96\x87"}));
}

TEST_F(Log, fixedMessageIsNoFormat) {
  WriteProgramLogString(kAll, L"%d %s %n 100%");
  EXPECT_EQ(Messages(), std::vector<std::string>{"%d %s %n 100%"});
}

TEST_F(Log, maskOfNothingAndNullAreNoLine) {
  WriteProgramLogString(0, L"masked");
  WriteProgramLogString(kAll, nullptr);
  WriteProgramLogNoMask(nullptr);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(Log, formatTakesItsArguments) {
  WriteProgramLogNoMask(L"Index Response Error Code: %d", -7);
  WriteProgramLogNoMask(L"%ls|%s|%5.2f|%08x|%lld|%c%%", L"\u4e2d", "narrow \xc3\xa9", 1.5, 0xabU,
                        1234567890123LL, L'x');
  WriteProgramLogNoMask(L"%*d|%-4d|%.*f", 5, 42, 7, 1, 2.25);
  EXPECT_EQ(Messages(),
            (std::vector<std::string>{"Index Response Error Code: -7",
                                      "\xe4\xb8\xad|narrow \xc3\xa9| 1.50|000000ab|1234567890123|x%",
                                      "   42|7   |2.2"}));
}

TEST_F(Log, formatThatIsNoneIsSaidNotRun) {
  for (const wchar_t* format :
       {L"%n", L"%", L"%1$d", L"%99999d", L"%.99999d", L"%y", L"abc %", L"%l", L"%hhn"}) {
    WriteProgramLogNoMask(format, 1, 2, 3);
  }
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 9U);
  for (const std::string& message : messages) {
    EXPECT_TRUE(message.ends_with(" (the arguments cannot be printed)")) << message;
  }
}

TEST_F(Log, widthsHaveFourDigitsAtMost) {
  WriteProgramLogNoMask(L"%1000d|", 7);
  WriteProgramLogNoMask(L"%.1000d|", 7);
  for (const auto& [message, filling] : {std::pair(Messages().at(0), ' '), {Messages().at(1), '0'}}) {
    EXPECT_EQ(message.size(), 1001U);
    EXPECT_EQ(message.find_first_not_of(filling), 999U);
    EXPECT_TRUE(message.ends_with("7|"));
  }
  for (const wchar_t* format : {L"%10000d", L"%.10000d", L"%00010000d", L"%-99999s"}) {
    WriteProgramLogNoMask(format, 7);
    EXPECT_EQ(Messages().back(), common::ws2s(format, common::kUtf8) + " (the arguments cannot be printed)");
  }
}

TEST_F(Log, overlongArgumentsDoNotFit) {
  const std::wstring text(40000, L'x');
  WriteProgramLogNoMask(L"%ls", text.c_str());
  EXPECT_EQ(Messages(), std::vector<std::string>{"%ls (the arguments cannot be printed)"});
}

TEST_F(Log, longArgumentsFit) {
  const std::wstring text(10000, L'x');
  WriteProgramLogNoMask(L"%ls", text.c_str());
  EXPECT_TRUE(Messages() == std::vector<std::string>{std::string(10000, 'x')});
}

TEST_F(Log, overlongLineIsCut) {
  WriteProgramLogString(kAll, std::wstring(100000, L'x').c_str());
  EXPECT_TRUE(Messages() == std::vector<std::string>{std::string(16384, 'x') + "..."});
}

TEST_F(Log, lineBreaksCannotForgeALine) {
  const std::wstring forged = L"harmless\n2026-01-01 00:00:00.000 +08:00 [info] forged\r\nmore";
  WriteProgramLogString(kAll, forged.c_str());
  WriteProgramLogNoMask(L"%ls", forged.c_str());
  WriteProgramLogNoMask(forged.c_str());
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 3U);
  for (const std::string& message : messages) {
    EXPECT_EQ(message, R"(harmless\n2026-01-01 00:00:00.000 +08:00 [info] forged\r\nmore)");
  }
}

TEST_F(Log, nothingThatEndsOrTurnsALineComesThroughAsItIs) {
  for (const wchar_t c :
       std::wstring(L"\x01\x07\x08\x0b\x0c\x1b\x7f\x85\x9b\u061c\u200e\u200f\u2028\u2029\u202a\u202e"
                    L"\u2066\u2069")) {
    WriteProgramLogString(kAll, (std::wstring(L"a") + c + L"b").c_str());
    const std::string message = Messages().back();
    char expected[32];
    std::snprintf(expected, sizeof expected, "a\\u{%lx}b", static_cast<unsigned long>(c));
    EXPECT_EQ(message, expected);
  }
}

TEST_F(Log, invalidTextIsReplaced) {
  stock_host::Log(Severity::kInfo, "a\xff\xfe z");
  WriteProgramLogString(kAll,
                        std::wstring{L'a', static_cast<wchar_t>(0xd800), static_cast<wchar_t>(-1)}.c_str());
  EXPECT_EQ(Messages(),
            (std::vector<std::string>{"a\xef\xbf\xbd\xef\xbf\xbd z", "a\xef\xbf\xbd\xef\xbf\xbd"}));
}

TEST_F(Log, zeroByteDoesNotEndTheLine) {
  stock_host::Log(Severity::kInfo, std::string_view("a\0b", 3));
  EXPECT_EQ(Messages(), std::vector<std::string>{"a\\u{0}b"});
}

TEST_F(Log, localeOfTheProgramDoesNotMatter) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* locale : {"C", "C.UTF-8", "de_DE.UTF-8", "zh_CN.GB18030"}) {
    std::setlocale(LC_ALL, locale);  // those that are not installed change nothing
    WriteProgramLogNoMask(L"%ls %s %.1f", L"\u4e2d\u6587", "\xe4\xb8\xad", 1.5);
    EXPECT_EQ(Messages().back(), "\xe4\xb8\xad\xe6\x96\x87 \xe4\xb8\xad 1.5") << locale;
  }
  std::setlocale(LC_ALL, before.c_str());
}

TEST_F(Log, narrowArgumentThatIsNoTextIsNoCrash) {
  WriteProgramLogNoMask(L"%s", "\xff\xff");
  ASSERT_EQ(Messages().size(), 1U);
  EXPECT_EQ(Messages()[0], "%s (the arguments cannot be printed)");
}

TEST_F(Log, nullArgumentIsNoCrash) {
  WriteProgramLogNoMask(L"%ls", static_cast<const wchar_t*>(nullptr));
  EXPECT_EQ(Messages(), std::vector<std::string>{"(null)"});
}

class ErrorLog : public Log {
 protected:
  ErrorLog() : Log("error") {}
};

TEST_F(ErrorLog, leavesOutWhatIsBelowTheLevel) {
  stock_host::Log(Severity::kDebug, "debug");
  stock_host::Log(Severity::kInfo, "info");
  stock_host::Log(Severity::kWarning, "warning");
  stock_host::Log(Severity::kError, "error");
  stock_host::CloseLog();
  EXPECT_EQ(Messages(), std::vector<std::string>{"error"});
}

TEST_F(Log, linesOfManyThreadsStayWhole) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([i] {
      for (int k = 0; k < 200; ++k) {
        WriteProgramLogNoMask(L"%d %ls", i, std::wstring(static_cast<std::size_t>(k), L'x').c_str());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::vector<int> counts(8);
  for (const std::string& message : Messages()) {
    const auto i = static_cast<std::size_t>(message[0] - '0');
    ASSERT_LT(i, 8U) << message;
    EXPECT_EQ(message, std::to_string(i) + " " + std::string(static_cast<std::size_t>(counts[i]++), 'x'));
  }
  EXPECT_EQ(counts, std::vector<int>(8, 200));
}

TEST_F(Log, filesAreRotatedAndNoMoreThanFourAreKept) {
  // Three bytes for each character: 48 KiB a line, 24 MiB in all.
  const std::wstring line(16384, L'\u4e2d');
  for (int i = 0; i < 512; ++i) {
    WriteProgramLogString(kAll, line.c_str());
  }
  std::size_t files = 0;
  std::uintmax_t bytes = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory_.Path())) {
    ++files;
    bytes += entry.file_size();
  }
  EXPECT_EQ(files, 4U);
  EXPECT_LE(bytes, std::uintmax_t{4} * 5 * 1024 * 1024);
}

TEST(ClosedLog, linesWaitForTheNextOpening) {
  WriteProgramLogString(kAll, L"while closed");
  const TemporaryDirectory directory;
  std::string error;
  ASSERT_TRUE(stock_host::OpenLog(directory.Path(), false, "info", error));
  stock_host::CloseLog();
  EXPECT_NE(ReadFile(directory.Path("csm.log")).find("] while closed\n"), std::string::npos);
}

TEST(ClosedLog, keepsNoMoreThanItsLimitAndSaysSo) {
  for (int i = 0; i < 300; ++i) {
    WriteProgramLogNoMask(L"line %d.", i);
  }
  const TemporaryDirectory directory;
  std::string error;
  ASSERT_TRUE(stock_host::OpenLog(directory.Path(), false, "info", error));
  stock_host::CloseLog();
  const std::string text = ReadFile(directory.Path("csm.log"));
  EXPECT_EQ(text.find("line 43."), std::string::npos);
  EXPECT_NE(text.find("line 44."), std::string::npos);
  EXPECT_NE(text.find("line 299."), std::string::npos);
  EXPECT_NE(text.find("[warning] 44 log lines were dropped"), std::string::npos);
  // And no more at the next opening.
  ASSERT_TRUE(stock_host::OpenLog(directory.Path(), false, "info", error));
  stock_host::CloseLog();
  EXPECT_EQ(ReadFile(directory.Path("csm.log")), text);
}

TEST(OpenLog, wrongLevelOrPlaceIsAnError) {
  const TemporaryDirectory directory;
  std::string error;
  EXPECT_FALSE(stock_host::OpenLog(directory.Path(), false, "loud", error));
  EXPECT_NE(error.find("\"loud\""), std::string::npos);
  host_test::WriteFile(directory.Path("file"), "");
  EXPECT_FALSE(stock_host::OpenLog(directory.Path("file/log"), false, "info", error));
  EXPECT_NE(error.find("cannot open the log"), std::string::npos);
}

TEST(OpenLog, standardErrorGetsTheSameLines) {
  const TemporaryDirectory directory;
  std::string error;
  testing::internal::CaptureStderr();
  ASSERT_TRUE(stock_host::OpenLog(directory.Path(), true, "info", error));
  WriteProgramLogString(kAll, L"both\nplaces");
  stock_host::CloseLog();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), ReadFile(directory.Path("csm.log")));
}

// A server puts what it likes into all that it may choose.
TEST(LogAndServer, whatTheServerSendsForgesNothing) {
  const host_test::RunningHost host([] {
    stock_host::Settings settings;
    settings.log_level = "trace";
    return settings;
  }());
  host_test::LoopbackServer server([](host_test::LoopbackServer::Connection& connection) {
    (void)connection.ReadRequest();
    connection.Write(
        "HTTP/1.1 500 forged\x1b[31m\r\nX-A: forged\r\nLocation: forged\r\nContent-Type: forged\r\n"
        "Content-Length: 15\r\n\r\nforged\nforged\r\n");
  });
  std::string body;
  EXPECT_FALSE(GetSync(server.WideUrl(), body, {}, 20));
  EXPECT_FALSE(DownloadFileSyncWithRetry(server.WideUrl(),
                                         common::s2ws(host.directory().Path("f"), common::kUtf8), 1, 20));
  EXPECT_EQ(host.LogFile().find("forged"), std::string::npos);
  const auto endpoint = stock_host::ReadCounters().endpoints["other"];
  EXPECT_EQ(endpoint.last_error, "HTTP status 500");
}

}  // namespace
