// The viewer's own words in the two languages, and text between the module's shapes and Qt's. Pure functions.
// Columns and figures are named by cli/format/words.h.
#pragma once

#include <QtCore/QString>
#include <string>
#include <string_view>

#include "cli/format/text.h"
#include "cli/format/words.h"
#include "cli/views/feed_health.h"
#include "cli/views/vocabulary.h"

namespace desktop {

[[nodiscard]] inline QString Text(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}
/// The text in the language that was chosen.
[[nodiscard]] inline QString Word(std::string_view english, std::string_view chinese) {
  return Text(cli::CurrentLanguage() == cli::Language::kChinese ? chinese : english);
}
/// `text` from outside, with everything that could steer or reorder what is shown written out.
[[nodiscard]] inline QString Shown(const std::wstring& text) {
  return Text(cli::Printable(text));
}

/// The title of a column or figure: "limit up" for "limit_up", in Chinese 涨停.
[[nodiscard]] inline QString TitleOf(std::string_view name) {
  return Text(cli::LabelOf(name)).replace(QLatin1Char('_'), QLatin1Char(' '));
}

/// What a choice of a board, a column, a period is called in a menu.
[[nodiscard]] QString NameOf(const cli::Choice& choice);

/// A report as a line for the state of a pane: "live", "unchanged since 10:30:00", "已收盘，2024-03-15
/// 的数据".
[[nodiscard]] QString StateText(const cli::FeedReport& report);

}  // namespace desktop
