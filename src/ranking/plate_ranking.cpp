// Short top lists of the plates of one kind, by one column. All rows of the answer are delivered, however
// many were asked for.
#include "ranking/plate_ranking.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/plate_ranking_service.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace ranking {
namespace {

class CPlateRanking : public IPlateRanking, protected frame::Gated {
 public:
  explicit CPlateRanking(int bk_type) : bk_type_(bk_type) {}

  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  // Ask
  void FetchPlateRanking(const RankingTarget& target);
  // Understand and tell
  void OnAnswer(const RankingTarget& target, bool ok, const char* body, std::size_t length);

  const int bk_type_;
  boost::mutex lock_;  // guards previous_
  std::vector<PlateMarketSummary> previous_;
};

void CPlateRanking::Fetch() {
  std::vector<RankingTarget> targets;
  GetActiveTargets(targets);
  for (const RankingTarget& target : targets) {
    if (target.sort_key != 0) {
      FetchPlateRanking(target);
    }
  }
}

void CPlateRanking::FetchPlateRanking(const RankingTarget& target) {
  request::Ask(request::PlateRankUrl(bk_type_, target.sort_key, target.sort_type, target.num),
               request::kUsualSeconds, gate_, [this, target](bool ok, const char* body, std::size_t length) {
                 OnAnswer(target, ok, body, length);
               });
}

void CPlateRanking::OnAnswer(const RankingTarget& target, bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kPlateRanking, ok, body, length);
  if (!answer) {
    return;
  }
  const auto rows = request::RecordReader<kPlateMarketSummaryTable>::ReadAll(answer.DataArray());
  {
    const boost::lock_guard<boost::mutex> guard(lock_);
    previous_ = rows;
  }
  Deliver(target, rows);
}

}  // namespace

IPlateRanking* MakePlateRanking(int bk_type) {
  return frame::MakeOrNull<frame::Polling<CPlateRanking>>(bk_type);
}

}  // namespace ranking
