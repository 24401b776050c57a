// How the pages are laid out and what they say: boxes as a map of the window, and words; not pixels.
#include "cli/format/words.h"
#include "desktop/theme.h"
#include "running_desk.h"

namespace {

struct Golden {
  std::string_view page;
  const char* map;      // which pane stands where, by the letter of its place on the page's list
  const char* english;  // titles, boxes and how the figures are
  const char* chinese;
};

const Golden kGoldens[] = {
    {"board", R"(
aaaaaaaaabbb
aaaaaaaaabbb
cccccddddbbb
cccccddddeee
)",
     R"(
Board [All A shares]: live
Quote: live
Minutes [Today]: live
Candles [Day] [Unadjusted]: live
Flows: live
)",
     R"(
行情 [沪深A股]: 实时
盘口: 实时
分时 [分时]: 实时
K线 [日K] [不复权]: 实时
资金流向: 实时
)"},
    {"stock", R"(
aaaaaaaaabbb
aaaaaaaaabbb
cccccccccbbb
cccccccccddd
)",
     R"(
Candles [Day] [Unadjusted]: live
Quote: live
Minutes [Today]: live
Flows: live
Plates of the stock: 
)",
     R"(
K线 [日K] [不复权]: 实时
盘口: 实时
分时 [分时]: 实时
资金流向: 实时
所属板块: 
)"},
    {"watch", R"(
aaaaaaaaabbb
aaaaaaaaabbb
cccccccccbbb
cccccccccddd
)",
     R"(
Watch list: The watch list is empty; Insert puts the current stock in
Quote: live
Minutes [Today]: live
Unusual events: live
)",
     R"(
自选股: 自选为空，按 Insert 加入当前股票
盘口: 实时
分时 [分时]: 实时
异动: 实时
)"},
    {"plates", R"(
aaaabbbbbccc
aaaabbbbbccc
aaaadddddccc
aaaadddddccc
)",
     R"(
Plates [Industries]: live
Stocks of the plate: live
Quote: live
Minutes [Today]: live
)",
     R"(
板块 [行业]: 实时
板块成份股: 实时
盘口: 实时
分时 [分时]: 实时
)"},
    {"ranks", R"(
aaaabbbbcccc
aaaabbbbcccc
ddddeeeeffff
ddddeeeeffff
)",
     R"(
Rises [All A shares] [Day]: live
Falls [All A shares] [Day]: live
Ranking of plates [Industries]: live
Rises of five minutes [All A shares] [Five minutes]: live
Falls of five minutes [All A shares] [Five minutes]: live
Quote: live
)",
     R"(
涨幅榜 [沪深A股] [当日]: 实时
跌幅榜 [沪深A股] [当日]: 实时
板块排行 [行业]: 实时
五分钟涨幅 [沪深A股] [五分钟]: 实时
五分钟跌幅 [沪深A股] [五分钟]: 实时
盘口: 实时
)"},
    {"breadth", R"(
aaaaaaabbbbb
aaaaaaabbbbb
cccccccbbbbb
cccccccbbbbb
)",
     R"(
Stocks up and down: live
Spread of changes: live
Money-making effect: live
)",
     R"(
涨跌家数: 实时
涨跌分布: 实时
赚钱效应: 实时
)"},
    {"events", R"(
aaaabbbbbbbb
aaaabbbbbbbb
aaaacccccccc
aaaacccccccc
)",
     R"(
Unusual events: live
Minutes [Today]: live
Candles [Day] [Unadjusted]: live
)",
     R"(
异动: 实时
分时 [分时]: 实时
K线 [日K] [不复权]: 实时
)"},
    {"more", R"(
aaaaaaabbbbb
aaaaaaabbbbb
cccccccbbbbb
cccccccbbbbb
)",
     R"(
New shares: live
Trading days: live
Margin trading: live
)",
     R"(
新股申购: 实时
交易日历: 实时
融资融券: 实时
)"},
};

