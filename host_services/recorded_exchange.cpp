#include "recorded_exchange.h"

#include <fcntl.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <map>
#include <utility>

#include "signing.h"

namespace stock_host {
namespace {

constexpr std::string_view kTitle = "csm-record 1\n";
constexpr std::string_view kEntry = "entry";
constexpr std::size_t kLargestHead = 1U << 20;
constexpr std::size_t kLargestBody = 128U << 20;
constexpr std::size_t kLongestFrame = 64;

constexpr std::array<std::pair<HttpError, std::string_view>, 9> kOutcomes{{
    {HttpError::kNone, "good"},
    {HttpError::kInvalid, "invalid"},
    {HttpError::kConnection, "connection"},
    {HttpError::kSecurity, "security"},
    {HttpError::kTimeout, "timeout"},
    {HttpError::kIncomplete, "incomplete"},
    {HttpError::kStatus, "status"},
    {HttpError::kTooLarge, "too-large"},
    {HttpError::kStopped, "stopped"},
}};

std::string_view OutcomeName(HttpError error) {
  const auto* const found = std::find_if(kOutcomes.begin(), kOutcomes.end(),
                                         [error](const auto& entry) { return entry.first == error; });
  return found == kOutcomes.end() ? "incomplete" : found->second;
}

unsigned long Sum(std::string_view head, std::string_view body) {
  unsigned long sum = crc32_z(0, nullptr, 0);
  for (const std::string_view bytes : {head, body}) {
    if (!bytes.empty()) {  // without bytes the library begins anew
      sum = crc32_z(sum, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
  }
  return sum;
}

// A line end inside a value would begin another line.
std::string Line(std::string_view name, std::string value) {
  std::replace_if(
      value.begin(), value.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
  return std::string(name) + " " + value + "\n";
}

std::string Frame(const std::string& head, std::string_view body) {
  std::string entry = std::string(kEntry) + " " + std::to_string(head.size()) + " " +
                      std::to_string(body.size()) + " " + std::to_string(Sum(head, body)) + "\n";
  entry += head;
  entry += body;
  entry += '\n';
  return entry;
}

template <class Number>
bool ToNumber(std::string_view text, Number& number) {
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && rest == text.data() + text.size();
}

// The text up to the next `end`, which is taken away with it.
std::string_view Cut(std::string_view& text, char end) {
  const std::size_t at = std::min(text.find(end), text.size());
  const std::string_view piece = text.substr(0, at);
  text.remove_prefix(std::min(at + 1, text.size()));
  return piece;
}

// Without the parameters of a signature.
std::string WithoutSignature(std::string_view url) {
  const std::size_t question = url.find('?');
  if (question == std::string_view::npos) {
    return std::string(url);
  }
  std::string text(url.substr(0, question));
  char mark = '?';
  for (std::string_view rest = url.substr(question + 1); !rest.empty();) {
    const std::string_view pair = Cut(rest, '&');
    if (!IsSigningParameter(pair.substr(0, pair.find('=')))) {
      text += mark;
      text += pair;
      mark = '&';
    }
  }
  return text;
}

}  // namespace

std::string RequestText(const Addresses& addresses, std::string_view url) {
  const std::string endpoint = EndpointOf(addresses, url);
  if (endpoint == "static") {
    return "static/" + WithoutSignature(url.substr(addresses.static_root.size()));
  }
  if (endpoint == "history") {
    return "history" + WithoutSignature(url.substr(addresses.history_root.size()));
  }
  return WithoutSignature(endpoint == "other" ? url : url.substr(addresses.ApiRoot().size()));
}

std::string RecordFile(const std::string& directory) {
  return directory + "/exchanges.csm";
}

std::string_view RecordTitle() {
  return kTitle;
}

std::string EncodeStart(std::int64_t time) {
  return Frame(Line("start", std::to_string(time)), {});
}

std::string Encode(const RecordedExchange& exchange) {
  std::string head = Line("asked", std::to_string(exchange.asked)) +
                     Line("duration", std::to_string(exchange.duration)) +
                     Line("endpoint", exchange.endpoint) + Line("request", exchange.request) +
                     Line("limit", std::to_string(exchange.limit)) +
                     Line("outcome", std::string(OutcomeName(exchange.answer.error))) +
                     Line("status", std::to_string(exchange.answer.status));
  if (!exchange.answer.reason.empty()) {
    head += Line("reason", exchange.answer.reason);
  }
  if (exchange.date >= 0) {
    head += Line("date", std::to_string(exchange.date));
  }
  if (!exchange.speed.empty()) {
    head += Line("speed", exchange.speed);
  }
  return Frame(head, exchange.answer.body);
}

std::unique_ptr<RecordReader> RecordReader::Open(const std::string& directory, std::string& error) {
  const std::string path = RecordFile(directory);
  Descriptor file = OpenFile(path, O_RDONLY);
  if (!file.good()) {
    error = "there is no record in \"" + directory + "\": " + SystemText(errno);
    return nullptr;
  }
  std::string title;
  if (!ReadAt(file.get(), 0, kTitle.size(), title) || title != kTitle) {
    error = "\"" + path + "\" is no record";
    return nullptr;
  }
  std::unique_ptr<RecordReader> reader(new RecordReader(std::move(file)));
  reader->good_until_ = static_cast<std::int64_t>(kTitle.size());
  return reader;
}

bool RecordReader::TakeHead(std::string_view head) {
  std::map<std::string_view, std::string_view> values;
  while (!head.empty()) {
    std::string_view line = Cut(head, '\n');
    const std::string_view name = Cut(line, ' ');
    values.emplace(name, line);
  }
  is_start_ = values.contains("start");
  if (is_start_) {
    return ToNumber(values["start"], start_);
  }
  exchange_ = RecordedExchange();
  exchange_.endpoint = values["endpoint"];
  exchange_.request = values["request"];
  exchange_.speed = values["speed"];
  exchange_.answer.reason = values["reason"];
  const auto* const outcome = std::find_if(kOutcomes.begin(), kOutcomes.end(), [&](const auto& entry) {
    return entry.second == values["outcome"];
  });
  if (outcome == kOutcomes.end()) {
    return false;
  }
  exchange_.answer.error = outcome->first;
  return !exchange_.request.empty() && ToNumber(values["asked"], exchange_.asked) &&
         ToNumber(values["duration"], exchange_.duration) && exchange_.duration >= 0 &&
         ToNumber(values["limit"], exchange_.limit) && ToNumber(values["status"], exchange_.answer.status) &&
         (!values.contains("date") || ToNumber(values["date"], exchange_.date));
}

RecordReader::Found RecordReader::Next() {
  std::string frame;
  if (!ReadUpTo(file_.get(), good_until_, kLongestFrame + 1, frame) || frame.empty()) {
    return Found::kEnd;
  }
  const std::size_t frame_end = frame.find('\n');
  if (frame_end == std::string::npos) {
    return frame.size() > kLongestFrame ? Found::kLost : Found::kTorn;
  }
  std::string_view rest = std::string_view(frame).substr(0, frame_end);
  std::size_t head_size = 0;
  std::size_t body_size = 0;
  unsigned long sum = 0;
  if (Cut(rest, ' ') != kEntry || !ToNumber(Cut(rest, ' '), head_size) ||
      !ToNumber(Cut(rest, ' '), body_size) || !ToNumber(rest, sum) || head_size > kLargestHead ||
      body_size > kLargestBody) {
    return Found::kLost;
  }
  const std::int64_t head_at = good_until_ + static_cast<std::int64_t>(frame_end + 1);
  const std::int64_t body_at = head_at + static_cast<std::int64_t>(head_size);
  std::string entry;
  if (!ReadAt(file_.get(), head_at, head_size + body_size + 1, entry)) {
    return Found::kTorn;
  }
  if (entry.back() != '\n') {
    return Found::kLost;
  }
  const std::string_view head = std::string_view(entry).substr(0, head_size);
  const std::string_view body = std::string_view(entry).substr(head_size, body_size);
  good_until_ = body_at + static_cast<std::int64_t>(body_size) + 1;
  if (Sum(head, body) != sum || !TakeHead(head)) {
    return Found::kDamaged;
  }
  body_at_ = body_at;
  body_size_ = body_size;
  return is_start_ ? Found::kStart : Found::kExchange;
}

}  // namespace stock_host
