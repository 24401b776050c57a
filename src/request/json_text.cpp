// A scanner that goes at least as far as any JSON parser would: it knows strings, brackets and colons, and
// lets everything else pass. What is no JSON is for the parser to find; where brackets do not match, both
// stop.
#include "request/json_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace request::json {
namespace {

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

// The parser gives up on deeper texts.
constexpr std::size_t kDeepest = 1024;

void AppendUtf8(std::string& out, std::uint32_t code) {
  const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

bool ReadHex4(std::string_view text, std::size_t at, std::uint32_t& code) {
  if (at + 4 > text.size()) {
    return false;
  }
  code = 0;
  for (const char character : text.substr(at, 4)) {
    std::uint32_t digit = 0;
    if (character >= '0' && character <= '9') {
      digit = static_cast<std::uint32_t>(character - '0');
    } else if (character >= 'a' && character <= 'f') {
      digit = static_cast<std::uint32_t>(character - 'a') + 10;
    } else if (character >= 'A' && character <= 'F') {
      digit = static_cast<std::uint32_t>(character - 'A') + 10;
    } else {
      return false;
    }
    code = code * 16 + digit;
  }
  return true;
}

// The text that a string stands for, in one form whichever way its characters are written.
std::string Unescaped(std::string_view raw) {
  std::string out;
  out.reserve(raw.size());
  for (std::size_t at = 0; at < raw.size(); ++at) {
    if (raw[at] != '\\' || at + 1 == raw.size()) {
      out += raw[at];
      continue;
    }
    const char escape = raw[++at];
    switch (escape) {
      case 'b':
        out += '\b';
        break;
      case 'f':
        out += '\f';
        break;
      case 'n':
        out += '\n';
        break;
      case 'r':
        out += '\r';
        break;
      case 't':
        out += '\t';
        break;
      case 'u': {
        std::uint32_t code = 0;
        if (!ReadHex4(raw, at + 1, code)) {
          out += escape;
          break;
        }
        at += 4;
        std::uint32_t low = 0;
        if (code >= 0xD800 && code < 0xDC00 && raw.substr(at + 1, 2) == "\\u" && ReadHex4(raw, at + 3, low) &&
            low >= 0xDC00 && low < 0xE000) {
          code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
          at += 6;
        }
        AppendUtf8(out, code);
        break;
      }
      default:
        out += escape;
    }
  }
  return out;
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  // Where the keys begin that need a name of their own, in the order in which they were found.
  std::vector<std::size_t> Run() {
    while (at_ < text_.size() && Step()) {
    }
    return std::move(repeated_);
  }

 private:
  struct Member {
    std::string key;
    std::size_t position;  // of the key's first byte, behind the quote
  };

  struct Level {
    bool is_object = false;
    bool has_key = false;                                // the present member's key has been read
    std::vector<Member> members;                         // distinct keys, each at its latest place
    std::unordered_map<std::string, std::size_t> index;  // key to place in members, once they are many
  };

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
        levels_.emplace_back();
        levels_.back().is_object = character == '{';
        break;
      case '}':
      case ']':
        if (levels_.empty() || levels_.back().is_object != (character == '}')) {
          return false;
        }
        levels_.pop_back();
        break;
      case ',':
        if (!levels_.empty()) {
          levels_.back().has_key = false;
        }
        break;
      default:
        break;
    }
    ++at_;
    return true;
  }

  bool String() {
    const std::size_t begin = at_ + 1;
    std::size_t end = begin;
    for (;;) {
      end = text_.find_first_of("\"\\", end);
      if (end == std::string_view::npos) {
        return false;
      }
      if (text_[end] == '"') {
        break;
      }
      end += 2;
    }
    at_ = end + 1;
    if (!levels_.empty() && levels_.back().is_object && !levels_.back().has_key) {
      levels_.back().has_key = true;
      Key(begin, end);
    }
    return true;
  }

  void Key(std::size_t begin, std::size_t end) {
    Level& level = levels_.back();
    std::string key = Unescaped(text_.substr(begin, end - begin));
    // The parser takes some keys for equal that differ behind a NUL only.
    key.resize(std::min(key.find('\0'), key.size()));
    if (!key.empty() && key.front() == kRepeatedKeyMark) {
      // Renamed as well, or it could be the new name of another key.
      repeated_.push_back(begin);
      return;
    }
    const std::size_t earlier = Find(level, key);
    if (earlier == kNowhere) {
      Remember(level, std::move(key), begin);
    } else {
      repeated_.push_back(std::exchange(level.members[earlier].position, begin));
    }
  }

  static constexpr std::size_t kFew = 16;

  static std::size_t Find(const Level& level, const std::string& key) {
    if (level.members.size() > kFew) {
      const auto found = level.index.find(key);
      return found == level.index.end() ? kNowhere : found->second;
    }
    const auto found = std::find_if(level.members.begin(), level.members.end(),
                                    [&key](const Member& member) { return member.key == key; });
    return found == level.members.end() ? kNowhere : static_cast<std::size_t>(found - level.members.begin());
  }

  static void Remember(Level& level, std::string key, std::size_t position) {
    level.members.push_back({std::move(key), position});
    if (level.members.size() == kFew + 1) {
      for (std::size_t place = 0; place < level.members.size(); ++place) {
        level.index.emplace(level.members[place].key, place);
      }
    } else if (level.members.size() > kFew) {
      level.index.emplace(level.members.back().key, level.members.size() - 1);
    }
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<Level> levels_;
  std::vector<std::size_t> repeated_;
};

}  // namespace

std::optional<std::string> SetRepeatedKeysApart(std::string_view text) {
  std::vector<std::size_t> positions = Scanner(text).Run();
  if (positions.empty()) {
    return std::nullopt;
  }
  std::sort(positions.begin(), positions.end());
  std::string out;
  constexpr std::size_t kLongestMark = 24;
  out.reserve(text.size() + positions.size() * kLongestMark);
  std::size_t copied = 0;
  for (std::size_t number = 0; number < positions.size(); ++number) {
    out.append(text, copied, positions[number] - copied);
    copied = positions[number];
    out += kRepeatedKeyMark;
    out += std::to_string(number);
    out += kRepeatedKeyMark;
  }
  out.append(text, copied);
  return out;
}

}  // namespace request::json
