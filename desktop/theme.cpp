#include "desktop/theme.h"

#include <QtGui/QFontDatabase>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyleFactory>
#include <algorithm>
#include <cmath>
#include <utility>

namespace desktop {
namespace {

constexpr int kFontSize = 13;  // pixels, before the scale of the screen

struct Shade {
  QColor Theme::*of;
  QRgb dark;
  QRgb light;
};
constexpr Shade kShades[] = {
    {&Theme::window, 0x0e1116, 0xe9ecf0}, {&Theme::base, 0x14181f, 0xffffff},
    {&Theme::stripe, 0x181d25, 0xf7f8fa}, {&Theme::heading, 0x1c222c, 0xf0f2f5},
    {&Theme::line, 0x2b3340, 0xd6dbe1},   {&Theme::text, 0xd7dde6, 0x1a1f27},
    {&Theme::dim, 0x8592a3, 0x66717f},    {&Theme::selection, 0x24405f, 0xcfe3fb},
    {&Theme::accent, 0x4f9cf0, 0x1766c2}, {&Theme::rise, 0xff5c5c, 0xd32020},
    {&Theme::fall, 0x2fc27a, 0x0a8a47},   {&Theme::warning, 0xf0b040, 0xa86400},
    {&Theme::event, 0xc79bff, 0x8a3ffc},
};
constexpr std::array<QRgb, 4> kDarkAverages = {0x7ab3ff, 0xf2b84b, 0xe58be0, 0x7fd0d6};
constexpr std::array<QRgb, 4> kLightAverages = {0x1f5fbf, 0xb26a00, 0xa0309a, 0x3d7a80};

Theme& InForce() {
  static Theme* const theme = new Theme(MakeTheme(true, false));
  return *theme;
}

}  // namespace

Theme MakeTheme(bool is_dark, bool green_up) {
  Theme theme;
  theme.is_dark = is_dark;
  theme.green_up = green_up;
  for (const Shade& shade : kShades) {
    theme.*shade.of = QColor(is_dark ? shade.dark : shade.light);
  }
  std::ranges::copy(is_dark ? kDarkAverages : kLightAverages, theme.averages.begin());
  if (green_up) {
    std::swap(theme.rise, theme.fall);
  }
  return theme;
}

QColor Theme::Of(cli::Tone tone) const {
  return tone == cli::Tone::kDim       ? dim
         : tone == cli::Tone::kRise    ? rise
         : tone == cli::Tone::kFall    ? fall
         : tone == cli::Tone::kWarning ? warning
                                       : text;
}

QPalette Theme::Palette() const {
  QPalette palette(text, heading, heading, line, line, text, warning, base, window);
  palette.setColor(QPalette::AlternateBase, stripe);
  palette.setColor(QPalette::Highlight, selection);
  palette.setColor(QPalette::HighlightedText, text);
  palette.setColor(QPalette::ToolTipBase, heading);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, dim);
  palette.setColor(QPalette::Link, accent);
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

QString Coloured(const QString& text, const QColor& colour) {
  return QStringLiteral("<span style='color:%1'>%2</span>").arg(colour.name(), text.toHtmlEscaped());
}

bool HasChineseFont() {
  return !QFontDatabase().families(QFontDatabase::SimplifiedChinese).isEmpty();
}

}  // namespace desktop
