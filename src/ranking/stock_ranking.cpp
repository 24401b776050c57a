// Short top lists of the stocks of one board, by one column, with trends against the instance's previous
// answer.
#include "ranking/stock_ranking.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/running.h"
#include "json/record_reader.h"
#include "ranking/stock_market_summary_table.h"
#include "ranking/trends.h"
#include "request/keyed_service.h"
#include "request/urls.h"
#include "services.h"

namespace ranking {
namespace {

using Rows = std::vector<StockMarketSummary>;

class CStockRanking : public request::KeyedService<IStockRanking> {
 public:
  CStockRanking(int stock_type, bool five_change)
      : KeyedService(request::Fetch::kStockRanking), stock_type_(stock_type), five_change_(five_change) {}

  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  bool IsSet(const RankingTarget& target) override { return target.sort_key != 0; }
  std::wstring UrlOf(const RankingTarget& target) override {
    return five_change_ ? request::StockFiveMinuteChangeUrl(stock_type_, request::OrderOf(target))
                        : request::StockRankUrl(stock_type_, request::OrderOf(target), target.num);
  }
  std::shared_ptr<Rows> Read(const RankingTarget& target, const request::Answer& answer) override;
  void Compare(const std::shared_ptr<Rows>& rows) override {
    SetTrends(*rows, *previous_);
    previous_ = rows;
  }

  const int stock_type_;
  const bool five_change_;
  // Of whichever target was answered last (kept: one memory for all targets).
  std::shared_ptr<const Rows> previous_ = std::make_shared<Rows>();
};

std::shared_ptr<Rows> CStockRanking::Read(const RankingTarget& target, const request::Answer& answer) {
  auto rows = request::Share(request::RecordReader<kStockMarketSummaryTable>::ReadAll(answer.DataArray()));
  rows->resize(std::min(rows->size(), static_cast<std::size_t>(std::max(target.num, 0))));
  for (StockMarketSummary& row : *rows) {
    // A ranked row shows all its figures, those that the feed left out as 0.
    row.last.valid = row.change.valid = row.diff.valid = row.tr.valid = true;
  }
  return rows;
}

}  // namespace

IStockRanking* MakeStockRanking(int stock_type, bool five_change) {
  return frame::MakeOrNull<frame::Running<CStockRanking>>(stock_type, five_change);
}

}  // namespace ranking
