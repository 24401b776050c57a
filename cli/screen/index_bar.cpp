#include "cli/screen/index_bar.h"

#include <utility>

#include "cli/follow.h"
#include "cli/format/china_time.h"
#include "cli/format/index_rows.h"
#include "cli/format/text.h"
#include "cli/state_line.h"
#include "host/clock.h"
#include "host/text.h"

namespace cli {
namespace {

constexpr Feed kIndexFeed{"index_market", "/pc/rt/stock_detail_list"};
constexpr Feed kStateFeed{"stock_market_state", ""};
// The service asks at least so often by itself.
constexpr std::chrono::hours kByPhase(1);
constexpr int kShortName = 4;
constexpr int kGap = 3;

// Cells of index_rows.h.
enum IndexCell : std::size_t { kName = 1, kLast = 2, kDiff = 3, kChange = 4 };

// Without a mark of the cut: the first characters tell one index from another.
std::string Short(const std::string& name) {
  std::wstring shorter = common::s2ws(name, common::kUtf8);
  while (DisplayWidth(Utf8(shorter)) > kShortName) {
    shorter.pop_back();
  }
  return Utf8(shorter);
}

StyledLine Joined(const std::vector<IndexMarketSummary>& indices, bool with_diff, bool short_names) {
  StyledLine line;
  for (const IndexMarketSummary& index : indices) {
    const std::vector<Cell> cells = IndexCells(index);
    const std::string name = short_names ? Short(cells[kName].text) : cells[kName].text;
    line.push_back({line.empty() ? "" : std::string(kGap, ' ')});
    line.push_back({name + " ", Tone::kStrong});
    line.push_back(cells[kLast]);
    for (const std::size_t cell : {kDiff, kChange}) {
      if (with_diff || cell != kDiff) {
        line.push_back({" " + cells[cell].text, cells[cell].tone});
      }
    }
  }
  return line;
}

Cell ConnectionCell(stock_host::Connection connection) {
  switch (connection) {
    case stock_host::Connection::kLive:
      return {"connected"};
    case stock_host::Connection::kFailing:
      return {"not connected", Tone::kWarning};
    case stock_host::Connection::kNoServer:
      return {"no server", Tone::kDim};
    case stock_host::Connection::kIdle:
      break;
  }
  return {"connecting", Tone::kDim};
}

}  // namespace

StyledLine IndexLine(const std::vector<IndexMarketSummary>& indices, int columns) {
  StyledLine line;
  for (const auto& [with_diff, short_names] : {std::pair(true, false), {false, false}, {false, true}}) {
    line = Joined(indices, with_diff, short_names);
    if (DisplayWidth(line) <= columns) {
      return line;
    }
  }
  return Fitted(line, columns);
}

IndexBar::IndexBar(MainLoop& loop, Session& session, std::chrono::milliseconds interval,
                   std::function<void()> redraw)
    : loop_(loop), session_(session), redraw_(std::move(redraw)), health_(interval, kByPhase) {
  index_view_ = std::make_unique<Subscription<IIndexMarket, Indices>>(
      Made(GetIndexMarket(), kIndexFeed), loop_, [this](const Delivery<Indices>& delivery) {
        if (!has_data_ || indices_ != delivery.data) {
          health_.OnChange(delivery.at, delivery.server_time);
        }
        indices_ = delivery.data;
        has_data_ = true;
        health_.OnUpdate(delivery.at);
        redraw_();
      });
}

void IndexBar::FollowPhase() {
  if (state_view_) {
    return;
  }
  state_view_ = std::make_unique<Subscription<IStockMarketState, StockMarketState>>(
      Made(GetStockMarketState(), kStateFeed), loop_, [this](const Delivery<StockMarketState>& delivery) {
        caption_ = delivery.data.valid ? delivery.data.text : std::wstring();
        redraw_();
      });
}

void IndexBar::Refresh() {
  health_.OnCounters(CountersOf(kIndexFeed));
  if (!health_.under_way()) {
    GetIndexMarket()->Refresh();
  }
  if (state_view_) {
    GetStockMarketState()->Refresh();
  }
}

void IndexBar::Observe() {
  health_.OnCounters(CountersOf(kIndexFeed));
  session_.log().Poll();
  health_.OnLog(session_.log().count(), session_.log().last());
}

std::string IndexBar::StateText(Clock::time_point now, stock::MarketStatus phase) const {
  return health_.Report(now, phase).text;
}

ScreenHead IndexBar::Head(Clock::time_point now, stock::MarketStatus phase, int columns) const {
  ScreenHead head;
  if (has_data_) {
    head.indices = indices_.empty() ? StyledLine{{"(no index in the answer)", Tone::kWarning}}
                                    : IndexLine(indices_, columns);
  } else {
    head.indices = {{"indices", Tone::kStrong}};
  }
  head.state = {{DateAndTime(common::GetCurrentServerTime()) + "  "}};
  if (!caption_.empty()) {
    head.state.push_back({Printable(caption_) + " ", Tone::kStrong});
  }
  head.state.push_back({PhaseName(phase) + "  "});
  head.state.push_back(ConnectionCell(stock_host::ConnectionState()));
  head.state.push_back({"  "});
  const StyledLine state = StateLine(health_.Report(now, phase));
  head.state.insert(head.state.end(), state.begin(), state.end());
  head.state.push_back({"  " + session_.server_text(), Tone::kDim});
  return head;
}

std::vector<StyledLine> IndexBar::Table() const {
  if (indices_.empty()) {
    return {};
  }
  cli::Table table(IndexColumns());
  for (const IndexMarketSummary& index : indices_) {
    table.Add(IndexCells(index));
  }
  return table.Lines();
}

}  // namespace cli
