// The verifying side of the signing scheme: fixed vectors, the window, replays, the bound on memory.
#include "market_server/signing.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "signer.h"

namespace market_server {
namespace {

using testing::Signer;

std::map<std::string, std::string> Keys() {
  return {{"test-key", "secret"},
          {"desk.7", "\xe9\x92\xa5\xe5\x8c\x99/+="},
          {"A", "a"},
          {"long_key-id.0123456789", std::string(100, 'k')}};
}

http::Request RequestFor(const std::string& host, const std::string& target) {
  http::Request request;
  request.method = "GET";
  request.host = host;
  request.target = target;
  http::ReadTarget(request);
  return request;
}

struct Vector {
  std::string name;
  double now = 0;
  std::string host;
  std::string target;
  int error = 0;
};

std::vector<Vector> ReadVectors() {
  std::vector<Vector> vectors;
  std::ifstream file(CSM_TEST_DATA "/signing_vectors.txt");
  std::string line;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    Vector vector;
    std::string now;
    std::string error;
    std::getline(fields, vector.name, '\t');
    std::getline(fields, now, '\t');
    std::getline(fields, vector.host, '\t');
    std::getline(fields, vector.target, '\t');
    std::getline(fields, error, '\t');
    vector.now = std::stod(now);
    vector.error = std::stoi(error);
    vectors.push_back(vector);
  }
  return vectors;
}

TEST(Signatures, everyVectorGetsItsVerdict) {
  const std::vector<Vector> vectors = ReadVectors();
  ASSERT_GE(vectors.size(), 40U);
  Signatures signatures(Keys());
  for (const Vector& vector : vectors) {
    const Error error = signatures.Check(RequestFor(vector.host, vector.target), vector.now);
    EXPECT_EQ(static_cast<int>(error), vector.error) << vector.name;
  }
}

TEST(Signatures, vectorsOfTheProtocolPageAreRight) {
  std::ifstream file(CSM_DOCS "/protocol-signing.md");
  std::ostringstream page;
  page << file.rdbuf();
  Signatures signatures(Keys());
  int urls = 0;
  std::istringstream lines(page.str());
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("http") || line.find("&_s=") == std::string::npos) continue;
    ++urls;
    const std::size_t host = line.find("//") + 2;
    const std::size_t path = line.find('/', host);
    const http::Request request = RequestFor(line.substr(host, path - host), line.substr(path));
    EXPECT_EQ(signatures.Check(request, 1710466200), urls == 2 ? Error::kReplayed : Error::kNone) << line;
    signatures.Forget();
    EXPECT_EQ(signatures.Check(request, 1710466200), Error::kNone) << line;
  }
  EXPECT_EQ(urls, 3);
}

class SignaturesOverTime : public ::testing::Test {
 protected:
  Error Check(std::int64_t time, std::uint64_t nonce, double now, const std::string& key_id = "test-key") {
    signer.key_id = key_id;
    signer.key = Keys().at(key_id);
    signer.time = time;
    signer.nonce = nonce;
    return signatures.Check(RequestFor("h", signer.Sign("/p", {})), now);
  }
  Signer signer{.host = "h"};
  Signatures signatures{Keys()};
};

TEST_F(SignaturesOverTime, aNonceIsUsedUpForTenMinutesWhateverTheSigningTime) {
  EXPECT_EQ(Check(10'000, 5, 10'000), Error::kNone);
  EXPECT_EQ(Check(10'300, 5, 10'300), Error::kReplayed);
  EXPECT_EQ(Check(10'599, 5, 10'599), Error::kReplayed);
  EXPECT_EQ(Check(10'700, 5, 10'700), Error::kNone);
}

TEST_F(SignaturesOverTime, anotherKeyMayUseTheSameNonce) {
  EXPECT_EQ(Check(10'000, 5, 10'000), Error::kNone);
  EXPECT_EQ(Check(10'000, 5, 10'000, "desk.7"), Error::kNone);
}

TEST_F(SignaturesOverTime, aRefusedRequestDoesNotUseUpItsNonce) {
  EXPECT_EQ(Check(10'000, 5, 20'000), Error::kTooOld);
  EXPECT_EQ(Check(20'000, 5, 20'000), Error::kNone);
}

TEST_F(SignaturesOverTime, oldNoncesAreForgotten) {
  for (std::uint64_t i = 0; i < 100; ++i) EXPECT_EQ(Check(10'000, i, 10'000), Error::kNone);
  EXPECT_EQ(signatures.remembered(), 100U);
  EXPECT_EQ(Check(11'000, 1000, 11'000), Error::kNone);
  EXPECT_EQ(signatures.remembered(), 1U);
}

TEST(Signatures, aFullMemoryRefusesOldRequestsInsteadOfAllowingReplays) {
  Signatures signatures(Keys(), 50);
  Signer signer{.host = "h"};
  signer.time = 10'000;
  const std::string first = signer.Sign("/p", {});
  EXPECT_EQ(signatures.Check(RequestFor("h", first), 10'000), Error::kNone);
  signer.time = 10'100;
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(signatures.Check(RequestFor("h", signer.Sign("/p", {})), 10'100), Error::kNone);
  }
  EXPECT_LE(signatures.remembered(), 50U);
  EXPECT_EQ(signatures.Check(RequestFor("h", first), 10'100), Error::kTooOld);
}

}  // namespace
}  // namespace market_server
