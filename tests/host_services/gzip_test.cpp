// Unpacking: whole texts, and every way of not being whole.
#include "gzip.h"

#include <gtest/gtest.h>

#include <string>

#include "host/files.h"
#include "host/text.h"
#include "loopback_server.h"
#include "running_host.h"

namespace {

using host_test::Gzipped;
using stock_host::Gunzip;
using stock_host::IsWholeGzip;

constexpr std::size_t kLimit = std::size_t{64} << 20;

class GZipExtractFile : public testing::Test {
 protected:
  bool Extract(const std::string& bytes) {
    const std::string path = directory_.Path("package");
    host_test::WriteFile(path, bytes);
    return GZipExtract(common::s2ws(path, common::kUtf8).c_str(), text_);
  }
  const host_test::TemporaryDirectory directory_;
  std::string text_ = "before";
};

TEST_F(GZipExtractFile, givesTheText) {
  EXPECT_TRUE(Extract(Gzipped("some lines\nof text\n")));
  EXPECT_EQ(text_, "some lines\nof text\n");
}

TEST_F(GZipExtractFile, emptyTextIsAText) {
  EXPECT_TRUE(Extract(Gzipped("")));
  EXPECT_EQ(text_, "");
}

TEST_F(GZipExtractFile, joinsItsMembers) {
  EXPECT_TRUE(Extract(Gzipped("one ") + Gzipped("") + Gzipped("two")));
  EXPECT_EQ(text_, "one two");
}

TEST_F(GZipExtractFile, everyCutIsAFailureWithoutText) {
  const std::string whole = Gzipped("a text that is cut at every byte");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    text_ = "before";
    EXPECT_FALSE(Extract(whole.substr(0, size))) << size;
    EXPECT_EQ(text_, "") << size;
  }
}

TEST_F(GZipExtractFile, cutInTheSecondMemberIsAFailure) {
  const std::string second = Gzipped("two");
  for (std::size_t size = 1; size < second.size(); ++size) {
    EXPECT_FALSE(Extract(Gzipped("one") + second.substr(0, size))) << size;
    EXPECT_EQ(text_, "");
  }
}

TEST_F(GZipExtractFile, bytesBehindTheEndAreAFailure) {
  EXPECT_FALSE(Extract(Gzipped("text") + "x"));
  EXPECT_FALSE(Extract(Gzipped("text") + std::string(100, '\0')));
  EXPECT_EQ(text_, "");
}

TEST_F(GZipExtractFile, wrongChecksumIsAFailure) {
  std::string bytes = Gzipped("text");
  bytes[bytes.size() - 8] = static_cast<char>(bytes[bytes.size() - 8] ^ 1);
  EXPECT_FALSE(Extract(bytes));
  EXPECT_EQ(text_, "");
}

TEST_F(GZipExtractFile, wrongLengthIsAFailure) {
  std::string bytes = Gzipped("text");
  bytes[bytes.size() - 1] = static_cast<char>(bytes[bytes.size() - 1] ^ 1);
  EXPECT_FALSE(Extract(bytes));
}

TEST_F(GZipExtractFile, otherFormatIsAFailure) {
  EXPECT_FALSE(Extract("plain text"));
  EXPECT_FALSE(Extract("\x78\x9c\x03\x00\x00\x00\x00\x01"));
  EXPECT_EQ(text_, "");
}

TEST_F(GZipExtractFile, textAtTheLimitIsTakenAndOneAboveIsNot) {
  EXPECT_TRUE(Extract(Gzipped(std::string(kLimit, 'x'))));
  EXPECT_EQ(text_.size(), kLimit);
  EXPECT_FALSE(Extract(Gzipped(std::string(kLimit + 1, 'x'))));
  EXPECT_EQ(text_, "");
}

TEST_F(GZipExtractFile, membersCountTogether) {
  EXPECT_FALSE(Extract(Gzipped(std::string(kLimit, 'x')) + Gzipped("y")));
  EXPECT_EQ(text_, "");
}

TEST_F(GZipExtractFile, missingFileIsAFailure) {
  EXPECT_FALSE(GZipExtract(L"/tmp/host_test.missing", text_));
  EXPECT_EQ(text_, "");
  text_ = "before";
  EXPECT_FALSE(GZipExtract(nullptr, text_));
  EXPECT_EQ(text_, "");
  EXPECT_FALSE(GZipExtract(L"", text_));
  EXPECT_FALSE(GZipExtract(common::s2ws(directory_.Path(), common::kUtf8).c_str(), text_));
}

TEST(Gunzip, takesPiecesOfAnySize) {
  std::string text;
  for (int i = 0; i < 50000; ++i) {
    text += std::to_string(i);
  }
  const std::string packed = Gzipped(text) + Gzipped("end");
  for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{4096}, packed.size()}) {
    Gunzip gunzip(text.size() + 3);
    std::string out;
    for (std::size_t at = 0; at < packed.size(); at += size) {
      ASSERT_EQ(gunzip.Feed(std::string_view(packed).substr(at, size), out), Gunzip::State::kGood);
    }
    EXPECT_TRUE(gunzip.Whole());
    EXPECT_TRUE(out == text + "end");
  }
}

TEST(Gunzip, staysFailedOnceItHas) {
  Gunzip gunzip(10);
  std::string out;
  EXPECT_EQ(gunzip.Feed(Gzipped("more than ten bytes"), out), Gunzip::State::kTooLarge);
  EXPECT_LE(out.size(), 10U);
  EXPECT_EQ(gunzip.Feed(Gzipped("x"), out), Gunzip::State::kTooLarge);
  EXPECT_FALSE(gunzip.Whole());
}

TEST(IsWholeGzip, tellsWholeFromBroken) {
  EXPECT_TRUE(IsWholeGzip(Gzipped("text")));
  EXPECT_FALSE(IsWholeGzip(""));
  EXPECT_FALSE(IsWholeGzip(Gzipped("text").substr(0, 10)));
  EXPECT_FALSE(IsWholeGzip(Gzipped(std::string(kLimit + 1, 'x'))));
}

}  // namespace
