// The indices side by side with the market's phase and its clock, on top of a window. Main thread only.
#pragma once

#include "cli/views/list_views.h"
#include "cli/views/market_views.h"
#include "desktop/pane.h"

namespace desktop {

class IndexStrip final : public Pane {
 public:
  explicit IndexStrip(Desk& desk);

 private:
  void Draw() override;
  void OnSecurity(const cli::Security& /*security*/) override {}
  [[nodiscard]] QString Note() const override;

  cli::IndexView& indices_;
  cli::StateView& phase_;
  QLabel* const figures_;
  QLabel* const caption_;
  QLabel* const clock_;
};

}  // namespace desktop
