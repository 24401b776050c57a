#include "market_server/model/market.h"

#include <algorithm>
#include <cmath>

#include "market_server/model/market_impl.h"
#include "market_server/model/random.h"

namespace market_server::model {
namespace {

constexpr std::array<std::string_view, 6> kScenarioNames{"none",     "calm",   "crash",
                                                         "limit-up", "outage", "suspended"};

constexpr int Seconds(int hour, int minute) {
  return hour * 3600 + minute * 60;
}

constexpr std::uint64_t kTickKey = 0x71c4;
constexpr std::uint64_t kBookKey = 0xb00c;

std::uint64_t TickHash(std::uint64_t key, std::uint64_t purpose, const Moment& moment) {
  return Mix(Mix(key ^ purpose, static_cast<std::uint64_t>(moment.day)),
             static_cast<std::uint64_t>(moment.minute) * 32 + static_cast<std::uint64_t>(moment.tick));
}

/// How much of the minute under way is over, in 640ths: the ticks, each at a moment of its own within three
/// seconds.
std::uint64_t PartOfMinute(std::uint64_t key, const Moment& moment) {
  return static_cast<std::uint64_t>(moment.tick) * 32 + (TickHash(key, kTickKey, moment) & 31);
}

std::uint64_t Volume(std::uint64_t lots) {
  return lots * 100;
}

double ShareOf(double part, double whole) {
  return whole > 0 ? ToHundredths(part * 100 / whole) : 0;
}

double Ratio(double a, double b) {
  return b != 0 ? ToHundredths(a / b) : 0;
}

/// Prices of an index or a plate at a moment.
void LevelQuote(const std::int32_t* prices, std::int32_t preclose, std::uint64_t key, const Moment& moment,
                Quote& out) {
  std::int32_t last = preclose;
  if (!moment.auction) {
    const std::int32_t* const end = prices + moment.minute + 1;
    last = prices[moment.minute];
    std::int32_t high = *std::max_element(prices, end);
    std::int32_t low = *std::min_element(prices, end);
    if (moment.tick > 0) {
      const auto part = static_cast<std::int64_t>(PartOfMinute(key, moment));
      last += static_cast<std::int32_t>((prices[moment.minute + 1] - last) * part / 640);
      high = std::max(high, last);
      low = std::min(low, last);
    }
    out.open = Hundredths(prices[0]);
    out.high = Hundredths(high);
    out.low = Hundredths(low);
    out.amp = ShareOf(high - low, preclose);
  }
  out.last = Hundredths(last);
  out.preclose = Hundredths(preclose);
  out.diff = Hundredths(last - preclose);
  out.change = Hundredths(ChangeOf(last, preclose));
}

void FillSums(const MemberSums& sums, const Moment& moment, Quote& out) {
  out.vol = Volume(sums.lots);
  out.amt = Hundredths(sums.amount);
  out.tr = ShareOf(static_cast<double>(Volume(sums.lots)), static_cast<double>(sums.circulating));
  out.mc = ToHundredths(sums.capitalisation);
  out.cmc = ToHundredths(sums.circulating_capitalisation);
  out.pe = Ratio(sums.capitalisation * 100, sums.earnings);
  out.pb = Ratio(sums.capitalisation * 100, sums.book);
  out.qrr = Ratio(static_cast<double>(sums.lots), sums.usual_lots * moment.elapsed());
  out.num_u = sums.up;
  out.num_z = sums.unchanged;
  out.num_d = sums.down;
  if (sums.lead != nullptr) {
    out.lead = sums.lead->security;
    out.lead_change = sums.lead->change;
  }
}

void Add(const Quote& quote, const StockDay& figures, const Live& live, double big_net, MemberSums& sums) {
  sums.capitalisation += quote.mc;
  sums.circulating_capitalisation += quote.cmc;
  sums.earnings += figures.earnings;
  sums.book += figures.book;
  sums.circulating += figures.circulating;
  if (!Trades(quote.status)) {
    return;
  }
  sums.lots += live.lots;
  sums.amount += live.amount;
  sums.usual_lots += figures.usual_lots;
  sums.big_net += big_net;
  ++(quote.last > quote.preclose ? sums.up : quote.last < quote.preclose ? sums.down : sums.unchanged);
  if (sums.lead == nullptr || quote.change > sums.lead->change) {
    sums.lead = &quote;
  }
}

}  // namespace

std::span<const std::string_view> ScenarioNames() {
  return kScenarioNames;
}

std::optional<Scenario> ScenarioNamed(std::string_view name) {
  const auto* const found = std::find(kScenarioNames.begin(), kScenarioNames.end(), name);
  if (found == kScenarioNames.end()) {
    return std::nullopt;
  }
  return static_cast<Scenario>(found - kScenarioNames.begin());
}

std::int32_t ClockOf(int minute) {
  const int clock = minute <= 120 ? Seconds(9, 30) / 60 + minute : Seconds(13, 0) / 60 + minute - 120;
  return clock / 60 * 100 + clock % 60;
}

Market::Impl::Impl(const Options& options) : base(options) {
  const Universe& universe = base.universe;
  const auto pointers = [&](const std::vector<std::vector<std::uint32_t>>& lists) {
    std::vector<std::vector<const Security*>> out;
    for (const auto& list : lists) {
      auto& members = out.emplace_back();
      for (const std::uint32_t number : list) {
        members.push_back(&universe.stock_securities[number]);
      }
    }
    return out;
  };
  index_members = pointers(universe.index_members);
  plate_members = pointers(universe.plate_members);
  stock_indices.resize(universe.stocks.size());
  for (std::uint32_t i = 0; i < universe.index_members.size(); ++i) {
    for (const std::uint32_t member : universe.index_members[i]) {
      stock_indices[member].push_back(i);
    }
  }
  int calendar_week = 0;
  for (int day = 0; day < base.days.count(); ++day) {
    // 1970-01-05 was a Monday.
    const double since = (InstantOf(base.days.DateAt(day), 12, 0, 0) - InstantOf(19700105, 0, 0, 0)) / 86400;
    const int own = static_cast<int>(since) / 7;
    weeks.push_back(weeks.empty() ? 0 : weeks.back() + (own != calendar_week ? 1 : 0));
    calendar_week = own;
  }
  const int blocks = base.days.count() / kBlock + 1;
  totals.resize(static_cast<std::size_t>(blocks));
  totals_claimed.resize(static_cast<std::size_t>(blocks));
}

Moment Market::Impl::MomentAt(Instant time) const {
  Moment out;
  out.date = SessionDate(time);
  out.day = base.days.NumberOf(out.date);
  const Date today = DateOf(time);
  int second = SecondOfDay(time);
  if (out.date < today) {
    second = Seconds(23, 59);
  } else if (out.date > today) {
    second = Seconds(9, 15);  // before the first session
  }
  const auto at = [&](int of_day) { return InstantOf(out.date, 0, 0, 0) + of_day; };
  if (second < Seconds(9, 25)) {
    out.auction = true;
    const int past = std::max(second - Seconds(9, 15), 0) / 3 * 3;
    out.auction_done = static_cast<double>(past) / 600;
    out.tick = past / 3;
    out.time = at(Seconds(9, 15) + past);
  } else if (second < Seconds(9, 30)) {
    out.time = at(Seconds(9, 25));
  } else if (second >= Seconds(15, 0)) {
    out.minute = kMinutes;
    out.time = at(Seconds(15, 0));
  } else if (second >= Seconds(11, 30) && second < Seconds(13, 0)) {
    out.minute = kMinutes / 2;
    out.time = at(Seconds(11, 30));
  } else {
    const bool morning = second < Seconds(12, 0);
    const int past = second - (morning ? Seconds(9, 30) : Seconds(13, 0));
    out.minute = past / 60 + (morning ? 0 : kMinutes / 2);
    out.tick = past % 60 / 3;
    out.time = at(second - past % 3);
  }
  return out;
}

bool Market::Impl::MomentOn(Date date, Instant time, Moment& out) const {
  if (base.days.NumberOf(date) < base.days.first() || SessionDate(time) < date ||
      (SessionDate(time) == date && DateOf(time) < date)) {
    return false;
  }
  const bool past = SessionDate(time) != date;
  out = MomentAt(past ? InstantOf(date, 23, 0, 0) : time);
  out.past = past;
  return true;
}

std::shared_ptr<const MarketDay> Market::Impl::MarketDayOf(const Moment& moment) {
  if (moment.past) {
    if (auto held = market_days.Find(moment.day)) {
      return held;
    }
  }
  return (moment.past ? past_days : market_days).Get(moment.day, [&] {
    if (ceased) {
      throw Ceased();
    }
    return std::make_shared<const MarketDay>(base, moment.day);
  });
}

Live Market::Impl::LiveOf(const Stock& stock, const StockDay& figures, const MinuteView& minutes,
                          const Moment& moment) const {
  Live out;
  const DayPrices& prices = figures.prices;
  out.listed = moment.day >= stock.listed;
  out.last = out.five_ago = prices.close;
  if (!prices.traded) {
    return out;
  }
  if (moment.auction) {
    // The indicative price wanders from the last close to the open.
    const std::int32_t noise = Normal(kOne / 80, TickHash(stock.key, kTickKey, moment));
    const double done = moment.auction_done;
    const double move = static_cast<double>(minutes.price[0] - prices.preclose) * done +
                        static_cast<double>(noise) / kOne * prices.preclose * (1 - done) * 0.5;
    const std::int32_t low = prices.limit_down > 0 ? prices.limit_down : 1;
    const std::int32_t high = prices.limit_up > 0 ? prices.limit_up : prices.preclose * 8;
    out.last = std::clamp(prices.preclose + static_cast<std::int32_t>(Nearest(move)), low, high);
    out.five_ago = out.last;
    return out;
  }
  out.traded = true;
  const auto m = static_cast<std::size_t>(moment.minute);
  out.open = minutes.price[0];
  out.last = minutes.price[m];
  out.lots = minutes.lots[m];
  out.amount = minutes.amount[m];
  out.high = *std::max_element(minutes.price, minutes.price + m + 1);
  out.low = *std::min_element(minutes.price, minutes.price + m + 1);
  if (moment.tick > 0) {
    const std::int64_t lots = minutes.lots[m + 1] - minutes.lots[m];
    const std::int64_t done = lots * static_cast<std::int64_t>(PartOfMinute(stock.key, moment)) / 640;
    if (done > 0) {
      const std::int32_t from = minutes.price[m];
      const std::int32_t to = minutes.price[m + 1];
      out.last = from + static_cast<std::int32_t>((to - from) * done / lots);
      out.lots += static_cast<std::uint32_t>(done);
      const std::int64_t rest = minutes.amount[m + 1] - minutes.amount[m] - lots * 50 * (from + to);
      out.amount = std::clamp(minutes.amount[m] + done * 50 * (from + out.last) + rest * done / lots,
                              minutes.amount[m], minutes.amount[m + 1]);
      out.high = std::max(out.high, out.last);
      out.low = std::min(out.low, out.last);
    }
  }
  out.five_ago = minutes.price[std::max(moment.elapsed() - 5, 0)];
  return out;
}

Quote Market::Impl::StockQuote(const Stock& stock, const StockDay& figures, const Live& live,
                               const Moment& moment) const {
  Quote out;
  const DayPrices& prices = figures.prices;
  out.security = stock.security;
  out.date = moment.date;
  out.time = moment.time;
  out.status = prices.status;
  if (!live.listed) {
    return out;
  }
  const double last = Hundredths(live.last);
  out.last = last;
  out.preclose = Hundredths(prices.preclose);
  out.diff = Hundredths(live.last - prices.preclose);
  out.change = Hundredths(ChangeOf(live.last, prices.preclose));
  out.tso = figures.total;
  out.shares = figures.circulating;
  out.mc = ToHundredths(static_cast<double>(figures.total) * last);
  out.cmc = ToHundredths(static_cast<double>(figures.circulating) * last);
  out.pe = Ratio(static_cast<double>(figures.total) * live.last, figures.earnings);
  out.pb = Ratio(static_cast<double>(figures.total) * live.last, figures.book);
  out.limit_up = Hundredths(prices.limit_up);
  out.limit_down = Hundredths(prices.limit_down);
  if (live.traded) {
    out.open = Hundredths(live.open);
    out.high = Hundredths(live.high);
    out.low = Hundredths(live.low);
    out.vol = Volume(live.lots);
    out.amt = Hundredths(live.amount);
    out.tr = ShareOf(static_cast<double>(out.vol), static_cast<double>(figures.circulating));
    out.amp = ShareOf(live.high - live.low, prices.preclose);
    out.qrr = Ratio(live.lots, figures.usual_lots * moment.elapsed());
    out.five_change = Hundredths(ChangeOf(live.last, live.five_ago));
  }
  if (prices.traded) {
    OrderBook(stock, figures, live, moment, out);
  }
  return out;
}

void Market::Impl::OrderBook(const Stock& stock, const StockDay& figures, const Live& live,
                             const Moment& moment, Quote& out) const {
  const std::uint64_t hash = TickHash(stock.key, kBookKey, moment);
  Stream dice(hash);
  const double usual = std::max(figures.usual_lots, 1.0);
  const auto lots = [&](double times) {
    const double wanted = usual * times * (0.1 + static_cast<double>(dice.Next() >> 8) * 0x1p-24 * 1.4);
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(Nearest(wanted), 1, 30'000'000)) * 100;
  };
  const DayPrices& prices = figures.prices;
  if (moment.auction) {
    out.bids[0] = {Hundredths(live.last), lots(4)};
    out.asks[0] = {Hundredths(live.last), out.bids[0].volume};
  } else {
    const std::int32_t high = prices.limit_up > 0 ? prices.limit_up : INT32_MAX;
    const std::int32_t low = prices.limit_down > 0 ? prices.limit_down : 1;
    const std::uint32_t widest = live.last >= 20000 ? 9 : live.last >= 5000 ? 3 : 1;
    const auto gap = [&] {
      const std::uint32_t die = dice.Next();
      return 1 + static_cast<std::int32_t>((die >> 8) % widest) + ((die & 7) == 0 ? 1 : 0);
    };
    // The last trade was at the best bid or at the best ask.
    const bool sold = (hash & 1) != 0;
    std::int32_t bid = 0;
    std::int32_t ask = 0;
    if (live.last >= high) {
      bid = live.last;
    } else if (live.last <= low) {
      ask = live.last;
    } else if (sold) {
      bid = live.last;
      ask = std::min(live.last + gap(), high);
    } else {
      ask = live.last;
      bid = std::max(live.last - gap(), low);
    }
    const bool sealed = bid == 0 || ask == 0;
    for (std::size_t level = 0; level < out.bids.size(); ++level) {
      if (bid >= low && bid > 0) {
        out.bids[level] = {Hundredths(bid), lots(level == 0 && sealed ? 60 : 1)};
        bid -= gap();
      }
      if (ask > 0 && ask <= high) {
        out.asks[level] = {Hundredths(ask), lots(level == 0 && sealed ? 60 : 1)};
        ask += gap();
      }
    }
  }
  double bids = 0;
  double asks = 0;
  for (std::size_t level = 0; level < out.bids.size(); ++level) {
    bids += out.bids[level].volume;
    asks += out.asks[level].volume;
  }
  out.cr = ShareOf(bids - asks, bids + asks);
}

