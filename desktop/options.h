// What the viewer is told when it is started. A value.
#pragma once

#include <QtCore/QSize>
#include <optional>
#include <string>

#include "cli/run/session.h"

namespace desktop {

struct Options {
  cli::SessionOptions session;
  std::string theme;              ///< "light", "dark"; empty: as it was last time
  std::string rises;              ///< "red", "green"; empty: as it was last time
  std::string page;               ///< name of the page that is opened; empty: as it was last time
  std::string symbol;             ///< selected at the start; empty: the first row of what is shown
  std::string screenshot;         ///< file to paint to instead of a screen
  QSize size{1440, 900};          ///< of the window, where nothing is remembered
  std::optional<double> seconds;  ///< ends after so long
  double interval = 3;            ///< seconds between two requests while the market is open
  bool measure = false;
};

}  // namespace desktop
