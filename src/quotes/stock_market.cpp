// Ranked, paged quotes of a whole board of stocks, polled per range; and the one-off list of a board's codes
// and names.
#include "quotes/stock_market.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <memory>
#include <vector>

#include "frame/polling.h"
#include "frame/recycler.h"
#include "host/clock.h"
#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/stock_market_item_table.h"
#include "quotes/stock_market_service.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/code_index.h"
#include "request/item_request.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace quotes {
namespace {

using Board = std::vector<StockMarketItem>;

// A board as it was read.
struct ReadBoard {
  Board rows;
  request::CodeHashes hashes;  // of the rows' codes
};

class CStockMarket : public IStockMarket, protected frame::Gated {
 public:
  void Fetch() override;
  void FetchStockItems(int sort_key, int sort_type, int stock_type, const CodeNameCallback& done) override {
    items_.Send(request::StockPriceListUrl(stock_type, sort_key, sort_type), done);
  }

 private:
  // Ask
  void FetchStockMarkets(const StockRangeRankingTarget& target);
  // Understand
  void OnAnswer(const StockRangeRankingTarget& target, bool ok, const char* body, std::size_t length);
  void Remember(const std::shared_ptr<ReadBoard>& board);

  frame::Recycler<ReadBoard> boards_;
  boost::mutex lock_;  // guards previous_ and the stamp of items_
  std::shared_ptr<const ReadBoard> previous_ = std::make_shared<ReadBoard>();
  request::ItemRequest items_{request::Fetch::kStockItems, lock_, gate_};
};

void CStockMarket::Fetch() {
  std::vector<StockRangeRankingTarget> targets;
  GetActiveTargets(targets);
  for (const StockRangeRankingTarget& target : targets) {
    if (target.stock_type != 0 && target.sort_key != 0) {
      FetchStockMarkets(target);
    }
  }
}

void CStockMarket::FetchStockMarkets(const StockRangeRankingTarget& target) {
  request::Ask(request::StockRangeUrl(static_cast<int>(target.stock_type), static_cast<int>(target.sort_key),
                                      static_cast<int>(target.sort_type), static_cast<int>(target.start),
                                      static_cast<int>(target.end)),
               request::kUsualSeconds, gate_, [this, target](bool ok, const char* body, std::size_t length) {
                 OnAnswer(target, ok, body, length);
               });
}

void CStockMarket::OnAnswer(const StockRangeRankingTarget& target, bool ok, const char* body,
                            std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kStockQuotes, ok, body, length);
  if (!answer) {
    return;
  }
  const std::shared_ptr<ReadBoard> board = boards_.Take();
  board->hashes.clear();
  request::RecordReader<kBoardTable>::ReadInto(
      board->rows, answer.DataArray(), [&hashes = board->hashes](StockMarketItem& item) {
        HideZeros(item);
        HideBeforeOpening(
            item, stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime())));
        hashes.push_back(request::HashOfCode(item.code));
      });
  Remember(board);
  Deliver(target, std::shared_ptr<const Board>(board, &board->rows));
}

// Sets the directions against the previous answer, whichever target it was for, and takes its place.
void CStockMarket::Remember(const std::shared_ptr<ReadBoard>& board) {
  std::shared_ptr<const ReadBoard> earlier = board;  // in the end the one before, let go behind the lock
  const boost::lock_guard<boost::mutex> guard(lock_);
  SetDirections(board->rows, board->hashes, previous_->rows, previous_->hashes);
  previous_.swap(earlier);
}

}  // namespace

IStockMarket* MakeStockMarket() {
  return frame::MakeOrNull<frame::Polling<CStockMarket>>();
}

}  // namespace quotes