Quote Market::Impl::IndexQuote(std::uint32_t number, const MarketDay& day, const MemberSums& sums,
                               const Moment& moment) const {
  Quote out;
  out.security = &base.universe.indices[number];
  out.date = moment.date;
  out.time = moment.time;
  LevelQuote(day.IndexPrices(number), day.IndexPreclose(number), Mix(base.options.seed, number), moment, out);
  FillSums(sums, moment, out);
  return out;
}

Quote Market::Impl::PlateQuote(std::uint32_t number, const MarketDay& day, const MemberSums& sums,
                               const Moment& moment) const {
  Quote out;
  out.security = &base.universe.plates[number];
  out.date = moment.date;
  out.time = moment.time;
  LevelQuote(day.PlatePrices(number), day.PlatePreclose(number), Mix(base.options.seed, 1000 + number),
             moment, out);
  FillSums(sums, moment, out);
  out.bpin = sums.big_net;
  const int direction = out.diff > 0 ? 1 : out.diff < 0 ? -1 : 0;
  const int before = day.PlateRun(number);
  out.cud = direction * before > 0 ? before + direction : direction;
  return out;
}

std::shared_ptr<const BoardQuotes> Market::Impl::BoardAt(const Moment& moment) {
  return (moment.past ? past_boards : boards).Get(static_cast<std::int64_t>(moment.time), [&] {
    const auto day = MarketDayOf(moment);
    const Universe& universe = base.universe;
    auto out = std::make_shared<BoardQuotes>();
    out->date = moment.date;
    out->time = moment.time;
    out->stocks.reserve(universe.stocks.size());
    std::vector<MemberSums> index_sums(universe.indices.size());
    std::vector<MemberSums> plate_sums(universe.plates.size());
    for (const Stock& stock : universe.stocks) {
      if (moment.day < stock.listed) {
        continue;
      }
      const std::uint32_t number = stock.security->number;
      const StockDay& figures = day->StockOf(number);
      const Live now = LiveOf(stock, figures, day->Minutes(number), moment);
      const Quote& quote = out->stocks.emplace_back(StockQuote(stock, figures, now, moment));
      double big_net = 0;
      if (now.traded) {
        const FlowSum flow =
            FlowSharesOf(stock, moment.day, figures.prices).Of(static_cast<std::uint64_t>(now.amount / 100));
        big_net = static_cast<double>(flow.big_in) - static_cast<double>(flow.big_out);
      }
      for (const std::uint32_t index : stock_indices[number]) {
        Add(quote, figures, now, big_net, index_sums[index]);
      }
      for (const std::uint32_t plate : universe.stock_plates[number]) {
        Add(quote, figures, now, big_net, plate_sums[plate]);
      }
    }
    for (std::uint32_t i = 0; i < universe.indices.size(); ++i) {
      out->indices.push_back(IndexQuote(i, *day, index_sums[i], moment));
    }
    for (std::uint32_t i = 0; i < universe.plates.size(); ++i) {
      out->plates.push_back(PlateQuote(i, *day, plate_sums[i], moment));
    }
    return std::shared_ptr<const BoardQuotes>(std::move(out));
  });
}

