// The user's settings: csm.ini, the environment on top, and the rules of the key file.
#include "settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "log.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::TemporaryDirectory;
using stock_host::LoadSettings;
using stock_host::ReadKeyFile;

const std::vector<const char*> kVariables{
    "CSM_API_ROOT",       "CSM_STATIC_ROOT",      "CSM_HISTORY_ROOT", "CSM_PROXY",  "CSM_CA_FILE",
    "CSM_DATA_DIRECTORY", "CSM_LOG_DIRECTORY",    "CSM_LOG_LEVEL",    "CSM_KEY_ID", "CSM_KEY",
    "CSM_KEY_FILE",       "CSM_CONFIG_DIRECTORY", "CSM_LOG_TO_STDERR"};

class Settings : public testing::Test {
 protected:
  Settings() {
    for (const char* name : kVariables) {
      unsetenv(name);
    }
    setenv("CSM_CONFIG_DIRECTORY", directory_.Path().c_str(), 1);
    // Lines that wait in a closed log are another test's.
    std::string error;
    EXPECT_TRUE(stock_host::OpenLog(directory_.Path("before"), false, "off", error)) << error;
    stock_host::CloseLog();
  }
  ~Settings() override {
    for (const char* name : kVariables) {
      unsetenv(name);
    }
  }
  void Ini(const std::string& text) { host_test::WriteFile(directory_.Path("csm.ini"), text); }
  std::string KeyFile(const std::string& text, unsigned mode = 0600, const std::string& name = "key") {
    const std::string path = directory_.Path(name);
    host_test::WriteFile(path, text);
    chmod(path.c_str(), mode);
    return path;
  }
  // What the log has to say about it.
  std::string Said() {
    std::string error;
    EXPECT_TRUE(stock_host::OpenLog(directory_.Path("log"), false, "trace", error)) << error;
    stock_host::CloseLog();
    return host_test::ReadFile(directory_.Path("log/csm.log"));
  }
  const TemporaryDirectory directory_;
};

TEST_F(Settings, withoutAnythingAreTheDefaults) {
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.api_root, "");
  EXPECT_EQ(settings.key_id, "");
  EXPECT_EQ(settings.key, "");
  EXPECT_EQ(settings.log_level, "info");
  EXPECT_FALSE(settings.log_to_stderr);
  EXPECT_EQ(Said(), "");
}

TEST_F(Settings, comeFromTheFile) {
  Ini("[server]\napi_root=http://127.0.0.1:1/a,b\nstatic_root=http://127.0.0.1:2\nhistory_root=http://"
      "127.0.0.1:3\n"
      "proxy=http://127.0.0.1:4\nca_file=/etc/ca.pem\n[directories]\ndata=/d\nlog=\"/l "
      "\xe6\x95\xb0\"\n[log]\n"
      "level=debug\nstderr=true\n");
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.api_root, "http://127.0.0.1:1/a,b");
  EXPECT_EQ(settings.static_root, "http://127.0.0.1:2");
  EXPECT_EQ(settings.history_root, "http://127.0.0.1:3");
  EXPECT_EQ(settings.proxy, "http://127.0.0.1:4");
  EXPECT_EQ(settings.ca_file, "/etc/ca.pem");
  EXPECT_EQ(settings.data_directory, "/d");
  EXPECT_EQ(settings.log_directory, "/l \xe6\x95\xb0");
  EXPECT_EQ(settings.log_level, "debug");
  EXPECT_TRUE(settings.log_to_stderr);
}

// No character of a value means anything.
TEST_F(Settings, valuesAreTakenAsTheyStand) {
  for (const char* value : {"/a;b", "/a;b;c # d", "/a,b, c", "/a\\b\\n\\x41", "/a=b=c", "/a%20b", "/a \t b",
                            "\"quoted", "/@Invalid()", "/${HOME}", "/~", "[/a]", "\xe6\x95\xb0"}) {
    Ini(std::string("[server]\n  api_root =\t") + value + "  \r\n[directories]\ndata=\"" + value + "\"\n");
    const auto settings = LoadSettings();
    EXPECT_EQ(settings.api_root, value);
    EXPECT_EQ(settings.data_directory, value);
  }
  EXPECT_EQ(Said(), "");
}

