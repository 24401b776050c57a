#include "cli/usual_services.h"

#include <cstdint>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/reference_run.h"

namespace cli {
namespace {

constexpr std::uint32_t kChange = 4;      // the column of the lists
constexpr std::uint32_t kDescending = 2;  // and their direction
constexpr std::uint32_t kRows = 100;      // those of a large screen
constexpr std::uint32_t kToday = 0;
constexpr int kAllShares = 1;
constexpr int kIndustries = 1;
constexpr int kConcepts = 2;
constexpr int kWeek = 2;
constexpr int kMonth = 3;
constexpr int kUnadjusted = 1;

template <class Service>
Service& Made(Service* service) {
  if (service == nullptr) {
    throw std::runtime_error("a service of the module cannot be made");
  }
  return *service;
}

template <class Data>
class BlindView final : public IUpdate1<Data> {
 public:
  void Update(const Data& /*data*/) override {}
};

}  // namespace

template <class Data, class Service, class Key>
void UsualServices::Show(Service* service, const Key& key, Polls polls) {
  Made(service);
  const auto view = std::make_shared<BlindView<Data>>();
  service->Attach(view.get());
  detach_.emplace_back([service, view] { service->Detach(view.get()); });
  service->SetTarget(view.get(), key);
  service->Resume(view.get(), true);
  if (polls == Polls::kByPhase) {
    refresh_.emplace_back([service] { service->Refresh(); });
  }
}

UsualServices::UsualServices(MainLoop& loop) {
  using Quotes = std::vector<StockMarketItem>;
  IStockCommon& reference = Made(GetStockCommon());
  LoadReferenceData(loop, reference, Needs::kLists, [this, &reference](bool ok) {
    if (ok) {
      ShowMembersOfAPlate(reference);
    }
  });
  Show<std::vector<IndexMarketSummary>>(GetIndexMarket(), std::wstring(), Polls::kByPhase);
  Show<Quotes>(GetStockMarket(), StockRangeRankingTarget{kAllShares, kChange, kDescending, 0, kRows},
               Polls::kInSeconds);
  const RankingTarget top{static_cast<std::int32_t>(kChange), kDescending, kRows};
  for (const int kind : {kIndustries, kConcepts}) {
    Show<Quotes>(GetPlateMarket(),
                 PlateRangeRankingTarget{static_cast<std::uint32_t>(kind), kChange, kDescending, 0, kRows},
                 Polls::kInSeconds);
    Show<std::vector<PlateMarketSummary>>(GetPlateRanking(kind, false), top, Polls::kByPhase);
  }
  Show<std::vector<OptionalMarketItem>>(GetOptionalStockMarket(), SortingTarget{}, Polls::kInSeconds);
  for (const bool five_minutes : {false, true}) {
    Show<std::vector<StockMarketSummary>>(GetStockRanking(kAllShares, five_minutes, false), top,
                                          Polls::kByPhase);
  }
  const std::wstring stock = L"sh600000";
  Show<StockMarketItem>(GetSingleStockMarket(), stock, Polls::kInSeconds);
  Show<StockMLineData>(GetStockMLine(), stock, Polls::kByPhase);
  Show<StockKLineData>(GetStockKLine(), stock, Polls::kByPhase);
  Show<StockInOutItem>(GetStockInOut(), stock, Polls::kByPhase);
  Show<std::list<StockUnusualEventItem>>(GetStockUnusualEvent(), kToday, Polls::kByPhase);
  Show<std::vector<StrengthRatingItem>>(GetStrengthRating(), kToday, Polls::kByPhase);
  Show<DistributionItem>(GetStockDistribution(), kToday, Polls::kByPhase);
  Show<std::vector<MoneyEffectItem>>(GetMoneyEffect(), kToday, Polls::kByPhase);
  for (const int period : {kWeek, kMonth}) {
    Made(GetStockKLine()).FetchKLine(stock.c_str(), period, kUnadjusted, [](const StockKLineData&) {});
  }
  GetStockMarket()->FetchStockItems(kChange, kDescending, kAllShares, [](const CodeNameList&) {});
  Made(GetMarginTrade()).FetchMarginTradeInfo();
  Made(GetStockPurchase()).FetchPurchaseInfo();
}

UsualServices::~UsualServices() {
  for (const auto& detach : detach_) {
    detach();
  }
}

// Which plates there are is known only now.
void UsualServices::ShowMembersOfAPlate(IStockCommon& reference) {
  const std::vector<BaseInfoItem> plates = reference.GetPlateList(kIndustries);
  if (!plates.empty()) {
    Show<PlateStockMarketData>(GetPlateStockMarket(),
                               PlateStockRankingTarget{plates.front().code, kChange, kDescending, 0, kRows},
                               Polls::kInSeconds);
  }
}

void UsualServices::Refresh() const {
  for (const auto& refresh : refresh_) {
    refresh();
  }
}

}  // namespace cli
