// The words that name figures on screens and in tables, in English or Chinese, and what they mean. The
// language is chosen once, before anything is shown; reading is safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace cli {

enum class Language { kEnglish, kChinese };

void SetLanguage(Language language);
[[nodiscard]] Language CurrentLanguage();
/// That of the environment: LC_ALL, LC_MESSAGES or LANG.
[[nodiscard]] Language LanguageOfLocale();

/// The title of a column, "换手" for "tr" in Chinese; what is not known stays as it is.
[[nodiscard]] std::string LabelOf(std::string_view name);

/// What a column says, in a few words; empty when that is not known.
[[nodiscard]] std::string_view MeaningOf(std::string_view name);

}  // namespace cli
