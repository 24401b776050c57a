// Paths of the module's files: below the data root, or none.
#include "files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "host/files.h"
#include "host/text.h"
#include "running_host.h"

namespace {

using common::ForceRemoveFile;
using host_test::TemporaryDirectory;
using stock::GetKLineFilePath;
using stock::GetKLineMetaFilePath;

std::wstring Wide(const std::string& text) {
  return common::s2ws(text, common::kUtf8);
}

class Files : public testing::Test {
 protected:
  Files() { stock_host::SetDataRoot(directory_.Path()); }
  const TemporaryDirectory directory_;
};

TEST_F(Files, packagesOfASymbolHaveADirectoryInLowerCase) {
  EXPECT_EQ(GetKLineFilePath(L"SH600000"), Wide(directory_.Path("kline/sh600000")));
  EXPECT_EQ(GetKLineFilePath(L"sz399001"), Wide(directory_.Path("kline/sz399001")));
}

TEST_F(Files, textThatIsNoSymbolHasNoPath) {
  EXPECT_EQ(GetKLineFilePath(nullptr), L"");
  for (const wchar_t* text : {L"", L"..", L"../../../etc", L"sh60000/", L"sh/00000", L"bk0475", L"sh6000000",
                              L"sh600000/..", L"/etc/passwd"}) {
    EXPECT_EQ(GetKLineFilePath(text), L"") << text;
  }
}

TEST_F(Files, metadataHasADirectory) {
  EXPECT_EQ(GetKLineMetaFilePath(), Wide(directory_.Path("metadata")));
}

TEST_F(Files, linkThatLeadsOutOfTheRootHasNoPath) {
  const TemporaryDirectory elsewhere;
  std::filesystem::create_directory_symlink(elsewhere.Path(), directory_.Path("kline"));
  std::filesystem::create_directory_symlink("/", directory_.Path("metadata"));
  EXPECT_EQ(GetKLineFilePath(L"sh600000"), L"");
  EXPECT_EQ(GetKLineMetaFilePath(), L"");
}

TEST_F(Files, linkWithinTheRootIsNoHarm) {
  std::filesystem::create_directories(directory_.Path("packages"));
  std::filesystem::create_directory_symlink(directory_.Path("packages"), directory_.Path("kline"));
  EXPECT_EQ(GetKLineFilePath(L"sh600000"), Wide(directory_.Path("kline/sh600000")));
}

TEST_F(Files, rootMayItselfBeALink) {
  std::filesystem::create_directories(directory_.Path("real"));
  std::filesystem::create_directory_symlink(directory_.Path("real"), directory_.Path("root"));
  stock_host::SetDataRoot(directory_.Path("root"));
  EXPECT_EQ(GetKLineFilePath(L"sh600000"), Wide(directory_.Path("root/kline/sh600000")));
}

TEST_F(Files, rootWithTextBeyondAsciiKeepsIt) {
  stock_host::SetDataRoot(directory_.Path("\xe6\x95\xb0\xe6\x8d\xae"));
  EXPECT_EQ(GetKLineMetaFilePath(), Wide(directory_.Path("\xe6\x95\xb0\xe6\x8d\xae/metadata")));
}

TEST_F(Files, removedFileIsGone) {
  host_test::WriteFile(directory_.Path("file"), "x");
  EXPECT_TRUE(ForceRemoveFile(Wide(directory_.Path("file")).c_str()));
  EXPECT_FALSE(std::filesystem::exists(directory_.Path("file")));
}

TEST_F(Files, fileThatIsNotThereCountsAsRemoved) {
  EXPECT_TRUE(ForceRemoveFile(Wide(directory_.Path("none")).c_str()));
  EXPECT_TRUE(ForceRemoveFile(Wide(directory_.Path("none/none")).c_str()));
  host_test::WriteFile(directory_.Path("file"), "x");
  EXPECT_TRUE(ForceRemoveFile(Wide(directory_.Path("file/below")).c_str()));
}

TEST_F(Files, whatIsNoFileIsNotRemoved) {
  std::filesystem::create_directories(directory_.Path("directory"));
  EXPECT_FALSE(ForceRemoveFile(Wide(directory_.Path("directory")).c_str()));
  EXPECT_TRUE(std::filesystem::exists(directory_.Path("directory")));
  EXPECT_FALSE(ForceRemoveFile(nullptr));
  EXPECT_FALSE(ForceRemoveFile(L""));
}

TEST_F(Files, linkIsRemovedAndNotItsTarget) {
  host_test::WriteFile(directory_.Path("target"), "x");
  std::filesystem::create_symlink(directory_.Path("target"), directory_.Path("link"));
  EXPECT_TRUE(ForceRemoveFile(Wide(directory_.Path("link")).c_str()));
  EXPECT_TRUE(std::filesystem::exists(directory_.Path("target")));
}

TEST_F(Files, readOnlyFileIsRemoved) {
  host_test::WriteFile(directory_.Path("file"), "x");
  std::filesystem::permissions(directory_.Path("file"), std::filesystem::perms::owner_read);
  EXPECT_TRUE(ForceRemoveFile(Wide(directory_.Path("file")).c_str()));
}

class UserDirectories : public testing::Test {
 protected:
  UserDirectories() { setenv("HOME", "/srv/somebody", 1); }
  ~UserDirectories() override {
    unsetenv("XDG_DATA_HOME");
    unsetenv("XDG_STATE_HOME");
    unsetenv("XDG_CONFIG_HOME");
    before_.empty() ? unsetenv("HOME") : setenv("HOME", before_.c_str(), 1);
  }

 private:
  const std::string before_ = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
};

TEST_F(UserDirectories, lieBelowTheHomeDirectory) {
  EXPECT_EQ(stock_host::DefaultDataDirectory(), "/srv/somebody/.local/share/csm");
  EXPECT_EQ(stock_host::DefaultLogDirectory(), "/srv/somebody/.local/state/csm");
  EXPECT_EQ(stock_host::DefaultConfigDirectory(), "/srv/somebody/.config/csm");
}

TEST_F(UserDirectories, followTheEnvironment) {
  setenv("XDG_DATA_HOME", "/d", 1);
  setenv("XDG_STATE_HOME", "/s", 1);
  setenv("XDG_CONFIG_HOME", "/c", 1);
  EXPECT_EQ(stock_host::DefaultDataDirectory(), "/d/csm");
  EXPECT_EQ(stock_host::DefaultLogDirectory(), "/s/csm");
  EXPECT_EQ(stock_host::DefaultConfigDirectory(), "/c/csm");
}

TEST_F(UserDirectories, relativePathOfTheEnvironmentIsIgnored) {
  setenv("XDG_DATA_HOME", "relative", 1);
  setenv("XDG_STATE_HOME", "", 1);
  EXPECT_EQ(stock_host::DefaultDataDirectory(), "/srv/somebody/.local/share/csm");
  EXPECT_EQ(stock_host::DefaultLogDirectory(), "/srv/somebody/.local/state/csm");
}

}  // namespace
