// The current stock: selection, stepping, and who is told.
#include "quotes/current_stock.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "scripted_host.h"
#include "services.h"

namespace {

class View final : public IUpdate1<CurrentStockItem> {
 public:
  void Update(const CurrentStockItem& item) override { items.push_back(item); }
  std::vector<std::wstring> Symbols() const {
    std::vector<std::wstring> symbols;
    for (const CurrentStockItem& item : items) {
      symbols.push_back(item.symbol);
    }
    return symbols;
  }
  std::vector<CurrentStockItem> items;
};

constexpr const char* kStocks = R"({"errno":0,
  "sh":[{"c":"sh600000","n":"浦发银行","b":"MB"},{"c":"sh600001","n":"邯郸钢铁"},{"c":"shared","n":"in Shanghai"}],
  "sz":[{"c":"sz000001","n":"平安银行","b":"MB"},{"c":"sz300001","n":"特锐德","b":"GEM"},
        {"c":"sz300002","n":"神州泰岳","b":"GEM"},{"c":"sz002001","n":"新和成","b":"SME"},
        {"c":"shared","n":"in Shenzhen"}]})";
constexpr const char* kPlates = R"({"errno":0,"bk_lists":[
  {"bk":"bk0001","n":"银行","t":1},{"bk":"bk0002","n":"钢铁","t":1},{"bk":"bk0003","n":"锂电池","t":3},
  {"bk":"both","n":"plate 1","t":1},{"bk":"both","n":"plate 2","t":3}]})";
constexpr const char* kIndices = R"({"errno":0,"data":{
  "sh":[{"c":"sh000001","n":"上证指数"},{"c":"sh000016","n":"上证50"},{"c":"bk0001","n":"index of that name"}],
  "sz":[{"c":"sz399001","n":"深证成指"},{"c":"nameless","n":""}]}})";

class CurrentStock : public ::testing::Test {
 protected:
  CurrentStock() {
    host.Allow(Script("/pc/rt/get_basic_info").Inline(Answer::Body(kStocks)));
    host.Allow(Script("/pc/rt/get_bk_list").Inline(Answer::Body(kPlates)));
    host.Allow(Script("/pc/rt/stock_index_list").Inline(Answer::Body(kIndices)));
    stock->Attach(&view);
  }
  ~CurrentStock() override { DestroyStockMarket(); }

  std::wstring Symbol() const { return stock->GetCurrentItem().symbol; }
  std::wstring Name() const { return stock->GetCurrentItem().name; }

  // What the two steps lead to from where the selection is, in list `kind`.
  std::wstring AfterNext() const {
    stock->Next();
    return Symbol();
  }
  std::wstring AfterPrevious() const {
    stock->Previous();
    return Symbol();
  }

  ScriptedHost host;
  std::unique_ptr<ICurrentStock> stock{quotes::MakeCurrentStock()};
  View view;
};

// --- Selection ---

TEST_F(CurrentStock, isEmptyAtFirst) {
  EXPECT_EQ(stock->GetCurrentItem(), CurrentStockItem());
  EXPECT_TRUE(view.items.empty());
}

TEST_F(CurrentStock, isSelectedWithItsName) {
  stock->SelectStock(L"sz000001", 1);
  EXPECT_EQ(stock->GetCurrentItem(), (CurrentStockItem{L"sz000001", L"平安银行"}));
  EXPECT_EQ(view.items, (std::vector<CurrentStockItem>{{L"sz000001", L"平安银行"}}));
}

TEST_F(CurrentStock, isNotSelectedTwice) {
  stock->SelectStock(L"sz000001", 3);
  stock->SelectStock(L"sz000001", 1);
  stock->SelectIndex(L"sz000001", 1);
  EXPECT_EQ(view.items.size(), 1U);
  EXPECT_EQ(AfterNext(), L"sz300001") << "the list stayed the one of Shenzhen";
}

