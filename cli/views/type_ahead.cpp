#include "cli/views/type_ahead.h"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <locale>
#include <optional>
#include <string>

namespace cli {
namespace {

std::wstring Folded(std::wstring_view text) {
  return boost::algorithm::to_lower_copy(std::wstring(text), std::locale::classic());
}

// 0 the whole, 1 its beginning, 2 a piece of it.
std::optional<int> Distance(std::wstring_view text, std::wstring_view wanted) {
  switch (text.find(wanted)) {
    case std::wstring_view::npos:
      return std::nullopt;
    case 0:
      return text.size() == wanted.size() ? 0 : 1;
    default:
      return 2;
  }
}

std::optional<int> Distance(const BaseInfoItem& item, std::wstring_view wanted) {
  constexpr std::size_t kMarketLength = 2;
  const std::wstring code = Folded(item.code);
  std::optional<int> closest;
  const auto look_at = [&](std::wstring_view text) {
    if (const auto distance = Distance(text, wanted)) {
      closest = closest ? std::min(*closest, *distance) : *distance;
    }
  };
  look_at(code);
  look_at(std::wstring_view(code).substr(std::min(kMarketLength, code.size())));
  look_at(Folded(item.name));
  look_at(Folded(item.pinyin));
  return closest;
}

}  // namespace

std::vector<Match> FindByText(const std::vector<NamedList>& lists, std::wstring_view text,
                              std::size_t limit) {
  constexpr std::size_t kDistances = 3;
  std::vector<Match> by_distance[kDistances];
  const std::wstring wanted = Folded(text);
  if (wanted.empty()) {
    return {};
  }
  for (const NamedList& list : lists) {
    for (const BaseInfoItem& item : *list.items) {
      if (const auto distance = Distance(item, wanted)) {
        by_distance[*distance].push_back({list.name, &item});
      }
    }
  }
  std::vector<Match> matches;
  for (const std::vector<Match>& equals : by_distance) {
    const std::size_t room = std::min(limit - matches.size(), equals.size());
    matches.insert(matches.end(), equals.begin(), equals.begin() + static_cast<std::ptrdiff_t>(room));
  }
  return matches;
}

}  // namespace cli
