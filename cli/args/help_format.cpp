#include "cli/args/help_format.h"

#include <sstream>

#include "cli/format/text.h"

namespace cli {
namespace {

constexpr int kLeft = 26;
constexpr int kWidth = 100;

// `left`, then `text` in lines of its own column.
std::string Entry(const std::string& left, const std::string& text) {
  std::string entry = Pad("  " + left, kLeft, Align::kLeft);
  int column = DisplayWidth(entry);
  const std::string next_line = "\n" + std::string(kLeft, ' ');
  if (column > kLeft) {
    entry += next_line;
    column = kLeft;
  }
  std::istringstream words(text);
  bool is_first = true;
  for (std::string word; words >> word;) {
    const int width = DisplayWidth(word);
    if (is_first) {
      is_first = false;
    } else if (column + 1 + width > kWidth) {
      entry += next_line;
      column = kLeft;
    } else {
      entry += ' ';
      ++column;
    }
    entry += word;
    column += width;
  }
  return entry + "\n";
}

}  // namespace

HelpFormat::HelpFormat() {
  label("SUBCOMMAND", "COMMAND");
}

std::string HelpFormat::make_option(const CLI::Option* option, bool is_positional) const {
  std::string left = option->get_name(is_positional, true);
  if (option->get_type_size() != 0) {
    left += " " + option->get_type_name();
  }
  std::string text = option->get_description();
  if (!option->get_default_str().empty()) {
    text += " (default: " + option->get_default_str() + ")";
  }
  return Entry(left, text);
}

std::string HelpFormat::make_subcommand(const CLI::App* command) const {
  return Entry(command->get_name(), command->get_description());
}

}  // namespace cli
