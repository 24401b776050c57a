#include "json/plain_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "json/budget.h"
#include "json/qt_text.h"

namespace request::json::detail {
namespace {

constexpr std::size_t kDeepest = 1024;
constexpr std::size_t kMostTokens = kMostDocumentMemory / sizeof(Token);
constexpr std::size_t kMostTokensOfStep = 1 + kContents;  // a key and a container

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

const char* SkipDigits(const char* at, const char* end) {
  while (at != end && IsDigit(*at)) {
    ++at;
  }
  return at;
}

// Characters are looked at eight at a time where there are as many, the first in the lowest byte of a word:
// short texts of changing length are passed without a branch for each.
constexpr std::ptrdiff_t kWord = 8;

bool HasWord(const char* at, const char* end) {
  return std::endian::native == std::endian::little && end - at >= kWord;
}

std::uint64_t WordAt(const char* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof(word));
  return word;
}

constexpr std::uint64_t EightTimes(char character) {
  return 0x0101010101010101U * static_cast<unsigned char>(character);
}

constexpr std::uint64_t kTopBits = EightTimes('\x80');

// Sets the top bits of the bytes that are no digits; all other bits are clear.
std::uint64_t MarkOthersThanDigits(std::uint64_t word) {
  const std::uint64_t values = word ^ EightTimes('0');
  return (((values & ~kTopBits) + EightTimes(0x80 - 10)) | values) & kTopBits;
}

// Sets the top bit of the first byte that a string cannot hold as it is, or that is not ASCII. Behind that
// one nothing is certain.
std::uint64_t MarkOthersThanPlain(std::uint64_t word) {
  const auto zeros = [](std::uint64_t bytes) { return bytes - EightTimes(1); };
  return ((word - EightTimes(' ')) | zeros(word ^ EightTimes('"')) | zeros(word ^ EightTimes('\\')) | word) &
         kTopBits;
}

std::ptrdiff_t BytesBeforeMark(std::uint64_t marks) {
  return std::countr_zero(marks) / 8;
}

// The number that eight digits make, whose values the bytes of a word hold.
std::uint64_t NumberOf(std::uint64_t values) {
  values = (values * (1 + (10U << 8U))) >> 8U;
  values = ((values & 0x00FF00FF00FF00FFU) * (1 + (100U << 16U))) >> 16U;
  return ((values & 0x0000FFFF0000FFFFU) * (1 + (std::uint64_t{10000} << 32U))) >> 32U;
}

constexpr std::array<std::uint64_t, kWord + 1> kWholePowersOfTen = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

// Passes digits and appends them to `number`, which wraps.
const char* TakeDigits(const char* at, const char* end, std::uint64_t& number) {
  while (HasWord(at, end)) {
    const std::uint64_t word = WordAt(at);
    const std::ptrdiff_t count = BytesBeforeMark(MarkOthersThanDigits(word));
    if (count == 0) {
      return at;
    }
    const std::uint64_t values = (word ^ EightTimes('0')) << static_cast<unsigned>(8 * (kWord - count));
    number = number * kWholePowersOfTen[static_cast<std::size_t>(count)] + NumberOf(values);
    at += count;
    if (count < kWord) {
      return at;
    }
  }
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

// A number of fewer characters than a word, as most are, that a comma or bracket follows.
struct BriefDecimal {
  std::ptrdiff_t length = 0;  // 0: there is no such number
  std::ptrdiff_t decimals = 0;
  std::uint64_t word = 0;

  BriefDecimal(const char* at, const char* end) {
    if (!HasWord(at, end)) {
      return;
    }
    word = WordAt(at);
    std::uint64_t marks = MarkOthersThanDigits(word);
    const std::ptrdiff_t whole = BytesBeforeMark(marks);
    std::ptrdiff_t stop = whole;
    if (whole < kWord && at[whole] == '.') {
      marks &= marks - 1;
      stop = BytesBeforeMark(marks);
      decimals = stop - whole - 1;
    }
    const bool has_figures = whole > 0 && (whole == 1 || *at != '0') && (stop == whole || decimals > 0);
    if (has_figures && stop < kWord && (at[stop] == ',' || at[stop] == '}' || at[stop] == ']')) {
      length = stop;
    }
  }

  [[nodiscard]] double Number() const {
    const auto bits = [](std::ptrdiff_t bytes) { return static_cast<unsigned>(8 * bytes); };
    std::uint64_t values = (word ^ EightTimes('0')) << bits(kWord - length);  // zeros in front
    if (decimals > 0) {
      // What stands in front of the point moves over it.
      const std::uint64_t behind = ~std::uint64_t{0} << bits(kWord - decimals);
      const std::uint64_t front = (values << 8U) & ~behind;
      values = (values & behind) | front;
    }
    return static_cast<double>(NumberOf(values)) / kPowersOfTen[static_cast<std::size_t>(decimals)];
  }
};

// A number as it is written.
struct Decimal {
  const char* begin = nullptr;
  const char* end = nullptr;
  std::uint64_t digits = 0;  // all of them as one number, which wraps
  std::ptrdiff_t count = 0;
  std::ptrdiff_t decimals = 0;
  bool negative = false;
  bool has_exponent = false;

  // Any parser reads it as the same double.
  [[nodiscard]] bool IsShort() const { return count <= kExactDigits && !has_exponent; }
};

// Passes one number. False for what is none.
inline bool PassDecimal(const char*& at, const char* end, Decimal& decimal) {
  decimal.begin = at;
  decimal.negative = at != end && *at == '-';
  const char* const whole = decimal.negative ? at + 1 : at;
  at = TakeDigits(whole, end, decimal.digits);
  if (at == whole || (at - whole > 1 && *whole == '0')) {
    return false;
  }
  decimal.count = at - whole;
  if (at != end && *at == '.') {
    const char* const fraction = ++at;
    at = TakeDigits(fraction, end, decimal.digits);
    if (at == fraction) {
      return false;
    }
    decimal.decimals = at - fraction;
    decimal.count += decimal.decimals;
  }
  if (at != end && (*at == 'e' || *at == 'E')) {
    decimal.has_exponent = true;
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
  decimal.end = at;
  return true;
}

// False for a number that Qt's parser might read otherwise. No number is a negative zero.
inline bool Convert(const Decimal& decimal, double& number) {
  if (decimal.IsShort()) {
    const double magnitude =
        static_cast<double>(decimal.digits) / kPowersOfTen[static_cast<std::size_t>(decimal.decimals)];
    number = (decimal.negative ? -magnitude : magnitude) + 0.0;
    return true;
  }
  const auto [stop, error] = std::from_chars(decimal.begin, decimal.end, number);
  if (error != std::errc() || stop != decimal.end) {
    return false;
  }
  if (number != 0 && std::fabs(number) < std::numeric_limits<double>::min()) {
    return false;
  }
  number += 0.0;
  return true;
}

// Passes one number. False for what is none, and for one that Qt's parser might read otherwise.
bool PassNumber(const char*& at, const char* end, double& number) {
  if (const BriefDecimal brief(at, end); brief.length > 0) {
    at += brief.length;
    number = brief.Number();
    return true;
  }
  Decimal decimal;
  return PassDecimal(at, end, decimal) && Convert(decimal, number);
}

class Reader {
 public:
  /// `tokens` has room for some.
  Reader(std::string_view text, std::vector<Token>& tokens)
      : begin_(text.data()),
        at_(text.data()),
        end_(text.data() + text.size()),
        tokens_(tokens),
        next_token_(tokens.data()) {}

  bool Read() {
    SkipBlanks();
    if (at_ == end_ || !BeginsContainer(*at_) || !Open()) {
      return false;
    }
    while (!open_.empty()) {
      if (!Step()) {
        return false;
      }
    }
    SkipBlanks();
    tokens_.resize(CountTokens());
    return at_ == end_;
  }

 private:
  struct Container {
    std::size_t token;
    Token count;
    bool is_object;
  };

  // Reads one element or member of the innermost container, or its end.
  bool Step() {
    Container& container = open_.back();
    SkipBlanks();
    if (at_ == end_) {
      return false;
    }
    if (*at_ == (container.is_object ? '}' : ']')) {
      return Close();
    }
    if (container.count > 0) {
      if (*at_ != ',') {
        return false;
      }
      ++at_;
      SkipBlanks();
    }
    ++container.count;
    MakeRoom();
    return (!container.is_object || Key()) && at_ != end_ && AnyValue();
  }

  // Passes a key without escapes and the colon.
  bool Key() {
    if (end_ - at_ < 2 || *at_ != '"' || at_[1] == kRepeatedKeyMark ||
        (at_[1] == kByteOrderMark.front() && Rest(1).starts_with(kByteOrderMark))) {
      return false;
    }
    AddToken();
    ++at_;
    if (!Characters() || *at_ != '"') {
      return false;
    }
    ++at_;
    SkipBlanks();
    if (at_ == end_ || *at_ != ':') {
      return false;
    }
    ++at_;
    SkipBlanks();
    return true;
  }

  bool AnyValue() {
    switch (*at_) {
      case '{':
      case '[':
        return Open();
      case '"':
        return String();
      case 'n':
        return Word("null");
      case 't':
        return Word("true");
      case 'f':
        return Word("false");
      default:
        return Number();
    }
  }

  bool Open() {
    if (open_.size() == kDeepest) {
      return false;
    }
    open_.push_back({CountTokens(), 0, *at_ == '{'});
    AddToken();
    next_token_ += kContents - 1;
    ++at_;
    return true;
  }

  bool Close() {
    const Container& container = open_.back();
    tokens_[container.token + kExtent] = static_cast<Token>(CountTokens() - container.token);
    tokens_[container.token + kCount] = container.count;
    open_.pop_back();
    ++at_;
    return true;
  }

  bool Word(std::string_view word) {
    if (!Rest(0).starts_with(word)) {
      return false;
    }
    AddToken();
    at_ += word.size();
    return true;
  }

  bool Number() {
    AddToken();
    if (const BriefDecimal brief(at_, end_); brief.length > 0) {
      at_ += brief.length;
      return true;
    }
    Decimal decimal;
    double number = 0;
    return PassDecimal(at_, end_, decimal) && (decimal.IsShort() || Convert(decimal, number));
  }

  bool String() {
    AddToken();
    ++at_;
    while (Characters()) {
      if (*at_ == '"') {
        ++at_;
        return true;
      }
      if (!Escape()) {
        return false;
      }
    }
    return false;
  }

  void AddToken() { *next_token_++ = static_cast<Token>(at_ - begin_); }

  [[nodiscard]] std::size_t CountTokens() const {
    return static_cast<std::size_t>(next_token_ - tokens_.data());
  }

  // For the tokens of one element or member. They grow as far as a document may.
  void MakeRoom() {
    const std::size_t count = CountTokens();
    if (tokens_.size() - count >= kMostTokensOfStep) {
      return;
    }
    if (tokens_.size() >= kMostTokens) {
      throw TooMuchMemory();
    }
    tokens_.resize(std::min(2 * tokens_.size(), kMostTokens));
    next_token_ = tokens_.data() + count;
  }

  // Passes characters of a string up to a quote or an escape. False for the end and for what no string holds.
  bool Characters() {
    for (;;) {
      if (HasWord(at_, end_)) {
        const std::ptrdiff_t plain = BytesBeforeMark(MarkOthersThanPlain(WordAt(at_)));
        at_ += plain;
        if (plain == kWord) {
          continue;
        }
      }
      if (at_ == end_) {
        return false;
      }
      const auto byte = static_cast<unsigned char>(*at_);
      if (byte >= 0x80) {
        if (!Multibyte()) {
          return false;
        }
      } else if (byte < 0x20 || byte == '"' || byte == '\\') {
        return byte >= 0x20;
      } else {
        ++at_;
      }
    }
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
    if (EscapedUnit(at_, end_) < 0) {
      return false;
    }
    return !IsSurrogate(PassEscape(at_, end_));
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

  // What stands so many bytes on, of which there are as many.
  [[nodiscard]] std::string_view Rest(std::ptrdiff_t bytes) const {
    return {at_ + bytes, static_cast<std::size_t>(end_ - at_ - bytes)};
  }

  void SkipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\t' || *at_ == '\r')) {
      ++at_;
    }
  }

  const char* begin_;
  const char* at_;
  const char* end_;
  std::vector<Token>& tokens_;
  Token* next_token_;
  std::vector<Container> open_;  // around the present place
};

// How many tokens a text will come to, by the marks in its first part: answers repeat the same rows. A guess
// that is too small costs growth, which copies all tokens.
std::size_t ExpectedTokens(std::string_view text) {
  constexpr std::size_t kSampleBytes = 32 * 1024;
  const std::string_view sample = text.substr(0, kSampleBytes);
  std::size_t tokens = 0;
  for (const char character : sample) {
    if (BeginsContainer(character)) {
      tokens += kContents;
    } else if (character == ',' || character == ':') {
      ++tokens;
    }
  }
  const double all = static_cast<double>(tokens) * static_cast<double>(text.size()) /
                     static_cast<double>(std::max(sample.size(), std::size_t{1}));
  return static_cast<std::size_t>(all * 1.05) + 2 * kMostTokensOfStep;
}

}  // namespace

bool ReadPlain(std::string_view text, std::vector<Token>& tokens) {
  tokens.resize(std::min(ExpectedTokens(text), kMostTokens));
  return Reader(text, tokens).Read();
}

double PlainNumberAt(std::string_view text) {
  const char* at = text.data();
  double number = 0;
  static_cast<void>(PassNumber(at, at + text.size(), number));  // as it was passed before
  return number;
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
