// The whole viewer over the simulated market: mouse and keys do what they say, and what was arranged stays.
#include <QtCore/QMimeData>
#include <QtGui/QDropEvent>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QScrollBar>

#include "c_stock_market.h"
#include "cli/format/figures.h"
#include "cli/format/text.h"
#include "desktop/theme.h"
#include "running_desk.h"

namespace {

using cli::FeedState;
using desktop::ListPane;
using desktop::Pane;

class WindowTest : public RunningDesk {};
class TeardownTest : public RunningDesk {};

TEST_F(WindowTest, clickingAHeaderHasTheServerSortByIt) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  ListPane& board = List("board");
  QHeaderView& header = *board.list().horizontalHeader();
  const int column = board.table().ColumnOf("last");
  const auto click = [&] {
    const QPoint at(header.sectionViewportPosition(column) + header.sectionSize(column) / 2,
                    header.height() / 2);
    QTest::mouseClick(header.viewport(), Qt::LeftButton, Qt::NoModifier, at);
  };
  std::vector<market_server::model::Quote> quotes = market_->BoardAt(Now())->stocks;
  std::erase_if(quotes, [](const auto& quote) { return quote.last <= 0; });
  const auto by_last = [](const auto& a, const auto& b) { return a.last < b.last; };
  const double least = std::min_element(quotes.begin(), quotes.end(), by_last)->last;
  const double most = std::max_element(quotes.begin(), quotes.end(), by_last)->last;
  click();
  EXPECT_TRUE(
      Await([&] { return board.table().size() > 0 && Cell(board, 0, "last") == cli::Fixed(most, 2); }));
  EXPECT_TRUE(board.table()
                  .headerData(column, Qt::Horizontal, Qt::DisplayRole)
                  .toString()
                  .endsWith(QStringLiteral("▼")));
  click();
  EXPECT_TRUE(Await([&] {
    return board.table().size() > 0 && Cell(board, 0, "last") == cli::Fixed(least, 2);
  })) << Cell(board, 0, "last");
}

TEST_F(WindowTest, asksForTheRowsInSightAndAPageAroundThem) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  ListPane& board = List("board");
  const int shown =
      board.list().viewport()->height() / board.list().verticalHeader()->defaultSectionSize() + 1;
  ASSERT_LT(4 * shown, board.table().rowCount());
  EXPECT_LE(board.table().size(), static_cast<std::size_t>(4 * shown));
  const int middle = board.table().rowCount() / 2;
  EXPECT_FALSE(board.table().HasFigures(middle));
  EXPECT_TRUE(board.table().SecurityAt(middle).has_value());
  board.list().verticalScrollBar()->setValue(middle);
  ASSERT_TRUE(Await(
      [&] { return board.table().HasFigures(middle) && board.table().HasFigures(middle + shown - 2); }));
  EXPECT_LE(board.table().size(), static_cast<std::size_t>(4 * shown));
  EXPECT_FALSE(board.table().HasFigures(0));
}

TEST_F(WindowTest, anotherBoardIsChosenInItsBoxAndRemembered) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  auto* const box = List("board").findChild<QComboBox*>();
  ASSERT_NE(box, nullptr);
  const auto all = List("board").table().rowCount();
  box->setCurrentIndex(1);
  Q_EMIT box->activated(1);
  ASSERT_TRUE(Await([&] { return IsSettled() && List("board").table().size() > 0; }));
  EXPECT_LT(List("board").table().rowCount(), all);
  for (int row = 0; row < 10; ++row) {
    EXPECT_EQ(List("board").table().SecurityAt(row)->code.substr(0, 2), L"sh");
  }
  window_->Save();
  window_ = std::make_unique<desktop::MainWindow>(*desk_);
  EXPECT_EQ(List("board").findChild<QComboBox*>()->currentIndex(), 1);
}

TEST_F(WindowTest, pageDownStepsThroughTheListAndEveryPaneFollows) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  ASSERT_TRUE(Await([this] { return !desk_->current().code.empty(); }));
  ListPane& board = List("board");
  EXPECT_EQ(desk_->current().code, board.table().SecurityAt(0)->code);
  const auto second = *board.table().SecurityAt(1);
  QTest::keyClick(&board.list(), Qt::Key_PageDown);
  EXPECT_EQ(desk_->current().code, second.code);
  const Pane& quote = *window_->page().Find("quote");
  EXPECT_NE(quote.Title().toStdString().find(cli::Utf8(second.code)), std::string::npos);
  QTest::keyClick(&board.list(), Qt::Key_PageUp);
  EXPECT_EQ(desk_->current().code, board.table().SecurityAt(0)->code);
}

