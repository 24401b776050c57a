// Views of one security: its quote, its minutes, its candles, what flows into and out of it. See view.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/market_rows.h"
#include "cli/views/service_view.h"
#include "cli/views/vocabulary.h"

namespace cli {

/// A view of the security that is selected, by its code.
template <class Service, class Data>
class SecurityView : public ServiceView<Service, Data, std::wstring> {
 public:
  [[nodiscard]] std::wstring Key() const override { return security_.code; }
  void Select(const Security& security) override {
    security_ = security;
    FollowSecurity();
  }
  [[nodiscard]] const Security& security() const { return security_; }

 protected:
  SecurityView(const ViewContext& context, const Feed& feed, Service* (*get)())
      : ServiceView<Service, Data, std::wstring>(context, feed, get) {
    this->FollowNothing(kNothingSelected);
  }
  void FollowSecurity() {
    const std::string why = security_.code.empty() ? kNothingSelected : WhyNotOf(security_);
    if (why.empty()) {
      this->Follow(security_.code);
    } else {
      this->FollowNothing(why);
    }
  }

 private:
  /// Why a security has nothing of that kind; empty: it has.
  [[nodiscard]] virtual std::string WhyNotOf(const Security& /*security*/) const { return {}; }

  Security security_;
};

class QuoteView final : public SecurityView<ISingleStockMarket, StockMarketItem> {
 public:
  explicit QuoteView(const ViewContext& context) : SecurityView(context, kQuoteFeed, &GetSingleStockMarket) {}
  [[nodiscard]] std::string Title() const override { return TitleOf("quote", security()); }
  /// The sheet of the quote, side by side or, where that is too wide, in one column.
  [[nodiscard]] std::vector<StyledLine> Lines(int width) const override;
  [[nodiscard]] Sheet AsSheet() const override;

 private:
  [[nodiscard]] bool IsWanted(const StockMarketItem& quote) const override {
    return quote.code == security().code;
  }
  [[nodiscard]] std::string WhyNotOf(const Security& security) const override {
    return security.type == stock::kSymbolPlate
               ? NameText(security) + " is a plate: csm plates shows its quote, csm plate its stocks"
               : "";
  }
};

/// The minutes of today, of another day, or of several days.
class MinuteLineView final : public SecurityView<IStockMLine, StockMLineData> {
 public:
  explicit MinuteLineView(const ViewContext& context);
  [[nodiscard]] std::string Title() const override {
    return TitleOf(date_ == 0 ? "minute line" : "minutes up to " + DateText(date_), security());
  }
  void Select(const Security& security) override;
  /// `days` trading days that end at `date`; 0 is today.
  void SelectDays(std::uint32_t date, int days);
  [[nodiscard]] std::uint32_t date() const { return date_; }
  [[nodiscard]] std::uint32_t Session() const override {
    return figures().days.empty() ? 0 : figures().days.back().date;
  }
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::vector<StyledLine> Chart(const ChartSize& size) const override;
  [[nodiscard]] Sheet AsSheet() const override;

 private:
  void Resume(Observer& observer) override;
  void AskAgain(IStockMLine& service) override;
  void AskForPast(IStockMLine& service);
  [[nodiscard]] bool IsWanted(const StockMLineData& line) const override;
  [[nodiscard]] std::string WhyNothingIn(const Delivery<StockMLineData>& delivery) const override {
    return LastPoint(delivery.data) == nullptr ? WhyNoPoint(delivery.data, security(), delivery.server_time)
                                               : "";
  }
  [[nodiscard]] std::string NothingText() const override;

  std::uint32_t date_ = 0;
  int days_ = 1;
  Mailbox<StockMLineData> past_;
};

class KLineView final : public SecurityView<IStockKLine, StockKLineData> {
 public:
  KLineView(const ViewContext& context, int period, int adjustment, std::optional<std::size_t> last);
  [[nodiscard]] std::string Title() const override {
    return TitleOf("candles " + SeriesText(period_, adjustment_), security());
  }
  bool Turn(Knob knob, int step) override;
  [[nodiscard]] std::optional<KnobSetting> SettingOf(Knob knob) const override;
  [[nodiscard]] std::uint32_t Session() const override {
    return figures().candles.empty() ? 0 : figures().candles.back().date;
  }
  /// The newest sixty, unless a number was chosen.
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] std::vector<StyledLine> Chart(const ChartSize& size) const override;
  [[nodiscard]] Sheet AsSheet() const override;
  /// All of them, the oldest first; none as long as nothing has arrived.
  [[nodiscard]] std::vector<KLineCandle> Candles() const;

 private:
  void Resume(Observer& observer) override;
  [[nodiscard]] std::string WhyNotOf(const Security& security) const override {
    return security.type == stock::kSymbolPlate
               ? "there are no candles of plates; " + NameText(security) + " is one"
               : "";
  }
  [[nodiscard]] bool IsWanted(const StockKLineData& data) const override {
    return data.symbol == security().code && data.period == period_ && data.adjustment == adjustment_;
  }
  // With days, a week or a month before it today's candle would be another one.
  [[nodiscard]] bool IsTodayAlone(const StockKLineData& data) const {
    return data.candles.size() == 1 && FailuresOfHistory().first > failures_before_;
  }
  [[nodiscard]] std::string WhyNothingIn(const Delivery<StockKLineData>& delivery) const override;
  // A download may take long, and ends with a record in any case.
  [[nodiscard]] std::string NothingText() const override { return {}; }
  [[nodiscard]] std::vector<KLineCandle> Chosen(std::vector<KLineCandle> candles,
                                                std::size_t otherwise) const;

  int period_;
  int adjustment_;
  const std::optional<std::size_t> last_;
  std::uint64_t failures_before_ = 0;
};

class FlowView final : public SecurityView<IStockInOut, StockInOutItem> {
 public:
  explicit FlowView(const ViewContext& context) : SecurityView(context, kFlowFeed, &GetStockInOut) {}
  [[nodiscard]] std::string Title() const override { return TitleOf("flows in yuan", security()); }
  [[nodiscard]] std::uint32_t Session() const override {
    return newest() == nullptr ? 0 : SessionDate(newest()->server_time);
  }
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] Sheet AsSheet() const override;

 private:
  [[nodiscard]] bool IsWanted(const StockInOutItem& flows) const override {
    return flows.symbol == security().code;
  }
  [[nodiscard]] std::string WhyNothingIn(const Delivery<StockInOutItem>& delivery) const override {
    return HasFlows(delivery.data) ? "" : "nothing flowed in or out within ten days";
  }
  [[nodiscard]] bool MayBeEmpty() const override { return true; }
  [[nodiscard]] std::string NothingText() const override {
    return "the server has no flows of " + NameText(security());
  }
  [[nodiscard]] std::string WhyNotOf(const Security& security) const override {
    return security.type == stock::kSymbolStock ? "" : NoFlowsText(security);
  }
};

}  // namespace cli
