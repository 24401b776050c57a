// Short top lists of the plates of one kind, by one column. All rows of the answer are delivered, however
// many were asked for.
#include "ranking/plate_ranking.h"

#include <memory>
#include <string>

#include "frame/phase_interval.h"
#include "frame/running.h"
#include "json/record_reader.h"
#include "ranking/plate_market_summary_table.h"
#include "request/keyed_service.h"
#include "request/urls.h"
#include "services.h"

namespace ranking {
namespace {

class CPlateRanking : public request::KeyedService<IPlateRanking> {
 public:
  explicit CPlateRanking(int bk_type) : KeyedService(request::Fetch::kPlateRanking), bk_type_(bk_type) {}

  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  bool IsSet(const RankingTarget& target) override { return target.sort_key != 0; }
  std::wstring UrlOf(const RankingTarget& target) override {
    return request::PlateRankUrl(bk_type_, request::OrderOf(target), target.num);
  }
  std::shared_ptr<Data> Read(const RankingTarget& /*target*/, const request::Answer& answer) override {
    return request::Share(request::RecordReader<kPlateMarketSummaryTable>::ReadAll(answer.DataArray()));
  }

  const int bk_type_;
};

}  // namespace

IPlateRanking* MakePlateRanking(int bk_type) {
  return frame::MakeOrNull<frame::Running<CPlateRanking>>(bk_type);
}

}  // namespace ranking
