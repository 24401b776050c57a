// The words from which the simulated market is named, each with its pinyin initials: invented syllables of
// company names, industries, concepts, regions and indices. Constant tables; what is made of them is in
// universe.h.
#pragma once

#include <span>
#include <string_view>

#include "market_server/model/market.h"

namespace market_server::model {

struct Word {
  std::string_view text;      ///< UTF-8
  std::string_view initials;  ///< one letter for a character; Latin letters and digits stand for themselves
};

/// One industry and the two words with which its companies' names end.
struct Industry {
  Word name;
  Word endings[2];
};

/// An index holds the stocks of one board or exchange, of a range of industries, the `largest` of them (0:
/// all).
enum class Scope { kShanghai, kShanghaiMain, kStar, kShenzhen, kSme, kGrowth };
struct IndexRule {
  std::string_view code;
  Word name;
  Scope scope;
  int first_industry, last_industry;  ///< positions in industries(); -1: all
  int largest;
  double base;  ///< level at the start of the simulated time
  double beta;  ///< how strongly it follows the market
};

[[nodiscard]] std::span<const Word> Syllables();  ///< one character each
[[nodiscard]] std::span<const Industry> Industries();
[[nodiscard]] std::span<const Word> ConceptTopics();
[[nodiscard]] std::span<const Word> ConceptForms();  ///< a concept is a topic followed by a form
[[nodiscard]] std::span<const Word> Regions();
[[nodiscard]] std::span<const IndexRule> IndexRules();  ///< by code within each exchange, Shanghai first

}  // namespace market_server::model
