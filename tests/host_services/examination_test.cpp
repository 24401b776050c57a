// What is found wrong before any request is sent, and what is said about it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "log.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::TemporaryDirectory;
using stock_host::Finding;
using State = stock_host::Finding::State;

class Examination : public testing::Test {
 protected:
  Examination() {
    Forget();
    Set("CSM_CONFIG_DIRECTORY", directory_.Path("config"));
    Set("CSM_DATA_DIRECTORY", directory_.Path("data"));
    Set("CSM_LOG_DIRECTORY", directory_.Path("log"));
  }
  ~Examination() override {
    Forget();
    // Lines that wait in a closed log are nobody else's.
    std::string error;
    EXPECT_TRUE(stock_host::OpenLog(directory_.Path("after"), false, "off", error)) << error;
    stock_host::CloseLog();
  }
  static void Forget() {
    std::vector<std::string> names;
    for (const char* const* variable = environ; *variable != nullptr; ++variable) {
      const std::string text = *variable;
      if (text.starts_with("CSM_")) {
        names.push_back(text.substr(0, text.find('=')));
      }
    }
    for (const std::string& name : names) {
      unsetenv(name.c_str());
    }
  }
  static void Set(const std::string& name, const std::string& value) {
    setenv(name.c_str(), value.c_str(), 1);
  }
  void Write(const std::string& name, const std::string& text, unsigned mode = 0600) {
    host_test::WriteFile(directory_.Path("config/" + name), text);
    chmod(directory_.Path("config/" + name).c_str(), mode);
  }
  // The findings of one subject, the good ones left out.
  static std::vector<Finding> Wrong(const std::string& subject) {
    std::vector<Finding> found = stock_host::ExamineSetup();
    std::erase_if(found, [&](const Finding& finding) {
      return finding.subject != subject || finding.state == State::kGood;
    });
    return found;
  }
  static Finding TheWrong(const std::string& subject) {
    const std::vector<Finding> found = Wrong(subject);
    EXPECT_EQ(found.size(), 1U) << subject;
    EXPECT_TRUE(found.empty() || !found.front().advice.empty()) << subject;
    return found.empty() ? Finding{} : found.front();
  }
  const TemporaryDirectory directory_;
};

TEST_F(Examination, findsNothingWrongWithAGoodSetup) {
  Write("csm.ini", "[server]\napi_root=http://127.0.0.1:8080/v2\n[log]\nlevel=debug\nstderr=false\n");
  Write("key", "key_id = desk.7\nkey = hush\n");
  Write("watchlist.txt", "# mine\nsh600000\nsz000001\n");
  std::map<std::string, std::string> texts;
  for (const Finding& finding : stock_host::ExamineSetup()) {
    EXPECT_EQ(finding.state, State::kGood) << finding.subject << ": " << finding.text;
    EXPECT_EQ(finding.advice, "") << finding.subject;
    EXPECT_EQ(finding.text.find("hush"), std::string::npos);
    texts[finding.subject] = finding.text;
  }
  EXPECT_EQ(texts["server address"], "http://127.0.0.1:8080/v2");
  EXPECT_EQ(texts["key"], "key id desk.7 from \"" + directory_.Path("config/key") + "\"");
  EXPECT_EQ(texts["data directory"], "\"" + directory_.Path("data") + "\"");
  EXPECT_EQ(texts["watch list"], "\"" + directory_.Path("config/watchlist.txt") + "\": 2 securities");
  for (const char* subject : {"settings", "environment", "log directory", "configuration directory"}) {
    EXPECT_EQ(texts.count(subject), 1U) << subject;
  }
}

TEST_F(Examination, isSatisfiedWithTheDefaultsButForTheKey) {
  for (const Finding& finding : stock_host::ExamineSetup()) {
    EXPECT_EQ(finding.state, finding.subject == "key" ? State::kWarning : State::kGood) << finding.text;
  }
}

TEST_F(Examination, makesDirectoriesAndLeavesNothingInThem) {
  (void)stock_host::ExamineSetup();
  for (const char* name : {"data", "log", "config"}) {
    EXPECT_TRUE(std::filesystem::is_empty(directory_.Path(name))) << name;
  }
}

TEST_F(Examination, namesKeysThatMeanNothing) {
  Write("csm.ini", "lonely=1\n[server]\napi_rot=http://127.0.0.1:1\nproxy=http://127.0.0.1:2\n");
  const Finding finding = TheWrong("settings");
  EXPECT_EQ(finding.state, State::kWarning);
  EXPECT_NE(finding.text.find("server/api_rot"), std::string::npos) << finding.text;
  EXPECT_NE(finding.text.find("lonely"), std::string::npos) << finding.text;
  EXPECT_EQ(finding.text.find("server/proxy"), std::string::npos) << finding.text;
}

TEST_F(Examination, namesVariablesThatMeanNothing) {
  Set("CSM_API_ROT", "http://127.0.0.1:1");
  Set("CSM_KEY_FIL", "hush");
  const Finding finding = TheWrong("environment");
  EXPECT_EQ(finding.state, State::kWarning);
  EXPECT_NE(finding.text.find("CSM_API_ROT"), std::string::npos);
  EXPECT_NE(finding.text.find("CSM_KEY_FIL"), std::string::npos);
  EXPECT_EQ(finding.text.find("CSM_DATA_DIRECTORY"), std::string::npos);
  EXPECT_EQ(finding.text.find("hush"), std::string::npos);
}

