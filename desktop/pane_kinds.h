// All kinds of panes and of pages, each listed once. Whoever needs all of them walks these lists.
#pragma once

#include <Qt>
#include <memory>
#include <span>
#include <string_view>

#include "desktop/pane.h"

namespace desktop {

struct PaneKind {
  std::string_view name;
  std::string_view english;
  std::string_view chinese;
  bool of_security;  ///< shows the current security
  std::unique_ptr<Pane> (*make)(Desk& desk, const QString& id);
};
[[nodiscard]] std::span<const PaneKind> PaneKinds();
/// Null: there is no such kind.
[[nodiscard]] const PaneKind* FindPaneKind(std::string_view name);

/// Where a pane stands on a page at first.
struct Placing {
  enum class How { kRight, kBelow, kTab };
  std::string_view pane;
  std::string_view beside;  ///< one that stands already; empty: the first
  How how = How::kRight;
  int share = 50;  ///< of the room that both have, in percent
};

struct PageKind {
  std::string_view name;
  std::string_view english;
  std::string_view chinese;
  std::span<const Placing> panes;
};
[[nodiscard]] std::span<const PageKind> PageKinds();

}  // namespace desktop
