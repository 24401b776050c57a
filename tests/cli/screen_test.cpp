// The live screen with panels that only write down what happens to them: which are shown, who gets the keys,
// when something is asked for, what stands where.
#include "cli/screen/screen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace cli {
namespace {

using Calls = std::vector<std::string>;

class FakePanel final : public Panel {
 public:
  FakePanel(std::string name, bool polls, Calls& calls)
      : name_(std::move(name)), polls_(polls), calls_(calls) {}

  std::string Title() const override { return title.empty() ? name_ : title; }
  void Show() override { Note("show"); }
  void Hide() override { Note("hide"); }
  void Select(const Security& security) override {
    Note("select " + std::string(security.code.begin(), security.code.end()));
  }
  void Refresh() override { Note("refresh"); }
  bool PollsItself() const override { return polls_; }
  bool OnKey(const Key& key) override {
    switch (key.kind) {
      case KeyKind::kClick:
        Note("click " + std::to_string(key.column) + " " + std::to_string(key.row));
        return true;
      case KeyKind::kUp:
        Note("up");
        return true;
      case KeyKind::kDown:
        Note("down");
        return true;
      default:
        break;
    }
    if (key == Typed(U'x')) {
      Note("x");
      return true;
    }
    return false;
  }
  std::vector<PanelColumn> Columns() const override { return {{"change", 'C'}, {"qrr"}, {"no such column"}}; }
  std::vector<KeyHint> Keys() const override { return keys; }
  std::string Position() const override { return position; }
  FeedReport Report(Clock::time_point, stock::MarketStatus) const override { return report; }
  std::vector<StyledLine> Picture(const ChartSize& size) override {
    size_ = size;
    if (is_empty) {
      return {};
    }
    return std::vector<StyledLine>(static_cast<std::size_t>(size.rows), {{name_ + " picture"}});
  }

  FeedReport report{FeedState::kLive, "live"};
  std::vector<KeyHint> keys{{"x", "does something"}};
  std::string title;
  std::string position;
  bool is_empty = false;
  ChartSize size_;

 private:
  void Note(const std::string& what) { calls_.push_back(name_ + " " + what); }

  const std::string name_;
  const bool polls_;
  Calls& calls_;
};

class ScreenTest : public testing::Test {
 protected:
  ScreenTest() {
    std::vector<std::unique_ptr<Panel>> panels;
    for (const auto& [name, polls] : {std::pair("board", true), {"quote", true}, {"line", false}}) {
      auto panel = std::make_unique<FakePanel>(name, polls, calls_);
      panels_.push_back(panel.get());
      panels.push_back(std::move(panel));
    }
    const std::vector<Page> pages = {{"first", {{40, 1, {{0, 10}}}, {20, 1, {{1, 10}}}}},
                                     {"second", {{40, 1, {{2, 10}}}, {20, 1, {{1, 10}}}}}};
    screen_ = std::make_unique<Screen>(
        std::move(panels), pages,
        ScreenActions{[this] { calls_.emplace_back("quit"); }, [this] { calls_.emplace_back("next"); },
                      [this] { calls_.emplace_back("previous"); },
                      [this](const Security& s) {
                        calls_.push_back("choose " + std::string(s.code.begin(), s.code.end()));
                      },
                      [this](const std::wstring& text) {
                        looked_for_ = text;
                        return findings_;
                      },
                      [this] { calls_.emplace_back("refresh"); }});
  }

  void Type(const std::u32string& keys) {
    for (const char32_t key : keys) {
      screen_->OnKey(Typed(key));
    }
  }

  Calls TakeCalls() { return std::exchange(calls_, {}); }

  std::vector<std::string> Rows(int columns = 80) {
    std::vector<std::string> rows;
    for (const StyledLine& line :
         screen_->Picture({{{"indices"}}, {{"state"}}}, Panel::Clock::now(), stock::kMarketMorning)) {
      EXPECT_LE(DisplayWidth(line), columns);
      StyledLine trimmed = line;
      TrimEnd(trimmed);
      rows.push_back(Render(trimmed, Palette(false)));
    }
    return rows;
  }

