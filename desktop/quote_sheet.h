// The quote of the current security as one sheet: price, the five levels of the book, the other figures. Main
// thread only.
#pragma once

#include <QtWidgets/QWidget>

#include "quotes/stock_market_item.h"

namespace desktop {

class QuoteSheet final : public QWidget {
 public:
  QuoteSheet() { setFocusPolicy(Qt::StrongFocus); }

  void Show(const StockMarketItem& quote);
  [[nodiscard]] QSize minimumSizeHint() const override { return {180, 200}; }
  [[nodiscard]] QSize sizeHint() const override { return {300, 520}; }

 private:
  void paintEvent(QPaintEvent* event) override;

  StockMarketItem quote_;
};

}  // namespace desktop
