#include "desktop/measure.h"

#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <QtWidgets/QScrollBar>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "desktop/list_pane.h"
#include "desktop/words.h"

namespace desktop {
namespace {

double Now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Seconds since this process was started, to a hundredth.
double Age() {
  std::ifstream file("/proc/self/stat");
  std::string text;
  std::getline(file, text);
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  for (int i = 3; i <= 22; ++i) {
    fields >> field;
  }
  return Now(CLOCK_BOOTTIME) - std::stod(field) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double MemoryMiB() {
  std::ifstream file("/proc/self/statm");
  double pages = 0;
  file >> pages >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

void Say(const char* what, double value, const char* unit) {
  std::printf("%-34s %8.2f %s\n", what, value, unit);
  std::fflush(stdout);
}

struct Run {
  std::vector<Application::Frame> frames;
  double longest_delivery = 0;  // ms
  double processor = 0;
  double clock = 0;
  int scroll = 0;

  void Begin() {
    frames.clear();
    longest_delivery = 0;
    processor = Now(CLOCK_PROCESS_CPUTIME_ID);
    clock = Now(CLOCK_MONOTONIC);
  }
  [[nodiscard]] double Load() const {
    return 100 * (Now(CLOCK_PROCESS_CPUTIME_ID) - processor) / (Now(CLOCK_MONOTONIC) - clock);
  }
  void Tell(const std::string& when) const {
    std::vector<double> sorted;
    std::vector<double> worked;
    for (const Application::Frame& frame : frames) {
      sorted.push_back(frame.clock);
      worked.push_back(frame.processor);
    }
    std::sort(sorted.begin(), sorted.end());
    std::sort(worked.begin(), worked.end());
    Say((when + ": processor").c_str(), Load(), "% of one core");
    Say((when + ": frames").c_str(), static_cast<double>(frames.size()), "");
    if (!sorted.empty()) {
      Say((when + ": frame, median").c_str(), sorted[sorted.size() / 2], "ms");
      Say((when + ": frame, 99 of 100 within").c_str(), sorted[sorted.size() * 99 / 100], "ms");
      Say((when + ": frame, longest").c_str(), sorted.back(), "ms");
      Say((when + ": frame, most work").c_str(), worked.back(), "ms of the processor");
    }
    Say((when + ": delivery, longest").c_str(), longest_delivery, "ms");
  }
};

}  // namespace

bool Application::notify(QObject* receiver, QEvent* event) {
  const bool is_frame = frames != nullptr && event->type() == QEvent::UpdateRequest;
  const double clock = is_frame ? Now(CLOCK_MONOTONIC) : 0;
  const double processor = is_frame ? Now(CLOCK_THREAD_CPUTIME_ID) : 0;
  bool result = false;
  try {
    result = QApplication::notify(receiver, event);
  } catch (const std::exception& error) {
    if (desk == nullptr) {
      throw;
    }
    desk->Tell(Word("A pane has failed: %1", "窗格出错：%1").arg(QString::fromUtf8(error.what())));
  }
  if (is_frame) {
    frames->push_back(
        {1000 * (Now(CLOCK_MONOTONIC) - clock), 1000 * (Now(CLOCK_THREAD_CPUTIME_ID) - processor)});
  }
  return result;
}

void Measure(Application& application, Desk& desk, MainWindow& window, double seconds) {
  const auto run = std::make_shared<Run>();
  application.frames = &run->frames;
  QObject::connect(&desk.thread(), &UiThread::worked, &window, [run](qint64 nanoseconds) {
    run->longest_delivery = std::max(run->longest_delivery, static_cast<double>(nanoseconds) / 1e6);
  });
  auto* const board = dynamic_cast<ListPane*>(window.page().Find("board"));
  const auto third = std::chrono::milliseconds(std::llround(seconds / 3 * 1000));
  auto* const scrolling = new QTimer(&window);
  QObject::connect(scrolling, &QTimer::timeout, &window, [run, board] {
    if (board != nullptr) {
      QScrollBar& bar = *board->list().verticalScrollBar();
      run->scroll = run->scroll == 0 || bar.value() == bar.maximum() ? 3 : run->scroll;
      bar.setValue(bar.value() == bar.maximum() ? 0 : bar.value() + run->scroll);
    }
  });
  // The first picture with figures: a pane has its rows and they are painted.
  auto* const first = new QTimer(&window);
  QObject::connect(first, &QTimer::timeout, &window, [&desk, run, board, scrolling, first, third, &window] {
    if (board != nullptr && (board->table().size() == 0 || run->frames.empty())) {
      return;
    }
    first->stop();
    Say("first picture with figures", Age(), "s after the start");
    desk.thread().After(std::chrono::seconds(3), [&desk, run, scrolling, third, &window] {
      run->Begin();
      scrolling->start(16);
      desk.thread().After(third, [&desk, run, scrolling, third, &window] {
        scrolling->stop();
        run->Tell("scrolling");
        run->Begin();
        desk.thread().After(third, [&desk, run, third, &window] {
          run->Tell("live");
          window.showMinimized();
          desk.thread().After(std::chrono::seconds(2), [&desk, run, third] {
            run->Begin();
            desk.thread().After(third, [run] {
              run->Tell("hidden");
              Say("resident", MemoryMiB(), "MiB");
              QApplication::exit(0);
            });
          });
        });
      });
    });
  });
  first->start(5);
}

}  // namespace desktop
