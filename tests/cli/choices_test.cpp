// Options whose values are names, and ranges of rows.
#include "cli/views/vocabulary.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "cli/commands/options.h"

namespace cli {
namespace {

constexpr Choice kColours[] = {{"red", 7, "as a rise"}, {"green", 2, ""}};

// What the only option of `form` says about `text`; empty: nothing.
std::string ErrorOf(const Form& form, const std::string& text) {
  try {
    form.options.front().take(text);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(Choices, knowNamesAndNumbers) {
  EXPECT_EQ(NameOf(kColours, 7), "red");
  EXPECT_EQ(NameOf(kColours, 1), "");
  EXPECT_EQ(NumberOf(kColours, "green"), 2);
  EXPECT_EQ(NumberOf(kColours, "blue"), std::nullopt);
}

TEST(Choices, listThemselvesForHelp) {
  EXPECT_EQ(ListOf("Colours", kColours), "Colours:\n  red            as a rise\n  green         ");
}

TEST(Choices, fillAnOption) {
  Form form;
  int colour = 7;
  AddChoice(form, "--colour", kColours, "which", colour);
  EXPECT_EQ(colour, 7);
  EXPECT_EQ(ErrorOf(form, "green"), "");
  EXPECT_EQ(colour, 2);
}

TEST(Choices, nameTheRightOnesForAWrongOne) {
  Form form;
  int colour = 7;
  AddChoice(form, "--colour", kColours, "which", colour);
  EXPECT_EQ(ErrorOf(form, "Red"), "\"Red\" is not one of red, green");
  EXPECT_EQ(ErrorOf(form, "7"), "\"7\" is not one of red, green");
  EXPECT_EQ(colour, 7);
}

TEST(Choices, showTheDefaultInTheHelp) {
  Form form;
  int colour = 7;
  AddChoice(form, "--colour", kColours, "which", colour);
  EXPECT_EQ(form.options.front().standard, "red");
}

TEST(Rows, areReadWithOpenEnds) {
  EXPECT_EQ(ParseRows("0:20"), (RowRange{0, 20}));
  EXPECT_EQ(ParseRows("40:60"), (RowRange{40, 60}));
  EXPECT_EQ(ParseRows(":5"), (RowRange{0, 5}));
  EXPECT_EQ(ParseRows("5:"), (RowRange{5, RowRange::kOpen}));
  EXPECT_EQ(ParseRows(":"), (RowRange{0, RowRange::kOpen}));
  EXPECT_EQ(ParseRows("0:2147483647"), (RowRange{0, 2147483647}));
}

TEST(Rows, areRefusedWhenTheyAreNone) {
  for (const char* text : {"", "5", "5:5", "6:5", "a:b", "-1:5", "0:-1", "0:5:9", "0: 5", "+1:5", "0x1:5",
                           "1.5:3", "0:2147483648", "4294967296:", "99999999999999999999:"}) {
    EXPECT_EQ(ParseRows(text), std::nullopt) << text;
  }
}

TEST(Rows, areWrittenAsTheyAreRead) {
  for (const char* text : {"0:20", "5:", "0:"}) {
    EXPECT_EQ(RowsText(ParseRows(text).value()), text);
  }
}

TEST(Rows, fillAnOption) {
  Form form;
  std::optional<RowRange> rows;
  AddRowsOption(form, rows, RowRange());
  EXPECT_EQ(ErrorOf(form, "20:40"), "");
  EXPECT_EQ(rows, (RowRange{20, 40}));
  EXPECT_EQ(ErrorOf(form, "40").rfind("\"40\" is no range: A:B", 0), 0U);
}

}  // namespace
}  // namespace cli