Market::Market(Options options) : impl_(std::make_unique<Impl>(options)) {}
Market::~Market() = default;

const Options& Market::options() const {
  return impl_->base.options;
}

void Market::Prepare(Instant time) const {
  (void)impl_->MarketDayOf(impl_->MomentAt(time));
}

const Security* Market::Find(std::string_view code) const {
  return impl_->base.universe.Find(code);
}

std::vector<const Security*> Market::Stocks(Instant time) const {
  const int day = impl_->MomentAt(time).day;
  std::vector<const Security*> out;
  out.reserve(impl_->base.universe.stocks.size());
  for (const Stock& stock : impl_->base.universe.stocks) {
    if (stock.listed <= day) {
      out.push_back(stock.security);
    }
  }
  return out;
}

std::span<const Security> Market::indices() const {
  return impl_->base.universe.indices;
}
std::span<const Security> Market::plates() const {
  return impl_->base.universe.plates;
}

std::span<const Security* const> Market::Members(const Security& index_or_plate) const {
  switch (index_or_plate.kind) {
    case Kind::kIndex:
      return impl_->index_members[index_or_plate.number];
    case Kind::kPlate:
      return impl_->plate_members[index_or_plate.number];
    case Kind::kStock:
      break;
  }
  return {};
}

std::vector<const Security*> Market::PlatesOf(const Security& stock, int plate_kind) const {
  std::vector<const Security*> out;
  if (stock.kind == Kind::kStock) {
    for (const std::uint32_t number : impl_->base.universe.stock_plates[stock.number]) {
      const Security& plate = impl_->base.universe.plates[number];
      if (plate.plate_kind == plate_kind) {
        out.push_back(&plate);
      }
    }
  }
  return out;
}

