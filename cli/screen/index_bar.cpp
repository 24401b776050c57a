#include "cli/screen/index_bar.h"

#include <limits>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/market_rows.h"
#include "cli/format/text.h"
#include "cli/screen/panel.h"
#include "host/clock.h"
#include "host/text.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

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

struct IndexLook {
  bool with_last = true;
  bool with_diff = true;
  bool short_names = false;
};

StyledLine Joined(const std::vector<IndexMarketSummary>& indices, const IndexLook& look) {
  StyledLine line;
  for (const IndexMarketSummary& index : indices) {
    const std::vector<Cell> cells = IndexCells(index);
    line.push_back({line.empty() ? "" : std::string(kGap, ' ')});
    line.push_back({look.short_names ? Short(cells[kName].text) : cells[kName].text, Tone::kStrong});
    for (const auto& [cell, is_wanted] :
         {std::pair(kLast, look.with_last), {kDiff, look.with_diff}, {kChange, true}}) {
      if (is_wanted) {
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
  for (const IndexLook& look :
       {IndexLook{}, {true, false, false}, {true, false, true}, {false, false, true}}) {
    line = Joined(indices, look);
    if (DisplayWidth(line) <= columns) {
      return line;
    }
  }
  return Fitted(line, columns);
}

StyledLine StateOf(const StateParts& parts, int columns) {
  // From all of them down to what is never left out.
  constexpr int kSteps = 6;
  StyledLine line;
  for (int left_out = 0; left_out < kSteps; ++left_out) {
    line.clear();
    const auto add = [&](const std::string& text, Tone tone = Tone::kPlain) {
      if (!text.empty()) {
        line.push_back({(line.empty() ? "" : "  ") + text, tone});
      }
    };
    add(parts.badge, Tone::kWarning);
    add((left_out < 2 && !parts.date.empty() ? parts.date + " " : "") + parts.clock);
    const bool with_phase = left_out < 4;
    add(left_out < 5 ? parts.caption : "", Tone::kStrong);
    if (with_phase && !parts.caption.empty()) {
      line.push_back({" " + parts.phase});
    } else if (with_phase) {
      add(parts.phase);
    }
    add(left_out < 3 ? parts.connection.text : "", parts.connection.tone);
    line.push_back({"  "});
    line.insert(line.end(), parts.state.begin(), parts.state.end());
    add(left_out < 1 ? parts.server : "", Tone::kDim);
    if (DisplayWidth(line) <= columns) {
      break;
    }
  }
  return line;
}

IndexBar::IndexBar(const ViewContext& context, const Session& session, Shows shows)
    : session_(session), shows_(shows), indices_(context), phase_(context) {
  if (shows_ == Shows::kIndices) {
    indices_.Show();
  }
}

void IndexBar::Refresh() {
  indices_.Refresh();
  phase_.Refresh();
}

ScreenHead IndexBar::Head(const FeedReport& report, stock::MarketStatus phase, int columns) const {
  ScreenHead head;
  if (shows_ == Shows::kStateOnly) {
    head.indices = {{session_.server_text(), Tone::kDim}};
  } else if (indices_.has_data()) {
    const std::vector<IndexMarketSummary>& quotes = indices_.newest()->data;
    head.indices = quotes.empty() ? StyledLine{{"(no index in the answer)", Tone::kWarning}}
                                  : IndexLine(quotes, columns);
  } else {
    head.indices = {{"indices", Tone::kStrong}};
  }
  const std::string now = DateAndTime(common::GetCurrentServerTime());
  head.state = StateOf({session_.badge(), now.substr(0, 10), now.substr(11), Printable(phase_.Caption()),
                        PhaseName(phase), ConnectionCell(stock_host::ConnectionState()), StateLine(report),
                        shows_ == Shows::kStateOnly ? "" : session_.server_text()},
                       columns);
  return head;
}

std::vector<StyledLine> IndexBar::Table() const {
  return indices_.has_data() ? indices_.Lines(std::numeric_limits<int>::max()) : std::vector<StyledLine>();
}

}  // namespace cli
