#include "request/plain_json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "request/json_text.h"

namespace request::json::detail {
namespace {

constexpr std::size_t kDeepest = 1024;

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

int HexDigit(char character) {
  if (IsDigit(character)) {
    return character - '0';
  }
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

const char* SkipDigits(const char* at, const char* end) {
  while (at != end && IsDigit(*at)) {
    ++at;
  }
  return at;
}

// Passes digits and appends them to `number`, which wraps.
const char* TakeDigits(const char* at, const char* end, std::uint64_t& number) {
  while (at != end && IsDigit(*at)) {
    number = number * 10 + static_cast<std::uint64_t>(*at - '0');
    ++at;
  }
  return at;
}

// Digits that a double holds exactly, and the powers of ten up to as many of them, which it holds as well:
// the quotient of two such numbers is the double nearest to the decimal.
constexpr std::ptrdiff_t kExactDigits = 15;
constexpr std::array<double, kExactDigits + 1> kPowersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                               1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Passes one number. False for what is none, and for one that Qt's parser might read otherwise.
bool PassNumber(const char*& at, const char* end, double& number) {
  const char* const start = at;
  const bool negative = at != end && *at == '-';
  const char* const whole = negative ? at + 1 : at;
  std::uint64_t digits = 0;
  at = TakeDigits(whole, end, digits);
  if (at == whole || (at - whole > 1 && *whole == '0')) {
    return false;
  }
  std::ptrdiff_t count = at - whole;
  std::ptrdiff_t decimals = 0;
  if (at != end && *at == '.') {
    const char* const fraction = ++at;
    at = TakeDigits(fraction, end, digits);
    if (at == fraction) {
      return false;
    }
    decimals = at - fraction;
    count += decimals;
  }
  if (count <= kExactDigits && (at == end || (*at != 'e' && *at != 'E'))) {
    const double magnitude = static_cast<double>(digits) / kPowersOfTen[static_cast<std::size_t>(decimals)];
    number = (negative ? -magnitude : magnitude) + 0.0;  // no negative zero
    return true;
  }
  if (at != end && (*at == 'e' || *at == 'E')) {
    ++at;
    if (at != end && (*at == '+' || *at == '-')) {
      ++at;
    }
    const char* const exponent = at;
    at = SkipDigits(exponent, end);
    if (at == exponent) {
      return false;
    }
  }
  const auto [stop, error] = std::from_chars(start, at, number);
  if (error != std::errc() || stop != at) {
    return false;
  }
  if (number != 0 && std::fabs(number) < std::numeric_limits<double>::min()) {
    return false;
  }
  number += 0.0;  // no negative zero
  return true;
}

class Reader {
 public:
  Reader(std::string_view text, std::vector<Node>& nodes)
      : begin_(text.data()), at_(text.data()), end_(text.data() + text.size()), nodes_(nodes) {}

  bool Read() {
    SkipBlanks();
    if (at_ == end_ || (*at_ != '{' && *at_ != '[')) {
      return false;
    }
    if (!Open()) {
      return false;
    }
    while (!open_.empty()) {
      if (!Step()) {
        return false;
      }
    }
    SkipBlanks();
    return at_ == end_;
  }

 private:
  // Reads one element or member of the innermost container, or its end.
  bool Step() {
    Node& container = nodes_[open_.back()];
    const bool is_object = container.kind == Kind::kObject;
    SkipBlanks();
    if (at_ == end_) {
      return false;
    }
    if (*at_ == (is_object ? '}' : ']')) {
      // Behind a comma an end is no JSON.
      return !after_comma_ && Close();
    }
    if (container.count > 0 && !after_comma_) {
      if (*at_ != ',') {
        return false;
      }
      ++at_;
      after_comma_ = true;
      return true;
    }
    after_comma_ = false;
    ++container.count;
    return (!is_object || Key()) && AnyValue();
  }

  bool Key() {
    if (end_ - at_ < 2 || *at_ != '"' || at_[1] == kRepeatedKeyMark || !String() || nodes_.back().escaped) {
      return false;
    }
    SkipBlanks();
    if (at_ == end_ || *at_ != ':') {
      return false;
    }
    ++at_;
    SkipBlanks();
    return at_ != end_;
  }

  bool AnyValue() {
    switch (*at_) {
      case '{':
      case '[':
        return Open();
      case '"':
        return String();
      case 'n':
        return Word("null", Kind::kNull);
      case 't':
        return Word("true", Kind::kTrue);
      case 'f':
        return Word("false", Kind::kFalse);
      default:
        return Number();
    }
  }

  bool Open() {
    if (open_.size() == kDeepest) {
      return false;
    }
    open_.push_back(static_cast<std::uint32_t>(nodes_.size()));
    Node& node = nodes_.emplace_back();
    node.kind = *at_ == '{' ? Kind::kObject : Kind::kArray;
    node.count = 0;
    ++at_;
    return true;
  }

  bool Close() {
    nodes_[open_.back()].extent = static_cast<std::uint32_t>(nodes_.size()) - open_.back();
    open_.pop_back();
    ++at_;
    return true;
  }

  bool Word(std::string_view word, Kind kind) {
    if (std::string_view(at_, static_cast<std::size_t>(end_ - at_)).substr(0, word.size()) != word) {
      return false;
    }
    at_ += word.size();
    nodes_.emplace_back().kind = kind;
    return true;
  }

  bool Number() {
    double number = 0;
    if (!PassNumber(at_, end_, number)) {
      return false;
    }
    Node& node = nodes_.emplace_back();
    node.kind = Kind::kNumber;
    node.number = number;
    return true;
  }

  bool String() {
    const char* const start = ++at_;
    bool escaped = false;
    for (;;) {
      if (at_ == end_) {
        return false;
      }
      const auto byte = static_cast<unsigned char>(*at_);
      if (byte == '"') {
        break;
      }
      if (byte < 0x20) {
        return false;
      }
      if (byte == '\\') {
        escaped = true;
        if (!Escape()) {
          return false;
        }
      } else if (byte < 0x80) {
        ++at_;
      } else if (!Multibyte()) {
        return false;
      }
    }
    Node& node = nodes_.emplace_back();
    node.kind = Kind::kString;
    node.escaped = escaped;
    node.text = {static_cast<std::uint32_t>(start - begin_), static_cast<std::uint32_t>(at_ - start)};
    ++at_;
    return true;
  }

  bool Escape() {
    if (end_ - at_ < 2) {
      return false;
    }
    if (at_[1] != 'u') {
      if (std::strchr("\"\\/bfnrt", at_[1]) == nullptr || at_[1] == '\0') {
        return false;
      }
      at_ += 2;
      return true;
    }
    const int code = CodeUnit();
    if (code < 0 || (code >= 0xDC00 && code < 0xE000)) {
      return false;
    }
    if (code >= 0xD800 && code < 0xDC00) {
      const int low = CodeUnit();
      return low >= 0xDC00 && low < 0xE000;
    }
    return true;
  }

  // Passes "\uXXXX"; its code unit, or -1.
  int CodeUnit() {
    if (end_ - at_ < 6 || at_[0] != '\\' || at_[1] != 'u') {
      return -1;
    }
    int code = 0;
    for (int place = 2; place < 6; ++place) {
      const int digit = HexDigit(at_[place]);
      if (digit < 0) {
        return -1;
      }
      code = code * 16 + digit;
    }
    at_ += 6;
    return code;
  }

  // Passes one well-formed UTF-8 sequence of two to four bytes.
  bool Multibyte() {
    const auto byte = [this](int place) { return static_cast<unsigned char>(at_[place]); };
    const unsigned char lead = byte(0);
    const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || end_ - at_ < length) {
      return false;
    }
    for (int place = 1; place < length; ++place) {
      if ((byte(place) & 0xC0) != 0x80) {
        return false;
      }
    }
    const unsigned char second = byte(1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
      return false;
    }
    at_ += length;
    return true;
  }

  void SkipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\t' || *at_ == '\r')) {
      ++at_;
    }
  }

