// Options whose values are names, and ranges of rows.
#include "cli/choices.h"

#include <gtest/gtest.h>

#include <CLI/Config.hpp>
#include <CLI/Error.hpp>
#include <CLI/Formatter.hpp>
#include <string>

#include "cli/row_range.h"

namespace cli {
namespace {

constexpr Choice kColours[] = {{"red", 7, "as a rise"}, {"green", 2, ""}};

// What the command line says about `arguments`; empty: nothing.
std::string ErrorOf(CLI::App& app, const std::string& arguments) {
  try {
    app.parse(arguments);
    return "";
  } catch (const CLI::ParseError& error) {
    return error.what();
  }
}

TEST(Choices, knowNamesAndNumbers) {
  EXPECT_EQ(NameOf(kColours, 7), "red");
  EXPECT_EQ(NameOf(kColours, 1), "");
  EXPECT_EQ(NumberOf(kColours, "green", "--colour"), 2);
}

TEST(Choices, listThemselvesForHelp) {
  EXPECT_EQ(ListOf("Colours", kColours), "Colours:\n  red            as a rise\n  green         ");
}

TEST(Choices, fillAnOption) {
  CLI::App app;
  std::uint32_t colour = 7;
  AddChoice(app, "--colour", kColours, "which", colour);
  EXPECT_EQ(ErrorOf(app, ""), "");
  EXPECT_EQ(colour, 7U);
  EXPECT_EQ(ErrorOf(app, "--colour green"), "");
  EXPECT_EQ(colour, 2U);
}

TEST(Choices, nameTheRightOnesForAWrongOne) {
  CLI::App app;
  int colour = 7;
  AddChoice(app, "--colour", kColours, "which", colour);
  EXPECT_EQ(ErrorOf(app, "--colour Red"), "--colour: \"Red\" is none of red, green");
  EXPECT_EQ(ErrorOf(app, "--colour 7"), "--colour: \"7\" is none of red, green");
  EXPECT_EQ(colour, 7);
}

TEST(Choices, showTheDefaultInTheHelp) {
  CLI::App app;
  int colour = 7;
  EXPECT_EQ(AddChoice(app, "--colour", kColours, "which", colour)->get_default_str(), "red");
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
  CLI::App app;
  RowRange rows;
  AddRowsOption(app, rows);
  EXPECT_EQ(ErrorOf(app, "--rows 20:40"), "");
  EXPECT_EQ(rows, (RowRange{20, 40}));
  EXPECT_NE(ErrorOf(app, "--rows 40").find("--rows: \"40\" is no range: A:B"), std::string::npos);
}

}  // namespace
}  // namespace cli
