#include "market_server/control.h"

#include <charconv>
#include <stdexcept>

#include "market_server/answer.h"
#include "market_server/clock.h"
#include "market_server/json_writer.h"

namespace market_server {
namespace {

/// The lines of a text that hold anything.
std::vector<std::string> Lines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.empty()) lines.emplace_back(line);
  }
  return lines;
}

std::string OneLine(const http::Request& request) {
  const auto lines = Lines(request.body);
  if (lines.size() != 1) throw std::runtime_error("the body is to be one line");
  return lines.front();
}

double Number(const std::string& text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) {
    throw std::runtime_error("\"" + text + "\" is no number");
  }
  return number;
}

std::string Status(const Server& server) {
  std::string text;
  JsonWriter json(text);
  const Counters counters = server.ReadCounters();
  json.BeginObject();
  json.Member("url", server.url());
  json.Member("clock", server.Now());
  json.Member("date", HttpDate(server.Now()));
  json.Key("faults");
  json.BeginArray();
  for (const std::string& fault : server.ActiveFaults()) json.Value(fault);
  json.EndArray();
  json.Member("connections", counters.connections);
  json.Member("open", counters.open);
  json.Member("refused", counters.refused);
  json.Member("requests", counters.requests);
  json.Member("errors", counters.errors);
  json.Member("faulty", counters.faults);
  json.Member("bytes_sent", counters.bytes_sent);
  json.EndObject();
  text.push_back('\n');
  return text;
}

bool LoopbackName(std::string_view host) {
  const std::string_view name = host.substr(0, host.rfind(':'));
  return name == "127.0.0.1" || name == "localhost";
}

http::Step Text(const std::string& status, const std::string& body) {
  const char* type = status.starts_with("200") ? "application/json" : "text/plain";
  return {http::Step::Kind::kWrite,
          "HTTP/1.1 " + status + "\r\nContent-Type: " + type +
              "; charset=utf-8\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body,
          1,
          {}};
}

}  // namespace

http::Delivery Control::Handle(const http::Request& request) {
  std::string status = "200 OK";
  std::string body;
  const std::string what = request.method + " " + request.path;
  try {
    // A page in a browser can reach loopback too: it names its origin, or comes under a name of its own.
    if (!request.origin.empty() || !LoopbackName(request.host)) {
      status = "403 Forbidden";
    } else if (what == "GET /status") {
      body = Status(server_);
    } else if (what == "PUT /faults") {
      server_.SetFaults(Lines(request.body));
      body = Status(server_);
    } else if (what == "DELETE /faults") {
      server_.SetFaults({});
      body = Status(server_);
    } else if (what == "PUT /clock") {
      server_.SetClock(OneLine(request));
      body = Status(server_);
    } else if (what == "PUT /speed") {
      server_.SetSpeed(Number(OneLine(request)));
      body = Status(server_);
    } else {
      status = "404 Not Found";
    }
  } catch (const std::exception& error) {
    status = "400 Bad Request";
    body = std::string(error.what()) + "\n";
  }
  return {{Text(status, body)}, request.keep_alive};
}

http::Delivery Control::Refuse(unsigned status, const std::string& /*peer*/) {
  return {{Text(std::to_string(status) + " Refused", {})}, false};
}

}  // namespace market_server