TEST_F(WindowTest, theFirstStockIsSelectedWhereNoListHasOne) {
  ASSERT_NO_FATAL_FAILURE(Open("stock"));
  EXPECT_TRUE(Await([this] { return desk_->current().code == L"sh600000" && IsSettled(); })) << Unsettled();
  EXPECT_NE(window_->page().Find("quote")->Report().state, FeedState::kEmpty);
}

TEST_F(WindowTest, anotherPageSelectsNothingByItself) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  ASSERT_NO_FATAL_FAILURE(Select("sh600000"));
  for (const char* const page : {"watch", "plates", "ranks", "events", "board"}) {
    window_->ShowPage(page);
    ASSERT_TRUE(Await([this] { return IsSettled(); })) << Unsettled();
    EXPECT_EQ(desk_->current().code, L"sh600000") << page;
  }
  window_->ShowPage("plates");
  EXPECT_TRUE(Await([this] { return List("members").table().size() > 0; }));
}

TEST_F(WindowTest, aClickedRowIsSelectedAndArrowKeysGoOn) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  ListPane& board = List("board");
  const QModelIndex cell = board.table().index(3, board.table().ColumnOf("name"));
  QTest::mouseClick(board.list().viewport(), Qt::LeftButton, Qt::NoModifier,
                    board.list().visualRect(cell).center());
  EXPECT_EQ(desk_->current().code, board.table().SecurityAt(3)->code);
  board.list().setFocus();
  QTest::keyClick(&board.list(), Qt::Key_Down);
  EXPECT_EQ(desk_->current().code, board.table().SecurityAt(4)->code);
}

TEST_F(WindowTest, typingAnywhereFindsAndEnterSelects) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  QTest::keyClicks(&List("board").list(), QStringLiteral("6"));
  ASSERT_TRUE(window_->finder().isVisible());
  auto* const line = window_->finder().findChild<QLineEdit*>();
  QTest::keyClicks(line, QStringLiteral("00000"));
  ASSERT_GT(window_->finder().matches().count(), 0);
  QTest::keyClick(line, Qt::Key_Return);
  EXPECT_FALSE(window_->finder().isVisible());
  EXPECT_EQ(desk_->current().code, L"sh600000");
}

