// Minute lines: today's of all symbols that views show, polled in one request, and single lines of today or
// of the past when asked for.
#include "charts/stock_mline.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "charts/minute_line_reader.h"
#include "charts/stock_mline_service.h"
#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "host/tasks.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/urls.h"

namespace charts {
namespace {

class CStockMLine : public IStockMLine, protected frame::Gated {
 public:
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }
  void FetchMLine(const wchar_t* symbol, int arg, const MLineCallback& done) override;
  void FetchHistoryMLine(const wchar_t* symbol, std::uint32_t date, int rn,
                         const MLineCallback& done) override;

 private:
  // Ask
  void FetchLines(const std::vector<std::wstring>& symbols);
  template <class OnAnswer>
  void AskInTask(const std::wstring& url, OnAnswer on_answer);
  // Understand and tell
  void OnLines(bool ok, const char* body, std::size_t length);
  void OnHistory(const std::wstring& symbol, const MLineCallback& done, bool ok, const char* body,
                 std::size_t length);
};

void CStockMLine::Fetch() {
  std::vector<std::wstring> symbols;
  GetActiveTargets(symbols);
  if (!symbols.empty()) {
    FetchLines(symbols);
  }
}

void CStockMLine::FetchLines(const std::vector<std::wstring>& symbols) {
  request::Ask(request::DayMinuteLineUrl(symbols), request::kUsualSeconds, gate_,
               [this](bool ok, const char* body, std::size_t length) { OnLines(ok, body, length); });
}

void CStockMLine::OnLines(bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kMinuteLine, ok, body, length);
  if (!answer) {
    return;
  }
  for (const StockMLineData& line : ReadMinuteLines(answer.DataObject())) {
    Deliver(line.symbol, line);
  }
}

// The request runs outside the gate, which is closed without waiting for the wire.
template <class OnAnswer>
void CStockMLine::AskInTask(const std::wstring& url, OnAnswer on_answer) {
  base::TaskManagerInstance()->AddTask([url, inside = gate_.Guard(std::move(on_answer))]() mutable {
    const request::SyncAnswer answer = request::AskNow(url);
    inside(answer.ok, answer.body.data(), answer.body.size());
  });
}

void CStockMLine::FetchMLine(const wchar_t* symbol, int /*arg*/, const MLineCallback& done) {
  if (symbol == nullptr) {
    return;
  }
  const std::wstring name = symbol;
  if (!done) {
    FetchLines({name});
    return;
  }
  const std::wstring url = request::DayMinuteLineUrl({name});
  if (url.empty()) {
    return;
  }
  AskInTask(url, [name, done](bool ok, const char* body, std::size_t length) {
    const request::Answer answer = request::CheckAnswer(request::Fetch::kMinuteLine, ok, body, length);
    StockMLineData line;
    if (answer && ReadMinuteLine(answer.DataObject(), name, line)) {
      done(line);
    }
  });
}

void CStockMLine::FetchHistoryMLine(const wchar_t* symbol, std::uint32_t date, int rn,
                                    const MLineCallback& done) {
  if (symbol == nullptr) {
    return;
  }
  const std::wstring name = symbol;
  const auto on_answer = [this, name, done](bool ok, const char* body, std::size_t length) {
    OnHistory(name, done, ok, body, length);
  };
  if (rn <= 0) {
    request::Ask(request::HistoryMinuteLineUrl(name, date), request::kUsualSeconds, gate_, on_answer);
    return;
  }
  const std::wstring url = request::RecentMinuteLinesUrl(name, date, rn);
  if (!url.empty()) {
    AskInTask(url, on_answer);
  }
}

// Lines of the past never enter the cache: it holds today's.
void CStockMLine::OnHistory(const std::wstring& symbol, const MLineCallback& done, bool ok, const char* body,
                            std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kHistoryMinuteLine, ok, body, length);
  StockMLineData line;
  if (!answer || !ReadMinuteLine(answer.DataObject(), symbol, line)) {
    return;
  }
  if (done) {
    done(line);
  } else {
    DeliverUncached(symbol, line);
  }
}

}  // namespace

IStockMLine* MakeStockMLine() {
  return frame::MakeOrNull<frame::Polling<CStockMLine>>();
}

}  // namespace charts