TEST_F(CurrentStock, isNotSelectedByAnEmptySymbolAtFirst) {
  stock->SelectStock(L"", 1);
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(CurrentStock, isKeptWhenASymbolIsUnknown) {
  stock->SelectStock(L"sz000001", 1);
  stock->SelectStock(L"sh999999", 1);
  stock->SelectIndex(L"sh999999", 2);
  stock->SelectPlate(L"sh999999", 7);
  EXPECT_EQ(Symbol(), L"sz000001");
  EXPECT_EQ(view.items.size(), 1U);
}

TEST_F(CurrentStock, isLookedForInTheListThatIsNamedFirst) {
  stock->SelectIndex(L"bk0001", 1);
  EXPECT_EQ(Name(), L"index of that name");
  stock->SelectStock(L"sz000001", 1);
  stock->SelectPlate(L"bk0001", 1);
  EXPECT_EQ(Name(), L"银行");
  stock->SelectPlate(L"both", 2);
  EXPECT_EQ(Name(), L"plate 2");
  stock->SelectStock(L"shared", 3);
  EXPECT_EQ(Name(), L"in Shenzhen");
}

TEST_F(CurrentStock, isLookedForInAllListsInOrder) {
  stock->SelectIndex(L"shared", 1);
  EXPECT_EQ(Name(), L"in Shanghai") << "stocks of Shanghai come before those of Shenzhen";
  stock->SelectStock(L"both", 5);
  EXPECT_EQ(Name(), L"plate 1");
  stock->SelectPlate(L"sh000016", 1);
  EXPECT_EQ(Name(), L"上证50");
  stock->SelectStock(L"bk0001", 2);
  EXPECT_EQ(Name(), L"银行") << "plates come before indices";
  stock->SelectPlate(L"sz399001", 2);
  EXPECT_EQ(Name(), L"深证成指");
}

TEST_F(CurrentStock, isLookedForInAllListsWhenNoSuchListIsNamed) {
  for (const int number : {0, 3, -1, 100}) {
    stock->SelectIndex(L"sh000016", number);
    EXPECT_EQ(Symbol(), L"sh000016") << number;
    stock->SelectPlate(L"bk0002", number);
    EXPECT_EQ(Symbol(), L"bk0002") << number;
  }
  stock->SelectStock(L"sz300001", 6);
  EXPECT_EQ(Symbol(), L"sz300001");
}

TEST_F(CurrentStock, belongsToTheListThatItWasFoundIn) {
  // A GEM stock that is looked for everywhere is found among those of Shenzhen, whose next one is stepped to.
  stock->SelectPlate(L"sz300002", 1);
  EXPECT_EQ(AfterNext(), L"sz002001");
}

TEST_F(CurrentStock, isTakenOverWithoutANameButNotTold) {
  stock->SelectIndex(L"nameless", 2);
  EXPECT_EQ(stock->GetCurrentItem(), (CurrentStockItem{L"nameless", L""}));
  EXPECT_TRUE(view.items.empty());
}

TEST_F(CurrentStock, isTakenOverWithoutASymbolButNeverTold) {
  stock->SetCustomStocks({{L"a", L"A", L"", 0}, {L"", L"without a symbol", L"", 0}});
  stock->SetListKind(10);
  stock->Next();
  EXPECT_EQ(stock->GetCurrentItem(), (CurrentStockItem{L"", L"without a symbol"}));
  EXPECT_TRUE(view.items.empty());
  View late;
  stock->Attach(&late);
  EXPECT_TRUE(late.items.empty());
}

// --- Observers ---

TEST_F(CurrentStock, isToldToANewObserverAtOnce) {
  View late;
  stock->Attach(&late);
  EXPECT_TRUE(late.items.empty());
  stock->Detach(&late);
  stock->SelectStock(L"sz000001", 1);
  stock->Attach(&late);
  EXPECT_EQ(late.Symbols(), std::vector<std::wstring>{L"sz000001"});
  EXPECT_EQ(view.items.size(), 1U);
}

TEST_F(CurrentStock, isToldTwiceToAnObserverAttachedTwice) {
  stock->Attach(&view);
  stock->SelectStock(L"sz000001", 1);
  EXPECT_EQ(view.items.size(), 2U);
  stock->Detach(&view);
  stock->SelectStock(L"sh600000", 1);
  EXPECT_EQ(view.items.size(), 3U);
}

TEST_F(CurrentStock, ignoresUnknownObservers) {
  View stranger;
  stock->Detach(&stranger);
  stock->Attach(nullptr);
  stock->Detach(nullptr);
  stock->SelectStock(L"sz000001", 1);
  EXPECT_EQ(view.items.size(), 1U);
}

TEST_F(CurrentStock, mayBeLeftInsideUpdate) {
  struct Leaving final : IUpdate1<CurrentStockItem> {
    explicit Leaving(ICurrentStock& subject) : stock(subject) {}
    void Update(const CurrentStockItem&) override {
      ++told;
      stock.Detach(this);
    }
    ICurrentStock& stock;
    int told = 0;
  } leaving(*stock);
  View last;
  stock->Attach(&leaving);
  stock->Attach(&last);
  stock->SelectStock(L"sz000001", 1);
  stock->SelectStock(L"sh600000", 1);
  EXPECT_EQ(leaving.told, 1);
  EXPECT_EQ(last.items.size(), 2U);
}

// Views that stood behind the one that selects ended with the older selection.
TEST_F(CurrentStock, isTheLastWordForEveryViewWhenOneSelectsInsideUpdate) {
  struct Selecting final : IUpdate1<CurrentStockItem> {
    explicit Selecting(ICurrentStock& subject) : stock(subject) {}
    void Update(const CurrentStockItem& item) override {
      items.push_back(item.symbol);
      if (item.symbol == L"sz000001") {
        stock.SelectStock(L"sh600000", 2);
      } else if (item.symbol == L"sh600000") {
        stock.Next();
      }
    }
    ICurrentStock& stock;
    std::vector<std::wstring> items;
  } selecting(*stock);
  View last;
  stock->Attach(&selecting);
  stock->Attach(&last);
  stock->SelectStock(L"sz000001", 1);
  EXPECT_EQ(Symbol(), L"sh600001");
  EXPECT_EQ(view.Symbols(), (std::vector<std::wstring>{L"sz000001", L"sh600000", L"sh600001"}));
  EXPECT_EQ(selecting.items, (std::vector<std::wstring>{L"sz000001", L"sh600000", L"sh600001"}));
  EXPECT_EQ(last.Symbols(), std::vector<std::wstring>{L"sh600001"});
}

// --- Steps ---

TEST_F(CurrentStock, stepsForwardAndAround) {
  stock->SelectIndex(L"sh000016", 1);
  EXPECT_EQ(AfterNext(), L"bk0001");
  EXPECT_EQ(AfterNext(), L"sh000001");
  EXPECT_EQ(AfterNext(), L"sh000016");
}

TEST_F(CurrentStock, stepsBackAndAround) {
  stock->SelectIndex(L"sh000016", 1);
  EXPECT_EQ(AfterPrevious(), L"sh000001");
  EXPECT_EQ(AfterPrevious(), L"bk0001");
  EXPECT_EQ(AfterPrevious(), L"sh000016");
}

TEST_F(CurrentStock, tellsEveryStep) {
  stock->SelectPlate(L"bk0001", 1);
  stock->Next();
  stock->Previous();
  EXPECT_EQ(view.Symbols(), (std::vector<std::wstring>{L"bk0001", L"bk0002", L"bk0001"}));
}

TEST_F(CurrentStock, stepsWithinEachOfTheListsOneToSeven) {
  const std::vector<std::pair<int, std::wstring>> second_entries = {
      {1, L"sh000016"}, {2, L"nameless"}, {3, L"bk0002"},  {4, L"both"},
      {5, L"sh600001"}, {6, L"sh600001"}, {7, L"sz300001"}};
  for (const auto& [kind, second] : second_entries) {
    const std::unique_ptr<ICurrentStock> fresh(quotes::MakeCurrentStock());
    fresh->SetListKind(kind);
    fresh->Next();
    EXPECT_EQ(fresh->GetCurrentItem().symbol, second) << "kind " << kind;
  }
}

TEST_F(CurrentStock, leadsFromGemSmeAndUnknownListsToTheFirstStockOfShanghai) {
  for (const int kind : {8, 9, 0, -1, 11, 100}) {
    stock->SelectStock(L"sz300002", 4);
    stock->SetListKind(kind);
    EXPECT_EQ(AfterNext(), L"sh600000") << kind;
    EXPECT_EQ(AfterNext(), L"sh600001") << "the kind is now that of Shanghai";
    stock->SetListKind(kind);
    EXPECT_EQ(AfterPrevious(), L"sh600000") << kind;
  }
}

TEST_F(CurrentStock, leadsFromASelectedGemStockToTheFirstStockOfShanghai) {
  stock->SelectStock(L"sz300001", 4);
  EXPECT_EQ(AfterNext(), L"sh600000");
  stock->SelectStock(L"sz002001", 5);
  EXPECT_EQ(AfterPrevious(), L"sh600000");
}

TEST_F(CurrentStock, stepsFromBeyondTheEndAsFromTheEnd) {
  stock->SelectStock(L"sz002001", 1);
  stock->SetListKind(2);
  EXPECT_EQ(AfterNext(), L"sz399001") << "forward leads to the first";
  stock->SelectStock(L"sz002001", 1);
  stock->SetListKind(2);
  EXPECT_EQ(AfterPrevious(), L"nameless") << "back leads to the last";
}

TEST_F(CurrentStock, keepsItsPlaceWhenOnlyTheKindIsSet) {
  stock->SelectStock(L"sz000001", 1);
  stock->SetListKind(6);
  EXPECT_EQ(Symbol(), L"sz000001");
  EXPECT_EQ(view.items.size(), 1U);
}

// --- The custom list ---

TEST_F(CurrentStock, stepsThroughTheCustomList) {
  EXPECT_EQ(stock->SetCustomStocks({{L"a", L"A", L"", 0}, {L"b", L"B", L"", 0}, {L"c", L"C", L"", 0}}), 3);
  EXPECT_TRUE(view.items.empty()) << "nobody is told";
  stock->SetListKind(10);
  EXPECT_EQ(AfterNext(), L"b");
  EXPECT_EQ(AfterNext(), L"c");
  EXPECT_EQ(AfterNext(), L"a");
  EXPECT_EQ(AfterPrevious(), L"c");
}

TEST_F(CurrentStock, findsItsPlaceInANewCustomList) {
  stock->SetCustomStocks({{L"a", L"A", L"", 0}, {L"b", L"B", L"", 0}});
  stock->SetListKind(10);
  stock->Next();
  ASSERT_EQ(Symbol(), L"b");
  EXPECT_EQ(stock->SetCustomStocks({{L"b", L"B", L"", 0}, {L"b", L"again", L"", 0}, {L"x", L"X", L"", 0}}),
            3);
  EXPECT_EQ(view.items.size(), 1U);
  stock->Next();
  EXPECT_EQ(Name(), L"again") << "the first of equal symbols is the place";
}

TEST_F(CurrentStock, keepsItsPlaceWhenTheNewCustomListDoesNotHoldIt) {
  stock->SetCustomStocks({{L"a", L"A", L"", 0}, {L"b", L"B", L"", 0}});
  stock->SetListKind(10);
  stock->Next();
  stock->SetCustomStocks({{L"x", L"X", L"", 0}, {L"y", L"Y", L"", 0}, {L"z", L"Z", L"", 0}});
  EXPECT_EQ(AfterNext(), L"z");
}

TEST_F(CurrentStock, doesNotMoveInTheCustomListOfAnotherKind) {
  stock->SelectIndex(L"sh000016", 1);
  stock->SetCustomStocks({{L"x", L"X", L"", 0}, {L"y", L"Y", L"", 0}, {L"sh000016", L"Z", L"", 0}});
  EXPECT_EQ(AfterNext(), L"bk0001");
}

TEST_F(CurrentStock, notesAnEmptyCustomListInTheLog) {
  host.ExpectLine(L"CCurrentStock::SetCustomStocks，待切换股票列表为空");
  EXPECT_EQ(stock->SetCustomStocks({}), 0);
  EXPECT_EQ(host.Log().at(0).writer, LogLine::Writer::kNoMask);
}

TEST_F(CurrentStock, leadsFromAnEmptyCustomListToTheFirstStockOfShanghai) {
  stock->SetListKind(10);
  EXPECT_EQ(AfterNext(), L"sh600000");
  stock->SetListKind(10);
  EXPECT_EQ(AfterPrevious(), L"sh600000");
  EXPECT_EQ(AfterNext(), L"sh600001") << "the kind is now that of Shanghai";
}

// --- Reference data ---

TEST_F(CurrentStock, makesTheReferenceDataThatTheExportHandsOut) {
  EXPECT_TRUE(stock->EnsureStockCommon());
  EXPECT_EQ(host.RequestCount(), 0U);
  stock->SelectStock(L"sz000001", 1);
  const std::size_t asked = host.RequestCount();
  EXPECT_EQ(GetStockCommon()->GetStockList(2).size(), 3U);
  EXPECT_EQ(host.RequestCount(), asked) << "one object serves both";
}

TEST_F(CurrentStock, makesTheReferenceDataAgainAfterItsEnd) {
  stock->SelectStock(L"sz000001", 1);
  DestroyStockMarket();
  EXPECT_EQ(AfterNext(), L"sz300001");
}

TEST(CurrentStockWithoutLists, changesNothing) {
  ScriptedHost host;
  for (const char* const path : {"/pc/rt/get_basic_info", "/pc/rt/get_bk_list", "/pc/rt/stock_index_list"}) {
    host.Allow(Script(path).Inline(Answer::Failed()));
  }
  const std::unique_ptr<ICurrentStock> stock(quotes::MakeCurrentStock());
  View view;
  stock->Attach(&view);
  stock->SelectStock(L"sz000001", 1);
  for (int kind = 0; kind <= 10; ++kind) {
    stock->SetListKind(kind);
    stock->Next();
    stock->SetListKind(kind);
    stock->Previous();
  }
  EXPECT_EQ(stock->GetCurrentItem(), CurrentStockItem());
  EXPECT_TRUE(view.items.empty());
  DestroyStockMarket();
}

// Every list that a selection looks through asked the silent server for the stocks again.
TEST(CurrentStockOverASilentServer, asksOnceASelectionWhileListsAreHeld) {
  ScriptedHost host;
  host.Expect(Script("/pc/rt/get_basic_info").Inline(Answer::Body(kStocks)));
  host.Allow(Script("/pc/rt/get_bk_list").Inline(Answer::Body(kPlates)));
  host.Allow(Script("/pc/rt/stock_index_list").Inline(Answer::Body(kIndices)));
  host.SetTime(20240314, 15, 0, 0);
  const std::unique_ptr<ICurrentStock> stock(quotes::MakeCurrentStock());
  stock->SelectStock(L"sz000001", 1);
  host.SetTime(20240315, 10, 0, 0);
  host.Expect(Script("/pc/rt/get_basic_info").Inline(Answer::Failed()));
  stock->SelectStock(L"sh999999", 1);
  stock->SelectStock(L"sh600000", 1);
  stock->Next();
  EXPECT_EQ(stock->GetCurrentItem().symbol, L"sh600001");
  DestroyStockMarket();
}

TEST(CurrentStockExport, survivesTheEndOfTheOthers) {
  ScriptedHost host;
  ICurrentStock* const stock = GetCurrentStock();
  ASSERT_NE(stock, nullptr);
  DestroyStockMarket();
  EXPECT_EQ(GetCurrentStock(), stock);
}

}  // namespace
