// The phase of the trading day as a caption and a time, for a status bar. The host's calendar, which knows
// the phases, is host/calendar.h.
#pragma once

#include <cstdint>
#include <string>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// What a status bar shows.
struct StockMarketState {
  std::wstring text;  ///< 已收盘, 开盘准备, 集合竞价, 开盘 or 午盘休息; empty when the phase is unknown
  /// Seconds since 1970-01-01 00:00 UTC, low 32 bits: of the close or the break while the market rests, else
  /// now.
  std::int32_t time = 0;
  bool valid = false;  ///< false when the phase is unknown; `text` and `time` then mean nothing

  bool operator==(const StockMarketState&) const = default;
};

/// Delivers the phase of the market. Sends no request.
///
/// - Key: always "CN"; `Attach` sets it.
/// - Who is told: every attached observer, a suspended one included.
/// - When: at every change of the phase and at least once an hour, while any observer is active, and at
///   `Refresh`; also when nothing has changed.
/// - Threads: callable from any thread. `Update` runs on the service's own thread, or inside `Refresh` and
///   `Resume`; it must not call this service.
/// - Failure: there is none; an unknown phase is delivered like any other, empty and not `valid`.
/// - Owner: the module; unlike most services it survives `DestroyStockMarket`.
class IStockMarketState : public ITimerSubject<IUpdate1<StockMarketState>, std::wstring, StockMarketState> {};
