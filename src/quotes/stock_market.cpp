// Ranked, paged quotes of a whole board of stocks, polled per range; and the one-off list of a board's codes
// and names.
#include "quotes/stock_market.h"

#include <memory>
#include <string>
#include <vector>

#include "frame/recycler.h"
#include "frame/running.h"
#include "host/clock.h"
#include "json/record_reader.h"
#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/stock_market_item_table.h"
#include "request/code_index.h"
#include "request/item_request.h"
#include "request/keyed_service.h"
#include "request/urls.h"
#include "services.h"

namespace quotes {
namespace {

using Board = std::vector<StockMarketItem>;

// A board as it was read.
struct ReadBoard final : Board {
  request::CodeHashes hashes;  // of the rows' codes
};

class CStockMarket : public request::KeyedService<IStockMarket> {
 public:
  CStockMarket() : KeyedService(request::Fetch::kStockQuotes) {}

  void FetchStockItems(int sort_key, int sort_type, int stock_type, const CodeNameCallback& done) override {
    items_.Send([&] { return request::StockPriceListUrl(stock_type, {sort_key, sort_type}); }, done);
  }

 private:
  bool IsSet(const StockRangeRankingTarget& target) override {
    return target.stock_type != 0 && target.sort_key != 0;
  }
  std::wstring UrlOf(const StockRangeRankingTarget& target) override {
    return request::StockRangeUrl(static_cast<int>(target.stock_type), request::OrderOf(target),
                                  request::RowsOf(target));
  }
  std::shared_ptr<Board> Read(const StockRangeRankingTarget& target, const request::Answer& answer) override;
  void Compare(const std::shared_ptr<Board>& news) override;

  frame::Recycler<ReadBoard> boards_;
  // Of whichever target was answered last (kept: one memory for all targets).
  std::shared_ptr<const ReadBoard> previous_ = std::make_shared<ReadBoard>();
  request::ItemRequest items_{request::Fetch::kStockItems, gate_};
};

std::shared_ptr<Board> CStockMarket::Read(const StockRangeRankingTarget& /*target*/,
                                          const request::Answer& answer) {
  const std::shared_ptr<ReadBoard> board = boards_.Take();
  board->hashes.clear();
  request::RecordReader<kBoardTable>::ReadInto(*board, answer.DataArray(),
                                               [&hashes = board->hashes](StockMarketItem& item) {
                                                 HideZeros(item);
                                                 HideBeforeOpening(item, CurrentPhase());
                                                 hashes.push_back(request::HashOfCode(item.code));
                                               });
  return board;
}

void CStockMarket::Compare(const std::shared_ptr<Board>& news) {
  const auto board = std::static_pointer_cast<ReadBoard>(news);
  SetDirections(*board, board->hashes, *previous_, previous_->hashes);
  previous_ = board;
}

}  // namespace

IStockMarket* MakeStockMarket() {
  return frame::MakeOrNull<frame::Running<CStockMarket>>();
}

}  // namespace quotes
