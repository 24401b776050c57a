// Views of the market as a whole: its phase, its events, how its stocks do, margin trading, new shares, and
// the reference data. See view.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/market_rows.h"
#include "cli/plot/market_charts.h"
#include "cli/views/service_view.h"

namespace cli {

class StateView final : public ServiceView<IStockMarketState, StockMarketState, std::wstring> {
 public:
  explicit StateView(const ViewContext& context) : ServiceView(context, kStateFeed, &GetStockMarketState) {
    Follow(L"CN");
  }
  [[nodiscard]] std::string Title() const override { return "phase"; }
  [[nodiscard]] std::wstring Key() const override { return L"CN"; }
  [[nodiscard]] std::vector<StyledLine> LogLines(bool with_header) const override;
  [[nodiscard]] Sheet AsSheet() const override;
  // Nobody is asked for the phase: it comes when the calendar has.
  [[nodiscard]] std::string NothingText() const override { return {}; }
  /// What the phase is called, 开盘 and the like; empty when that is not known.
  [[nodiscard]] std::wstring Caption() const { return figures().valid ? figures().text : L""; }
};

/// A view of one day, of today if it is 0.
template <class Service, class Data>
class DayView : public ServiceView<Service, Data, std::uint32_t> {
 public:
  [[nodiscard]] std::wstring Key() const override { return std::to_wstring(Session()); }
  [[nodiscard]] std::uint32_t Session() const override {
    return date_ != 0 ? date_ : SessionDate(this->server_time());
  }

 protected:
  DayView(const ViewContext& context, const Feed& feed, Service* (*get)(), std::uint32_t date)
      : ServiceView<Service, Data, std::uint32_t>(context, feed, get), date_(date) {
    this->Follow(date);
  }
  [[nodiscard]] std::uint32_t date() const { return date_; }
  /// What is said about a day that has nothing in it.
  [[nodiscard]] std::string NoFigures(const Delivery<Data>& delivery) const {
    return NoFiguresText(date_ != 0 ? date_ : SessionDate(delivery.server_time), delivery.server_time);
  }

 private:
  const std::uint32_t date_;
};

class EventsView final : public DayView<IStockUnusualEvent, std::list<StockUnusualEventItem>> {
 public:
  EventsView(const ViewContext& context, std::uint32_t date, std::optional<std::size_t> last);
  [[nodiscard]] std::string Title() const override { return "unusual events, the newest first"; }
  [[nodiscard]] bool MayBeEmpty() const override { return true; }
  [[nodiscard]] Table AsTable() const override { return EventTable(Events()); }
  [[nodiscard]] std::vector<Security> Securities() const override;
  [[nodiscard]] std::vector<std::wstring> RowKeys() const override;
  [[nodiscard]] Sheet AsSheet() const override;

 private:
  [[nodiscard]] std::list<StockUnusualEventItem> Events() const;
  [[nodiscard]] bool FailureArrivesEmpty() const override { return true; }
  void Resume(Observer& observer) override;
  void AskAgain(IStockUnusualEvent& service) override;
  void AskForPast(IStockUnusualEvent& service);
  /// The day to ask for besides what is polled; 0: there is none.
  [[nodiscard]] std::uint32_t PastDay() const;
  [[nodiscard]] bool IsWanted(const std::list<StockUnusualEventItem>& /*events*/) const override {
    return is_past_ || PastDay() == 0;
  }
  void OnUnwanted(Clock::time_point at) override;
  [[nodiscard]] std::string WhyNothingIn(
      const Delivery<std::list<StockUnusualEventItem>>& delivery) const override {
    return delivery.data.empty() ? NoEventText(Session(), delivery.server_time) : "";
  }

  const std::optional<std::size_t> last_;
  bool is_past_ = false;  // what arrives was asked for by its day
  Mailbox<std::list<StockUnusualEventItem>> past_;
};

/// A curve over one day: how a curve looks is a matter of the functions.
template <class Row>
struct CurveLook {
  const char* title;
  Table (*table)(const std::vector<Row>& rows);
  SessionPicture (*picture)(const std::vector<Row>& rows, std::uint32_t date);
  Sheet (*sheet)(const std::vector<Row>& rows);
};

template <class Service, class Row>
class CurveView final : public DayView<Service, std::vector<Row>> {
 public:
  CurveView(const ViewContext& context, const Feed& feed, Service* (*get)(), std::uint32_t date,
            const CurveLook<Row>& look)
      : DayView<Service, std::vector<Row>>(context, feed, get, date), look_(look) {}
  [[nodiscard]] std::string Title() const override { return look_.title; }
  [[nodiscard]] Table AsTable() const override { return look_.table(this->figures()); }
  [[nodiscard]] std::vector<StyledLine> Chart(const ChartSize& size) const override {
    return ChartOf(Picture(), size);
  }
  [[nodiscard]] SessionPicture Picture() const { return look_.picture(this->figures(), this->Session()); }
  [[nodiscard]] Sheet AsSheet() const override { return look_.sheet(this->figures()); }

 private:
  [[nodiscard]] std::string WhyNothingIn(const Delivery<std::vector<Row>>& delivery) const override {
    return delivery.data.empty() ? this->NoFigures(delivery) : "";
  }

