// For a test program that paints without a display. Included by the file with `main` alone.
#pragma once

#include <QtGlobal>

namespace tests {

// What the platform of Qt keeps until the process ends.
inline constexpr const char* kKeptByQt =
    "leak:libqoffscreen\nleak:libqxcb\nleak:libxcb\nleak:libX11\nleak:libdbus\nleak:libQt5Gui\nleak:"
    "libfontconfig\n";

/// Before the application is made.
inline void PaintWithoutDisplay() {
  qputenv("QT_QPA_PLATFORM", "offscreen");
}

}  // namespace tests

extern "C" const char* __lsan_default_suppressions();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(misc-definitions-in-headers)
  return tests::kKeptByQt;
}
