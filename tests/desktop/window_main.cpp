// The viewer's own application: without a display, or with QT_QPA_PLATFORM=xcb on an X server of its own.
#include <gtest/gtest.h>

#include <optional>

#include "desktop/measure.h"
#include "tests/desktop/virtual_display.h"
#include "tests/desktop/without_display.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (testing::GTEST_FLAG(list_tests)) {
    return RUN_ALL_TESTS();
  }
  std::optional<tests::VirtualDisplay> display;
  if (qgetenv("QT_QPA_PLATFORM") == "xcb") {
    display.emplace();
  } else {
    tests::PaintWithoutDisplay();
  }
  desktop::Application application(argc, argv);
  return RUN_ALL_TESTS();
}
