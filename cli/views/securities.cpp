#include "cli/views/securities.h"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <locale>
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

constexpr std::size_t kDigits = 6;

bool AreDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string MarketOf(char first_digit) {
  const auto is_one_of = [first_digit](std::string_view digits) {
    return digits.find(first_digit) != std::string_view::npos;
  };
  return is_one_of("0123") ? "sz" : is_one_of("569") ? "sh" : "";
}

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

Security SecurityOf(const std::wstring& code, const std::wstring& name) {
  return {code, name, stock::CheckSymbol(code.c_str())};
}

std::string NameText(const Security& security) {
  return Printable(security.code) + " " + Printable(security.name);
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

std::optional<std::wstring> ParseSymbol(std::string_view text) {
  std::string symbol = boost::algorithm::to_lower_copy(std::string(text), std::locale::classic());
  if (symbol.size() == kDigits && AreDigits(symbol)) {
    symbol.insert(0, MarketOf(symbol.front()));
  }
  const std::string_view market = std::string_view(symbol).substr(0, 2);
  if (symbol.size() != kDigits + 2 || (market != "sh" && market != "sz") || !AreDigits(symbol.substr(2))) {
    return std::nullopt;
  }
  return std::wstring(symbol.begin(), symbol.end());
}

std::optional<std::wstring> SymbolIn(std::string_view sentence) {
  constexpr std::string_view kDigitsOfAll = "0123456789";
  std::size_t end = 0;
  for (std::size_t at = sentence.find_first_of(kDigitsOfAll); at != std::string_view::npos;
       at = sentence.find_first_of(kDigitsOfAll, end)) {
    end = std::min(sentence.find_first_not_of(kDigitsOfAll, at), sentence.size());
    if (end - at != kDigits) {
      continue;
    }
    const auto with_market = at >= 2 ? ParseSymbol(sentence.substr(at - 2, kDigits + 2)) : std::nullopt;
    if (auto symbol = with_market ? with_market : ParseSymbol(sentence.substr(at, kDigits))) {
      return symbol;
    }
  }
  return std::nullopt;
}

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
