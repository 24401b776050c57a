// Charts need an application; they are painted without a display.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>

// What the platform of Qt keeps until the process ends.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libqoffscreen\nleak:libQt5Gui\nleak:libfontconfig\n";
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QFont font = QApplication::font();
  font.setPointSize(9);
  QApplication::setFont(font);
  return RUN_ALL_TESTS();
}
