#include "cli/views/warnings.h"

#include <algorithm>
#include <cctype>

#include "cli/format/text.h"

namespace cli {
namespace {

void AddTo(Warnings::Lines& lines, const std::string& line) {
  ++lines.count;
  lines.last = line;
  if (lines.first.empty()) {
    lines.first = line;
  }
}

}  // namespace

// Writers are classes of the module: nothing that a server sends adds one.
void Warnings::Add(std::string_view line) {
  const std::string text = Printable(line);
  const std::size_t end = text.find("::");
  const auto is_letter = [](unsigned char c) { return std::isalnum(c) != 0; };
  const bool has_writer =
      end != std::string::npos &&
      std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), is_letter);
  const std::lock_guard lock(mutex_);
  AddTo(all_, text);
  if (has_writer) {
    AddTo(writers_[text.substr(0, end)], text);
  }
}

Warnings::Lines Warnings::All() const {
  const std::lock_guard lock(mutex_);
  return all_;
}

Warnings::Lines Warnings::Of(std::string_view writer) const {
  const std::lock_guard lock(mutex_);
  const auto found = writers_.find(writer);
  return found == writers_.end() ? Lines() : found->second;
}

}  // namespace cli
