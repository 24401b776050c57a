// Changes of the user's watch list, each of which is stored at once and can be undone, and what is said to a
// person about it. The watch list's service is notified of each and asks anew. Main thread only.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "cli/views/securities.h"

namespace cli {

class WatchListEdits {
 public:
  /// `undo`: the key that calls `Undo`, for what is said.
  explicit WatchListEdits(std::string undo) : undo_(std::move(undo)) {}

  /// What to say: what was done, or why not.
  [[nodiscard]] std::string Add(const Security& security);
  [[nodiscard]] std::string Remove(const Security& security);
  [[nodiscard]] std::string Move(const Security& security, std::size_t position);
  /// Puts what was taken out last back into its place.
  [[nodiscard]] std::string Undo();

 private:
  struct Removed {
    Security security;
    std::size_t position = 0;
  };

  const std::string undo_;
  std::vector<Removed> removed_;
};

}  // namespace cli
