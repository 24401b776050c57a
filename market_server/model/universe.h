// The securities of the simulated market and what is fixed about each for all time: codes and names,
// industries and concepts, share counts, listings, suspensions, dividends and splits. It depends on the seed
// only for suspensions and dividends, so that codes and names keep their meaning from seed to seed. Immutable
// once built. Prices are made in price_path.h.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "market_server/model/market.h"

namespace market_server::model {

/// Trading days are numbered from 0. A scripted day must not be the last of a block of days (see
/// price_path.h), so that the numbering begins with a few days that nobody can ask for.
class Days {
 public:
  explicit Days(Date scripted);
  [[nodiscard]] int count() const { return count_; }
  [[nodiscard]] int first() const { return offset_; }       // number of kFirstTradingDay
  [[nodiscard]] int NumberOf(Date date) const;              ///< -1: no trading day
  [[nodiscard]] Date DateAt(int number) const;              ///< the first or last one for days beyond them
  [[nodiscard]] int scripted() const { return scripted_; }  // -1: none

 private:
  int offset_ = 0;
  int count_ = 0;
  int scripted_ = -1;
};

inline constexpr int kBlock = 32;  ///< days in a block

struct Suspension {
  int first = 0;
  int length = 0;
  Status status = Status::kSuspended;
};

struct ExRights {
  int day = 0;
  int bonus = 0;      ///< new shares for ten old ones
  double yield = 0;   ///< cash, as a share of the last close
  double factor = 1;  ///< product of (10 + bonus) / 10 up to and with this day
};

struct Stock {
  const Security* security = nullptr;
  std::uint64_t key = 0;  ///< depends on the seed
  int industry = 0;
  int listed = 0;              ///< number of the first trading day; 0: long before
  double base = 0;             ///< logarithm of the price at the start or at listing
  std::int32_t beta = 256;     ///< 256ths
  std::int32_t deviation = 0;  ///< of a day's own return, 24 fractional bits
  double turnover = 0;         ///< share of the circulating shares that changes hands on an ordinary day
  double pe = 0, pb = 0;       ///< at the start of a year
  std::uint64_t total = 0, circulating = 0;  ///< shares before any split
  std::vector<Suspension> suspensions;       ///< ascending, apart
  std::vector<ExRights> ex_rights;           ///< ascending

  [[nodiscard]] const Suspension* SuspendedOn(int day) const;  ///< null: trades
  [[nodiscard]] const ExRights* ExRightsOn(int day) const;
  [[nodiscard]] double SplitFactor(int day) const;  ///< up to and with the day
  [[nodiscard]] std::uint64_t TotalOn(int day) const;
  [[nodiscard]] std::uint64_t CirculatingOn(int day) const;
};

class Universe {
 public:
  Universe(const Options& options, const Days& days);
  Universe(const Universe&) = delete;
  Universe& operator=(const Universe&) = delete;

  std::vector<Security> stock_securities, indices, plates;
  std::vector<Stock> stocks;  ///< by code, Shanghai first; `number` of the security
  std::vector<std::vector<std::uint32_t>> index_members;  ///< numbers of stocks, ascending
  std::vector<std::vector<std::uint32_t>> plate_members;
  std::vector<std::vector<std::uint32_t>> stock_plates;  ///< numbers of plates, ascending

  [[nodiscard]] const Security* Find(std::string_view code) const;
  [[nodiscard]] const Stock& StockOf(const Security& security) const { return stocks[security.number]; }

 private:
  void MakeStocks(const Options& options, const Days& days);
  void MakeHistory(const Options& options, const Days& days);
  void MakeIndices();
  void MakePlates();

  std::unordered_map<std::string, const Security*> by_code_;
};

/// The price limit of a board on a day, in percent.
[[nodiscard]] int LimitPercent(Board board, Date date);

}  // namespace market_server::model