bool Market::IsListed(const Security& security, Date date) const {
  return security.kind != Kind::kStock || security.listed <= date;
}

Quote Market::QuoteOf(const Security& security, Instant time) const {
  const Moment moment = impl_->MomentAt(time);
  if (security.kind == Kind::kStock) {
    const Stock& stock = impl_->base.universe.StockOf(security);
    Quote out;
    if (moment.day < stock.listed) {
      out.security = &security;
      out.date = moment.date;
      out.time = moment.time;
      out.status = Status::kAwaiting;
      return out;
    }
    impl_->WithStockDay(stock, moment.day, [&](const StockDay& figures, const MinuteView& minutes) {
      out = impl_->StockQuote(stock, figures, impl_->LiveOf(stock, figures, minutes, moment), moment);
    });
    return out;
  }
  const auto board = impl_->BoardAt(moment);
  return (security.kind == Kind::kIndex ? board->indices : board->plates)[security.number];
}

std::shared_ptr<const BoardQuotes> Market::BoardAt(Instant time) const {
  return impl_->BoardAt(impl_->MomentAt(time));
}

bool Market::FeedDown(Instant time) const {
  const Options& options = impl_->base.options;
  return options.scenario == Scenario::kOutage && DateOf(time) == options.scenario_date &&
         IsTradingDay(options.scenario_date) && SecondOfDay(time) >= Seconds(10, 0) &&
         SecondOfDay(time) < Seconds(13, 0);
}

Instant Market::FeedTime(Instant time) const {
  return FeedDown(time) ? InstantOf(impl_->base.options.scenario_date, 10, 0, 0) : time;
}

}  // namespace market_server::model
