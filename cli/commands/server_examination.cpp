#include "cli/commands/server_examination.h"

#include <rapidjson/document.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "host/host.h"

namespace cli {
namespace {

using State = stock_host::Finding::State;
using Tell = std::function<void(const stock_host::Finding&)>;

constexpr std::chrono::seconds kConnectLimit{5};
constexpr int kSeconds = 8;
constexpr double kSmallSkew = 5;
constexpr const char* kProbe = "/pc/rt/stock_version";
constexpr const char* kSetTheClock = "set this machine's clock (timedatectl set-ntp true)";

struct Asked {
  bool ok = false;
  std::string body;
  double seconds = 0;
  stock_host::Failures failures;  // of this request alone
  std::string reason;
};

// Nothing else asks meanwhile, so that what changes in the counters is of this request.
Asked Ask(const std::wstring& url) {
  stock_host::Counters before = stock_host::ReadCounters();
  Asked asked;
  asked.ok = GetSync(url, asked.body, {}, kSeconds);
  const stock_host::Counters after = stock_host::ReadCounters();
  for (const auto& [name, endpoint] : after.endpoints) {
    if (endpoint.requests != before.endpoints[name].requests) {
      asked.seconds = endpoint.answer_seconds;
      asked.reason = endpoint.last_error;
    }
  }
  using Failures = stock_host::Failures;
  for (const auto count :
       {&Failures::connection, &Failures::security, &Failures::timeout, &Failures::status}) {
    asked.failures.*count = after.failures.*count - before.failures.*count;
  }
  return asked;
}

std::string AdviceFor(const Asked& asked) {
  if (asked.failures.security > 0) {
    return "the certificate must be valid, made for this name and signed by somebody trusted: name the file "
           "of your own authority in CSM_CA_FILE, and look at this machine's date";
  }
  if (asked.failures.connection > 0) {
    return "start the server, correct its address, or let the firewall pass it";
  }
  if (asked.failures.timeout > 0) {
    return "the server is there but does not answer in time: look at its load and at the way to it";
  }
  if (asked.failures.status > 0) {
    return "correct the address and its path; at this one is no such service, or it is out of order";
  }
  return "is this a market server? Look at the address, and at proxies on the way";
}

// Nothing when the text is no JSON object.
std::optional<std::pair<int, std::string>> ErrnoOf(const std::string& body) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(body.data(), body.size());
  if (document.HasParseError() || !document.IsObject()) {
    return std::nullopt;
  }
  const bool has_number = document.HasMember("errno") && document["errno"].IsInt();
  const bool has_message = document.HasMember("errmsg") && document["errmsg"].IsString();
  return std::pair(has_number ? document["errno"].GetInt() : 0,
                   std::string(has_message ? document["errmsg"].GetString() : ""));
}

struct HostAndPort {
  std::string host;
  std::string port;
};

// Of an http or https address; the port is the scheme's own unless it stands there. Nothing when there is no
// host.
std::optional<HostAndPort> HostAndPortOf(const std::string& url) {
  const std::size_t scheme_end = url.find("://");
  if (scheme_end == std::string::npos) {
    return std::nullopt;
  }
  const std::string rest = url.substr(scheme_end + 3);
  const std::string authority = rest.substr(0, rest.find_first_of("/?#"));
  const std::size_t bracket = authority.find(']');  // of an IPv6 address
  const std::size_t colon = authority.find(':', bracket == std::string::npos ? 0 : bracket);
  HostAndPort server{authority.substr(0, colon),
                     colon == std::string::npos ? std::string() : authority.substr(colon + 1)};
  if (server.host.size() > 2 && server.host.front() == '[') {
    server.host = server.host.substr(1, server.host.size() - 2);
  }
  if (server.port.empty()) {
    server.port = url.rfind("https", 0) == 0 ? "443" : "80";
  }
  return server.host.empty() ? std::nullopt : std::optional(server);
}

// Why the name has no address; empty when it has one.
std::string NameTrouble(const HostAndPort& server) {
  boost::asio::io_context io;
  boost::system::error_code error;
  boost::asio::ip::tcp::resolver(io).resolve(server.host, server.port, error);
  return error ? error.message() : std::string();
}

// Why no connection to any address of the name comes about in time; empty when one does.
std::string ConnectionTrouble(const HostAndPort& server) {
  boost::asio::ip::tcp::iostream connection;
  connection.expires_after(kConnectLimit);
  connection.connect(server.host, server.port);
  return connection ? std::string() : connection.error().message();
}

bool ExamineWay(const ExaminedServer& server, const Tell& tell) {
  const std::string& through = server.proxy.empty() ? server.url : server.proxy;
  const std::string who = server.proxy.empty() ? "" : "proxy ";
  const auto address = HostAndPortOf(through);
  if (!address) {
    tell({State::kFailed, "name", "\"" + through + "\" names no server", "write it as http://host:port"});
    return false;
  }
  std::string trouble = NameTrouble(*address);
  if (!trouble.empty()) {
    tell({State::kFailed, "name", who + address->host + ": " + trouble,
          "correct the name, or look at the network and its name server"});
    return false;
  }
  tell({State::kGood, "name", who + address->host, {}});
  const std::string place = who + address->host + " port " + address->port;
  trouble = ConnectionTrouble(*address);
  if (!trouble.empty()) {
    tell({State::kFailed, "connection", place + ": " + trouble,
          "start the server, correct its port, or let the firewall pass it"});
    return false;
  }
  tell({State::kGood, "connection", place, {}});
  return true;
}

void ExamineClock(const ExaminedServer& server, const Tell& tell) {
  const stock_host::ServerClockState clock = stock_host::ReadServerClock();
  const std::string now = DateAndTime(common::GetCurrentServerTime());
  if (!clock.known) {
    tell({State::kWarning, "clock", "the server's answers carry no usable Date; this machine's clock is used",
          "let the server, and proxies on the way, send the Date header"});
    return;
  }
  const std::string speed = clock.speed == 1 ? "" : ", at " + Fixed(clock.speed, 1) + " times the speed";
  if (server.simulated || !speed.empty() || std::abs(clock.ahead) <= kSmallSkew) {
    tell({State::kGood, "clock", "the server's: " + now + speed, {}});
    return;
  }
  tell({State::kWarning, "clock",
        "the server's: " + now + ", " + ClockDifference(clock.ahead) +
            (clock.ahead > 0 ? " ahead of" : " behind") + " this machine's; csm goes by the server's",
        std::string("if the server is right, ") + kSetTheClock});
}

void ExamineSignature(const ExaminedServer& server, const Tell& tell) {
  if (server.key_id.empty()) {
    tell({State::kFailed, "signed request", "not tried: there is no key to sign with",
          "the line of the key, above, says what is missing"});
    return;
  }
  const std::wstring url =
      pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(common::s2ws(kProbe, common::kUtf8), {});
  const Asked asked = Ask(url);
  if (!asked.ok) {
    tell({State::kFailed, "signed request", asked.reason, AdviceFor(asked)});
    return;
  }
  const auto answer = ErrnoOf(asked.body);
  if (!answer) {
    tell({State::kFailed, "signed request", "the answer is no JSON object",
          "is this a market server? Look at the address, and at proxies on the way"});
    return;
  }
  tell(ExplainErrno(answer->first, answer->second, server.key_id));
}

void ExamineStaticFiles(const Tell& tell) {
  const std::wstring url = pattern::CSingleton<UrlHelper>::GetInstance()->StaticRoot() + L"kline.meta.gzip";
  const std::string place = common::ws2s(url, common::kUtf8);
  const Asked asked = Ask(url);
  if (!asked.ok) {
    tell({State::kFailed, "static files", place + ": " + asked.reason, AdviceFor(asked)});
  } else if (asked.body.compare(0, 2, "\x1f\x8b") != 0) {
    tell({State::kFailed, "static files", place + " is no gzip file",
          "correct server/static_root or CSM_STATIC_ROOT"});
  } else {
    tell({State::kGood, "static files", place, {}});
  }
}

void ExamineHistory(const Tell& tell) {
  const std::wstring root = pattern::CSingleton<UrlHelper>::GetInstance()->HistoryRoot();
  const std::wstring url = root +
                           L"/kql?q={%22foo%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22mtime%22:0,"
                           L"%22type%22:%22bfq%22,%22offset%22:0,%22limit%22:1}]}";
  const std::string place = common::ws2s(root, common::kUtf8) + "/kql";
  const Asked asked = Ask(url);
  if (!asked.ok) {
    tell({State::kFailed, "history", place + ": " + asked.reason, AdviceFor(asked)});
    return;
  }
  const auto answer = ErrnoOf(asked.body);
  if (!answer || answer->first != 0) {
    tell({State::kFailed, "history",
          place + (answer ? ": errno " + std::to_string(answer->first) : " gives no JSON object"),
          "correct server/history_root or CSM_HISTORY_ROOT"});
    return;
  }
  tell({State::kGood, "history", place, {}});
}

}  // namespace

