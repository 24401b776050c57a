// Every branch of the check that keeps the K-line metadata current.
#include "reference/metadata_check.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "answers.h"

namespace {

std::string File(const std::string& version) {
  return Gzip("version:" + version + "\nsh600000:{\"d\":{\"b\":1}}\n");
}

class MetadataCheck : public ::testing::Test {
 protected:
  std::string Path() const { return host.Directory() + "/meta/kline.meta.gzip"; }

  void WriteLocalFile(const std::string& bytes) {
    std::filesystem::create_directories(host.Directory() + "/meta");
    std::ofstream(Path(), std::ios::binary) << bytes;
  }
  std::string ReadLocalFile() {
    std::ifstream file(Path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  void ServerHas(const std::string& version) {
    host.Expect(
        Script(answers::kVersionPath).Inline(Answer::Body(R"({"errno":0,"version":")" + version + R"("})")));
  }
  void ExpectDownload(const Answer& answer) { host.Expect(Script(answers::kMetadataPath).Inline(answer)); }

  reference::MetadataCheck Check(const std::string& held) {
    return reference::CheckMetadata([&] { return std::optional(held); });
  }

  ScriptedHost host;
};

// --- The server's version ---

TEST_F(MetadataCheck, asksForTheVersionSynchronously) {
  ServerHas("7");
  EXPECT_EQ(reference::FetchMetadataVersion(), "7");
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.kind, Request::Kind::kSync);
  EXPECT_EQ(request.setting, 8);
  EXPECT_TRUE(request.parameters.empty());
  EXPECT_TRUE(request.headers.empty());
}

TEST_F(MetadataCheck, failsSilentlyWithoutAVersionThatCanBeOne) {
  std::vector<Answer> given = {Answer::Failed(), Answer::Body(""),
                               Answer::Body(R"({"errno":0,"version":20240315})")};
  for (const std::string& version : {std::string(), std::string(R"(1\",count=(select 1),version=\"2)"),
                                     std::string("../../etc"), std::string("a b?"), std::string("rowid"),
                                     std::string("版本"), std::string("1%"), std::string(65, '1')}) {
    given.push_back(Answer::Body(R"({"errno":0,"version":")" + version + R"("})"));
  }
  for (const Answer& answer : given) {
    host.Expect(Script(answers::kVersionPath).Inline(answer));
    EXPECT_FALSE(Check("").ok) << answer.body;
  }
}

// --- Nothing is held ---

// Versions are compared by their characters: "10" is not greater than "9".
TEST_F(MetadataCheck, loadsALocalFileThatIsNotOlder) {
  for (const auto& [local, announced] :
       {std::pair("20240315", "20240315"), {"20240316", "20240315"}, {"9", "10"}}) {
    WriteLocalFile(File(local));
    ServerHas(announced);
    const auto check = Check("");
    ASSERT_TRUE(check.ok && check.loaded != nullptr) << local;
    EXPECT_EQ(check.loaded->Version(), local);
  }
}

TEST_F(MetadataCheck, downloadsOverALocalFileThatIsOlder) {
  WriteLocalFile(File("20240314"));
  ServerHas("20240315");
  ExpectDownload(Answer::Body(File("20240315")));
  const auto check = Check("");
  ASSERT_TRUE(check.ok && check.loaded != nullptr);
  EXPECT_EQ(check.loaded->Version(), "20240315");
  EXPECT_EQ(ReadLocalFile(), File("20240315"));
}

TEST_F(MetadataCheck, downloadsOverALocalFileWithoutVersion) {
  WriteLocalFile(Gzip("version:\nsh600000:{}\n"));
  ServerHas("1");
  ExpectDownload(Answer::Body(File("1")));
  EXPECT_TRUE(Check("").ok);
}

TEST_F(MetadataCheck, downloadsOverADamagedLocalFile) {
  std::string damaged = File("20240315");
  damaged.resize(damaged.size() - 5);
  for (const std::string& bytes : {damaged, std::string("version:20240315\n"), std::string()}) {
    WriteLocalFile(bytes);
    ServerHas("20240315");
    ExpectDownload(Answer::Body(File("20240315")));
    EXPECT_TRUE(Check("").ok);
    EXPECT_EQ(ReadLocalFile(), File("20240315"));
  }
}

TEST_F(MetadataCheck, downloadsWithoutALocalFile) {
  ServerHas("1");
  ExpectDownload(Answer::Body(File("1")));
  const auto check = Check("");
  ASSERT_TRUE(check.ok);
  EXPECT_NE(check.loaded, nullptr);
  const Request request = host.Requests().at(1);
  EXPECT_EQ(request.kind, Request::Kind::kDownload);
  EXPECT_EQ(request.url, L"http://static.test/kline.meta.gzip");
  EXPECT_EQ(request.retries, 3);
  EXPECT_EQ(request.setting, 30);
  const std::string path = Path();
  EXPECT_EQ(request.destination, std::wstring(path.begin(), path.end()));
}

TEST_F(MetadataCheck, makesTheDirectoryBeforeTheDownload) {
  ASSERT_FALSE(std::filesystem::exists(host.Directory() + "/meta"));
  ServerHas("1");
  bool there = false;
  host.Expect(Script(answers::kMetadataPath).Inline([&](const Request&) {
    there = std::filesystem::is_directory(host.Directory() + "/meta");
    return Answer::Body(File("1"));
  }));
  EXPECT_TRUE(Check("").ok);
  EXPECT_TRUE(there);
}

TEST_F(MetadataCheck, failsWithoutADirectoryForTheFile) {
  std::ofstream(host.Directory() + "/meta") << "a file where the directory should be";
  ServerHas("1");
  const auto check = Check("");
  EXPECT_FALSE(check.ok);
  EXPECT_EQ(host.RequestCount(), 1U) << "nothing is downloaded to nowhere";
}

// --- Something is held ---

TEST_F(MetadataCheck, hasNothingToDoWhenTheHeldOneIsNotOlder) {
  for (const char* const announced : {"20240315", "20240314"}) {
    ServerHas(announced);
    const auto check = Check("20240315");
    EXPECT_TRUE(check.ok);
    EXPECT_EQ(check.loaded, nullptr);
  }
}

TEST_F(MetadataCheck, downloadsOverAnOlderHeldOneWhateverTheLocalFileIs) {
  WriteLocalFile(File("20240399"));
  ServerHas("20240316");
  ExpectDownload(Answer::Body(File("20240316")));
  const auto check = Check("20240315");
  ASSERT_TRUE(check.ok && check.loaded != nullptr);
  EXPECT_EQ(check.loaded->Version(), "20240316");
}

// --- The download ---

TEST_F(MetadataCheck, failsWhenTheDownloadFails) {
  WriteLocalFile(File("1"));
  ServerHas("2");
  ExpectDownload(Answer::Failed());
  const auto check = Check("");
  EXPECT_FALSE(check.ok);
  EXPECT_EQ(check.loaded, nullptr);
  EXPECT_EQ(ReadLocalFile(), File("1"));
}

TEST_F(MetadataCheck, failsWhenTheDownloadedFileIsNoMetadata) {
  for (const std::string& text : {std::string("not found"), std::string("version:a\"b\nsh600000:{}\n")}) {
    ServerHas("2");
    ExpectDownload(Answer::Body(Gzip(text)));
    const auto check = Check("1");
    EXPECT_FALSE(check.ok);
    EXPECT_EQ(check.loaded, nullptr);
  }
}

TEST_F(MetadataCheck, holdsTheVersionOfTheFileWhateverWasAnnounced) {
  ServerHas("3");
  ExpectDownload(Answer::Body(File("2")));
  const auto check = Check("1");
  ASSERT_TRUE(check.ok && check.loaded != nullptr);
  EXPECT_EQ(check.loaded->Version(), "2");
}

TEST_F(MetadataCheck, endsWhenItIsNoLongerWanted) {
  WriteLocalFile(File("1"));
  ServerHas("2");
  bool wanted = true;
  const auto check = reference::CheckMetadata([&wanted]() -> std::optional<std::string> {
    return std::exchange(wanted, false) ? std::optional(std::string("1")) : std::nullopt;
  });
  EXPECT_FALSE(check.ok);
  EXPECT_EQ(host.RequestCount(), 1U) << "no download";
}

TEST_F(MetadataCheck, sendsNothingWhenItIsNotWanted) {
  const auto check = reference::CheckMetadata([]() -> std::optional<std::string> { return std::nullopt; });
  EXPECT_FALSE(check.ok);
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(MetadataCheck, failsWhenTheHostThrows) {
  host.Expect(Script(answers::kVersionPath).Inline([](const Request&) -> Answer {
    throw std::runtime_error("no socket");
  }));
  EXPECT_FALSE(Check("1").ok);
}

}  // namespace