TEST_F(WindowTest, watchListIsFilledUndoneAndReorderedByDragging) {
  ASSERT_NO_FATAL_FAILURE(Open("watch"));
  ListPane& watch = List("watch");
  EXPECT_NE(watch.State().toStdString().find("watch list is empty"), std::string::npos)
      << watch.State().toStdString();
  const std::vector<std::wstring> codes = Codes(3);
  for (const std::wstring& code : codes) {
    ASSERT_NO_FATAL_FAILURE(Select(cli::Utf8(code)));
    QTest::keyClick(window_.get(), Qt::Key_Insert);
  }
  ASSERT_TRUE(Await([&] { return watch.table().rowCount() == 3; })) << stock_host::WatchList().size();
  EXPECT_EQ(Cell(watch, 0, "last"), cli::Fixed(QuoteOf(codes[0]).last, 2));

  // The first row is dropped onto the last one.
  QTest::mousePress(watch.list().viewport(), Qt::LeftButton, Qt::NoModifier,
                    watch.list().visualRect(watch.table().index(0, 0)).center());
  ASSERT_TRUE(Await([this] { return IsSettled(); }));
  const QRect last = watch.list().visualRect(watch.table().index(2, 0));
  QMimeData nothing;
  QDropEvent drop(last.center(), Qt::MoveAction, &nothing, Qt::LeftButton, Qt::NoModifier);
  // Qt itself delivers a drop only to where a drag of the window system has entered.
  EXPECT_TRUE(static_cast<QObject&>(watch).eventFilter(watch.list().viewport(), &drop));
  EXPECT_EQ(stock_host::WatchList(), (std::vector<std::wstring>{codes[1], codes[2], codes[0]}));
  ASSERT_TRUE(Await([&] { return Cell(watch, 2, "code") == cli::Utf8(codes[0]); }));

  watch.list().setCurrentIndex(watch.table().index(0, 0));
  QTest::keyClick(&watch.list(), Qt::Key_Delete);
  EXPECT_EQ(stock_host::WatchList(), (std::vector<std::wstring>{codes[2], codes[0]}));
  QTest::keyClick(window_.get(), Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(stock_host::WatchList(), (std::vector<std::wstring>{codes[1], codes[2], codes[0]}));
}

TEST_F(WindowTest, aPlateThatIsSelectedShowsItsStocks) {
  ASSERT_NO_FATAL_FAILURE(Open("plates"));
  ListPane& plates = List("plates");
  ListPane& members = List("members");
  const auto plate = *plates.table().SecurityAt(2);
  const QModelIndex cell = plates.table().index(2, plates.table().ColumnOf("name"));
  QTest::mouseClick(plates.list().viewport(), Qt::LeftButton, Qt::NoModifier,
                    plates.list().visualRect(cell).center());
  const auto stocks = market_->Stocks(Now());
  std::vector<const market_server::model::Security*> inside;
  for (const auto* const one : market_->Members(*market_->Find(cli::Utf8(plate.code)))) {
    if (std::find(stocks.begin(), stocks.end(), one) != stocks.end()) {
      inside.push_back(one);
    }
  }
  ASSERT_TRUE(Await([&] { return members.table().rowCount() == static_cast<int>(inside.size()); }))
      << members.table().rowCount() << " of " << inside.size();
  const auto stock = *members.table().SecurityAt(0);
  EXPECT_TRUE(std::any_of(inside.begin(), inside.end(),
                          [&](const auto* one) { return one->code == cli::Utf8(stock.code); }));
}

TEST_F(WindowTest, columnsPageAndColoursAreRemembered) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  QHeaderView* header = List("board").list().horizontalHeader();
  const int name = List("board").table().ColumnOf("name");
  const int high = List("board").table().ColumnOf("high");
  header->moveSection(header->visualIndex(high), 0);
  header->resizeSection(name, 177);
  desk_->ChooseTheme(false, true);
  window_->ShowPage("breadth");
  window_->Save();
  window_.reset();
  desk_.reset();
  ASSERT_NO_FATAL_FAILURE(StartDesk(""));
  EXPECT_EQ(window_->page().kind().name, "breadth");
  EXPECT_FALSE(desktop::CurrentTheme().is_dark);
  EXPECT_TRUE(desktop::CurrentTheme().green_up);
  EXPECT_LT(desktop::CurrentTheme().rise.red(), desktop::CurrentTheme().rise.green());
  window_->ShowPage("board");
  ASSERT_TRUE(Await([this] { return List("board").table().size() > 0; }));
  header = List("board").list().horizontalHeader();
  EXPECT_EQ(header->visualIndex(high), 0);
  EXPECT_EQ(header->sectionSize(name), 177);
}

TEST_F(WindowTest, windowsOfTheSameKindKeepTheirOwnStocks) {
  ASSERT_NO_FATAL_FAILURE(Open("board"));
  const desktop::PaneKind& quote = *desktop::FindPaneKind("quote");
  std::vector<desktop::PaneWindow*> windows;
  const std::vector<std::wstring> codes = Codes(3);
  for (const std::wstring& code : {codes[0], codes[1]}) {
    windows.push_back(&window_->OpenWindow(quote, {code, L"", stock::kSymbolStock}));
    windows.back()->show();
  }
  ASSERT_NO_FATAL_FAILURE(Select(cli::Utf8(codes[2])));
  for (desktop::PaneWindow* const one : windows) {
    const auto expected = QuoteOf(one->pane().pinned().code);
    EXPECT_TRUE(Await([&] {
      return Described(one->pane()).find(cli::Fixed(expected.last, 2)) != std::string::npos;
    })) << Described(one->pane());
  }
  window_->Save();
  window_ = std::make_unique<desktop::MainWindow>(*desk_);
  ASSERT_EQ(window_->windows().size(), 2U);
  EXPECT_EQ(window_->windows()[1]->pane().pinned().code, codes[1]);
}

TEST_F(TeardownTest, windowsAreOpenedAndClosedAThousandTimesWhileFiguresArrive) {
  server_options_.speed = 5;
  StartServer(kAfternoon);
  options_.size = {700, 400};
  ASSERT_NO_FATAL_FAILURE(StartDesk("board"));
  ASSERT_TRUE(Await([this] { return desk_->lists() != nullptr && !desk_->current().code.empty(); }));
  const auto kinds = desktop::PaneKinds();
  for (std::size_t i = 0; i < 1000; ++i) {
    desktop::PaneWindow one(*desk_, kinds[i % kinds.size()], desk_->current(), 0);
    one.resize(200, 150);
    one.show();
    QCoreApplication::processEvents();
    if (i % 200 == 0) {
      window_ = std::make_unique<desktop::MainWindow>(*desk_);
      window_->show();
      QTest::qWait(1);
    }
  }
  EXPECT_TRUE(Await([this] { return IsSettled(); })) << Unsettled();
}

}  // namespace
