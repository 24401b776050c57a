// Dates as the feed writes them.
#include "request/dates.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "json/json.h"
#include "scripted_host.h"

namespace {

using Date = std::optional<std::uint32_t>;

TEST(Dates, areEightDigitsThatAreAMonthAndADay) {
  const std::vector<std::pair<std::wstring, Date>> texts = {{L"20240315", 20240315},
                                                            {L"2024-03-15", 20240315},
                                                            {L"2024/12/31", 20241231},
                                                            {L" 2024 01 01 ", 20240101},
                                                            {L"", {}},
                                                            {L"2024-3-15", {}},
                                                            {L"2024031500", {}},
                                                            {L"20240015", {}},
                                                            {L"20241301", {}},
                                                            {L"20240300", {}},
                                                            {L"20240332", {}},
                                                            {L"\xFF12\xFF10", {}}};
  for (const auto& [text, date] : texts)
    EXPECT_EQ(request::ExactDate(text), date) << testing::PrintToString(text);
}

TEST(Dates, ofAJsonValueAreReadFromTextsAndNumbers) {
  struct Case {
    std::string json;
    Date exact;
    std::uint32_t digits;  // those of a text, whatever they spell
  };
  const std::vector<Case> cases = {{R"("2024-03-15")", 20240315, 20240315},
                                   {"20240315", 20240315, 0},
                                   {"20240315.9", 20240315, 0},
                                   {R"("15")", {}, 15},
                                   {R"("a1:b2;")", {}, 12},
                                   {"true", {}, 0},
                                   {"null", {}, 0},
                                   {R"("42949672970")", {}, 10}};
  for (const Case& one : cases) {
    const std::string text = "{\"date\":" + one.json + "}";
    const auto document = request::json::Document::Parse(text.data(), text.size());
    const auto value = document.Root().Member("date");
    EXPECT_EQ(request::ExactDate(value), one.exact) << one.json;
    EXPECT_EQ(request::DateFromText(value), one.digits) << one.json;
  }
}

TEST(Dates, ofTodayAreZeroAndTheServersDate) {
  ScriptedHost host;  // Friday, 15 March 2024
  EXPECT_TRUE(request::IsToday(0));
  EXPECT_TRUE(request::IsToday(20240315));
  EXPECT_FALSE(request::IsToday(20240314));
  host.SetTime(20240316, 0, 0, 0);
  EXPECT_FALSE(request::IsToday(20240315));
  EXPECT_TRUE(request::IsToday(20240316));
}

}  // namespace
