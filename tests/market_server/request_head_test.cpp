// How the head of a request is read: what counts, and what is refused with which status.
#include <gtest/gtest.h>

#include <string>

#include "market_server/http/message.h"

namespace market_server::http {
namespace {

Head Read(const std::string& fields, const std::string& line = "GET /x HTTP/1.1") {
  return ReadHead(line + "\r\n" + fields + "\r\n");
}

TEST(RequestHead, holdsWhatTheHandlersNeed) {
  const Head head =
      Read("HOST:  a:80\t\r\norigin: o\r\nX: y\r\nContent-Length: 12\r\n", "PUT /a?b=c HTTP/1.1");
  EXPECT_EQ(head.refusal, 0U);
  EXPECT_EQ(head.request.method, "PUT");
  EXPECT_EQ(head.request.target, "/a?b=c");
  EXPECT_EQ(head.request.host, "a:80");
  EXPECT_EQ(head.request.origin, "o");
  EXPECT_EQ(head.body_bytes, 12U);
  EXPECT_TRUE(head.request.keep_alive);
  EXPECT_FALSE(head.awaits_consent);
}

TEST(RequestHead, decidesWhetherTheConnectionStays) {
  const std::string old = "GET /x HTTP/1.0";
  EXPECT_FALSE(Read("", old).request.keep_alive);
  EXPECT_TRUE(Read("Connection: Keep-Alive\r\n", old).request.keep_alive);
  EXPECT_FALSE(Read("Connection: x, CLOSE\r\n").request.keep_alive);
  EXPECT_FALSE(Read("Connection: close, keep-alive\r\n").request.keep_alive);
  EXPECT_FALSE(Read("Connection: close\r\nConnection: keep-alive\r\n").request.keep_alive);
  EXPECT_TRUE(Read("Connection: upgrade,\r\n").request.keep_alive);
}

TEST(RequestHead, knowsAClientThatWaitsForConsent) {
  EXPECT_TRUE(Read("Expect: 100-Continue\r\n").awaits_consent);
  EXPECT_FALSE(Read("Expect: 200-ok\r\n").awaits_consent);
}

TEST(RequestHead, refusesWhatIsNoRequest) {
  for (const char* line : {"", "GET", "GET /x", "GET  /x HTTP/1.1", " GET /x HTTP/1.1", "GET /x HTTP/1.2",
                           "GET /x HTTP/2.0", "GET /x http/1.1", "GET /x HTTP/1.1 ", "G(T /x HTTP/1.1",
                           "GET /\x01 HTTP/1.1", "GET /\x7f HTTP/1.1"}) {
    EXPECT_EQ(Read("", line).refusal, 400U) << line;
  }
  for (const std::string& fields :
       {std::string("no colon\r\n"), std::string(": x\r\n"), std::string("a b: x\r\n"),
        std::string("X : y\r\n"), std::string("A: b\r\n folded: c\r\n"), std::string("A: b\nc: d\r\n"),
        std::string("A: \0\r\n", 6), std::string("A\0: b\r\n", 7), std::string("A: \x7f\r\n")}) {
    EXPECT_EQ(Read(fields).refusal, 400U) << fields;
  }
  EXPECT_EQ(Read("A: b\tc \xe4\xb8\x8a\r\n").refusal, 0U) << "tabs and bytes beyond ASCII are text";
}

TEST(RequestHead, refusesTwoHostsAndLengthsThatAreNone) {
  EXPECT_EQ(Read("Host: a\r\nhost: a\r\n").refusal, 400U);
  for (const char* length : {"-1", "+1", "", " ", "1x", "0x10", "1,1", "18446744073709551616"}) {
    EXPECT_EQ(Read("Content-Length: " + std::string(length) + "\r\n").refusal, 400U) << length;
  }
  EXPECT_EQ(Read("Content-Length: 1\r\nContent-Length: 1\r\n").refusal, 400U);
  EXPECT_EQ(Read("Content-Length: 18446744073709551615\r\n").refusal, 0U) << "the limit of bodies decides";
}

TEST(RequestHead, refusesABodyWithoutLength) {
  EXPECT_EQ(Read("Transfer-Encoding: chunked\r\n").refusal, 411U);
  EXPECT_EQ(Read("Content-Length: 1\r\nTransfer-Encoding: gzip\r\n").refusal, 411U);
}

}  // namespace
}  // namespace market_server::http