TEST_F(Settings, iniFileMayHaveCommentsAMarkOfItsCodeAndNoLastLineEnd) {
  Ini("\xef\xbb\xbf; mine\n# too\n\n[ server ]\n;api_root=http://127.0.0.1:1\nproxy=\nca_file = "
      "/a\nca_file=/b");
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.api_root, "");
  EXPECT_EQ(settings.proxy, "");
  EXPECT_EQ(settings.ca_file, "/b");
  EXPECT_EQ(Said(), "");
}

TEST_F(Settings, whatMeansNothingIsNamedInTheLog) {
  Ini("lonely\n[server]\napi_root=http://127.0.0.1:1\nproxi=x\n=hush\n");
  EXPECT_EQ(LoadSettings().api_root, "http://127.0.0.1:1");
  const std::string said = Said();
  EXPECT_NE(said.find("csm.ini\" has lines that mean nothing: 1, 5"), std::string::npos) << said;
  EXPECT_NE(said.find("csm.ini\" has keys that mean nothing: server/proxi"), std::string::npos) << said;
  EXPECT_EQ(said.find("hush"), std::string::npos);
}

TEST_F(Settings, iniFileThatCannotBeReadIsNamedInTheLog) {
  std::filesystem::create_directories(directory_.Path("csm.ini"));
  EXPECT_EQ(LoadSettings().log_level, "info");
  EXPECT_NE(Said().find("csm.ini\" cannot be read: Is a directory"), std::string::npos);
}

TEST_F(Settings, environmentIsOnTop) {
  Ini("[server]\napi_root=http://127.0.0.1:1\nproxy=http://127.0.0.1:4\n[log]\nstderr=true\n");
  setenv("CSM_API_ROOT", "http://127.0.0.1:9", 1);
  setenv("CSM_LOG_TO_STDERR", "0", 1);
  setenv("CSM_PROXY", "", 1);
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.api_root, "http://127.0.0.1:9");
  EXPECT_EQ(settings.proxy, "http://127.0.0.1:4");
  EXPECT_FALSE(settings.log_to_stderr);
}

TEST_F(Settings, flagThatIsNoneIsNamedInTheLog) {
  Ini("[log]\nstderr=maybe\n");
  EXPECT_FALSE(LoadSettings().log_to_stderr);
  EXPECT_NE(Said().find("neither true nor false: log/stderr=maybe"), std::string::npos);
}

TEST_F(Settings, damagedFileLeavesTheDefaults) {
  Ini(std::string("\0\xff[server\n=\n]][[", 16));
  EXPECT_EQ(LoadSettings().api_root, "");
}

TEST_F(Settings, keyInTheIniFileIsNotRead) {
  Ini("[server]\nkey=hush\n[key]\nkey=hush\nkey_id=id\n");
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.key, "");
  const std::string said = Said();
  EXPECT_NE(said.find("it belongs in the key file"), std::string::npos);
  EXPECT_EQ(said.find("hush"), std::string::npos);
}

TEST_F(Settings, keyComesFromTheEnvironment) {
  setenv("CSM_KEY_ID", "desk.7", 1);
  setenv("CSM_KEY", "hush", 1);
  KeyFile("key_id = other\nkey = other\n");
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.key_id, "desk.7");
  EXPECT_EQ(settings.key, "hush");
}

TEST_F(Settings, keyComesFromTheKeyFile) {
  KeyFile("# mine\n\n key_id = desk.7 \r\nkey =  hush = hush  \n");
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.key_id, "desk.7");
  EXPECT_EQ(settings.key, "hush = hush");
  EXPECT_EQ(Said(), "");
}

TEST_F(Settings, keyFileMayBeNamed) {
  Ini("[key]\nfile=" + KeyFile("key_id=a\nkey=from-ini\n", 0600, "named"));
  EXPECT_EQ(LoadSettings().key, "from-ini");
  setenv("CSM_KEY_FILE", KeyFile("key_id=b\nkey=from-environment\n", 0400, "other").c_str(), 1);
  EXPECT_EQ(LoadSettings().key, "from-environment");
}

TEST_F(Settings, namedKeyFileThatIsMissingIsSaid) {
  setenv("CSM_KEY_FILE", directory_.Path("none").c_str(), 1);
  EXPECT_EQ(LoadSettings().key, "");
  EXPECT_NE(Said().find("none\" cannot be read"), std::string::npos);
}

