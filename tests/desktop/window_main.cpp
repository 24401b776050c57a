// The viewer's own application, without a display.
#include <gtest/gtest.h>

#include "desktop/measure.h"

// What the platform of Qt keeps until the process ends.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libqoffscreen\nleak:libQt5Gui\nleak:libfontconfig\n";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  desktop::Application application(argc, argv);
  return RUN_ALL_TESTS();
}
