// The viewer's own application, without a display.
#include <gtest/gtest.h>

#include "desktop/measure.h"
#include "tests/desktop/without_display.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tests::PaintWithoutDisplay();
  desktop::Application application(argc, argv);
  return RUN_ALL_TESTS();
}
