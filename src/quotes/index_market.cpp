// The quotes of the three headline indices: one fixed request, one list, every attached observer told. The
// smallest whole service.
#include "quotes/index_market.h"

#include <memory>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/running.h"
#include "frame/stamp.h"
#include "json/record_reader.h"
#include "quotes/index_market_table.h"
#include "request/ask.h"
#include "request/urls.h"
#include "services.h"

namespace quotes {
namespace {

using IndexList = std::vector<IndexMarketSummary>;

class CIndexMarket : public frame::PolledSubject<IIndexMarket> {
 public:
  void Attach(Observer* obs) override {
    PolledSubject::Attach(obs);
    Greet(obs, [this] { return last_list_ == nullptr || last_list_->empty() ? nullptr : last_list_.get(); });
  }
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  bool TellEverybody(frame::Stamp stamp, const std::shared_ptr<const IndexList>& list);

  frame::Stamps stamps_;
  std::shared_ptr<const IndexList> last_list_;  // touched under the list mutex only
};

// Ask, understand
void CIndexMarket::Fetch() {
  const frame::Stamp stamp = stamps_.Next();
  request::Ask(
      {request::Fetch::kIndexQuotes, gate_, {&stamps_, stamp}},
      [] {
        return request::StockDetailListUrl({L"sh000001", L"sz399001", L"sz399006"});
      },
      [](const request::Answer& answer) {
        return std::make_shared<const IndexList>(
            request::RecordReader<kIndexMarketSummaryTable>::ReadAll(answer.DataList()));
      },
      [this, stamp](const std::shared_ptr<const IndexList>& list) { return TellEverybody(stamp, list); });
}

// Tell
bool CIndexMarket::TellEverybody(frame::Stamp stamp, const std::shared_ptr<const IndexList>& list) {
  return Tell({}, stamp, {frame::Whom::kEveryAttached, frame::Keep::kNever}, [&] {
    last_list_ = list;
    return list;
  });
}

}  // namespace

IIndexMarket* MakeIndexMarket() {
  return frame::MakeOrNull<frame::Running<CIndexMarket>>();
}

}  // namespace quotes
