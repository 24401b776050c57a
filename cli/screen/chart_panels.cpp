// Panels of one security's charts: its minutes day by day, and its candles, with a cross-hair that reads
// them.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/plot/candle_chart.h"
#include "cli/plot/minute_chart.h"
#include "cli/screen/panel.h"
#include "cli/screen/view_panel.h"
#include "host/clock.h"

namespace cli {
namespace {

class MinuteLinePanel final : public ViewPanel {
 public:
  MinuteLinePanel(PanelContext& context, std::unique_ptr<MinuteLineView> view)
      : ViewPanel(context, std::move(view)) {}

  void Select(const Security& security) override {
    cross_.reset();
    ViewPanel::Select(security);
  }

  bool OnKey(const Key& key) override {
    switch (key.kind) {
      case KeyKind::kLeft:
        Move(-1);
        break;
      case KeyKind::kRight:
        Move(1);
        break;
      case KeyKind::kPageUp:
        ShowDay(stock::GetLastTradingDate(Day()));
        break;
      case KeyKind::kPageDown:
        ShowDay(DayAfter(Day()));
        break;
      case KeyKind::kEnd:
        ShowDay(SessionDate(common::GetCurrentServerTime()));
        break;
      case KeyKind::kEscape:
        cross_.reset();
        break;
      case KeyKind::kClick:
        ReadAt(key);
        break;
      default:
        return false;
    }
    context().views.changed();
    return true;
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    return {{"← → click", "read a minute"},
            {"PgUp PgDn End", "day before, day after, today"},
            {"Esc", "no cross-hair"}};
  }
  [[nodiscard]] std::string Position() const override { return {}; }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    const auto* const newest = Lines().newest();
    if (newest == nullptr || LastPoint(newest->data) == nullptr) {
      return {};
    }
    const MinutePoint* const point = AtCross();
    look_ = {size, MinuteHeading(newest->data), HasAverage(Lines().security())};
    if (point != nullptr) {
      look_.title = MinuteFigures(newest->data.days.back().date, *point, look_.average);
      look_.cross = point->time;
    }
    return ChartIn(size, [&](const ChartSize& room) {
      look_.size = room;
      return MinuteChart(newest->data, look_);
    });
  }

 private:
  [[nodiscard]] MinuteLineView& Lines() const { return static_cast<MinuteLineView&>(view()); }

  [[nodiscard]] std::uint32_t Day() const {
    return Lines().date() != 0 ? Lines().date() : SessionDate(common::GetCurrentServerTime());
  }
  [[nodiscard]] static std::uint32_t DayAfter(std::uint32_t date) {
    const std::uint32_t today = SessionDate(common::GetCurrentServerTime());
    std::int64_t noon = common::DateToTime(date, 12, 0, 0);
    do {
      noon += 86400;
      date = common::TimeToDate(noon);
    } while (date < today && !IsTradingDay(date));
    return std::min(date, today);
  }
  void ShowDay(std::uint32_t date) {
    const bool is_today = date >= SessionDate(common::GetCurrentServerTime());
    const std::uint32_t wanted = is_today ? 0 : date;
    if (wanted != Lines().date()) {
      cross_.reset();
      Lines().SelectDays(wanted, 1);
    }
  }

  [[nodiscard]] const std::vector<MinutePoint>* Points() const {
    const auto* const newest = Lines().newest();
    return newest == nullptr || newest->data.days.empty() || newest->data.days.back().points.empty()
               ? nullptr
               : &newest->data.days.back().points;
  }
  void Move(int step) {
    if (const std::vector<MinutePoint>* const points = Points()) {
      const auto last = static_cast<std::ptrdiff_t>(points->size()) - 1;
      const auto from = cross_ ? static_cast<std::ptrdiff_t>(*cross_) + step : last;
      cross_ = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(from, 0, last));
    }
  }
  void ReadAt(const Key& click) {
    if (Points() != nullptr && click.row > 0 && click.row < look_.size.rows) {
      const auto point = PointAt(Lines().newest()->data, look_, click.column);
      cross_ = point ? point : cross_;
    }
  }
  [[nodiscard]] const MinutePoint* AtCross() const {
    const std::vector<MinutePoint>* const points = Points();
    return cross_ && points != nullptr ? &(*points)[std::min(*cross_, points->size() - 1)] : nullptr;
  }

  std::optional<std::size_t> cross_;  // number of the minute that is read
  MinuteChartLook look_;              // at the latest picture
};

class KLinePanel final : public ViewPanel {
 public:
  KLinePanel(PanelContext& context, std::unique_ptr<KLineView> view) : ViewPanel(context, std::move(view)) {}

  void Select(const Security& security) override {
    Reset();
    ViewPanel::Select(security);
  }

