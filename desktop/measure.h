// The program measures itself: time to the first picture, frames, work per delivery, processor and memory.
// Main thread only.
#pragma once

#include <QtWidgets/QApplication>
#include <vector>

#include "desktop/main_window.h"

namespace desktop {

/// Qt's application without OpenGL, which times the frames if it is asked to. What a pane's painting throws
/// is said instead of ending the program.
class Application final : public QApplication {
 public:
  Application(int& argc, char** argv);

  /// Of all frames from now on, in milliseconds: how long it took, and how long this thread worked on it. On
  /// a busy machine they differ.
  struct Frame {
    double clock = 0;
    double processor = 0;
  };
  std::vector<Frame>* frames = nullptr;
  Desk* desk = nullptr;

 private:
  bool notify(QObject* receiver, QEvent* event) override;
};

/// For a third of `seconds` each the window scrolls its board, stands still and is minimised; then a line for
/// each figure goes to standard output and the program ends.
void Measure(Application& application, Desk& desk, MainWindow& window, double seconds);

}  // namespace desktop
