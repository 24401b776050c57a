#include "desktop/measure.h"

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

constexpr int kScrolledRows = 3;  // at once

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

void Say(const std::string& what, double value, const char* unit) {
  std::printf("%-34s %8.2f %s\n", what.c_str(), value, unit);
  std::fflush(stdout);
}

// What a stretch of time has cost.
struct Costs {
  std::vector<Application::Frame> frames;
  double longest_delivery = 0;  // ms
  double processor = 0;
  double clock = 0;

  void Begin() { *this = {{}, 0, Now(CLOCK_PROCESS_CPUTIME_ID), Now(CLOCK_MONOTONIC)}; }
  void Tell(const std::string& when) const {
    const double load = (Now(CLOCK_PROCESS_CPUTIME_ID) - processor) / (Now(CLOCK_MONOTONIC) - clock);
    std::vector<Application::Frame> sorted = frames;
    std::ranges::sort(sorted, {}, &Application::Frame::clock);
    Say(when + ": processor", 100 * load, "% of one core");
    Say(when + ": frames", static_cast<double>(frames.size()), "");
    if (!sorted.empty()) {
      const auto most = std::ranges::max(frames, {}, &Application::Frame::processor);
      Say(when + ": frame, median", sorted[sorted.size() / 2].clock, "ms");
      Say(when + ": frame, 99 of 100 within", sorted[sorted.size() * 99 / 100].clock, "ms");
      Say(when + ": frame, longest", sorted.back().clock, "ms");
      Say(when + ": frame, most work", most.processor, "ms of the processor");
    }
    Say(when + ": delivery, longest", longest_delivery, "ms");
  }
};

}  // namespace

Application::Application(int& argc, char** argv)
    : QApplication(
          [&argc]() -> int& {
            // Nothing is drawn by it, and its drivers are large.
            if (qEnvironmentVariableIsEmpty("QT_XCB_GL_INTEGRATION")) {
              qputenv("QT_XCB_GL_INTEGRATION", "none");
            }
            return argc;
          }(),
          argv) {}

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
  using std::chrono::milliseconds;
  const auto costs = std::make_shared<Costs>();
  application.frames = &costs->frames;
  QObject::connect(&desk.thread(), &UiThread::worked, &window, [costs](qint64 nanoseconds) {
    costs->longest_delivery = std::max(costs->longest_delivery, static_cast<double>(nanoseconds) / 1e6);
  });
  auto* const board = dynamic_cast<ListPane*>(window.page().Find("board"));
  auto* const scrolling = new QTimer(&window);
  if (board != nullptr) {
    QScrollBar& bar = *board->list().verticalScrollBar();
    QObject::connect(scrolling, &QTimer::timeout, &bar, [&bar] {
      bar.setValue(bar.value() == bar.maximum() ? 0 : bar.value() + kScrolledRows);
    });
  }
  const milliseconds third(std::llround(seconds / 3 * 1000));
  // The first picture with figures: a pane has its rows and they are painted.
  auto* const first = new QTimer(&window);
  QObject::connect(first, &QTimer::timeout, &window, [&desk, &window, costs, board, first, scrolling, third] {
    if (board != nullptr && (board->table().size() == 0 || costs->frames.empty())) {
      return;
    }
    first->stop();
    Say("first picture with figures", Age(), "s after the start");
    milliseconds when(0);
    const auto after = [&](milliseconds pause, const std::function<void()>& work) {
      when += pause;
      desk.thread().After(when, work);
    };
    after(milliseconds(3000), [costs, scrolling] {
      costs->Begin();
      scrolling->start(16);
    });
    after(third, [costs, scrolling] {
      scrolling->stop();
      costs->Tell("scrolling");
      costs->Begin();
    });
    after(third, [costs, &window] {
      costs->Tell("live");
      window.showMinimized();
    });
    after(milliseconds(2000), [costs] { costs->Begin(); });
    after(third, [costs] {
      costs->Tell("hidden");
      Say("resident", MemoryMiB(), "MiB");
      QApplication::exit(0);
    });
  });
  first->start(5);
}

}  // namespace desktop