TEST_F(Examination, saysThatAKeyInTheIniFileIsNotRead) {
  Write("csm.ini", "[server]\nkey=hush\n");
  const Finding finding = TheWrong("settings");
  EXPECT_NE(finding.advice.find("key file"), std::string::npos) << finding.advice;
  EXPECT_EQ((finding.text + finding.advice).find("hush"), std::string::npos);
}

TEST_F(Examination, saysWhichFlagAndWhichLevelIsNone) {
  Write("csm.ini", "[log]\nstderr=maybe\nlevel=loud\n");
  Set("CSM_LOG_TO_STDERR", "perhaps");
  const std::vector<Finding> found = Wrong("settings");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_NE(found[0].text.find("log/stderr=maybe, CSM_LOG_TO_STDERR=perhaps"), std::string::npos)
      << found[0].text;
  EXPECT_EQ(found[1].state, State::kFailed);
  EXPECT_NE(found[1].text.find("\"loud\""), std::string::npos);
}

TEST_F(Examination, failsWhenTheIniFileCannotBeRead) {
  std::filesystem::create_directories(directory_.Path("config/csm.ini"));
  EXPECT_EQ(TheWrong("settings").state, State::kFailed);
}

TEST_F(Examination, failsForAnAddressThatIsNone) {
  Set("CSM_API_ROOT", "127.0.0.1:1");
  const Finding finding = TheWrong("server address");
  EXPECT_EQ(finding.state, State::kFailed);
  EXPECT_NE(finding.text.find("127.0.0.1:1"), std::string::npos);
  Set("CSM_API_ROOT", "http://127.0.0.1:1");
  Set("CSM_CA_FILE", directory_.Path("none.pem"));
  EXPECT_NE(TheWrong("server address").text.find("none.pem"), std::string::npos);
}

TEST_F(Examination, failsForAKeyFileThatOthersMayUse) {
  Write("key", "key_id=a\nkey=hush\n", 0644);
  const Finding finding = TheWrong("key");
  EXPECT_EQ(finding.state, State::kFailed);
  EXPECT_NE(finding.text.find("can be read or written by others"), std::string::npos) << finding.text;
  EXPECT_NE(finding.advice.find("chmod 600"), std::string::npos);
  EXPECT_EQ((finding.text + finding.advice).find("hush"), std::string::npos);
}

TEST_F(Examination, failsForAKeyFileThatIsMissingOrNone) {
  Set("CSM_KEY_FILE", directory_.Path("gone"));
  EXPECT_NE(TheWrong("key").text.find("gone\" cannot be read"), std::string::npos);
  Write("key", "hush\n");
  Set("CSM_KEY_FILE", directory_.Path("config/key"));
  const Finding finding = TheWrong("key");
  EXPECT_EQ(finding.state, State::kFailed);
  EXPECT_EQ((finding.text + finding.advice).find("hush"), std::string::npos);
}

TEST_F(Examination, failsForHalfAKeyAndForAnImpossibleKeyId) {
  Set("CSM_KEY", "hush");
  EXPECT_EQ(TheWrong("key").text, "a key is configured, but no key id");
  Set("CSM_KEY_ID", "not a key id");
  const Finding finding = TheWrong("key");
  EXPECT_EQ(finding.state, State::kFailed);
  EXPECT_NE(finding.advice.find("CSM_KEY_ID"), std::string::npos);
  EXPECT_EQ((finding.text + finding.advice).find("hush"), std::string::npos);
}

TEST_F(Examination, failsForDirectoriesThatCannotBeMadeOrWritten) {
  host_test::WriteFile(directory_.Path("file"), "x");
  Set("CSM_DATA_DIRECTORY", directory_.Path("file/data"));
  Set("CSM_LOG_DIRECTORY", "/proc/csm");
  const Finding data = TheWrong("data directory");
  EXPECT_EQ(data.state, State::kFailed);
  EXPECT_NE(data.text.find("cannot be made"), std::string::npos) << data.text;
  EXPECT_NE(data.advice.find("CSM_DATA_DIRECTORY"), std::string::npos);
  EXPECT_EQ(TheWrong("log directory").state, State::kFailed);
  Set("CSM_LOG_DIRECTORY", "/proc/self");  // is there, and takes no file
  EXPECT_NE(TheWrong("log directory").text.find("cannot be written"), std::string::npos);
}

TEST_F(Examination, countsLinesOfTheWatchListThatAreNoSecurity) {
  Write("watchlist.txt", "sh600000\n# a word\n600000\nwhat\n");
  const Finding finding = TheWrong("watch list");
  EXPECT_EQ(finding.state, State::kWarning);
  EXPECT_NE(finding.text.find("1 securities, and lines that are none: 2"), std::string::npos) << finding.text;
  std::filesystem::remove(directory_.Path("config/watchlist.txt"));
  std::filesystem::create_directories(directory_.Path("config/watchlist.txt"));
  EXPECT_EQ(TheWrong("watch list").state, State::kFailed);
}

}  // namespace
