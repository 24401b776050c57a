// The indices side by side with the market's phase and its clock, on top of a window. Main thread only.
#pragma once

#include <vector>

#include "cli/views/list_views.h"
#include "cli/views/market_views.h"
#include "desktop/pane.h"

namespace desktop {

class IndexStrip final : public Pane {
 public:
  explicit IndexStrip(Desk& desk);

  /// What is shown of the indices, for readers of the screen.
  [[nodiscard]] QString Figures() const;

 private:
  class Bar;

  void Draw() override;
  void OnSecurity(const cli::Security& /*security*/) override {}
  [[nodiscard]] QString Note() const override;

  cli::IndexView& indices_;
  cli::StateView& phase_;
  Bar* const bar_;
};

}  // namespace desktop
