// Rows are found by their code as a linear search would find the first, in time linear in the rows, whichever
// codes a server chooses.
#include "request/code_index.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace {

struct Row {
  std::wstring code;
};
using Index = request::CodeIndex<Row>;

TEST(CodeIndex, findsTheFirstRowOfACode) {
  const std::vector<Row> rows = {{L"a"}, {L"b"}, {L"a"}, {L""}, {L"sh600000"}};
  const Index index(rows);
  EXPECT_EQ(index.First(L"a"), 0u);
  EXPECT_EQ(index.First(L"b"), 1u);
  EXPECT_EQ(index.First(L""), 3u);
  EXPECT_EQ(index.First(L"sh600000"), 4u);
  EXPECT_EQ(index.First(L"sh60000"), Index::kNone);
  EXPECT_EQ(index.First(std::wstring(L"a\0", 2)), Index::kNone);
  EXPECT_EQ(Index({}).First(L"a"), Index::kNone);
}

// What is packed into a number: no two that differ are taken for one.
TEST(CodeIndex, tellsShortCodesApartThatAreNearlyAlike) {
  const std::vector<Row> rows = {{L"sh600000"},
                                 {L"sh600001"},
                                 {L"Sh600000"},
                                 {L"h600000"},
                                 {L"sh6000000"},
                                 {std::wstring(L"\0sh60000", 8)},
                                 {std::wstring(L"sh60000\0", 8)},
                                 {std::wstring(L"\0", 1)},
                                 {L"sh60000\x80"},
                                 {L"sh6000\x4E00"},
                                 {L"\x7F"},
                                 {L"sh60000\x7F"}};
  const Index index(rows);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    EXPECT_EQ(index.First(rows[row].code), row);
  }
  EXPECT_EQ(index.First(L"sh60000"), Index::kNone);
  EXPECT_EQ(index.First(L""), Index::kNone);
  EXPECT_EQ(index.First(L"\x80"), Index::kNone);
}

TEST(CodeIndex, takesTheRowsOfACodeOneAfterTheOther) {
  const std::vector<Row> rows = {{L"a"}, {L"b"}, {L"a"}};
  Index index(rows);
  EXPECT_EQ(index.Take(L"a"), 0u);
  EXPECT_EQ(index.Take(L"a"), 2u);
  EXPECT_EQ(index.Take(L"a"), Index::kNone);
  EXPECT_EQ(index.Take(L"b"), 1u);
}

// A code that counts how often one is compared.
struct CountedCode {
  std::wstring text;
  static inline std::size_t comparisons = 0;

  operator std::wstring_view() const { return text; }  // NOLINT(google-explicit-constructor)
  friend bool operator==(const CountedCode& code, std::wstring_view other) {
    ++comparisons;
    return code.text == other;
  }
};
struct CountedRow {
  CountedCode code;
};

std::wstring CodeOf(std::uint64_t first, std::uint64_t second) {
  std::wstring code(4, L'\0');
  static_assert(sizeof(wchar_t) == 4);
  std::memcpy(code.data(), &first, sizeof(first));
  std::memcpy(code.data() + 2, &second, sizeof(second));
  return code;
}

// Codes that are all alike to the standard library's hash, which anybody can compute: of 16 bytes it mixes
// the first eight into its state and then the second eight, so that these can take back the difference.
std::vector<CountedRow> ChosenCodes(std::size_t count) {
  constexpr std::uint64_t kFactor = 0xc6a4a7935bd1e995U;
  constexpr std::uint64_t kState = 0xc70f6907U ^ (16 * kFactor);
  std::uint64_t inverse = kFactor;
  for (int step = 0; step < 6; ++step) inverse *= 2 - kFactor * inverse;
  const auto shift = [](std::uint64_t word) { return word ^ (word >> 47U); };
  std::vector<CountedRow> rows;
  for (std::uint64_t first = 1; first <= count; ++first) {
    const std::uint64_t state = (kState ^ (shift(first * kFactor) * kFactor)) * kFactor;
    rows.push_back({{CodeOf(first, shift(state * inverse) * inverse)}});
  }
  return rows;
}

TEST(CodeIndex, comparesChosenCodesNoMoreThanOthers) {
  const std::vector<CountedRow> rows = ChosenCodes(2000);
  const std::hash<std::wstring_view> known;
  ASSERT_EQ(known(rows.front().code.text), known(rows.back().code.text)) << "they were not chosen well";
  CountedCode::comparisons = 0;
  const request::CodeIndex<CountedRow> index(rows);
  for (std::size_t row = 0; row < rows.size(); ++row) ASSERT_EQ(index.First(rows[row].code), row);
  EXPECT_LE(CountedCode::comparisons, rows.size() + 10);
}

std::vector<CountedRow> MarketCodes(int count) {
  std::vector<CountedRow> rows;
  for (int stock = 0; stock < count; ++stock) rows.push_back({{L"sh" + std::to_wstring(600000 + stock)}});
  return rows;
}

TEST(CodeIndex, looksAtNoRowOfTheMarket) {
  const std::vector<CountedRow> rows = MarketCodes(5400);
  CountedCode::comparisons = 0;
  const request::CodeIndex<CountedRow> index(rows);
  for (std::size_t row = 0; row < rows.size(); ++row) ASSERT_EQ(index.First(rows[row].code), row);
  EXPECT_EQ(CountedCode::comparisons, 0U);
}

void ExpectSpread(const std::vector<CountedRow>& rows) {
  std::vector<int> hits(16);
  for (const CountedRow& row : rows) ++hits[request::HashOfCode(row.code) % hits.size()];
  // 125 are expected in each; the limits are more than six deviations away.
  for (const int hit : hits) {
    EXPECT_GT(hit, 50);
    EXPECT_LT(hit, 200);
  }
}

TEST(CodeIndex, spreadsCodesOverItsWholeRange) {
  ExpectSpread(ChosenCodes(2000));
  ExpectSpread(MarketCodes(2000));
  // Of the first two characters alone.
  std::vector<CountedRow> rows;
  for (wchar_t first = 1; first <= 100; ++first)
    for (wchar_t second = 1; second <= 20; ++second)
      rows.push_back({{std::wstring{first, second} + L"600000"}});
  ExpectSpread(rows);
}

}  // namespace