class LayoutTest : public RunningDesk {
 protected:
  [[nodiscard]] char LetterOf(const std::string& pane) const {
    const auto& placings = window_->page().kind().panes;
    const auto found = std::find_if(placings.begin(), placings.end(),
                                    [&](const desktop::Placing& placing) { return placing.pane == pane; });
    return found == placings.end() ? '?' : static_cast<char>('a' + (found - placings.begin()));
  }
  [[nodiscard]] std::string Map() const {
    constexpr int kColumns = 12;
    constexpr int kRows = 4;
    desktop::Page& page = window_->page();
    std::string map;
    for (int row = 0; row < kRows; ++row) {
      for (int column = 0; column < kColumns; ++column) {
        const QPoint at((2 * column + 1) * page.width() / (2 * kColumns),
                        (2 * row + 1) * page.height() / (2 * kRows));
        const QWidget* child = page.childAt(at);
        while (child != nullptr && qobject_cast<const QDockWidget*>(child) == nullptr) {
          child = child->parentWidget() == &page ? nullptr : child->parentWidget();
        }
        map += child == nullptr ? '.' : LetterOf(child->objectName().toStdString());
      }
      map += '\n';
    }
    return map;
  }
  // The clock stands still: figures that are live become unchanged ones on a slow machine.
  static QString StateOf(const desktop::Pane& pane) {
    return !pane.seen() ? QString()
           : pane.Report().state == cli::FeedState::kUnchanged
               ? desktop::StateText({cli::FeedState::kLive, "live"})
               : pane.State();
  }
  [[nodiscard]] std::string Words() const {
    QStringList words;
    for (const desktop::Placing& placing : window_->page().kind().panes) {
      const QDockWidget* const dock = window_->page().Dock(placing.pane);
      const auto* const pane = window_->page().Find(placing.pane);
      QString line = dock->windowTitle();
      for (const QComboBox* const box : pane->findChildren<QComboBox*>()) {
        line += QStringLiteral(" [%1]").arg(box->currentText());
      }
      words << line + QStringLiteral(": ") + StateOf(*pane);
    }
    return words.join(QLatin1Char('\n')).toStdString() + "\n";
  }
};

TEST_F(LayoutTest, everyPageHasItsBoxesAndWordsInBothLanguagesAndThemes) {
  StartServer(kAfternoon);
  options_.symbol = "sh600000";
  for (const auto language : {cli::Language::kEnglish, cli::Language::kChinese}) {
    cli::SetLanguage(language);
    ASSERT_NO_FATAL_FAILURE(StartDesk("board"));
    ASSERT_TRUE(Await([this] { return desk_->current().code == L"sh600000"; }));
    ASSERT_EQ(desktop::PageKinds().size(), std::size(kGoldens));
    for (const bool is_dark : {true, false}) {
      desk_->ChooseTheme(is_dark, false);
      for (const Golden& golden : kGoldens) {
        SCOPED_TRACE(std::string(golden.page) + (is_dark ? " dark" : " light"));
        window_->ShowPage(golden.page);
        EXPECT_TRUE(Await([this] { return IsSettled(); })) << Unsettled();
        EXPECT_EQ(Map(), golden.map + 1);
        const std::string words = (language == cli::Language::kEnglish ? golden.english : golden.chinese) + 1;
        EXPECT_TRUE(Await([&] { return Words() == words; })) << Words();
      }
    }
    window_.reset();
    desk_.reset();
  }
}

TEST_F(LayoutTest, everyPageIsPaintedInAnyRoom) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  ASSERT_NO_FATAL_FAILURE(Select("sh600000"));
  for (const desktop::PageKind& page : desktop::PageKinds()) {
    SCOPED_TRACE(std::string(page.name));
    window_->ShowPage(page.name);
    for (const QSize& size : {QSize(500, 320), QSize(1400, 900)}) {
      window_->resize(size);
      EXPECT_FALSE(window_->grab().isNull());
    }
  }
}

}  // namespace
