// Minute lines: today's of all symbols that views show, polled in one request, and single lines of today or
// of the past when asked for.
#include "charts/stock_mline.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "charts/minute_line_reader.h"
#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/running.h"
#include "request/ask.h"
#include "request/urls.h"
#include "services.h"

namespace charts {
namespace {

using Line = std::shared_ptr<const StockMLineData>;
using Symbols = std::vector<std::wstring>;

class CStockMLine : public frame::PolledSubject<IStockMLine> {
 public:
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }
  void FetchMLine(const wchar_t* symbol, int arg, const MLineCallback& done) override;
  void FetchHistoryMLine(const wchar_t* symbol, std::uint32_t date, int rn,
                         const MLineCallback& done) override;

 private:
  void FetchLines(const std::shared_ptr<const Symbols>& symbols);

  frame::Stamps stamps_;
};

// --- Understand ---

std::vector<Line> ReadLines(const request::Answer& answer, const Symbols& symbols) {
  std::vector<Line> lines;
  for (StockMLineData& line : ReadMinuteLines(answer.DataObject(), symbols)) {
    lines.push_back(std::make_shared<const StockMLineData>(std::move(line)));
  }
  return lines;
}

// Null when the answer holds none of that symbol.
Line ReadLine(const request::Answer& answer, const std::wstring& symbol) {
  auto line = std::make_shared<StockMLineData>();
  return ReadMinuteLine(answer.DataObject(), symbol, *line) ? line : nullptr;
}

// --- Ask, tell ---

std::shared_ptr<const Symbols> SharedSymbols(request::Fetch fetch, const wchar_t* symbol) {
  std::shared_ptr<const Symbols> symbols;
  static_cast<void>(request::Succeeds(fetch, [&] { symbols = std::make_shared<const Symbols>(1, symbol); }));
  return symbols;
}

bool HandOver(const Line& line, const MLineCallback& done) {
  if (line != nullptr) {
    done(*line);
  }
  return true;
}

void CStockMLine::Fetch() {
  std::shared_ptr<const Symbols> symbols;
  const bool known = request::Succeeds(request::Fetch::kMinuteLine,
                                       [&] { symbols = std::make_shared<const Symbols>(ActiveKeys()); });
  if (known && !symbols->empty()) {
    FetchLines(symbols);
  }
}

void CStockMLine::FetchLines(const std::shared_ptr<const Symbols>& symbols) {
  const frame::Stamp stamp = stamps_.Next();
  request::Ask(
      {request::Fetch::kMinuteLine, gate_}, [&] { return request::DayMinuteLineUrl(*symbols); },
      [symbols](const request::Answer& answer) { return ReadLines(answer, *symbols); },
      [this, stamp](const std::vector<Line>& lines) {
        bool told = true;
        for (const Line& line : lines) {
          told = Tell(line->symbol, stamp, {}, [&] { return line; }) && told;
        }
        return told;
      });
}

void CStockMLine::FetchMLine(const wchar_t* symbol, int /*arg*/, const MLineCallback& done) {
  constexpr auto kFetch = request::Fetch::kMinuteLine;
  const auto symbols = symbol == nullptr ? nullptr : SharedSymbols(kFetch, symbol);
  if (symbols == nullptr) {
    return;
  }
  if (!done) {
    FetchLines(symbols);
    return;
  }
  if (const auto shared = request::Shared(kFetch, done)) {
    request::AskInTask(
        {kFetch, gate_}, [&] { return request::DayMinuteLineUrl(*symbols); },
        [symbols](const request::Answer& answer) { return ReadLine(answer, symbols->front()); },
        [shared](const Line& line) { return HandOver(line, *shared); });
  }
}

// Lines of the past are never kept: what is kept is today's.
void CStockMLine::FetchHistoryMLine(const wchar_t* symbol, std::uint32_t date, int rn,
                                    const MLineCallback& done) {
  constexpr auto kFetch = request::Fetch::kHistoryMinuteLine;
  const auto symbols = symbol == nullptr ? nullptr : SharedSymbols(kFetch, symbol);
  const auto shared = symbols == nullptr ? nullptr : request::Shared(kFetch, done);
  if (shared == nullptr) {
    return;
  }
  const auto understand = [symbols](const request::Answer& answer) {
    return ReadLine(answer, symbols->front());
  };
  const auto tell = [this, shared](const Line& line) {
    if (*shared) {
      return HandOver(line, *shared);
    }
    return line == nullptr ||
           Tell(line->symbol, 0, {frame::Whom::kActive, frame::Keep::kNever, false}, [&] { return line; });
  };
  if (rn <= 0) {
    request::Ask(
        {kFetch, gate_}, [&] { return request::HistoryMinuteLineUrl(symbols->front(), date); }, understand,
        tell);
  } else {
    request::AskInTask(
        {kFetch, gate_}, [&] { return request::RecentMinuteLinesUrl(symbols->front(), date, rn); },
        understand, tell);
  }
}

}  // namespace

IStockMLine* MakeStockMLine() {
  return frame::MakeOrNull<frame::Running<CStockMLine>>();
}

}  // namespace charts
