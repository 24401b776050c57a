#include "market_server/faults.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "market_server/clock.h"

namespace market_server {
namespace {

/// Counter-based: equal inputs give equal numbers on every machine.
std::uint64_t Mix(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15U;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
  return x ^ (x >> 31);
}

std::uint64_t HashText(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  return hash;
}

bool ReadNumber(std::string_view text, double& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && std::isfinite(number);
}

/// Takes the text up to the next colon off the front.
std::string_view TakePart(std::string_view& text) {
  const std::size_t colon = text.find(':');
  const std::string_view part = text.substr(0, colon);
  text = colon == std::string_view::npos ? std::string_view{} : text.substr(colon + 1);
  return part;
}

std::string_view Reason(unsigned status) {
  switch (status) {
    case 200:
      return "OK";
    case 204:
      return "No Content";
    case 206:
      return "Partial Content";
    case 301:
      return "Moved Permanently";
    case 302:
      return "Found";
    case 304:
      return "Not Modified";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 411:
      return "Length Required";
    case 413:
      return "Payload Too Large";
    case 429:
      return "Too Many Requests";
    case 431:
      return "Request Header Fields Too Large";
    case 500:
      return "Internal Server Error";
    case 502:
      return "Bad Gateway";
    case 503:
      return "Service Unavailable";
    case 504:
      return "Gateway Timeout";
    default:
      return "Status";
  }
}

}  // namespace

bool MatchesPattern(std::string_view pattern, std::string_view text) {
  std::size_t p = 0;
  std::size_t t = 0;
  std::size_t star = std::string_view::npos;
  std::size_t resume = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = t;
    } else if (p < pattern.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

void FaultRules::Set(const std::vector<std::string>& texts) {
  auto rules = std::make_shared<Rules>();
  for (const std::string& text : texts) {
    std::string_view rest = text;
    const auto refuse = [&text](const std::string& why) {
      return std::runtime_error("fault \"" + text + "\": " + why);
    };
    auto rule = std::make_unique<Rule>();
    rule->text = text;
    const std::string name(TakePart(rest));
    for (const FaultEntry& entry : FaultTable()) {
      if (entry.name == name) rule->entry = &entry;
    }
    if (rule->entry == nullptr) throw refuse("there is no fault of the name \"" + name + "\"");
    const FaultEntry& entry = *rule->entry;

    rule->paths = TakePart(rest);
    if (rule->paths.empty()) rule->paths = "*";
    if (rule->paths.front() != '/' && rule->paths.front() != '*') {
      throw refuse("the endpoint \"" + rule->paths + "\" begins neither with / nor with *");
    }
    if (entry.phase == FaultPhase::kConnect && rule->paths != "*") {
      throw refuse("it concerns connections and knows no endpoint");
    }
    const std::string_view probability = TakePart(rest);
    if (!probability.empty() &&
        (!ReadNumber(probability, rule->probability) || rule->probability < 0 || rule->probability > 1)) {
      throw refuse("the probability is a number from 0 to 1");
    }
    if (entry.name == "refuse" && rule->probability != 1 && rule->probability != 0) {
      throw refuse("it is there or not: the probability is 0 or 1");
    }
    rule->argument = rest.empty() ? std::string(entry.fallback) : std::string(rest);
    double number = 0;
    if (entry.argument == FaultEntry::Argument::kNone && !rest.empty()) throw refuse("it takes no argument");
    if (entry.argument == FaultEntry::Argument::kNumber && !ReadNumber(rule->argument, number)) {
      throw refuse("the argument is a number");
    }
    // A fault counts its own meetings whatever other rules there are: the salt hangs on name and position.
    rule->salt = Mix(seed_ ^ HashText(name) ^ Mix(rules->size()));
    rules->push_back(std::move(rule));
  }
  const std::lock_guard lock(mutex_);
  rules_ = std::move(rules);
}

std::shared_ptr<const FaultRules::Rules> FaultRules::Current() const {
  const std::lock_guard lock(mutex_);
  return rules_;
}

std::vector<std::string> FaultRules::Texts() const {
  const auto rules = Current();
  std::vector<std::string> texts;
  for (const auto& rule : *rules) texts.push_back(rule->text);
  return texts;
}

bool FaultRules::refusing() const {
  const auto rules = Current();
  return std::any_of(rules->begin(), rules->end(),
                     [](const auto& rule) { return rule->entry->name == "refuse" && rule->probability > 0; });
}

http::Welcome FaultRules::OnConnect() const {
  const auto rules = Current();
  for (const auto& rule : *rules) {
    if (rule->entry->phase != FaultPhase::kConnect) continue;
    const std::uint64_t random = Mix(rule->salt + rule->met++);
    if (static_cast<double>(random >> 11) * 0x1p-53 >= rule->probability) continue;
    if (rule->entry->name == "reset_on_connect") return http::Welcome::kReset;
    if (rule->entry->name == "close_on_connect") return http::Welcome::kClose;
    if (rule->entry->name == "silence_on_connect") return http::Welcome::kIgnore;
  }
  return http::Welcome::kServe;
}

FaultRules::Hits FaultRules::Choose(std::string_view path) const {
  const auto rules = Current();
  Hits hits;
  for (const auto& rule : *rules) {
    if (rule->entry->phase == FaultPhase::kConnect || !MatchesPattern(rule->paths, path)) continue;
    const std::uint64_t ordinal = rule->met++;
    const std::uint64_t random = Mix(rule->salt + ordinal);
    if (static_cast<double>(random >> 11) * 0x1p-53 >= rule->probability) continue;
    Hits::Hit hit;
    hit.entry = rule->entry;
    hit.argument = rule->argument;
    hit.call.random = Mix(random);
    hit.call.ordinal = ordinal;
    ReadNumber(hit.argument, hit.call.number);
    hits.hits_.push_back(std::move(hit));
  }
  // The order of the table, so that a delay survives a fault that remakes the wire.
  std::stable_sort(hits.hits_.begin(), hits.hits_.end(),
                   [](const Hits::Hit& a, const Hits::Hit& b) { return a.entry < b.entry; });
  return hits;
}

void FaultRules::Hits::Apply(FaultPhase phase, Exchange& exchange) const {
  for (const Hit& hit : hits_) {
    if (hit.entry->phase != phase) continue;
    FaultCall call = hit.call;
    call.argument = hit.argument;
    hit.entry->act(exchange, call);
    if (!exchange.faults.empty()) exchange.faults += ',';
    exchange.faults += hit.entry->name;
  }
}

void MakeHead(Exchange& exchange, double speed) {
  const unsigned status = exchange.answer.status;
  exchange.status_line = "HTTP/1.1 " + std::to_string(status) + " ";
  exchange.status_line += Reason(status);
  auto& fields = exchange.fields;
  fields.emplace_back("Date", HttpDate(exchange.instant + exchange.date_offset));
  if (speed != 1) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, speed).ptr;
    fields.emplace_back("X-Market-Speed", std::string(text, end));
  }
  const bool has_body = status != 204 && status != 304;
  if (!has_body) exchange.answer.body.clear();
  if (has_body) {
    fields.emplace_back("Content-Type", exchange.answer.content_type);
    fields.emplace_back("Content-Length", std::to_string(exchange.answer.body.size()));
  }
  if (status == 405) fields.emplace_back("Allow", "GET");
  if (!exchange.request.keep_alive) exchange.delivery.keep_alive = false;
  fields.emplace_back("Connection", exchange.delivery.keep_alive ? "keep-alive" : "close");
}

void RenderHead(Exchange& exchange) {
  std::string& head = exchange.head;
  head.reserve(256);
  head = exchange.status_line;
  head += "\r\n";
  for (const auto& [name, value] : exchange.fields) {
    head += name;
    if (!value.empty()) {
      head += ": ";
      head += value;
    }
    head += "\r\n";
  }
  head += "\r\n";
}

http::Delivery MakeDelivery(Exchange& exchange) {
  using http::Step;
  http::Delivery delivery = std::move(exchange.delivery);
  if (delivery.steps.empty()) {
    delivery.steps.push_back({Step::Kind::kWrite, std::move(exchange.head), 1, {}});
    if (!exchange.answer.body.empty()) {
      delivery.steps.push_back({Step::Kind::kWrite, std::move(exchange.answer.body), 1, {}});
    }
  }
  if (exchange.delay.count() > 0) {
    delivery.steps.insert(delivery.steps.begin(), {Step::Kind::kWait, {}, 1, exchange.delay});
  }
  return delivery;
}

}  // namespace market_server
