// Markets of a few hundred stocks for tests, and instants of every kind to ask them for.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "market_server/model/market.h"

namespace market_server::model {

[[nodiscard]] inline Options Small(std::uint64_t seed, Scenario scenario = Scenario::kNone,
                                   Date scripted = 0) {
  Options options;
  options.seed = seed;
  options.scenario = scenario;
  options.scenario_date = scripted;
  options.stocks = 400;
  return options;
}

// A few stocks of every board, headline and young ones among them.
[[nodiscard]] inline std::vector<const Security*> SomeStocks(const Market& market, Instant time,
                                                             std::size_t step = 23) {
  const auto all = market.Stocks(time);
  std::vector<const Security*> out;
  for (std::size_t i = 0; i < all.size(); i += step) {
    out.push_back(all[i]);
  }
  return out;
}

// Within trading, on the edge of a minute and inside one, in the auction, at lunch, after the close, at
// night, at the weekend, on a holiday; in calm years and others.
[[nodiscard]] inline std::vector<Instant> InstantsOfAllKinds() {
  return {
      InstantOf(20160107, 10, 3, 17),      InstantOf(20180525, 9, 30, 2),  InstantOf(20200703, 14, 59, 58),
      InstantOf(20230615, 11, 15, 0),      InstantOf(20261120, 13, 0, 0),  InstantOf(20261120, 9, 20, 31),
      InstantOf(20261120, 9, 27, 0),       InstantOf(20240619, 12, 5, 0),  InstantOf(20190809, 15, 0, 0),
      InstantOf(20211014, 22, 41, 9),      InstantOf(20221112, 10, 30, 0), InstantOf(20251003, 14, 0, 0),
      InstantOf(20270609, 3, 0, 0) + 0.75,
  };
}

// Instants of open trading only.
[[nodiscard]] inline std::vector<Instant> TradingInstants() {
  return {InstantOf(20160107, 10, 3, 17), InstantOf(20200703, 14, 59, 58), InstantOf(20230615, 11, 15, 0),
          InstantOf(20261120, 13, 47, 41)};
}

[[nodiscard]] inline std::int64_t InCents(double price) {
  return std::llround(price * 100);
}

// What a failing expectation names.
[[nodiscard]] inline std::string At(const Security& security, Instant time) {
  return security.code + " " + security.name + " at " + std::to_string(DateOf(time)) + " " +
         std::to_string(SecondOfDay(time) / 3600) + ":" + std::to_string(SecondOfDay(time) / 60 % 60) + ":" +
         std::to_string(SecondOfDay(time) % 60);
}

}  // namespace market_server::model
