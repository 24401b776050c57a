// The current security of a front end: the module's own, which every view of a client follows. Adds what
// the module leaves to its client: nothing is looked up before the reference data are there, and stepping
// follows the list that a person looks at. Main thread only.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "cli/views/securities.h"
#include "quotes/current_stock.h"

namespace cli {

class Selection final : private IUpdate1<CurrentStockItem> {
 public:
  /// `on_change` is called with every new security, inside the call that brought it.
  Selection(ICurrentStock& current, std::function<void(const Security&)> on_change)
      : current_(current), on_change_(std::move(on_change)) {
    current_.Attach(this);
  }
  ~Selection() { current_.Detach(this); }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;

  /// The reference data were loaded: what was selected before is selected now.
  void OnReferenceData();
  void Select(const Security& security);
  /// `Next` and `Previous` step through `list` from now on, as soon as it holds the current security. Its
  /// first entry is selected if nothing is.
  void StepThrough(std::vector<BaseInfoItem> list);
  void Next();
  void Previous();

 private:
  void Update(const CurrentStockItem& item) override { on_change_(SecurityOf(item.symbol, item.name)); }
  void SetList();

  ICurrentStock& current_;
  const std::function<void(const Security&)> on_change_;
  bool is_ready_ = false;
  std::optional<Security> wanted_;  // before the reference data are there
  std::vector<BaseInfoItem> list_;
};

}  // namespace cli
