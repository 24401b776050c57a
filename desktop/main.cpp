// csm-desktop: the market in windows.
#include <unistd.h>

#include <QtCore/QTimer>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "cli/format/text.h"
#include "cli/format/words.h"
#include "cli/run/output.h"
#include "desktop/main_window.h"
#include "desktop/measure.h"
#include "desktop/options.h"
#include "desktop/screenshot.h"
#include "desktop/theme.h"
#include "host_services/stock_host.h"

namespace {

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

// Qt ends a program that finds no display by an abort and a page of words; one line says it.
void OnQtMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
  if (type == QtFatalMsg || text.contains(QLatin1String("could not connect to display"))) {
    cli::Say("cannot open the display " + std::string(IsSet("DISPLAY") ? std::getenv("DISPLAY") : "") +
             "; --screenshot FILE works without one");
    _exit(1);
  }
  if (type == QtCriticalMsg) {
    cli::Say(cli::Printable(text.toStdWString()));
  }
}

int Run(int argc, char** argv, const desktop::Options& options) {
  if (!options.screenshot.empty()) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
  } else if (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY") && !IsSet("QT_QPA_PLATFORM")) {
    cli::Say(
        "there is no display (DISPLAY and WAYLAND_DISPLAY are empty); --screenshot FILE works without one");
    return 1;
  }
  qInstallMessageHandler(&OnQtMessage);
  desktop::UiThread::HoldSignals();
  QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
  desktop::Application application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("csm-desktop"));
  if (!desktop::HasChineseFont()) {
    cli::Say("no font can show Chinese names; on Debian the package fonts-wqy-microhei brings one");
  }
  desktop::Desk desk(options);
  application.desk = &desk;
  auto window = std::make_unique<desktop::MainWindow>(desk);
  QObject::connect(&desk.thread(), &desktop::UiThread::ended, window.get(), &QWidget::close);
  window->show();
  if (!options.screenshot.empty()) {
    desktop::TakeScreenshot(desk, *window);
  } else if (options.measure) {
    desktop::Measure(application, desk, *window, options.seconds.value_or(30));
  } else if (options.seconds) {
    QTimer::singleShot(static_cast<int>(std::lround(*options.seconds * 1000)), window.get(), &QWidget::close);
  }
  const int code = QApplication::exec();
  window.reset();
  application.desk = nullptr;
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  stock_host::FillStandardDescriptors();
  try {
    cli::SetLanguage(cli::LanguageOfLocale());
    desktop::Options options;
    const cli::UnderstoodLine line = desktop::ReadOptions(argc, argv, options);
    if (line.run) {
      return Run(argc, argv, options);
    }
    if (line.code == cli::kFine) {
      std::cout << line.text << std::flush;
    } else {
      cli::Say(line.text);
    }
    return line.code;
  } catch (const std::exception& error) {
    cli::Say(cli::Printable(std::string(error.what())));
    return cli::kFailure;
  }
}
