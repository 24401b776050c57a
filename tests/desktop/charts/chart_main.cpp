// Charts need an application; they are painted without a display.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>

#include "tests/desktop/without_display.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tests::PaintWithoutDisplay();
  QApplication application(argc, argv);
  QFont font = QApplication::font();
  font.setPointSize(9);
  QApplication::setFont(font);
  return RUN_ALL_TESTS();
}
