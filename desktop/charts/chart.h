// What all charts share: figures on top, plots below them, and a reason in the middle while there is nothing
// to draw. Whatever is shown stands in the accessible description, too. Used by the UI thread.
#pragma once

#include <QLabel>
#include <QStackedLayout>
#include <QString>
#include <QVBoxLayout>
#include <QWidget>
#include <string_view>
#include <vector>

#include "cli/format/table.h"
#include "desktop/theme.h"

namespace desktop {

/// A piece of text in its colour.
struct Figure {
  QString text;
  QColor colour;
};

class Chart : public QWidget {
 public:
  /// Why there is nothing to draw; shown only then.
  void SetReason(const QString& reason);
  [[nodiscard]] QString Reason() const { return reason_.text(); }
  /// True when a chart is shown, false when it is the reason.
  [[nodiscard]] bool HasPicture() const { return stack_.currentIndex() == 1; }

  [[nodiscard]] QSize sizeHint() const override { return {480, 320}; }
  [[nodiscard]] QSize minimumSizeHint() const override { return {160, 120}; }

 protected:
  /// Its figures have about so many characters.
  Chart(const char* name, int characters, QWidget* parent);

  /// The word that names a figure, in the language of the program.
  [[nodiscard]] static QString Word(std::string_view name);

  [[nodiscard]] QVBoxLayout& body() { return body_; }
  [[nodiscard]] static std::vector<Figure> FiguresOf(const cli::StyledLine& line);
  /// Shows `figures` side by side on top, and describes them and `more`.
  void Show(const std::vector<Figure>& figures, const QString& more = {});

  /// Draws again what it has, in the colours and the size that it has, and shows its figures; false: there is
  /// nothing to draw.
  virtual bool Draw() = 0;
  /// Calls `Draw`.
  void Redraw();

  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void GiveRoom();
  void Describe(const QString& text);

  const int characters_;
  QStackedLayout& stack_;
  QLabel& reason_;
  QVBoxLayout& body_;
  QLabel& figures_;
};

}  // namespace desktop
