// Signatures, against published vectors and against texts to be signed that are written out here. The other
// end of a signed request is server_clock_test.cpp's.
#include "signing.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "addresses.h"
#include "host/signing.h"
#include "host/singleton.h"
#include "stock_host.h"

namespace {

using stock_host::Addresses;
using stock_host::HmacSha256;
using stock_host::SignedUrl;
using stock_host::SigningMark;
using Parameters = std::map<std::string, std::string>;

const SigningMark kMark{1710466200, "000102030405060708090a0b0c0d0e0f"};

Addresses AddressesOf(const std::string& api_root, const std::string& key_id = "test-key",
                      const std::string& key = "secret") {
  stock_host::Settings settings;
  settings.api_root = api_root;
  settings.key_id = key_id;
  settings.key = key;
  std::string error;
  const auto addresses = stock_host::ParseAddresses(settings, error);
  EXPECT_TRUE(addresses) << error;
  return addresses ? *addresses : Addresses();
}

std::string FromHex(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

// RFC 4231, test cases 1 to 7 (5 is cut off there, and is compared as far as it goes).
struct Rfc4231 {
  const char* name;
  std::string key;
  std::string data;
  std::string digest;
};
std::ostream& operator<<(std::ostream& out, const Rfc4231& vector) {
  return out << vector.name;
}

class PublishedVector : public testing::TestWithParam<Rfc4231> {};

TEST_P(PublishedVector, holds) {
  const Rfc4231& vector = GetParam();
  EXPECT_EQ(HmacSha256(vector.key, vector.data).substr(0, vector.digest.size()), vector.digest);
}

INSTANTIATE_TEST_SUITE_P(
    HmacSha256, PublishedVector,
    testing::Values(
        Rfc4231{"case1", FromHex("0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b"), "Hi There",
                "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
        Rfc4231{"case2", "Jefe", "what do ya want for nothing?",
                "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
        Rfc4231{"case3", std::string(20, '\xaa'), std::string(50, '\xdd'),
                "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe"},
        Rfc4231{"case4", FromHex("0102030405060708090a0b0c0d0e0f10111213141516171819"),
                std::string(50, '\xcd'), "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b"},
        Rfc4231{"case5", std::string(20, '\x0c'), "Test With Truncation", "a3b6167473100ee06e0c796c2955552b"},
        Rfc4231{"case6", std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First",
                "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
        Rfc4231{
            "case7", std::string(131, '\xaa'),
            "This is a test using a larger than block-size key and a larger than block-size data. The key "
            "needs to be hashed before being used by the HMAC algorithm.",
            "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2"}),
    [](const auto& one) { return one.param.name; });

// The text to be signed and the query, as they must come out.
struct Vector {
  const char* name;
  std::string api_root;
  std::wstring path;
  Parameters parameters;
  std::string host;
  std::string signed_path;
  std::string before;  // of the query, what sorts before "_k"
  std::string after;   // and what sorts behind "_v"
};
std::ostream& operator<<(std::ostream& out, const Vector& vector) {
  return out << vector.name;
}

class Signature : public testing::TestWithParam<Vector> {};

TEST_P(Signature, isThatOfTheTextWrittenOutHere) {
  const Vector& vector = GetParam();
  std::string query = vector.before.empty() ? "" : vector.before + "&";
  query += "_k=test-key&_n=000102030405060708090a0b0c0d0e0f&_t=1710466200&_v=csm1";
  query += vector.after.empty() ? "" : "&" + vector.after;
  const std::string text = "csm1\nGET\n" + vector.host + "\n" + vector.signed_path + "\n" + query;
  // Straight from the library, so that a slip in the function under test shows.
  unsigned char digest[32];
  unsigned size = 0;
  HMAC(EVP_sha256(), "secret", 6, reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest,
       &size);
  std::string hex;
  for (const unsigned char byte : digest) {
    char two[3];
    std::snprintf(two, sizeof two, "%02x", byte);
    hex += two;
  }
  const std::string scheme = vector.api_root.substr(0, vector.api_root.find("://"));
  const std::string lower_scheme = scheme == "HTTP" ? "http" : scheme;
  const std::string path(vector.path.begin(), vector.path.end());
  EXPECT_EQ(SignedUrl(AddressesOf(vector.api_root), path, vector.parameters, kMark),
            lower_scheme + "://" + vector.host + vector.signed_path + "?" + query + "&_s=" + hex);
}

std::vector<Vector> Vectors() {
  const std::string root = "http://127.0.0.1:18080";
  const std::string host = "127.0.0.1:18080";
  const std::wstring path = L"/pc/rt/x";
  const std::string plain = "/pc/rt/x";
  return {
      {"noParameters", root, path, {}, host, plain, "", ""},
      {"oneParameter", root, path, {{"a", "1"}}, host, plain, "", "a=1"},
      {"twoParameters", root, path, {{"b", "2"}, {"a", "1"}}, host, plain, "", "a=1&b=2"},
      {"upperCaseSortsBeforeTheReserved",
       root,
       path,
       {{"Zone", "1"}, {"a", "2"}},
       host,
       plain,
       "Zone=1",
       "a=2"},
      {"digitSortsFirst", root, path, {{"9", "1"}, {"A", "2"}}, host, plain, "9=1&A=2", ""},
      {"underscoreSortsAmongTheReserved", root, path, {{"_z", "1"}}, host, plain, "", "_z=1"},
      {"underscoreUpperCase", root, path, {{"_A", "1"}}, host, plain, "_A=1", ""},
      {"prefixSortsFirst", root, path, {{"ab", "1"}, {"a", "2"}}, host, plain, "", "a=2&ab=1"},
      {"dashSortsBeforeEquals", root, path, {{"a-b", "1"}, {"a", "2"}}, host, plain, "", "a=2&a-b=1"},
      {"emptyValue", root, path, {{"a", ""}}, host, plain, "", "a="},
      {"emptyName", root, path, {{"", "1"}}, host, plain, "=1", ""},
      {"space", root, path, {{"a", "x y"}}, host, plain, "", "a=x%20y"},
      {"plus", root, path, {{"a", "x+y"}}, host, plain, "", "a=x%2By"},
      {"ampersand", root, path, {{"a", "x&y=z"}}, host, plain, "", "a=x%26y%3Dz"},
      {"percent", root, path, {{"a", "100%"}}, host, plain, "", "a=100%25"},
      {"alreadyEncoded", root, path, {{"a", "%41"}}, host, plain, "", "a=%2541"},
      {"slash", root, path, {{"a", "x/y"}}, host, plain, "", "a=x%2Fy"},
      {"questionMark", root, path, {{"a", "?"}}, host, plain, "", "a=%3F"},
      {"numberSign", root, path, {{"a", "#"}}, host, plain, "", "a=%23"},
      {"quotes", root, path, {{"a", "\"'"}}, host, plain, "", "a=%22%27"},
      {"brackets", root, path, {{"a", "[\"sh000001\"]"}}, host, plain, "", "a=%5B%22sh000001%22%5D"},
      {"marksThatOthersKeep",
       root,
       path,
       {{"a", "!*();:@,$"}},
       host,
       plain,
       "",
       "a=%21%2A%28%29%3B%3A%40%2C%24"},
      {"unreservedMarks", root, path, {{"a", "-._~"}}, host, plain, "", "a=-._~"},
      {"lettersAndDigits", root, path, {{"a", "AZaz09"}}, host, plain, "", "a=AZaz09"},
      {"controlBytes", root, path, {{"a", std::string("\0\n\x7f", 3)}}, host, plain, "", "a=%00%0A%7F"},
      {"textBeyondAscii", root, path, {{"a", "\xe9\x93\xb6"}}, host, plain, "", "a=%E9%93%B6"},
      {"invalidUtf8", root, path, {{"a", "\xff\x80"}}, host, plain, "", "a=%FF%80"},
      {"nameIsEncodedToo", root, path, {{"a b", "1"}}, host, plain, "", "a%20b=1"},
      {"encodedNameSortsAsEncoded", root, path, {{"\xe4", "1"}, {"A", "2"}}, host, plain, "%E4=1&A=2", ""},
      {"reservedNameInUpperCase", root, path, {{"_S", "1"}}, host, plain, "_S=1", ""},
      {"minusSign", root, path, {{"start", "-1"}}, host, plain, "", "start=-1"},
      {"pathWithSpace", root, L"/a b", {}, host, "/a%20b", "", ""},
      {"pathWithQuestionMark", root, L"/a?b", {}, host, "/a%3Fb", "", ""},
      {"pathWithPercent", root, L"/a%2Fb", {}, host, "/a%252Fb", "", ""},
      {"pathWithoutSlash", root, L"pc", {}, host, "/pc", "", ""},
      {"pathEmpty", root, L"", {}, host, "/", "", ""},
      {"pathEndsInSlash", root, L"/a/", {}, host, "/a/", "", ""},
      {"serverWithSlash", root + "/", path, {}, host, plain, "", ""},
      {"serverWithPath", root + "/v2", path, {}, host, "/v2" + plain, "", ""},
      {"serverWithPathAndSlashes", root + "/v2//", path, {}, host, "/v2" + plain, "", ""},
      {"defaultPort", "http://127.0.0.1:80", path, {}, "127.0.0.1", plain, "", ""},
      {"defaultPortOfTls", "https://127.0.0.1:443", path, {}, "127.0.0.1", plain, "", ""},
      {"otherDefaultPort", "https://127.0.0.1:80", path, {}, "127.0.0.1:80", plain, "", ""},
      {"noPort", "https://127.0.0.1", path, {}, "127.0.0.1", plain, "", ""},
      {"hostInUpperCase", "HTTP://Market.Example:8080", path, {}, "market.example:8080", plain, "", ""},
      {"sixthVersionAddress", "http://[::1]:8080", path, {}, "[::1]:8080", plain, "", ""},
  };
}

INSTANTIATE_TEST_SUITE_P(Each, Signature, testing::ValuesIn(Vectors()),
                         [](const auto& one) { return one.param.name; });

// The vectors of the protocol's page.
TEST(DocumentedVector, noParameters) {
  EXPECT_EQ(
      SignedUrl(AddressesOf("http://127.0.0.1:18080"), "/pc/rt/stock_trade", {}, kMark),
      "http://127.0.0.1:18080/pc/rt/stock_trade?_k=test-key&_n=000102030405060708090a0b0c0d0e0f&_t=1710466200"
      "&_v=csm1&_s=6af1b95d1fcb8790af678d40d975aadf1f465ca2e9a04525e921fb71ad0276e9");
}

TEST(DocumentedVector, listOfSymbols) {
  EXPECT_EQ(SignedUrl(AddressesOf("http://127.0.0.1:18080"), "/pc/rt/stock_detail_list",
                      {{"stock_arr", R"(["sh000001","sz399001"])"}}, kMark),
            "http://127.0.0.1:18080/pc/rt/stock_detail_list?_k=test-key&_n=000102030405060708090a0b0c0d0e0f"
            "&_t=1710466200&_v=csm1&stock_arr=%5B%22sh000001%22%2C%22sz399001%22%5D"
            "&_s=1b8fec8e65f38ee77c1a71ce720ef964cff71d939f451157becd0d5c85bebaaa");
}

TEST(DocumentedVector, everyKindOfCharacter) {
  EXPECT_EQ(
      SignedUrl(AddressesOf("https://Market.Example.com:443/v2/", "desk.7", "\xe9\x92\xa5\xe5\x8c\x99/+="),
                "/pc/rt/get_bk_zone_list",
                {{"Zone", "1"},
                 {"bk_code", "\xe9\x93\xb6\xe8\xa1\x8c a+b&c=~"},
                 {"end", "50"},
                 {"sort_key", "change"},
                 {"sort_type", ""},
                 {"start", "-1"}},
                {1710466201, "ffeeddccbbaa99887766554433221100"}),
      "https://market.example.com/v2/pc/rt/"
      "get_bk_zone_list?Zone=1&_k=desk.7&_n=ffeeddccbbaa99887766554433221100"
      "&_t=1710466201&_v=csm1&bk_code=%E9%93%B6%E8%A1%8C%20a%2Bb%26c%3D~&end=50&sort_key=change&sort_type="
      "&start=-1&_s=5e3c2b6d7d47bf4ee6ecace7c0066e8c720a4a4b319b04c2c1e483334434a1ed");
}

TEST(SignedUrl, parameterWithAReservedNameIsRefused) {
  for (const char* name : {"_v", "_k", "_t", "_n", "_s"}) {
    EXPECT_EQ(SignedUrl(AddressesOf("http://127.0.0.1:1"), "/x", {{name, "1"}}, kMark), "") << name;
  }
}

TEST(SignedUrl, isEmptyWithoutServerKeyOrNonce) {
  Addresses addresses = AddressesOf("http://127.0.0.1:1");
  EXPECT_NE(SignedUrl(addresses, "/x", {}, kMark), "");
  EXPECT_EQ(SignedUrl(addresses, "/x", {}, {1, ""}), "");
  addresses.key.clear();
  EXPECT_EQ(SignedUrl(addresses, "/x", {}, kMark), "");
  EXPECT_EQ(SignedUrl(Addresses(), "/x", {}, kMark), "");
}

TEST(SignedUrl, neverHoldsTheKey) {
  EXPECT_EQ(
      SignedUrl(AddressesOf("http://127.0.0.1:1", "id", "hush-hush"), "/x", {{"a", "b"}}, kMark).find("hush"),
      std::string::npos);
}

TEST(SignedAnew, isWhatSigningWithTheNewMarkGives) {
  const Addresses addresses = AddressesOf("http://127.0.0.1:1/v2");
  const Parameters parameters{{"Zone", "1 2"}, {"a", "&"}, {"b", ""}};
  const SigningMark later{1710469999, "ffffffffffffffffffffffffffffffff"};
  EXPECT_EQ(SignedAnew(addresses, SignedUrl(addresses, "/pc/x", parameters, kMark), later),
            SignedUrl(addresses, "/pc/x", parameters, later));
}

TEST(SignedAnew, leavesAloneWhatItDidNotSign) {
  const Addresses addresses = AddressesOf("http://127.0.0.1:1");
  EXPECT_EQ(SignedAnew(addresses, "http://127.0.0.1:1/x?a=1", kMark), "");
  EXPECT_EQ(SignedAnew(addresses, "http://127.0.0.1:1/x", kMark), "");
  EXPECT_EQ(SignedAnew(addresses, "http://127.0.0.1:11/x?a=1&_s=00", kMark), "");
  EXPECT_EQ(SignedAnew(Addresses(), "http://127.0.0.1:1/x?a=1&_s=00", kMark), "");
}

TEST(TimeOfSigning, isReadFromTheUrl) {
  const Addresses addresses = AddressesOf("http://127.0.0.1:1");
  EXPECT_EQ(TimeOfSigning(addresses, SignedUrl(addresses, "/x", {{"t", "5"}}, kMark)), kMark.time);
  EXPECT_EQ(TimeOfSigning(addresses, "http://127.0.0.1:1/x?t=5"), std::nullopt);
  EXPECT_EQ(TimeOfSigning(addresses, "http://127.0.0.1:2/x?_t=5&_s=00"), std::nullopt);
}

TEST(NewSigningMark, nonceNeverComesTwice) {
  std::set<std::string> nonces;
  for (int i = 0; i < 1000; ++i) {
    const auto mark = stock_host::NewSigningMark(kMark.time);
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->time, kMark.time);
    EXPECT_EQ(mark->nonce.size(), 32U);
    EXPECT_EQ(mark->nonce.find_first_not_of("0123456789abcdef"), std::string::npos);
    nonces.insert(mark->nonce);
  }
  EXPECT_EQ(nonces.size(), 1000U);
}

TEST(Addresses, rootsStandForEachOther) {
  const Addresses addresses = AddressesOf("http://127.0.0.1:1/v2/");
  EXPECT_EQ(addresses.static_root, "http://127.0.0.1:1/v2/static/");
  EXPECT_EQ(addresses.history_root, "http://127.0.0.1:1/v2");
}

TEST(Addresses, endpointIsThePathOfTheApi) {
  const Addresses addresses = AddressesOf("http://127.0.0.1:1");
  EXPECT_EQ(EndpointOf(addresses, "http://127.0.0.1:1/pc/rt/stock_trade?a=b"), "/pc/rt/stock_trade");
  EXPECT_EQ(EndpointOf(addresses, "http://127.0.0.1:1/static/x.dat"), "static");
  EXPECT_EQ(EndpointOf(addresses, "http://127.0.0.1:1/query"), "history");
  EXPECT_EQ(EndpointOf(addresses, "http://127.0.0.2:1/pc/rt/x"), "other");
}

// What an answer's Date header says of clock and signature, by moments that the test makes.
class FollowingTheServer : public testing::Test {
 protected:
  FollowingTheServer() { clock_.Reset(static_cast<double>(kMark.time), now_); }

  // The answer to a request that was signed at `signed_at` and is answered `took` later with `date`.
  std::string Answer(std::int64_t signed_at, std::int64_t date, std::chrono::seconds took,
                     const std::string& speed = "1", const std::string& root = {}) {
    stock_host::HttpHeaderReport report;
    report.url = SignedUrl(root.empty() ? addresses_ : AddressesOf(root), "/pc/rt/stock_trade", {{"a", "b"}},
                           {signed_at, kMark.nonce});
    report.date = date;
    report.speed = speed;
    report.sent = now_;
    now_.elapsed += took;
    now_.suspended += suspended_meanwhile_;
    report.received = now_;
    return stock_host::FollowServer(clock_, addresses_, report);
  }

  const Addresses addresses_ = AddressesOf("http://127.0.0.1:8080");
  stock_host::Moment now_{std::chrono::hours(1000), {}};
  std::chrono::seconds suspended_meanwhile_{};
  stock_host::ServerClockModel clock_;
};

TEST_F(FollowingTheServer, requestSignedTooFarOffIsSignedAnewByTheAnswersTime) {
  for (const std::int64_t off : {-241, 241, 86400, -86400}) {
    clock_.Reset(static_cast<double>(kMark.time), now_);
    const std::string url = Answer(kMark.time, kMark.time + off, std::chrono::seconds(0));
    EXPECT_EQ(stock_host::TimeOfSigning(addresses_, url), kMark.time + off);
    EXPECT_EQ(clock_.Now(now_), kMark.time + off);
  }
}

TEST_F(FollowingTheServer, requestSignedAlmostRightIsLeftAlone) {
  for (const std::int64_t off : {-240, 0, 240}) {
    clock_.Reset(static_cast<double>(kMark.time), now_);
    EXPECT_EQ(Answer(kMark.time, kMark.time + off, std::chrono::seconds(0)), "") << off;
  }
}

TEST_F(FollowingTheServer, theWayThereIsNoSkew) {
  EXPECT_EQ(Answer(kMark.time, kMark.time + 300, std::chrono::seconds(300)), "");
}

// At ten times the speed, thirty seconds of the way are three hundred of the server's clock.
TEST_F(FollowingTheServer, theWayCountsAtTheSpeedOfTheServersClock) {
  EXPECT_EQ(Answer(kMark.time, kMark.time + 300, std::chrono::seconds(30), "10"), "");
  EXPECT_NE(Answer(kMark.time, kMark.time + 300, std::chrono::seconds(30), "1"), "");
}

// A machine that was paused without its clocks: the refused request is sent again at once, and the answer to
// it is the second sample that the clock waits for.
TEST_F(FollowingTheServer, oneSampleFarOffSignsAnewBeforeTheClockFollows) {
  EXPECT_EQ(Answer(kMark.time, kMark.time, std::chrono::seconds(0)), "");
  const std::string url = Answer(kMark.time, kMark.time + 7200, std::chrono::seconds(0));
  EXPECT_EQ(stock_host::TimeOfSigning(addresses_, url), kMark.time + 7200);
  EXPECT_EQ(clock_.Now(now_), kMark.time);
  EXPECT_EQ(Answer(kMark.time + 7200, kMark.time + 7200, std::chrono::seconds(0)), "");
  EXPECT_EQ(clock_.Now(now_), kMark.time + 7200);
}

// It lay in the machine's own buffers: its date is as old as the suspension is long.
TEST_F(FollowingTheServer, answerThatCameOverASuspensionTeachesNothing) {
  suspended_meanwhile_ = std::chrono::hours(2);
  EXPECT_EQ(Answer(kMark.time, kMark.time, std::chrono::hours(2)), "");
  EXPECT_FALSE(clock_.Learned());
}

TEST_F(FollowingTheServer, impossibleDatesAndOtherServersTeachNothing) {
  EXPECT_EQ(Answer(kMark.time, -1, std::chrono::seconds(0)), "");
  EXPECT_EQ(Answer(kMark.time, 1000, std::chrono::seconds(0)), "");
  EXPECT_EQ(Answer(kMark.time, kMark.time + 7200, std::chrono::seconds(0), "1", "http://127.0.0.1:9"), "");
  EXPECT_FALSE(clock_.Learned());
}

}  // namespace