  const CurveLook<Row> look_;
};

using StrengthView = CurveView<IStrengthRating, StrengthRatingItem>;
using EffectView = CurveView<IMoneyEffect, MoneyEffectItem>;
[[nodiscard]] std::unique_ptr<View> MakeStrengthView(const ViewContext& context, std::uint32_t date);
[[nodiscard]] std::unique_ptr<View> MakeEffectView(const ViewContext& context, std::uint32_t date);

class DistributionView final : public DayView<IStockDistribution, DistributionItem> {
 public:
  DistributionView(const ViewContext& context, std::uint32_t date)
      : DayView(context, kDistributionFeed, &GetStockDistribution, date) {}
  [[nodiscard]] std::string Title() const override { return "spread of the stocks' changes"; }
  [[nodiscard]] std::vector<StyledLine> Lines(int width) const override;
  [[nodiscard]] Sheet AsSheet() const override;

 private:
  [[nodiscard]] std::string WhyNothingIn(const Delivery<DistributionItem>& delivery) const override {
    return HasFigures(delivery.data) ? "" : NoFigures(delivery);
  }
};

/// A list that is attached to a service which does not poll, and asked for by a call.
template <class Service, class Data>
class AttachedView : public AnswerView<Data> {
 public:
  ~AttachedView() override {
    if (service_ != nullptr) {
      service_->Detach(&relay_);
    }
  }

 protected:
  AttachedView(const ViewContext& context, const Feed& feed, Service* (*get)(), void (Service::*fetch)())
      : AnswerView<Data>(context, feed), get_(get), fetch_(fetch) {}

 private:
  class Relay final : public IUpdate1<Data> {
   public:
    void Update(const Data& data) override { send(data); }
    std::function<void(const Data&)> send;
  };

  bool Ask(const std::function<void(const Data&)>& done) override {
    if (service_ == nullptr) {
      service_ = get_();
      if (service_ == nullptr) {
        return false;
      }
      relay_.send = done;
      service_->Attach(&relay_);
    }
    (service_->*fetch_)();
    return true;
  }

  Service* (*const get_)();
  void (Service::*const fetch_)();
  Service* service_ = nullptr;
  Relay relay_;
};

class MarginView final : public AttachedView<IMarginTrade, std::list<MarginTradeItem>> {
 public:
  MarginView(const ViewContext& context, std::optional<std::size_t> last)
      : AttachedView(context, kMarginFeed, &GetMarginTrade, &IMarginTrade::FetchMarginTradeInfo),
        last_(last) {}
  [[nodiscard]] std::string Title() const override { return "margin trading"; }
  [[nodiscard]] std::string WhyEmpty() const override {
    return has_data() && figures().empty() ? "the server has fewer than two days, and none can be compared"
                                           : "";
  }
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] Sheet AsSheet() const override;

 private:
  [[nodiscard]] std::list<MarginTradeItem> Days() const;

  const std::optional<std::size_t> last_;
};

class PurchaseView final : public AttachedView<IStockPurchase, std::list<StockPurchaseItem>> {
 public:
  explicit PurchaseView(const ViewContext& context)
      : AttachedView(context, kPurchaseFeed, &GetStockPurchase, &IStockPurchase::FetchPurchaseInfo) {}
  [[nodiscard]] std::string Title() const override { return "new shares"; }
  [[nodiscard]] std::string WhyEmpty() const override {
    return has_data() && figures().empty() ? "no new shares to subscribe to" : "";
  }
  [[nodiscard]] bool MayBeEmpty() const override { return true; }
  [[nodiscard]] Table AsTable() const override;
  [[nodiscard]] Sheet AsSheet() const override;
};

/// What was looked up in the reference data when it was made: nothing is asked for.
struct Found {
  std::string_view service = "stock_common";
  std::wstring key;
  Table table{{}};
  Sheet sheet{};
  std::string note;
  std::string why_empty;
  std::vector<Security> securities{};  ///< by row
};

class FoundView final : public View {
 public:
  using Find = std::function<Found(const Security& security)>;

  FoundView(const ViewContext& context, Found found);
  /// Looks it up again whenever it is shown, refreshed or of another security.
  FoundView(const ViewContext& context, std::string title, Find find);
  [[nodiscard]] std::string Title() const override { return TitleOf(title_, security_); }
  [[nodiscard]] std::wstring Key() const override { return found_.key; }
  [[nodiscard]] bool has_data() const override { return true; }
  [[nodiscard]] bool IsAskedOnce() const override { return true; }
  [[nodiscard]] std::int64_t server_time() const override { return common::GetCurrentServerTime(); }
  [[nodiscard]] std::string WhyEmpty() const override { return found_.why_empty; }
  [[nodiscard]] std::string Note() const override { return found_.note; }
  [[nodiscard]] Table AsTable() const override { return found_.table; }
  [[nodiscard]] std::vector<Security> Securities() const override { return found_.securities; }
  [[nodiscard]] Sheet AsSheet() const override { return found_.sheet; }
  void Select(const Security& security) override;

 private:
  bool ResumeService() override;
  void SuspendService() override {}
  void RefreshService() override { ResumeService(); }

  const std::string title_;
  const Find find_;  // empty: it was found once for all
  Security security_;
  Found found_;
  const std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);  // for what is posted
};

/// The list `name` ("stocks", "plates", "indices") of a kind.
[[nodiscard]] Found FindList(IStockCommon& reference, std::string_view name, int kind);
/// How many kinds there are of a list; 0 when there is no such list.
[[nodiscard]] int KindsOfList(std::string_view name);
[[nodiscard]] Found FindSecurities(IStockCommon& reference, const std::string& text, std::size_t limit);
[[nodiscard]] Found FindPlatesOf(IStockCommon& reference, std::string text);
/// Trading days and holidays; 0 is this year.
[[nodiscard]] Found FindCalendar(std::uint32_t year);

}  // namespace cli
