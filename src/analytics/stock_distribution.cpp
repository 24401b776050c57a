// How the stocks of the market spread over ranges of change on one day.
#include "analytics/stock_distribution.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "analytics/daily_service.h"
#include "analytics/stock_distribution_service.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/urls.h"

namespace analytics {
namespace {

class CStockDistribution : public DailyService<IStockDistribution> {
 public:
  void SetTarget(IUpdate1<DistributionItem>* obs, const std::uint32_t& date) override;

 private:
  // Ask
  void FetchDay(std::uint32_t date) override;
  // Understand and tell
  void OnAnswer(std::uint32_t date, bool ok, const char* body, std::size_t length);
  static DistributionItem ReadItem(const request::json::Object& data);
};

// An observer that had a date is cleared first, also when the date stays (kept: views rely on the empty
// record).
void CStockDistribution::SetTarget(IUpdate1<DistributionItem>* obs, const std::uint32_t& date) {
  std::uint32_t old = 0;
  if (obs != nullptr && GetTarget(obs, old)) {
    TellAlone(obs, {});
  }
  IStockDistribution::SetTarget(obs, date);
}

void CStockDistribution::FetchDay(std::uint32_t date) {
  request::Ask(
      request::DistributionUrl(date), request::kQuickSeconds, gate_,
      [this, date](bool ok, const char* body, std::size_t length) { OnAnswer(date, ok, body, length); });
}

void CStockDistribution::OnAnswer(std::uint32_t date, bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kDistribution, ok, body, length);
  if (answer) {
    Deliver(date, ReadItem(answer.DataObject()));
  }
}

DistributionItem CStockDistribution::ReadItem(const request::json::Object& data) {
  DistributionItem item;
  item.up = data.Member("up").Integer();
  item.down = data.Member("down").Integer();
  item.nochange = data.Member("nochange").Integer();
  std::vector<DistributionBucket> buckets;
  std::uint32_t sum = 0;  // wraps
  data.ArrayAt("list").ForEach([&](const request::json::Value& element) {
    buckets.push_back({element.Integer(), 0.0});
    sum += static_cast<std::uint32_t>(buckets.back().count);
  });
  const auto total = static_cast<std::int32_t>(sum);
  for (DistributionBucket& bucket : buckets) {
    bucket.ratio = total == 0 ? 0.0 : static_cast<double>(bucket.count) / total;
  }
  const auto middle = buckets.begin() + static_cast<std::ptrdiff_t>(buckets.size() / 2);
  item.first_half.assign(buckets.begin(), middle);
  item.second_half.assign(middle, buckets.end());
  return item;
}

}  // namespace

IStockDistribution* MakeStockDistribution() {
  return frame::MakeOrNull<frame::Polling<CStockDistribution>>();
}

}  // namespace analytics