  const char* begin_;
  const char* at_;
  const char* end_;
  std::vector<Node>& nodes_;
  std::vector<std::uint32_t> open_;  // containers around the present place
  bool after_comma_ = false;
};

// How many nodes a text will come to, by the marks in its first part: answers repeat the same rows. A guess
// that is too small costs growth, which copies all nodes.
std::size_t ExpectedNodes(std::string_view text) {
  constexpr std::size_t kSampleBytes = 32 * 1024;
  const std::string_view sample = text.substr(0, kSampleBytes);
  if (sample.empty()) {
    return 1;
  }
  const auto marks = static_cast<std::size_t>(std::count_if(
      sample.begin(), sample.end(), [](char c) { return c == ',' || c == ':' || c == '{' || c == '['; }));
  const double all =
      static_cast<double>(marks) * static_cast<double>(text.size()) / static_cast<double>(sample.size());
  return static_cast<std::size_t>(all * 1.05) + 8;
}

}  // namespace

bool ReadPlain(std::string_view text, std::vector<Node>& nodes) {
  if (text.size() >= std::numeric_limits<std::uint32_t>::max()) {
    return false;
  }
  nodes.reserve(ExpectedNodes(text));
  return Reader(text, nodes).Read();
}

bool ReadPlainNumbers(std::string_view text, std::span<double> numbers) {
  const char* at = text.data();
  const char* const end = at + text.size();
  if (at == end || *at != '[') {
    return false;
  }
  ++at;
  for (std::size_t place = 0; place < numbers.size(); ++place) {
    if (!PassNumber(at, end, numbers[place]) || at == end ||
        *at != (place + 1 < numbers.size() ? ',' : ']')) {
      return false;
    }
    ++at;
  }
  return at == end;
}

}  // namespace request::json::detail
