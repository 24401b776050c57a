// The two curves of a day, breadth and money effect: which days are asked for when, and what becomes of the
// answer.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "analytics/money_effect.h"
#include "analytics/strength_rating.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

constexpr std::uint32_t kToday = 20240315;
constexpr std::uint32_t kYesterday = 20240314;

struct Strength {
  using Interface = IStrengthRating;
  using Item = StrengthRatingItem;
  static Interface* Make() { return analytics::MakeStrengthRating(); }
  static constexpr const char* kPath = "/pc/rt/stock_min_num";
  static constexpr const char* kAnswer =
      R"({"errno":0,"data":{"list":[{"min":930,"up":2,"down":1,"more":7},{"min":931,"up":3},{"min":"932"}]}})";
  static std::vector<Item> Expected() { return {{930, 2, 1}, {931, 3, 0}, {0, 0, 0}}; }
};

struct Effect {
  using Interface = IMoneyEffect;
  using Item = MoneyEffectItem;
  static Interface* Make() { return analytics::MakeMoneyEffect(); }
  static constexpr const char* kPath = "/pc/rt/stock_min_average";
  static constexpr const char* kAnswer =
      R"({"errno":0,"data":{"list":[{"time":930,"average":-0.25},{"time":"931","average":1.5},{}]}})";
  static std::vector<Item> Expected() { return {{930, -0.25}, {0, 1.5}, {0, 0.0}}; }
};

template <class Curve>
class DailyCurve : public ::testing::Test {
 protected:
  using Recorder = RecordingObserver<std::vector<typename Curve::Item>>;

  void Show(Recorder& view, std::uint32_t date) {
    service->Attach(&view);
    service->SetTarget(&view, date);
    service->Resume(&view, false);
  }
  static Script Asked(const char* date) { return Script(Curve::kPath).With({{"date", date}}).Setting(3); }

  DailyCurve() { AwaitSleepingThreads(); }

  ScriptedHost host;
  std::unique_ptr<typename Curve::Interface> service{Curve::Make()};
};

using Curves = ::testing::Types<Strength, Effect>;
TYPED_TEST_SUITE(DailyCurve, Curves);

TYPED_TEST(DailyCurve, deliversOneRowPerElement) {
  typename TestFixture::Recorder view;
  this->Show(view, 0);
  this->host.Expect(this->Asked("0").Inline(Answer::Body(TypeParam::kAnswer)));
  this->service->Refresh();
  EXPECT_EQ(view.Last(), TypeParam::Expected());
  this->service->Detach(&view);
}

TYPED_TEST(DailyCurve, asksForAPastDayOnResumeAndNeverPollsIt) {
  typename TestFixture::Recorder view;
  this->service->Attach(&view);
  this->service->SetTarget(&view, kYesterday);
  this->host.Expect(this->Asked("20240314").Inline(Answer::Body(TypeParam::kAnswer)));
  this->service->Resume(&view, true);
  EXPECT_EQ(view.Count(), 1U);
  this->service->OnTimer();
  EXPECT_EQ(this->host.RequestCount(), 1U);
  this->service->Detach(&view);
}

TYPED_TEST(DailyCurve, neverPollsADateToCome) {
  typename TestFixture::Recorder view;
  this->Show(view, 20240318);
  this->service->OnTimer();
  EXPECT_EQ(this->host.RequestCount(), 0U);
  this->service->Detach(&view);
}

TYPED_TEST(DailyCurve, pollsTodayUnderEitherName) {
  typename TestFixture::Recorder zero;
  typename TestFixture::Recorder today;
  this->Show(zero, 0);
  this->Show(today, kToday);
  this->host.Expect(this->Asked("0").Inline(Answer::Body(TypeParam::kAnswer)));
  this->host.Expect(this->Asked("20240315").Inline(Answer::Body(TypeParam::kAnswer)));
  this->service->OnTimer();
  EXPECT_EQ(zero.Count(), 1U);
  EXPECT_EQ(today.Count(), 1U);
  this->service->Detach(&zero);
  this->service->Detach(&today);
}

TYPED_TEST(DailyCurve, asksForEveryActiveDayOnRefresh) {
  typename TestFixture::Recorder today;
  typename TestFixture::Recorder past;
  this->Show(today, 0);
  this->Show(past, kYesterday);
  this->host.Expect(this->Asked("0").Inline(Answer::Body(TypeParam::kAnswer)));
  this->host.Expect(this->Asked("20240314").Inline(Answer::Body(R"({"data":{"list":[{}]}})")));
  this->service->Refresh();
  EXPECT_EQ(today.Last(), TypeParam::Expected());
  EXPECT_EQ(past.Last().size(), 1U);
  this->service->Detach(&today);
  this->service->Detach(&past);
}

TYPED_TEST(DailyCurve, followsZeroAfterMidnightAndLeavesTheDateBehind) {
  typename TestFixture::Recorder zero;
  typename TestFixture::Recorder date;
  this->Show(zero, 0);
  this->Show(date, kToday);
  this->host.SetTime(20240318, 10, 0, 0);
  this->host.Expect(this->Asked("0").Inline(Answer::Body(TypeParam::kAnswer)));
  this->service->OnTimer();
  EXPECT_EQ(zero.Count(), 1U);
  EXPECT_EQ(date.Count(), 0U);
  this->service->Detach(&zero);
  this->service->Detach(&date);
}

TYPED_TEST(DailyCurve, hasOneRowPerElementWhateverItIs) {
  typename TestFixture::Recorder view;
  this->Show(view, 0);
  this->host.Expect(this->Asked("0").Inline(Answer::Body(R"({"data":{"list":[null,7,"x",[1]]}})")));
  this->service->Refresh();
  EXPECT_EQ(view.Last(), std::vector<typename TypeParam::Item>(4));
  this->service->Detach(&view);
}

}  // namespace
