// A scanner that goes at least as far as any JSON parser would: it knows strings, brackets and commas, and
// lets everything else pass. What is no JSON is for the parser to find; where brackets do not match, both
// stop.
#include "json/qt_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "json/cells.h"
#include "json/strings.h"

namespace request::json {
namespace {

// The parser gives up on deeper texts.
constexpr std::size_t kDeepest = 1024;

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) { out_.text.reserve(text.size() + text.size() / 2); }

  QtText Run() {
    while (at_ < text_.size() && Step()) {
    }
    while (!levels_.empty()) {
      Close();
    }
    out_.text.append(text_, copied_);
    out_.parser_bytes += largest_;
    return std::move(out_);
  }

 private:
  struct Level {
    bool is_object;
    bool has_key = false;  // the present member's key has been read
    std::size_t entries = 0;
    std::size_t string_bytes = 0;  // that the parser makes of the strings
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
        out_.cells += detail::kHead;
        levels_.push_back({.is_object = character == '{'});
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

  // There is room for an element, or for a key and its value.
  void Entry(Level& level) {
    ++out_.cells;
    level.entries += level.is_object ? std::size_t{2} : std::size_t{1};
    out_.key_bytes += level.is_object ? sizeof(detail::Key) : std::size_t{0};
  }

  bool String() {
    const std::size_t begin = ++at_;
    bool escaped = false;
    for (; at_ < text_.size() && text_[at_] != '"'; ++at_) {
      if (text_[at_] == '\\') {
        escaped = true;
        ++at_;
      }
    }
    if (!levels_.empty()) {
      Level& level = levels_.back();
      std::size_t length = std::min(at_, text_.size()) - begin;
      out_.own_bytes += length + 1;
      if (level.is_object && !std::exchange(level.has_key, true)) {
        MarkKey(begin, escaped);
        length += static_cast<std::size_t>(kKeyMarkSize);
      }
      constexpr std::size_t kHead = 8;  // its length, and what aligns the next one
      level.string_bytes += kHead + (escaped ? 2 * length : length);  // those with escapes in UTF-16
    }
    return at_++ < text_.size();
  }

  // Qt names a key without escapes without a byte-order mark in front of it, but goes on to look it up, and
  // to order it, with it.
  void MarkKey(std::size_t begin, bool escaped) {
    out_.text.append(text_, copied_, begin - copied_);
    copied_ = begin;
    std::array<char, static_cast<std::size_t>(kKeyMarkSize)> mark{};
    mark.back() =
        !escaped && text_.substr(begin).starts_with(kByteOrderMark) ? kNameWithoutMark : kNameAsItIs;
    std::size_t number = keys_++;
    constexpr std::size_t kLetters = 26;
    for (auto letter = mark.rbegin() + 1; letter != mark.rend(); ++letter) {
      *letter = static_cast<char>('a' + number % kLetters);
      number /= kLetters;
    }
    out_.text.append(mark.data(), mark.size());
  }

  // Ends the innermost container.
  void Close() {
    const Level& level = levels_.back();
    // Measured: the container itself and the heads of its two arrays, entries of 16 bytes, and the strings;
    // arrays double as they grow, and only one of all is being copied at a time.
    constexpr std::size_t kContainer = 176;
    constexpr std::size_t kEntry = 16;
    const std::size_t contents = kEntry * level.entries + level.string_bytes;
    out_.parser_bytes += kContainer + 2 * contents;
    largest_ = std::max(largest_, 2 * contents);
    levels_.pop_back();
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t copied_ = 0;  // so much of it has been written
  std::size_t keys_ = 0;
  std::vector<Level> levels_;
  std::size_t largest_ = 0;  // that the parser may hold twice for a moment
  QtText out_;
};

}  // namespace

QtText MakeQtText(std::string_view text) {
  return Scanner(text).Run();
}

}  // namespace request::json
