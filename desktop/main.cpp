// csm-desktop: its command line, and the market in windows.
#include <unistd.h>

#include <QtCore/QTimer>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <cmath>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/args/parser.h"
#include "cli/commands/options.h"
#include "cli/format/text.h"
#include "cli/format/words.h"
#include "cli/run/output.h"
#include "desktop/main_window.h"
#include "desktop/measure.h"
#include "desktop/screenshot.h"
#include "desktop/theme.h"
#include "host_services/stock_host.h"

namespace {

constexpr const char* kAbout =
    "Chinese A-share market data in windows. Without --server the data come from a simulated market inside\n"
    "csm-desktop: nothing to set up, and none of it is real.";
constexpr const char* kExamples = R"(Examples:
  csm-desktop                                   the simulated market
  csm-desktop --server URL                      a market server; needs a key
  csm-desktop --replay DIR                      what "csm record DIR" has kept
  csm-desktop --screenshot board.png --page board --theme light

Exit codes: 0 fine, 1 failure, 2 wrong usage. Settings and keys: the CSM_* variables and csm.ini.)";

// Qt ends a program that finds no display by an abort and a page of words; one line says it.
void OnQtMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
  if (type == QtFatalMsg || text.contains(QLatin1String("could not connect to display"))) {
    cli::Say("cannot open the display " + qEnvironmentVariable("DISPLAY").toStdString() +
             "; --screenshot FILE works without one");
    _exit(1);
  }
  if (type == QtCriticalMsg) {
    cli::Say(cli::Printable(text.toStdWString()));
  }
}

int Run(const desktop::Options& options) {
  const auto is_unset = [](const char* variable) { return qEnvironmentVariableIsEmpty(variable); };
  if (!options.screenshot.empty()) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  } else if (is_unset("DISPLAY") && is_unset("WAYLAND_DISPLAY") && is_unset("QT_QPA_PLATFORM")) {
    cli::Say(
        "there is no display (DISPLAY and WAYLAND_DISPLAY are empty); --screenshot FILE works without one");
    return 1;
  }
  qInstallMessageHandler(&OnQtMessage);
  desktop::UiThread::HoldSignals();
  QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
  int argc = 1;
  char name[] = "csm-desktop";
  char* argv[] = {name, nullptr};
  desktop::Application application(argc, argv);
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

void AddOneOf(cli::Form& form, const char* name, const char* help, const std::vector<std::string>& values,
              std::string& into) {
  const auto take = [values, &into](const std::string& text) {
    if (std::find(values.begin(), values.end(), text) == values.end()) {
      throw cli::UsageError("\"" + text + "\" is none of " + boost::algorithm::join(values, ", "));
    }
    into = text;
  };
  form.Add(std::string(name) + " NAME", help, take).values = values;
}

cli::Runner SetUp(cli::Form& form) {
  const auto kept = std::make_shared<desktop::Options>();
  desktop::Options& options = *kept;
  std::vector<std::string> pages;
  for (const desktop::PageKind& page : desktop::PageKinds()) {
    pages.emplace_back(page.name);
  }
  cli::AddMarketOptions(form, options.session);
  cli::AddReplayOption(form, options.session);
  cli::AddLanguageOption(form);
  AddOneOf(form, "--theme", "colours: light or dark", {"light", "dark"}, options.theme);
  AddOneOf(form, "--rises", "the colour of rises, the other one is that of falls: red or green",
           {"red", "green"}, options.rises);
  AddOneOf(form, "--page", "the page that is opened", pages, options.page);
  form.Add("--symbol TEXT", "the stock, index or plate that is selected, sh600000 or 600000",
           cli::Into(options.symbol));
  const auto take_size = [&options](const std::string& text) {
    const std::size_t x = text.find('x');
    if (x == std::string::npos) {
      throw cli::UsageError("it must be WIDTHxHEIGHT: 1440x900");
    }
    options.size = {static_cast<int>(cli::WholeNumber(text.substr(0, x), 400, 8000)),
                    static_cast<int>(cli::WholeNumber(text.substr(x + 1), 300, 8000))};
  };
  form.Add("--size WxH", "of the window, in pixels", take_size).standard = "1440x900";
  form.Add("--screenshot FILE", "paint the page into this PNG file, without a display, and end",
           cli::Into(options.screenshot));
  cli::AddForOption(form, options.seconds);
  cli::AddIntervalOption(form, options.interval);
  form.AddFlag("--measure", "scroll, stand still and hide for a third of --for each, and say what that cost",
               options.measure);
  return [kept] { return Run(*kept); };
}

}  // namespace

int main(int argc, char** argv) {
  stock_host::FillStandardDescriptors();
  try {
    cli::SetLanguage(cli::LanguageOfLocale());
    const cli::UnderstoodLine line = cli::Parse({.about = kAbout,
                                                 .examples = kExamples,
                                                 .version = "csm-desktop " CSM_VERSION,
                                                 .set_up = &SetUp,
                                                 .name = "csm-desktop"},
                                                argc, argv);
    if (line.run) {
      return line.run();
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
