#include "cli/screen/finder.h"

#include <optional>
#include <utility>

#include "cli/format/text.h"
#include "cli/screen/panel.h"

namespace cli {
namespace {

constexpr std::size_t kLongestText = 32;
constexpr char32_t kFirstPrintable = U' ';
constexpr int kCodeWidth = 10;

std::string KindOf(stock::SymbolType type) {
  static constexpr const char* kKinds[] = {"", "index", "stock", "plate", ""};
  return kKinds[static_cast<std::size_t>(type)];
}

}  // namespace

Finder::Outcome Finder::OnKey(const Key& key) {
  const std::optional<std::size_t> before = cursor_.row();
  switch (key.kind) {
    case KeyKind::kEscape:
      return Outcome::kCancelled;
    case KeyKind::kEnter:
      return before ? Outcome::kChosen : Outcome::kOpen;
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
    case KeyKind::kClick:
      return cursor_.OnKey(key) && cursor_.row() == before ? Outcome::kChosen : Outcome::kOpen;
    default:
      cursor_.OnKey(key);
      break;
  }
  return Outcome::kOpen;
}

void Finder::Look() {
  findings_ = text_.empty() ? Findings() : find_(text_);
  cursor_.Reset();
  std::vector<std::wstring> codes;
  for (const Security& match : findings_.matches) {
    codes.push_back(match.code);
  }
  cursor_.SetRows(std::move(codes));
}

std::vector<StyledLine> Finder::Picture(const ChartSize& size) {
  const StyledLine typed = {{"/ ", Tone::kStrong}, {Printable(text_)}, {"_", Tone::kStrong}};
  std::vector<StyledLine> lines(1);
  for (const Security& match : findings_.matches) {
    lines.push_back({{Pad(Printable(match.code), kCodeWidth, Align::kLeft)},
                     {Printable(match.name) + "  "},
                     {KindOf(match.type), Tone::kDim}});
  }
  std::vector<StyledLine> picture = cursor_.Picture(lines, L"", size);
  picture.front() = typed;
  if (text_.empty()) {
    picture.push_back({{"  part of a code, a name or the pinyin initials", Tone::kDim}});
  } else if (!findings_.reason.empty()) {
    picture.push_back({{"  " + findings_.reason, Tone::kWarning}});
  } else if (findings_.matches.empty()) {
    picture.push_back({{"  no match", Tone::kWarning}});
  }
  return CutTo(std::move(picture), size);
}

}  // namespace cli
