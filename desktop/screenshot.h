// A page painted into a file, without a display. Main thread only.
#pragma once

#include "desktop/main_window.h"

namespace desktop {

/// Waits until every pane in sight has its figures or says why not, paints the window and ends the event
/// loop: with 0, or with 1 and a line on standard error when something stayed away or the file cannot be
/// written.
void TakeScreenshot(Desk& desk, MainWindow& window);

}  // namespace desktop
