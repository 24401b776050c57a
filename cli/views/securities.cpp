#include "cli/views/securities.h"

#include <stdexcept>

#include "cli/format/text.h"
#include "host/text.h"

namespace cli {
namespace {

constexpr std::size_t kMostMatches = 4;

bool IsMeant(const BaseInfoItem& item, const std::wstring& text) {
  const auto equals = [&text](const std::wstring& other) { return common::Compare(other, text, true) == 0; };
  return equals(item.code) || (item.code.size() == text.size() + 2 && equals(item.code.substr(2))) ||
         equals(item.name);
}

}  // namespace

Security SecurityOf(const std::wstring& code, const std::wstring& name) {
  return {code, name, stock::CheckSymbol(code.c_str())};
}

SecurityLists::SecurityLists(IStockCommon& reference)
    : lists_{reference.GetStockList(1), reference.GetIndexList(1), reference.GetIndexList(2),
             reference.GetPlateList(1), reference.GetPlateList(2)} {}

std::vector<Match> SecurityLists::Find(std::wstring_view text, std::size_t limit) const {
  static constexpr std::string_view kNames[] = {"stock", "index", "index", "plate", "plate"};
  std::vector<NamedList> named;
  for (std::size_t i = 0; i < lists_.size(); ++i) {
    named.push_back({kNames[i], &lists_[i]});
  }
  return FindByText(named, text, limit);
}

Security FindSecurity(IStockCommon& reference, const std::string& text) {
  const std::wstring wanted = common::s2ws(text, common::kUtf8);
  const SecurityLists lists(reference);
  const std::vector<Match> matches = lists.Find(wanted, kMostMatches);
  if (!matches.empty() && IsMeant(*matches.front().item, wanted)) {
    return SecurityOf(matches.front().item->code, matches.front().item->name);
  }
  std::string close;
  for (const Match& match : matches) {
    close += (close.empty() ? "; did you mean " : ", ") + Printable(match.item->code) + " " +
             Printable(match.item->name);
  }
  throw std::runtime_error(
      "the market knows no \"" + Printable(text) + "\"" +
      (close.empty() ? "; csm find TEXT looks for codes, names and pinyin" : close + "?"));
}

}  // namespace cli
