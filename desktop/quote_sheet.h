// The quote of the current security as one sheet: price, the five levels of the book, the other figures. Main
// thread only.
#pragma once

#include <QtWidgets/QWidget>

#include "quotes/stock_market_item.h"

namespace desktop {

class QuoteSheet final : public QWidget {
 public:
  explicit QuoteSheet(QWidget* parent = nullptr);

  void Show(const StockMarketItem& quote);
  [[nodiscard]] QSize minimumSizeHint() const override { return {180, 200}; }
  [[nodiscard]] QSize sizeHint() const override { return {300, 520}; }

 private:
  struct Painting;

  void paintEvent(QPaintEvent* event) override;
  void PaintHead(Painting& at) const;
  void PaintBeside(Painting& at) const;
  void PaintFigures(Painting& at) const;

  StockMarketItem quote_;
};

}  // namespace desktop