stock_host::Finding ExplainErrno(int number, const std::string& message, const std::string& key_id) {
  struct Explanation {
    const char* text;
    const char* advice;
  };
  static constexpr const char* kWrongServer =
      "this server does not know what csm asks; correct its address, or bring both to one version";
  static constexpr const char* kChanged = "something on the way changes requests; ask without that proxy";
  static const std::map<int, Explanation> table{
      {1001, {"the path is unknown", kWrongServer}},
      {1002, {"the method is not allowed", kChanged}},
      {1003, {"the query is malformed", kChanged}},
      {1010, {"a parameter is missing", kWrongServer}},
      {1011, {"a parameter is wrong", kWrongServer}},
      {1014, {"a parameter is repeated", kChanged}},
      {1020, {"the signature did not arrive", kChanged}},
      {1021, {"the server does not know this way of signing", "bring csm and the server to one version"}},
      {1022, {"the signature arrived malformed", kChanged}},
      {1023,
       {"the server does not know the key id",
        "correct key_id in the key file (or CSM_KEY_ID), or have the server's operator add it"}},
      {1024,
       {"the key does not belong to the key id", "copy the key anew into the key file (or CSM_KEY), whole"}},
      {1025, {"signed too long ago by the server's clock", kSetTheClock}},
      {1026, {"signed in the future by the server's clock", kSetTheClock}},
      {1027, {"the request came twice", "something on the way repeats requests; ask without that proxy"}},
      {1099, {"the server failed", "notify the server's operator; the access log there says on what"}},
  };
  if (number == 0) {
    return {State::kGood, "signed request", "accepted with key id " + key_id, {}};
  }
  const auto found = table.find(number);
  const bool is_time = number == 1025 || number == 1026;
  return {
      State::kFailed, "signed request",
      "errno " + std::to_string(number) + ": " +
          (found == table.end() ? (message.empty() ? "not in the protocol" : message) : found->second.text) +
          (number == 1023 || number == 1024 ? " " + key_id : "") +
          (is_time ? ", though csm goes by the Date header of its answers" : ""),
      found == table.end() ? "notify the server's operator" : found->second.advice};
}

bool ExamineServer(const ExaminedServer& server, const Tell& tell) {
  if (!ExamineWay(server, tell)) {
    return false;
  }
  const std::string root = server.url.substr(0, server.url.find_last_not_of('/') + 1);
  const Asked asked = Ask(common::s2ws(root + kProbe, common::kUtf8));
  if (!asked.ok) {
    tell({State::kFailed, asked.failures.security > 0 ? "TLS" : "server", server.url + ": " + asked.reason,
          AdviceFor(asked)});
    return false;
  }
  tell({State::kGood, "server", server.url + " answers in " + Fixed(asked.seconds * 1000, 0) + " ms", {}});
  ExamineSignature(server, tell);
  ExamineClock(server, tell);
  ExamineStaticFiles(tell);
  ExamineHistory(tell);
  return true;
}

}  // namespace cli
