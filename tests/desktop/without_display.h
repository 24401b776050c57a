// For a test program that paints without a display. Included by the file with `main` alone.
#pragma once

#include <QtGlobal>

// What the platform of Qt keeps until the process ends.
extern "C" const char* __lsan_default_suppressions();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(misc-definitions-in-headers)
  return "leak:libqoffscreen\nleak:libQt5Gui\nleak:libfontconfig\n";
}

namespace tests {

/// Before the application is made.
inline void PaintWithoutDisplay() {
  qputenv("QT_QPA_PLATFORM", "offscreen");
}

}  // namespace tests
