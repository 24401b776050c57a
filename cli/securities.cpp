#include "cli/securities.h"

#include <stdexcept>
#include <vector>

#include "cli/format/text.h"
#include "cli/type_ahead.h"
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

Security FindSecurity(IStockCommon& reference, const std::string& text) {
  const std::wstring wanted = common::s2ws(text, common::kUtf8);
  const std::vector<BaseInfoItem> lists[] = {reference.GetStockList(1), reference.GetIndexList(1),
                                             reference.GetIndexList(2), reference.GetPlateList(1),
                                             reference.GetPlateList(2)};
  std::vector<NamedList> named;
  for (const std::vector<BaseInfoItem>& list : lists) {
    named.push_back({"", &list});
  }
  const std::vector<Match> matches = FindByText(named, wanted, kMostMatches);
  if (!matches.empty() && IsMeant(*matches.front().item, wanted)) {
    const BaseInfoItem& item = *matches.front().item;
    return {item.code, item.name, stock::CheckSymbol(item.code.c_str())};
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
