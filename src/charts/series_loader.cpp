#include "charts/series_loader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "charts/kline_link.h"
#include "charts/package_source.h"
#include "charts/symbol_case.h"
#include "frame/ticks.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "reference/reference_data.h"

namespace charts {
namespace {

constexpr std::uint32_t kUsualLimit = 1000;
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

KLineMetaInfo Announced(const Series& series) {
  KLineMetaInfo info;
  reference::WithReferenceData([&](IStockCommon& reference) {
    info = reference.GetKLineMetaInfo(LowerCase(series.symbol), series.period, series.adjustment);
  });
  return info;
}

// Rows that lie between two dates at most, with the one that holds the first of them.
std::uint32_t RowsBetween(std::uint32_t first, std::uint32_t last) {
  constexpr std::int64_t kSecondsPerDay = 86400;
  const std::int64_t days =
      (common::DateToTime(last, 0, 0, 0) - common::DateToTime(first, 0, 0, 0)) / kSecondsPerDay;
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(days + 1, 1, kUsualLimit));
}

}  // namespace

// Looks for the package. What was held before stays where there is none or beyond it.
SeriesLoader::Renewed SeriesLoader::Renew(const Series& series, const KLineMetaInfo& announced,
                                          const Today& today, const HeldSeries& before) {
  const bool has_candles = before.candles != nullptr && !before.candles->empty();
  BroughtPackage brought = BringPackage(
      {series, announced, memory_.MayDownload(series, announced.version), !has_candles, is_wanted_});
  if (brought.download_failed) {
    memory_.DownloadFailed(series, announced.version);
  }
  Renewed renewed;
  renewed.has_package = brought.candles.has_value();
  renewed.next_load_downloads = brought.next_load_downloads;
  renewed.candles = renewed.has_package ? std::move(*brought.candles) : std::move(brought.old);
  if (has_candles && renewed.has_package) {
    MergeTail(series, renewed.candles, BeforeToday(series.period, *before.candles, today));
  } else if (has_candles) {
    renewed.candles = *before.candles;
  }
  return renewed;
}

SeriesHistory SeriesLoader::Load(const Series& series, const std::optional<KLineCandle>& candle) {
  const KLineMetaInfo announced = Announced(series);
  const Today today{common::GetCurrentServerDate(), candle};
  const std::uint32_t last_day = stock::GetLastTradingDate(today.date);
  const std::int64_t now = frame::SteadyMilliseconds();
  HeldSeries held = memory_.Find(series);
  // What is known of days without trading stays known; what a wrong date claimed of days to come does not.
  const std::uint32_t known_to = held.complete_to < today.date ? held.complete_to : 0;
  Renewed renewed;
  std::uint32_t limit = 0;
  if (held.candles == nullptr || held.version != announced.version || held.date != today.date ||
      now >= held.load_after) {
    renewed = Renew(series, announced, today, held);
    held = {nullptr, 0, announced.version, today.date, renewed.has_package ? kNever : now, now};
    if (!renewed.has_package) {
      limit = announced.count > 0 ? static_cast<std::uint32_t>(announced.count) : kUsualLimit;
    }
  } else if (held.complete_to >= last_day || now < held.tail_after) {
    return {held.candles, held.complete_to};
  } else {
    renewed.candles = *held.candles;
  }
  Candles& candles = renewed.candles;
  const bool is_substitute = limit > 0;
  if (!is_substitute && !candles.empty() && LastDate(candles) < last_day) {
    limit = RowsBetween(LastDate(candles), last_day);
  }
  const auto rows = limit > 0 && is_wanted_() ? QueryHistory(series, limit) : std::nullopt;
  if (rows) {
    Candles past = BeforeToday(series.period, *rows, today);
    if (is_substitute) {
      MergeHead(series, past, candles);
      candles = std::move(past);
    } else {
      MergeTail(series, candles, past);
    }
    held.tail_after = now + kBackOff;
    if (!renewed.next_load_downloads) {
      held.load_after = std::max(held.load_after, held.tail_after);
    }
  }
  held.complete_to = std::max(LastDate(candles), known_to);
  if (rows && held.complete_to < last_day && series.adjustment != Adjustment::kUnadjusted &&
      HistoryReaches(last_day)) {
    held.complete_to = last_day;
  }
  held.candles = std::make_shared<const Candles>(std::move(candles));
  memory_.Hold(series, held);
  return {held.candles, held.complete_to};
}

void SeriesLoader::MakeRecord(const KLineRequest& request, const SeriesHistory& history,
                              StockKLineData& record) {
  Assemble(request.series, history, memory_.WithEarlierDays(request.series, request.today), record);
}

}  // namespace charts
