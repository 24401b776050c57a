// The line in which a person types a code, a name or pinyin initials, and the securities that come close
// below it. Knows nothing of where they come from. Main thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/screen/key.h"
#include "cli/screen/list_cursor.h"
#include "cli/views/securities.h"

namespace cli {

/// What a text may mean.
struct Findings {
  std::vector<Security> matches;  ///< the closest first
  std::string reason;             ///< why nothing can be looked for; empty: it was
};

class Finder {
 public:
  enum class Outcome { kOpen, kCancelled, kChosen };

  /// `find` is called for every text that is not empty.
  explicit Finder(std::function<Findings(const std::wstring&)> find) : find_(std::move(find)) {}

  /// `kChosen`: `chosen()` is the one. A click moves the cursor to that row of the picture; one on the
  /// cursor's row chooses it.
  Outcome OnKey(const Key& key);
  [[nodiscard]] const Security& chosen() const { return findings_.matches[cursor_.row().value_or(0)]; }

  /// The line, and as many securities as fit below it.
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size);

 private:
  void Look();

  const std::function<Findings(const std::wstring&)> find_;
  std::wstring text_;
  Findings findings_;
  ListCursor cursor_;
};

}  // namespace cli
