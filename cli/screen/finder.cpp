#include "cli/screen/finder.h"

#include <algorithm>

#include "cli/format/text.h"

namespace cli {
namespace {

constexpr std::size_t kLongestText = 32;
constexpr char32_t kFirstPrintable = U' ';
constexpr int kCodeWidth = 10;

std::string_view KindOf(stock::SymbolType type) {
  switch (type) {
    case stock::kSymbolIndex:
      return "index";
    case stock::kSymbolStock:
      return "stock";
    case stock::kSymbolPlate:
      return "plate";
    default:
      return "";
  }
}

}  // namespace

Finder::Outcome Finder::OnKey(const Key& key) {
  switch (key.kind) {
    case KeyKind::kEscape:
      return Outcome::kCancelled;
    case KeyKind::kEnter:
      return findings_.matches.empty() ? Outcome::kOpen : Outcome::kChosen;
    case KeyKind::kUp:
      cursor_ -= std::min<std::size_t>(cursor_, 1);
      break;
    case KeyKind::kDown:
      cursor_ = std::min(cursor_ + 1, std::max<std::size_t>(findings_.matches.size(), 1) - 1);
      break;
    case KeyKind::kBackspace:
      if (text_.empty()) {
        return Outcome::kCancelled;
      }
      text_.pop_back();
      Look();
      break;
    case KeyKind::kCharacter:
      if (key.character >= kFirstPrintable && text_.size() < kLongestText) {
        text_ += static_cast<wchar_t>(key.character);
        Look();
      }
      break;
    default:
      break;
  }
  return Outcome::kOpen;
}

void Finder::Look() {
  findings_ = text_.empty() ? Findings() : find_(text_);
  cursor_ = 0;
}

std::vector<StyledLine> Finder::Picture(const ChartSize& size) const {
  std::vector<StyledLine> lines;
  lines.push_back({{"/ ", Tone::kStrong}, {Printable(text_)}, {"_", Tone::kStrong}});
  if (text_.empty()) {
    lines.push_back({{"  part of a code, a name or the pinyin initials", Tone::kDim}});
  } else if (!findings_.reason.empty()) {
    lines.push_back({{"  " + findings_.reason, Tone::kWarning}});
  } else if (findings_.matches.empty()) {
    lines.push_back({{"  no match", Tone::kWarning}});
  }
  // The one under the cursor is always in sight.
  const auto room = static_cast<std::size_t>(std::max(size.rows - 1, 1));
  const std::size_t first = cursor_ < room ? 0 : cursor_ - room + 1;
  const std::size_t end = std::min(findings_.matches.size(), first + room);
  for (std::size_t i = first; i < end; ++i) {
    const Security& match = findings_.matches[i];
    const Tone tone = i == cursor_ ? Tone::kStrong : Tone::kPlain;
    lines.push_back({{i == cursor_ ? "▸ " : "  ", tone},
                     {Pad(Printable(match.code), kCodeWidth, Align::kLeft), tone},
                     {Printable(match.name) + "  ", tone},
                     {std::string(KindOf(match.type)), Tone::kDim}});
  }
  lines.resize(std::min(lines.size(), static_cast<std::size_t>(std::max(size.rows, 0))));
  for (StyledLine& line : lines) {
    line = Fitted(line, size.columns);
  }
  return lines;
}

}  // namespace cli
