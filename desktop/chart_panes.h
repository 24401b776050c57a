// Panes of one view and one picture of it. How a picture is drawn is charts/'s matter. Main thread only.
#pragma once

#include <memory>
#include <utility>

#include "cli/views/market_views.h"
#include "cli/views/security_views.h"
#include "desktop/charts/minute_chart.h"
#include "desktop/pane.h"

namespace desktop {

/// Whatever `fill` puts into a picture once the view has something.
template <class Picture, class View>
class PicturePane final : public Pane {
 public:
  using Fill = void (*)(Picture& picture, const View& view);

  PicturePane(Desk& desk, const QString& id, std::unique_ptr<View> view, Fill fill)
      : Pane(desk, id), view_(Add(std::move(view))), fill_(fill), picture_(new Picture) {
    for (const cli::Knob knob : view_.Knobs()) {
      AddKnob(knob);
    }
    SetBody(picture_);
  }

 private:
  void Draw() override {
    if (view_.has_data()) {
      fill_(*picture_, view_);
    }
  }

  View& view_;
  const Fill fill_;
  Picture* const picture_;
};

/// The minutes of the day or of the last days, with the market's events as marks.
class MinutePane final : public Pane {
 public:
  MinutePane(Desk& desk, const QString& id);

 private:
  void Draw() override;
  void ShowDays();
  // The events alone may have come, or failed.
  [[nodiscard]] bool HasPicture() const override;

  cli::MinuteLineView& line_;
  cli::EventsView& events_;
  QComboBox* const days_;
  MinuteChart* const chart_;
};

}  // namespace desktop