  bool OnKey(const Key& key) override {
    const auto all = std::ssize(Drawn());
    const auto page = static_cast<std::ptrdiff_t>(shown_);
    switch (key.kind) {
      case KeyKind::kLeft:
        cross_ = cross_ ? *cross_ - 1 : all - 1 - back_;
        break;
      case KeyKind::kRight:
        cross_ = cross_ ? *cross_ + 1 : all - 1 - back_;
        break;
      case KeyKind::kClick:
        if (const auto candle = CandleAt(size_, shown_, key.column);
            candle && key.row > 0 && key.row < size_.rows) {
          cross_ = all - back_ - page + static_cast<std::ptrdiff_t>(*candle);
        }
        break;
      case KeyKind::kPageUp:
        ScrollTo(back_ + page);
        break;
      case KeyKind::kPageDown:
        ScrollTo(back_ - page);
        break;
      case KeyKind::kHome:
        ScrollTo(all);
        break;
      case KeyKind::kEnd:
        ScrollTo(0);
        break;
      case KeyKind::kEscape:
        cross_.reset();
        break;
      default:
        if (key == Typed(U'+') || key == Typed(U'=') || key.kind == KeyKind::kWheelUp) {
          wanted_ = std::max<std::ptrdiff_t>(page * 2 / 3, kFewest);
        } else if (key == Typed(U'-') || key.kind == KeyKind::kWheelDown) {
          wanted_ = std::max(page * 3 / 2, kFewest);
        } else if (TurnKnob(key)) {
          Reset();
        } else {
          return false;
        }
        break;
    }
    context().views.changed();
    return true;
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    std::vector<KeyHint> hints = KnobHints();
    hints.push_back({"← → click", "read a candle"});
    hints.push_back({"PgUp PgDn Home End", "scroll"});
    hints.push_back({"+ - wheel", "zoom"});
    hints.push_back({"Esc", "no cross-hair"});
    return hints;
  }
  [[nodiscard]] std::string Position() const override {
    return back_ == 0 ? std::string() : Fixed(static_cast<double>(back_), 0) + " newer ones";
  }

  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    const std::vector<KLineCandle> all = Drawn();
    if (all.empty()) {
      return {};
    }
    return ChartIn(size, [&](const ChartSize& room) {
      const auto most = static_cast<std::ptrdiff_t>(2 * CandlesThatFit(room)) - 1;
      const auto usual = static_cast<std::ptrdiff_t>(CandlesThatFit(room));
      const auto count = std::min({wanted_ == 0 ? usual : wanted_, most, std::ssize(all)});
      back_ = std::clamp<std::ptrdiff_t>(back_, 0, std::ssize(all) - count);
      if (cross_) {
        cross_ = std::clamp<std::ptrdiff_t>(*cross_, 0, std::ssize(all) - 1);
        // The chart goes where it is read.
        back_ = std::clamp(back_, std::ssize(all) - *cross_ - count, std::ssize(all) - 1 - *cross_);
        back_ = std::max<std::ptrdiff_t>(back_, 0);
      }
      shown_ = static_cast<std::size_t>(count);
      size_ = room;
      const std::vector<KLineCandle> until(all.begin(), all.end() - back_);
      const std::vector<KLineCandle> seen(until.end() - count, until.end());
      CandleChartLook look{room, CandleHeading(seen.back()), Averages(until, shown_)};
      if (cross_) {
        look.cross = static_cast<std::size_t>(*cross_ - (std::ssize(until) - count));
        look.title = CandleFigures(seen[*look.cross], room.columns);
      }
      return CandleChart(seen, look);
    });
  }

 private:
  static constexpr std::ptrdiff_t kFewest = 5;

  [[nodiscard]] KLineView& Lines() const { return static_cast<KLineView&>(view()); }

  [[nodiscard]] std::vector<KLineCandle> Drawn() const { return WithPrices(Lines().Candles()); }

  void Reset() {
    cross_.reset();
    back_ = 0;
  }
  void ScrollTo(std::ptrdiff_t back) {
    cross_.reset();
    back_ = back;
  }
  std::ptrdiff_t wanted_ = 0;            // candles; 0: as many as have air between them
  std::ptrdiff_t back_ = 0;              // newer candles that are out of sight
  std::optional<std::ptrdiff_t> cross_;  // number of the candle that is read
  std::size_t shown_ = 1;
  ChartSize size_;  // of the latest picture
};

}  // namespace

std::unique_ptr<Panel> MakeMinuteLinePanel(PanelContext& context) {
  return std::make_unique<MinuteLinePanel>(context, std::make_unique<MinuteLineView>(context.views));
}

std::unique_ptr<Panel> MakeKLinePanel(PanelContext& context) {
  return std::make_unique<KLinePanel>(
      context, std::make_unique<KLineView>(context.views, kByDay, kUnadjusted, std::nullopt));
}

}  // namespace cli
