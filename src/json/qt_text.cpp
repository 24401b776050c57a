// A scanner that goes at least as far as any JSON parser would: it knows strings, brackets and colons, and
// lets everything else pass. What is no JSON is for the parser to find; where brackets do not match, both
// stop.
#include "json/qt_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace request::json {
namespace {

// The parser gives up on deeper texts.
constexpr std::size_t kDeepest = 1024;

// The bytes of a key in one form, whichever way its characters are written.
class KeyBytes {
 public:
  explicit KeyBytes(std::string_view raw) : at_(raw.data()), end_(raw.data() + raw.size()) {}

  // The next byte; 0 at the end, and for a NUL: the parser takes some keys for equal that differ behind one
  // only.
  unsigned char Next() {
    if (next_ == held_) {
      if (at_ == end_) {
        return 0;
      }
      if (*at_ != '\\') {
        return static_cast<unsigned char>(*at_++);
      }
      held_ = WriteUtf8(PassEscape(at_, end_), bytes_.data());
      next_ = 0;
    }
    return static_cast<unsigned char>(bytes_[next_++]);
  }

 private:
  const char* at_;
  const char* end_;
  std::array<char, 4> bytes_{};  // of the present escape sequence
  std::size_t held_ = 0;
  std::size_t next_ = 0;
};

// Negative, 0 or positive, by the bytes.
int Compare(std::string_view left, std::string_view right) {
  KeyBytes of_left(left);
  KeyBytes of_right(right);
  for (;;) {
    const int byte = of_left.Next();
    const int difference = byte - of_right.Next();
    if (difference != 0 || byte == 0) {
      return difference;
    }
  }
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  TextScan Run() {
    while (at_ < text_.size() && Step()) {
    }
    while (!levels_.empty()) {
      Close();
    }
    std::sort(scan_.repeated_keys.begin(), scan_.repeated_keys.end());
    scan_.parser_bytes += largest_;
    return std::move(scan_);
  }

 private:
  // A key as it is written.
  struct RawKey {
    std::uint32_t begin;
    std::uint32_t length;
  };

  struct Level {
    bool is_object;
    bool has_key = false;   // the present member's key has been read
    std::size_t first_key;  // in keys_
    std::size_t entries = 0;
    std::size_t string_bytes = 0;  // that the parser makes of the strings
  };

  // There is room for an element, or for a key and its value.
  static void Entry(Level& level) { level.entries += level.is_object ? std::size_t{2} : std::size_t{1}; }

  // False when nothing behind this place can matter.
  bool Step() {
    const char character = text_[at_];
    switch (character) {
      case '"':
        return String();
      case '{':
      case '[':
        if (levels_.size() == kDeepest) {
          return false;
        }
        ++scan_.containers;
        levels_.push_back({.is_object = character == '{', .first_key = keys_.size()});
        Entry(levels_.back());
        break;
      case '}':
      case ']':
        if (levels_.empty() || levels_.back().is_object != (character == '}')) {
          return false;
        }
        Close();
        break;
      case ',':
        if (!levels_.empty()) {
          levels_.back().has_key = false;
          Entry(levels_.back());
        }
        break;
      default:
        break;
    }
    ++at_;
    return true;
  }

  bool String() {
    const std::size_t begin = ++at_;
    bool escaped = false;
    for (;; ++at_) {
      if (at_ >= text_.size()) {
        break;
      }
      if (text_[at_] == '"') {
        break;
      }
      if (text_[at_] == '\\') {
        escaped = true;
        ++at_;
      }
    }
    const std::size_t length = std::min(at_, text_.size()) - begin;
    if (!levels_.empty()) {
      CountString(levels_.back(), length, escaped);
    }
    if (at_ >= text_.size()) {
      return false;
    }
    ++at_;
    if (!levels_.empty() && levels_.back().is_object && !std::exchange(levels_.back().has_key, true)) {
      Key({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(length)});
    }
    return true;
  }

  void CountString(Level& level, std::size_t length, bool escaped) {
    constexpr std::size_t kHead = 8;  // its length, and what aligns the next one
    scan_.string_bytes += length;
    level.string_bytes += kHead + (escaped ? 2 * length : length);  // those with escapes in UTF-16
  }

  void Key(RawKey key) {
    if (KeyBytes(Written(key)).Next() == static_cast<unsigned char>(kRepeatedKeyMark)) {
      // Renamed as well, or it could be the new name of another key.
      scan_.repeated_keys.push_back(key.begin);
    } else {
      keys_.push_back(key);
    }
  }

  // Ends the innermost container.
  void Close() {
    const Level& level = levels_.back();
    // Measured: the container itself and the heads of its two arrays, entries of 16 bytes, and the strings;
    // arrays double as they grow, and only one of all is being copied at a time.
    constexpr std::size_t kContainer = 176;
    constexpr std::size_t kEntry = 16;
    const std::size_t contents = kEntry * level.entries + level.string_bytes;
    scan_.entries += level.entries;
    scan_.parser_bytes += kContainer + 2 * contents;
    largest_ = std::max(largest_, 2 * contents);

    // Of equal keys the last one stays as it is. Sorted, not hashed: no server can choose keys that cost
    // more.
    const auto first = keys_.begin() + static_cast<std::ptrdiff_t>(level.first_key);
    std::sort(first, keys_.end(), [this](const RawKey& left, const RawKey& right) {
      const int order = Compare(Written(left), Written(right));
      return order != 0 ? order < 0 : left.begin < right.begin;
    });
    for (auto key = first; key != keys_.end(); ++key) {
      if (key + 1 != keys_.end() && Compare(Written(*key), Written(key[1])) == 0) {
        scan_.repeated_keys.push_back(key->begin);
      }
    }
    keys_.erase(first, keys_.end());
    levels_.pop_back();
  }

  [[nodiscard]] std::string_view Written(const RawKey& key) const {
    return text_.substr(key.begin, key.length);
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<Level> levels_;
  std::vector<RawKey> keys_;  // of the open objects, those of the innermost last
  std::size_t largest_ = 0;   // that the parser may hold twice for a moment
  TextScan scan_;
};

// The mark of a renamed key.
class Mark {
 public:
  explicit Mark(std::size_t number) {
    text_.front() = kRepeatedKeyMark;
    char* const end = std::to_chars(text_.data() + 1, text_.data() + text_.size(), number).ptr;
    *end = kRepeatedKeyMark;
    size_ = static_cast<std::size_t>(end + 1 - text_.data());
  }

  [[nodiscard]] std::string_view Text() const { return {text_.data(), size_}; }

 private:
  std::array<char, 24> text_{};
  std::size_t size_ = 0;
};

int HexDigit(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

std::size_t WriteUtf8(std::uint32_t code, char* out) {
  const auto byte = [](std::uint32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); };
  const auto rest = [&byte, code](unsigned shift) { return byte(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    out[0] = byte(code);
    return 1;
  }
  if (code < 0x800) {
    out[0] = byte(0xC0 | (code >> 6));
    out[1] = rest(0);
    return 2;
  }
  if (code < 0x10000) {
    out[0] = byte(0xE0 | (code >> 12));
    out[1] = rest(6);
    out[2] = rest(0);
    return 3;
  }
  out[0] = byte(0xF0 | (code >> 18));
  out[1] = rest(12);
  out[2] = rest(6);
  out[3] = rest(0);
  return 4;
}

int EscapedUnit(const char* at, const char* end) {
  if (end - at < 6 || at[0] != '\\' || at[1] != 'u') {
    return -1;
  }
  int unit = 0;
  for (int place = 2; place < 6; ++place) {
    const int digit = HexDigit(at[place]);
    if (digit < 0) {
      return -1;
    }
    unit = unit * 16 + digit;
  }
  return unit;
}

std::uint32_t PassEscape(const char*& at, const char* end) {
  if (const int unit = EscapedUnit(at, end); unit >= 0) {
    at += 6;
    const int low = unit >= 0xD800 && unit < 0xDC00 ? EscapedUnit(at, end) : -1;
    if (low < 0xDC00 || low >= 0xE000) {
      return static_cast<std::uint32_t>(unit);
    }
    at += 6;
    return static_cast<std::uint32_t>(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
  }
  if (++at == end) {
    return '\\';
  }
  switch (const char escape = *at++) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return static_cast<unsigned char>(escape);
  }
}

TextScan Scan(std::string_view text) {
  return Scanner(text).Run();
}

std::string SetApart(std::string_view text, const TextScan& scan) {
  std::string out;
  out.reserve(SizeSetApart(text, scan));
  std::size_t copied = 0;
  for (std::size_t number = 0; number < scan.repeated_keys.size(); ++number) {
    const std::size_t position = scan.repeated_keys[number];
    out.append(text, copied, position - copied);
    out += Mark(number).Text();
    copied = position;
  }
  out.append(text, copied);
  return out;
}

std::size_t SizeSetApart(std::string_view text, const TextScan& scan) {
  std::size_t size = text.size();
  for (std::size_t number = 0; number < scan.repeated_keys.size(); ++number) {
    size += Mark(number).Text().size();
  }
  return size;
}

}  // namespace request::json
