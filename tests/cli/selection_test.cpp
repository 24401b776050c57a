// The current security: nothing is looked up too early, and stepping follows the list that is shown.
#include "cli/views/selection.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace cli {
namespace {

// The module's current stock, as far as a list of stocks and a custom list go.
class FakeCurrentStock final : public ICurrentStock {
 public:
  void Attach(IUpdate1<CurrentStockItem>* observer) override { observers_.push_back(observer); }
  void Detach(IUpdate1<CurrentStockItem>* observer) override { std::erase(observers_, observer); }
  bool EnsureStockCommon() override { return true; }
  void SelectIndex(const std::wstring& symbol, int variant) override { Take("index", symbol, variant); }
  void SelectStock(const std::wstring& symbol, int category) override { Take("stock", symbol, category); }
  void SelectPlate(const std::wstring& symbol, int variant) override { Take("plate", symbol, variant); }
  void SetListKind(int kind) override { calls.push_back("kind " + std::to_string(kind)); }
  int SetCustomStocks(const std::vector<BaseInfoItem>& stocks) override {
    calls.push_back("custom " + std::to_string(stocks.size()));
    return static_cast<int>(stocks.size());
  }
  void Previous() override { calls.emplace_back("previous"); }
  void Next() override { calls.emplace_back("next"); }
  CurrentStockItem GetCurrentItem() override { return item_; }

  std::vector<std::string> calls;
  std::size_t observers() const { return observers_.size(); }

 private:
  void Take(const std::string& kind, const std::wstring& symbol, int number) {
    calls.push_back(kind + " " + std::string(symbol.begin(), symbol.end()) + " " + std::to_string(number));
    if (symbol != item_.symbol) {
      item_ = {symbol, L"name"};
      for (auto* const observer : observers_) {
        observer->Update(item_);
      }
    }
  }

  std::vector<IUpdate1<CurrentStockItem>*> observers_;
  CurrentStockItem item_;
};

class SelectionTest : public testing::Test {
 protected:
  using Calls = std::vector<std::string>;

  FakeCurrentStock current_;
  std::vector<Security> changes_;
  std::unique_ptr<Selection> selection_ = std::make_unique<Selection>(
      current_, [this](const Security& security) { changes_.push_back(security); });
};

const std::vector<BaseInfoItem> kList = {{L"sz000002", L"two", L"", 0}, {L"sz000001", L"one", L"", 0}};

TEST_F(SelectionTest, waitsForTheReferenceData) {
  selection_->Select(SecurityOf(L"sz000001", L"one"));
  selection_->Next();
  selection_->Previous();
  EXPECT_EQ(current_.calls, Calls());
  selection_->OnReferenceData();
  EXPECT_EQ(current_.calls, Calls({"stock sz000001 1"}));
  EXPECT_EQ(changes_, (std::vector<Security>{{L"sz000001", L"name", stock::CheckSymbol(L"sz000001")}}));
}

TEST_F(SelectionTest, keepsTheLatestWishOnly) {
  selection_->Select(SecurityOf(L"sz000001", L"one"));
  selection_->Select(SecurityOf(L"sz000002", L"two"));
  selection_->OnReferenceData();
  selection_->OnReferenceData();
  EXPECT_EQ(current_.calls, Calls({"stock sz000002 1"}));
}

TEST_F(SelectionTest, looksIntoTheListsOfTheSecuritysKind) {
  selection_->OnReferenceData();
  selection_->Select({L"sh000001", L"", stock::kSymbolIndex});
  selection_->Select({L"sz399001", L"", stock::kSymbolIndex});
  selection_->Select({L"bk1001", L"", stock::kSymbolPlate});
  selection_->Select({L"sh600000", L"", stock::kSymbolStock});
  EXPECT_EQ(current_.calls,
            Calls({"index sh000001 1", "index sz399001 2", "plate bk1001 1", "stock sh600000 1"}));
}

TEST_F(SelectionTest, beginsWithTheFirstOfTheList) {
  selection_->OnReferenceData();
  selection_->StepThrough(kList);
  EXPECT_EQ(current_.calls, Calls({"stock sz000002 1", "kind 10", "custom 2"}));
  selection_->Next();
  EXPECT_EQ(current_.calls.back(), "next");
}

TEST_F(SelectionTest, leavesWhatIsSelectedWhenAnotherListIsShown) {
  selection_->OnReferenceData();
  selection_->Select(SecurityOf(L"sz000001", L"one"));
  current_.calls.clear();
  selection_->StepThrough(kList);
  EXPECT_EQ(current_.calls, Calls({"kind 10", "custom 2"}));
}

TEST_F(SelectionTest, stepsThroughAListOnlyWhenItHoldsTheSecurity) {
  selection_->OnReferenceData();
  selection_->Select({L"sh000001", L"", stock::kSymbolIndex});
  current_.calls.clear();
  selection_->StepThrough(kList);
  EXPECT_EQ(current_.calls, Calls());
  selection_->Select(SecurityOf(L"sz000001", L"one"));
  EXPECT_EQ(current_.calls, Calls({"stock sz000001 1", "kind 10", "custom 2"}));
}

TEST_F(SelectionTest, ignoresAnEmptyList) {
  selection_->OnReferenceData();
  selection_->StepThrough({});
  EXPECT_EQ(current_.calls, Calls());
}

TEST_F(SelectionTest, detachesAtItsEnd) {
  EXPECT_EQ(current_.observers(), 1U);
  selection_.reset();
  EXPECT_EQ(current_.observers(), 0U);
}

}  // namespace
}  // namespace cli
