// How the stocks of the market spread over ranges of change on one day.
#include "analytics/stock_distribution.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "analytics/daily_service.h"
#include "json/budget.h"
#include "request/urls.h"

namespace analytics {
namespace {

class CStockDistribution
    : public DailyService<IStockDistribution, request::Fetch::kDistribution, &request::DistributionUrl> {
 public:
  void SetTarget(Observer* obs, const std::uint32_t& date) override;

 private:
  std::shared_ptr<DistributionItem> Read(const std::uint32_t& date, const request::Answer& answer) override;
};

// An observer that had a date is cleared first, also when the date stays (kept: views rely on the empty
// record).
void CStockDistribution::SetTarget(Observer* obs, const std::uint32_t& date) {
  std::uint32_t old = 0;
  if (obs != nullptr && GetTarget(obs, old)) {
    TellAlone(obs, {});
  }
  DailyService::SetTarget(obs, date);
}

std::shared_ptr<DistributionItem> CStockDistribution::Read(const std::uint32_t& /*date*/,
                                                           const request::Answer& answer) {
  const request::json::Object data = answer.DataObject();
  auto item = std::make_shared<DistributionItem>();
  item->up = data.Member("up").Integer();
  item->down = data.Member("down").Integer();
  item->nochange = data.Member("nochange").Integer();
  std::vector<DistributionBucket> buckets;
  std::uint32_t sum = 0;  // wraps
  const request::json::Array list = data.ArrayAt("list");
  request::json::Budget().Require(list.Size(), 2 * sizeof(DistributionBucket));  // also in two halves
  buckets.reserve(list.Size());
  list.ForEach([&](const request::json::Value& element) {
    buckets.push_back({element.Integer(), 0.0});
    sum += static_cast<std::uint32_t>(buckets.back().count);
  });
  const auto total = static_cast<std::int32_t>(sum);
  for (DistributionBucket& bucket : buckets) {
    bucket.ratio = total == 0 ? 0.0 : static_cast<double>(bucket.count) / total;
  }
  const auto middle = buckets.begin() + static_cast<std::ptrdiff_t>(buckets.size() / 2);
  item->first_half.assign(buckets.begin(), middle);
  item->second_half.assign(middle, buckets.end());
  return item;
}

}  // namespace

IStockDistribution* MakeStockDistribution() {
  return frame::MakeOrNull<frame::Running<CStockDistribution>>();
}

}  // namespace analytics