  bool Shows(const std::string& text) {
    for (const std::string& row : Rows()) {
      if (row.find(text) != std::string::npos) {
        return true;
      }
    }
    return false;
  }

  Calls calls_;
  std::vector<FakePanel*> panels_;
  std::wstring looked_for_;
  Findings findings_;
  std::unique_ptr<Screen> screen_;
};

TEST_F(ScreenTest, showsThePanelsOfItsPageAndNoOther) {
  EXPECT_EQ(TakeCalls(), Calls());
  screen_->Resize({80, 24});
  EXPECT_EQ(TakeCalls(), Calls({"board show", "quote show"}));
}

TEST_F(ScreenTest, hidesBeforeItShowsAndLeavesTheOnesThatStay) {
  screen_->Resize({80, 24});
  TakeCalls();
  Type(U"2");
  EXPECT_EQ(TakeCalls(), Calls({"board hide", "line show"}));
  Type(U"2");
  Type(U"9");
  EXPECT_EQ(TakeCalls(), Calls());
  Type(U"1");
  EXPECT_EQ(TakeCalls(), Calls({"line hide", "board show"}));
}

TEST_F(ScreenTest, hidesWhatASmallerTerminalHasNoRoomFor) {
  screen_->Resize({80, 24});
  TakeCalls();
  screen_->Resize({60, 24});
  EXPECT_EQ(TakeCalls(), Calls({"quote hide"}));
  screen_->Resize({60, 24});
  EXPECT_EQ(TakeCalls(), Calls());
  screen_->Resize({80, 24});
  EXPECT_EQ(TakeCalls(), Calls({"quote show"}));
}

TEST_F(ScreenTest, saysThatATerminalIsTooSmallAndHidesEverything) {
  screen_->Resize({80, 24});
  TakeCalls();
  screen_->Resize({59, 24});
  EXPECT_EQ(TakeCalls(), Calls({"board hide", "quote hide"}));
  EXPECT_EQ(Rows(59).front(), "too small: 59 by 24, at least 60 by 14");
  Type(U"x?/");
  EXPECT_EQ(TakeCalls(), Calls());
  Type(U"q");
  EXPECT_EQ(TakeCalls(), Calls({"quit"}));
  screen_->Resize({60, 14});
  EXPECT_EQ(TakeCalls(), Calls({"board show"}));
}

TEST_F(ScreenTest, laysOutHeadPanelsAndFoot) {
  screen_->Resize({80, 24});
  const std::vector<std::string> rows = Rows();
  ASSERT_EQ(rows.size(), 24U);
  EXPECT_EQ(rows[0], "indices");
  EXPECT_EQ(rows[1], "state");
  EXPECT_EQ(rows[2].rfind("▸ board ───", 0), 0U) << rows[2];
  EXPECT_NE(rows[2].find("─ │   quote ──"), std::string::npos) << rows[2];
  EXPECT_EQ(rows[3].rfind("board picture ", 0), 0U) << rows[3];
  EXPECT_EQ(rows[21].rfind("* live ", 0), 0U) << rows[21];
  EXPECT_EQ(rows[22], "x does something");
  EXPECT_EQ(rows[23].rfind("[1 first] 2 second", 0), 0U) << rows[23];
  EXPECT_EQ(panels_[0]->size_.rows, 18);
}

TEST_F(ScreenTest, tellsEveryStateInWords) {
  screen_->Resize({80, 24});
  using State = FeedState;
  const std::vector<std::pair<State, std::string>> marks = {
      {State::kWaiting, "… text"}, {State::kLive, "* text"},  {State::kStale, "! text"},
      {State::kClosed, "- text"},  {State::kEmpty, "- text"}, {State::kFailed, "! text"}};
  for (const auto& [state, shown] : marks) {
    panels_[0]->report = {state, "text"};
    EXPECT_EQ(Rows()[21].rfind(shown, 0), 0U) << Rows()[21];
  }
}

// The line of the state was cut in the middle of what to do about it.
TEST_F(ScreenTest, saysInWholeWhyAPanelIsEmptyWhereItsStateHasNoRoom) {
  panels_[0]->is_empty = true;
  panels_[0]->report = {FeedState::kEmpty,
                        "the list is empty; on a small terminal, too, + puts something in it"};
  screen_->Resize({60, 14});
  EXPECT_TRUE(Shows("the list is empty; on a small terminal, too, + puts"));
  EXPECT_TRUE(Shows("something in it"));
  screen_->Resize({160, 14});
  const std::vector<std::string> rows = Rows(160);
  EXPECT_EQ(std::count_if(rows.begin(), rows.end(),
                          [](const std::string& row) { return row.find("is empty") != std::string::npos; }),
            1);
}

TEST_F(ScreenTest, hintsAtWholeKeysOnly) {
  panels_[0]->keys = {{"↑↓", "row"}, {"Enter", "a word that takes much room"}, {"s S", "column to order by"}};
  screen_->Resize({60, 14});
  EXPECT_TRUE(Shows("↑↓ row   Enter a word that takes much room"));
  EXPECT_FALSE(Shows("column to")) << "a piece of a hint";
  screen_->Resize({80, 24});
  EXPECT_TRUE(Shows("Enter a word that takes much room   s S column to order by"));
}

// Where a person stands was left out beside a long title.
TEST_F(ScreenTest, saysThePositionBesideTheStateWhereTheTitleLeavesNoRoom) {
  panels_[0]->position = "row 37 of 5,299";
  screen_->Resize({60, 14});
  EXPECT_NE(Rows()[2].find("─ row 37 of 5,299"), std::string::npos) << Rows()[2];
  EXPECT_EQ(Rows()[11], "* live");
  panels_[0]->title = "stocks of bk1039 by change, descending, and more";
  EXPECT_EQ(Rows()[2].find("row 37"), std::string::npos) << Rows()[2];
  EXPECT_EQ(Rows()[11], "* live" + std::string(60 - 6 - 15, ' ') + "row 37 of 5,299");
  panels_[0]->report = {FeedState::kFailed, "a reason that leaves too little room for both"};
  EXPECT_EQ(Rows()[11], "! a reason that leaves too little room for both") << "the state never goes";
}

TEST_F(ScreenTest, fitsIntoEverySize) {
  for (int columns = 60; columns < 200; columns += 7) {
    for (int rows = 14; rows < 70; rows += 5) {
      screen_->Resize({columns, rows});
      EXPECT_EQ(Rows(columns).size(), static_cast<std::size_t>(rows));
      Type(U"?");
      EXPECT_LE(Rows(columns).size(), static_cast<std::size_t>(rows));
      Type(U" /a");
      EXPECT_EQ(Rows(columns).size(), static_cast<std::size_t>(rows));
      screen_->OnKey({KeyKind::kEscape});
    }
  }
}

TEST_F(ScreenTest, asksTheShownPanelsAgainOnTheKeyR) {
  screen_->Resize({80, 24});
  Type(U"2");
  TakeCalls();
  Type(U"r");
  EXPECT_EQ(TakeCalls(), Calls({"quote refresh", "line refresh", "refresh"}));
}

TEST_F(ScreenTest, asksAtItsIntervalOnlyWhileTheMarketIsOpenAndOnlyWhoDoesNotAskBySelf) {
  screen_->Resize({80, 24});
  Type(U"2");
  TakeCalls();
  screen_->OnInterval(stock::kMarketClosed);
  EXPECT_EQ(TakeCalls(), Calls());
  screen_->OnInterval(stock::kMarketMorning);
  TakeCalls();
  screen_->OnInterval(stock::kMarketMorning);
  TakeCalls();
  screen_->OnInterval(stock::kMarketMorning);
  EXPECT_EQ(TakeCalls(), Calls({"line refresh", "refresh"}));
}

// The header kept the value of some second before the close.
TEST_F(ScreenTest, asksForEverythingWhenThePhaseChangesAndOnceMore) {
  screen_->Resize({80, 24});
  Type(U"2");
  screen_->OnInterval(stock::kMarketAfternoon);
  TakeCalls();
  for (int interval = 0; interval < 2; ++interval) {
    screen_->OnInterval(stock::kMarketClosed);
    EXPECT_EQ(TakeCalls(), Calls({"quote refresh", "line refresh", "refresh"})) << interval;
  }
  screen_->OnInterval(stock::kMarketClosed);
  EXPECT_EQ(TakeCalls(), Calls());
}

TEST_F(ScreenTest, givesKeysToThePanelThatHasThem) {
  screen_->Resize({80, 24});
  TakeCalls();
  Type(U"x");
  screen_->OnKey({KeyKind::kTab});
  Type(U"x");
  screen_->OnKey({KeyKind::kTab});
  Type(U"x");
  screen_->OnKey({KeyKind::kBackTab});
  Type(U"x");
  EXPECT_EQ(TakeCalls(), Calls({"board x", "quote x", "board x", "quote x"}));
}

TEST_F(ScreenTest, keepsTheKeysWithAPanelThatIsOnTheNextPageToo) {
  screen_->Resize({80, 24});
  screen_->OnKey({KeyKind::kTab});
  Type(U"2");
  TakeCalls();
  Type(U"x1");
  screen_->OnKey({KeyKind::kTab});
  Type(U"2x");
  EXPECT_EQ(TakeCalls(), Calls({"quote x", "line hide", "board show", "board hide", "line show", "line x"}));
}

// Of three quotes a small terminal showed the first, and there was no way to the others.
TEST_F(ScreenTest, reachesPanelsThatThereIsNoRoomFor) {
  screen_->Resize({60, 14});
  EXPECT_EQ(TakeCalls(), Calls({"board show"}));
  EXPECT_TRUE(Shows("Tab 1 more   x does something"));
  screen_->OnKey({KeyKind::kTab});
  EXPECT_EQ(TakeCalls(), Calls({"board hide", "quote show"}));
  EXPECT_TRUE(Shows("▸ quote "));
  Type(U"x");
  EXPECT_EQ(TakeCalls(), Calls({"quote x"}));
  screen_->OnKey({KeyKind::kTab});
  EXPECT_EQ(TakeCalls(), Calls({"quote hide", "board show"}));
  screen_->OnKey({KeyKind::kBackTab});
  TakeCalls();
  Type(U"2");
  EXPECT_EQ(TakeCalls(), Calls({"quote hide", "line show"})) << "another page begins with what it is for";
  screen_->Resize({80, 24});
  EXPECT_FALSE(Shows(" more   x does something"));
}

TEST_F(ScreenTest, stepsAndQuitsWithKeysThatNoPanelWants) {
  screen_->Resize({80, 24});
  TakeCalls();
  Type(U"npq\x04");
  EXPECT_EQ(TakeCalls(), Calls({"next", "previous", "quit", "quit"}));
}

TEST_F(ScreenTest, tellsEveryPanelOfTheSelection) {
  screen_->Resize({80, 24});
  TakeCalls();
  screen_->Select({L"sh600000", L"", stock::kSymbolStock});
  EXPECT_EQ(TakeCalls(), Calls({"board select sh600000", "quote select sh600000", "line select sh600000"}));
}

TEST_F(ScreenTest, selectsWhatIsTyped) {
  screen_->Resize({80, 24});
  TakeCalls();
  findings_.matches = {{L"sh600000", L"one", stock::kSymbolStock},
                       {L"sh000001", L"two", stock::kSymbolIndex}};
  Type(U"/qn");
  EXPECT_EQ(looked_for_, L"qn");
  EXPECT_EQ(TakeCalls(), Calls());
  EXPECT_TRUE(Shows("/ qn_"));
  EXPECT_TRUE(Shows("▸ sh600000  one"));
  screen_->OnKey({KeyKind::kBackspace});
  EXPECT_EQ(looked_for_, L"q");
  screen_->OnKey({KeyKind::kDown});
  screen_->OnKey({KeyKind::kDown});
  EXPECT_TRUE(Shows("▸ sh000001  two"));
  screen_->OnKey({KeyKind::kUp});
  screen_->OnKey({KeyKind::kEnter});
  EXPECT_EQ(TakeCalls(), Calls({"choose sh600000"}));
  EXPECT_FALSE(Shows("/ q"));
}

TEST_F(ScreenTest, goesBackWithoutASelection) {
  screen_->Resize({80, 24});
  TakeCalls();
  Type(U"/a");
  EXPECT_TRUE(Shows("no match"));
  screen_->OnKey({KeyKind::kEnter});
  EXPECT_TRUE(Shows("/ a_"));
  screen_->OnKey({KeyKind::kEscape});
  EXPECT_FALSE(Shows("/ a_"));
  Type(U"/");
  screen_->OnKey({KeyKind::kBackspace});
  EXPECT_FALSE(Shows("/ _"));
  EXPECT_EQ(TakeCalls(), Calls());
}

TEST_F(ScreenTest, saysWhyNothingCanBeLookedFor) {
  screen_->Resize({80, 24});
  findings_.reason = "the lists are being loaded";
  Type(U"/a");
  EXPECT_TRUE(Shows("the lists are being loaded"));
}

TEST_F(ScreenTest, listsTheKeysInPlaceOfThePanels) {
  screen_->Resize({80, 24});
  TakeCalls();
  Type(U"?");
  EXPECT_EQ(TakeCalls(), Calls({"board hide", "quote hide"}));
  EXPECT_TRUE(Shows("look for a security by code, name or pinyin"));
  EXPECT_TRUE(Shows("does something"));
  EXPECT_TRUE(Shows("↑ ↓ scroll   any other key closes"));
  Type(U"q");
  EXPECT_EQ(TakeCalls(), Calls({"board show", "quote show"}));
}

TEST_F(ScreenTest, explainsColumnsAndTheirKeys) {
  screen_->Resize({80, 40});
  Type(U"?");
  EXPECT_TRUE(Shows("Columns; a key orders by its column, again the other way"));
  EXPECT_TRUE(Shows("  C   change            change against the previous close, in percent"));
  EXPECT_TRUE(Shows("      qrr               volume ratio: against the usual volume at this time"));
  EXPECT_FALSE(Shows("no such column"));
}

// Lines were cut at the right edge.
TEST_F(ScreenTest, explainsEverythingOnTheSmallestTerminal) {
  screen_->Resize({60, 14});
  Type(U"?");
  std::string all;
  for (int line = 0; line < 40; ++line) {
    const std::vector<std::string> rows = Rows(60);
    for (std::size_t i = 2; i + 2 < rows.size(); ++i) {
      EXPECT_EQ(rows[i].find("…"), std::string::npos) << rows[i];
      all += rows[i] + "\n";
    }
    screen_->OnKey({KeyKind::kDown});
  }
  for (const char* const word : {"pinyin", "Shift", "closes", "previous close", "day\n", "quit"}) {
    EXPECT_NE(all.find(word), std::string::npos) << word;
  }
}

TEST_F(ScreenTest, givesClicksToThePanelBelowAndTheKeysWithThem) {
  screen_->Resize({80, 24});
  TakeCalls();
  // The second panel begins at column 54; its picture two lines below the head.
  const std::size_t quote = Rows()[2].find("quote");
  ASSERT_NE(quote, std::string::npos);
  const PlacedPart part = Place({"", {{40, 1, {{0, 10}}}, {20, 1, {{1, 10}}}}}, {0, 2, 80, 20}).at(1);
  screen_->OnKey({KeyKind::kClick, 0, part.area.column + 7, part.area.row + 4});
  Type(U"x");
  EXPECT_EQ(TakeCalls(), Calls({"quote click 7 3", "quote x"}));
  screen_->OnKey({KeyKind::kClick, 0, 0, 3});
  Type(U"x");
  EXPECT_EQ(TakeCalls(), Calls({"board click 0 0", "board x"}));
}

TEST_F(ScreenTest, scrollsThePanelBelowTheWheelAndLeavesTheKeysWhereTheyAre) {
  screen_->Resize({80, 24});
  TakeCalls();
  screen_->OnKey({KeyKind::kWheelDown, 0, 70, 10});
  screen_->OnKey({KeyKind::kWheelUp, 0, 5, 10});
  Type(U"x");
  EXPECT_EQ(TakeCalls(),
            Calls({"quote down", "quote down", "quote down", "board up", "board up", "board up", "board x"}));
}

TEST_F(ScreenTest, turnsToThePageWhoseNameIsClicked) {
  screen_->Resize({80, 24});
  TakeCalls();
  const int row = 23;
  const int second = static_cast<int>(Rows()[row].find("2 second"));
  screen_->OnKey({KeyKind::kClick, 0, second + 3, row});
  EXPECT_EQ(TakeCalls(), Calls({"board hide", "line show"}));
  screen_->OnKey({KeyKind::kClick, 0, 2, row});
  EXPECT_EQ(TakeCalls(), Calls({"line hide", "board show"}));
  screen_->OnKey({KeyKind::kClick, 0, 78, row});
  screen_->OnKey({KeyKind::kClick, 0, 0, 0});
  EXPECT_EQ(TakeCalls(), Calls());
}

TEST_F(ScreenTest, takesTheRowOfTheFinderThatIsClickedTwice) {
  screen_->Resize({80, 24});
  TakeCalls();
  findings_.matches = {{L"sh600000", L"one", stock::kSymbolStock},
                       {L"sh000001", L"two", stock::kSymbolIndex}};
  Type(U"/q");
  ASSERT_NE(Rows()[4].find("sh000001"), std::string::npos) << Rows()[4];
  screen_->OnKey({KeyKind::kClick, 0, 5, 4});
  EXPECT_TRUE(Shows("▸ sh000001  two"));
  screen_->OnKey({KeyKind::kClick, 0, 5, 2});  // the line that is typed in
  screen_->OnKey({KeyKind::kClick, 0, 5, 9});  // below the rows
  EXPECT_EQ(TakeCalls(), Calls());
  screen_->OnKey({KeyKind::kClick, 0, 40, 4});
  EXPECT_EQ(TakeCalls(), Calls({"choose sh000001"}));
  EXPECT_FALSE(Shows("/ q"));
}

TEST_F(ScreenTest, scrollsTheHelpAndTheFindingsByTheWheel) {
  screen_->Resize({60, 14});
  Type(U"?");
  const std::vector<std::string> before = Rows();
  screen_->OnKey({KeyKind::kWheelDown, 0, 1, 5});
  EXPECT_EQ(Rows()[2], before[5]);
  screen_->OnKey({KeyKind::kClick, 0, 1, 5});
  findings_.matches = {{L"sh600000", L"one", stock::kSymbolStock},
                       {L"sh000001", L"two", stock::kSymbolIndex}};
  Type(U"/jk");
  EXPECT_EQ(looked_for_, L"jk");
  screen_->OnKey({KeyKind::kWheelDown, 0, 1, 5});
  EXPECT_TRUE(Shows("▸ sh000001  two"));
}

TEST_F(ScreenTest, tellsALineUntilTheNextKey) {
  screen_->Resize({80, 24});
  screen_->Tell("no such thing");
  EXPECT_EQ(Rows()[22], "no such thing");
  screen_->OnKey({KeyKind::kLeft});
  EXPECT_EQ(Rows()[22], "x does something");
}

}  // namespace
}  // namespace cli
