// The one reference-data service: made when it is needed, out of reach before it ends.
#include "reference/reference_data.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "answers.h"

namespace {

class ReferenceData : public ::testing::Test {
 protected:
  ~ReferenceData() override { reference::EndStockCommon(); }
  static bool IsThere() {
    return reference::WithReferenceData([](reference::CStockCommon&) {});
  }
  ScriptedHost host;
};

TEST_F(ReferenceData, isMadeOnceAndReachableWhileItLives) {
  EXPECT_FALSE(IsThere()) << "looking for it does not make it";
  IStockCommon* const made = reference::TheStockCommon();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(reference::TheStockCommon(), made);
  IStockCommon* seen = nullptr;
  EXPECT_TRUE(reference::WithReferenceData([&seen](reference::CStockCommon& service) { seen = &service; }));
  EXPECT_EQ(seen, made);
  reference::EndStockCommon();
  EXPECT_FALSE(IsThere());
  reference::EndStockCommon();
  EXPECT_NE(reference::TheStockCommon(), nullptr);
  EXPECT_TRUE(IsThere());
}

// Whoever looks something up may be in the middle of it, on a thread of the host.
TEST_F(ReferenceData, endsAfterTheLookUpsInside) {
  host.Expect(Script(answers::kInPlatesPath).Held());
  static_cast<void>(reference::TheStockCommon());
  std::wstring plate;
  std::thread look_up([&plate] {
    reference::WithReferenceData([&plate](reference::CStockCommon& service) {
      plate = reference::FirstPlateOf(*service.PlatesAtHand(), L"sh600000");
    });
  });
  host.AwaitRequest(0);
  std::thread end([] { reference::EndStockCommon(); });
  while (IsThere()) {
    std::this_thread::yield();
  }
  host.Complete(0, Answer::Body(answers::kInPlates));
  look_up.join();
  end.join();
  EXPECT_EQ(plate, L"银行");
}

}  // namespace