TEST_F(Settings, keyFileOfAnotherKeyIdIsNotUsed) {
  setenv("CSM_KEY_ID", "mine", 1);
  KeyFile("key_id=other\nkey=hush\n");
  const auto settings = LoadSettings();
  EXPECT_EQ(settings.key, "");
  EXPECT_EQ(settings.key_id, "mine");
  EXPECT_EQ(Said().find("hush"), std::string::npos);
}

TEST_F(Settings, keyFileThatOthersMayUseIsNotRead) {
  for (const unsigned mode : {0640U, 0604U, 0620U, 0602U, 0610U, 0601U, 0644U, 0666U, 0777U}) {
    std::string id;
    std::string key;
    std::string error;
    EXPECT_FALSE(ReadKeyFile(KeyFile("key_id=a\nkey=hush\n", mode), id, key, error)) << std::oct << mode;
    EXPECT_NE(error.find("Its mode must be 0600"), std::string::npos) << error;
    EXPECT_EQ(error.find("hush"), std::string::npos);
    EXPECT_EQ(key, "");
  }
}

TEST_F(Settings, keyFileForItsOwnerAloneIsRead) {
  for (const unsigned mode : {0600U, 0400U, 0700U}) {
    std::string id;
    std::string key;
    std::string error;
    EXPECT_TRUE(ReadKeyFile(KeyFile("key_id=a\nkey=hush\n", mode), id, key, error)) << error;
    EXPECT_EQ(key, "hush");
    std::filesystem::remove(directory_.Path("key"));
  }
}

TEST_F(Settings, keyFileMayHoldFourKibibytesAndNoMore) {
  const std::string head = "key_id=a\nkey=";
  std::string id;
  std::string key;
  std::string error;
  EXPECT_TRUE(ReadKeyFile(KeyFile(head + std::string(4096 - head.size(), 'x')), id, key, error)) << error;
  EXPECT_EQ(key, std::string(4096 - head.size(), 'x'));
  EXPECT_FALSE(ReadKeyFile(KeyFile(head + std::string(4097 - head.size(), 'y')), id, key, error));
  EXPECT_EQ(key.find('y'), std::string::npos);
  EXPECT_NE(error.find("larger than a key file can be"), std::string::npos);
}

TEST_F(Settings, keyFileOfAnotherUserIsNotRead) {
  EXPECT_STREQ(stock_host::RefusalOfKeyFile(S_IFREG | 0600, 1001, 1000),
               "belongs to another user; it is not read");
  EXPECT_STREQ(stock_host::RefusalOfKeyFile(S_IFREG | 0600, 1001, 0),
               "belongs to another user; it is not read");
  EXPECT_EQ(stock_host::RefusalOfKeyFile(S_IFREG | 0600, 1000, 1000), nullptr);
  EXPECT_EQ(stock_host::RefusalOfKeyFile(S_IFREG | 0400, 0, 1000), nullptr);
}

TEST_F(Settings, keyFileThatIsNoneIsRefused) {
  std::string id = "before";
  std::string key = "before";
  std::string error;
  EXPECT_FALSE(ReadKeyFile(directory_.Path(), id, key, error));
  EXPECT_FALSE(ReadKeyFile("/dev/zero", id, key, error));
  ASSERT_EQ(mkfifo(directory_.Path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(ReadKeyFile(directory_.Path("pipe"), id, key, error));
  EXPECT_NE(error.find("is no regular file"), std::string::npos);
  EXPECT_FALSE(ReadKeyFile(KeyFile(""), id, key, error));
  EXPECT_FALSE(ReadKeyFile(KeyFile("key_id=a\n"), id, key, error));
  EXPECT_FALSE(ReadKeyFile(KeyFile("key=hush\n"), id, key, error));
  EXPECT_FALSE(ReadKeyFile(KeyFile("hush\n"), id, key, error));
  EXPECT_EQ(error.find("hush"), std::string::npos);
  EXPECT_FALSE(ReadKeyFile(KeyFile("key_id=a\nkey=" + std::string(5000, 'x')), id, key, error));
  EXPECT_EQ(id, "before");
  EXPECT_EQ(key, "before");
}

}  // namespace
