// Short top lists of the stocks of one board, by one column, with trends against the instance's previous
// answer.
#include "ranking/stock_ranking.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <string>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "ranking/stock_market_summary_table.h"
#include "ranking/stock_ranking_service.h"
#include "ranking/trends.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace ranking {
namespace {

using Rows = std::vector<StockMarketSummary>;

class CStockRanking : public IStockRanking, protected frame::Gated {
 public:
  CStockRanking(int stock_type, bool five_change) : stock_type_(stock_type), five_change_(five_change) {}

  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  // Ask
  void FetchStockRanking(const RankingTarget& target);
  // Understand and tell
  void OnAnswer(const RankingTarget& target, bool ok, const char* body, std::size_t length);
  void Remember(Rows& rows);

  const int stock_type_;
  const bool five_change_;
  boost::mutex lock_;  // guards previous_
  Rows previous_;      // of whichever target was answered last (kept: one memory for all targets)
};

void CStockRanking::Fetch() {
  std::vector<RankingTarget> targets;
  GetActiveTargets(targets);
  for (const RankingTarget& target : targets) {
    if (target.sort_key != 0) {
      FetchStockRanking(target);
    }
  }
}

void CStockRanking::FetchStockRanking(const RankingTarget& target) {
  const std::wstring url =
      five_change_ ? request::StockFiveMinuteChangeUrl(stock_type_, target.sort_key, target.sort_type)
                   : request::StockRankUrl(stock_type_, target.sort_key, target.sort_type, target.num);
  request::Ask(
      url, request::kUsualSeconds, gate_,
      [this, target](bool ok, const char* body, std::size_t length) { OnAnswer(target, ok, body, length); });
}

void CStockRanking::OnAnswer(const RankingTarget& target, bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kStockRanking, ok, body, length);
  if (!answer) {
    return;
  }
  Rows rows = request::RecordReader<kStockMarketSummaryTable>::ReadAll(answer.DataArray());
  rows.resize(std::min(rows.size(), static_cast<std::size_t>(std::max(target.num, 0))));
  for (StockMarketSummary& row : rows) {
    // A ranked row shows all its figures, those that the feed left out as 0.
    row.last.valid = row.change.valid = row.diff.valid = row.tr.valid = true;
  }
  Remember(rows);
  Deliver(target, rows);
}

void CStockRanking::Remember(Rows& rows) {
  const boost::lock_guard<boost::mutex> guard(lock_);
  SetTrends(rows, previous_);
  previous_ = rows;
}

}  // namespace

IStockRanking* MakeStockRanking(int stock_type, bool five_change) {
  return frame::MakeOrNull<frame::Polling<CStockRanking>>(stock_type, five_change);
}

}  // namespace ranking
