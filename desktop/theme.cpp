#include "desktop/theme.h"

#include <QtGui/QFontDatabase>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyleFactory>
#include <cmath>
#include <utility>

namespace desktop {
namespace {

constexpr int kFontSize = 13;  // pixels, before the scale of the screen

Theme& InForce() {
  static Theme* const theme = new Theme(MakeTheme(true, false));
  return *theme;
}

}  // namespace

Theme MakeTheme(bool is_dark, bool green_up) {
  Theme theme;
  theme.is_dark = is_dark;
  theme.green_up = green_up;
  if (is_dark) {
    theme.window = QColor(0x0e1116);
    theme.base = QColor(0x14181f);
    theme.stripe = QColor(0x181d25);
    theme.heading = QColor(0x1c222c);
    theme.line = QColor(0x2b3340);
    theme.text = QColor(0xd7dde6);
    theme.dim = QColor(0x8592a3);
    theme.selection = QColor(0x24405f);
    theme.accent = QColor(0x4f9cf0);
    theme.rise = QColor(0xff5c5c);
    theme.fall = QColor(0x2fc27a);
    theme.warning = QColor(0xf0b040);
    theme.event = QColor(0xc79bff);
    theme.averages = {QColor(0x7ab3ff), QColor(0xf2b84b), QColor(0xe58be0), QColor(0x7fd0d6)};
  } else {
    theme.window = QColor(0xe9ecf0);
    theme.base = QColor(0xffffff);
    theme.stripe = QColor(0xf7f8fa);
    theme.heading = QColor(0xf0f2f5);
    theme.line = QColor(0xd6dbe1);
    theme.text = QColor(0x1a1f27);
    theme.dim = QColor(0x66717f);
    theme.selection = QColor(0xcfe3fb);
    theme.accent = QColor(0x1766c2);
    theme.rise = QColor(0xd32020);
    theme.fall = QColor(0x0a8a47);
    theme.warning = QColor(0xa86400);
    theme.event = QColor(0x8a3ffc);
    theme.averages = {QColor(0x1f5fbf), QColor(0xb26a00), QColor(0xa0309a), QColor(0x3d7a80)};
  }
  if (green_up) {
    std::swap(theme.rise, theme.fall);
  }
  return theme;
}

QColor Theme::Of(cli::Tone tone) const {
  switch (tone) {
    case cli::Tone::kDim:
      return dim;
    case cli::Tone::kRise:
      return rise;
    case cli::Tone::kFall:
      return fall;
    case cli::Tone::kWarning:
      return warning;
    case cli::Tone::kPlain:
    case cli::Tone::kStrong:
      break;
  }
  return text;
}

QPalette Theme::Palette() const {
  QPalette palette;
  palette.setColor(QPalette::Window, window);
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Base, base);
  palette.setColor(QPalette::AlternateBase, stripe);
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::Button, heading);
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::BrightText, text);
  palette.setColor(QPalette::Highlight, selection);
  palette.setColor(QPalette::HighlightedText, text);
  palette.setColor(QPalette::ToolTipBase, heading);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, dim);
  palette.setColor(QPalette::Link, accent);
  palette.setColor(QPalette::Mid, line);
  palette.setColor(QPalette::Dark, line);
  palette.setColor(QPalette::Light, heading);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, dim);
  }
  return palette;
}

QString Theme::StyleSheet() const {
  return QStringLiteral(R"(
QMainWindow, QStatusBar, QToolBar { background: %1; border: 0; }
QMainWindow::separator { background: %1; width: 4px; height: 4px; }
QDockWidget { font-weight: 600; color: %4; }
QDockWidget::title { background: %2; padding: 4px 8px; }
QHeaderView::section { background: %2; color: %5; border: 0; border-bottom: 1px solid %3; padding: 3px 6px; }
QTableView { border: 0; gridline-color: %3; }
QToolTip { background: %2; color: %4; border: 1px solid %3; }
QTabBar::tab { background: %1; color: %5; padding: 4px 12px; border: 0; }
QTabBar::tab:selected { background: %2; color: %4; border-bottom: 2px solid %6; }
QToolBar#pages QToolButton { padding: 8px 10px; border: 0; border-left: 3px solid transparent; color: %5; }
QToolBar#pages QToolButton:checked { background: %2; color: %4; border-left: 3px solid %6; }
QToolBar#pages QToolButton:hover { color: %4; }
QStatusBar::item { border: 0; }
QComboBox { padding: 1px 6px; }
)")
      .arg(window.name(), heading.name(), line.name(), text.name(), dim.name(), accent.name());
}

void SetTheme(const Theme& theme) {
  InForce() = theme;
  QFont font = QApplication::font();
  font.setPixelSize(kFontSize);
  QApplication::setFont(font);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  QApplication::setPalette(theme.Palette());
  qApp->setStyleSheet(theme.StyleSheet());
}

const Theme& CurrentTheme() {
  return InForce();
}

QFont FigureFont(double scale, bool bold) {
  QFont font = QApplication::font();
  font.setPixelSize(static_cast<int>(std::lround(kFontSize * scale)));
  font.setBold(bold);
  return font;
}

bool HasChineseFont() {
  return !QFontDatabase().families(QFontDatabase::SimplifiedChinese).isEmpty();
}

}  // namespace desktop
