// csm-desktop as a program of its own: without a display, with a wrong line, and painting pages.
#include <gtest/gtest.h>

#include <QtCore/QProcess>
#include <QtGui/QImage>
#include <algorithm>
#include <fstream>
#include <string>

#include "cli/temporary_directory.h"

namespace {

struct Outcome {
  int code = -1;
  std::string out;
  std::string error;
};

Outcome Started(const QStringList& arguments, const QStringList& without = {}) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const QString& name : without) {
    environment.remove(name);
  }
  // What Qt's platform keeps until the process ends.
  const cli::TemporaryDirectory directory;
  const std::string kept = directory.path() + "/kept";
  std::ofstream(kept) << "leak:libqoffscreen\nleak:libQt5Gui\nleak:libfontconfig\n";
  environment.insert(QStringLiteral("LSAN_OPTIONS"),
                     QStringLiteral("print_suppressions=0:suppressions=") + QString::fromStdString(kept));
  process.setProcessEnvironment(environment);
  process.start(QStringLiteral(CSM_DESKTOP), arguments);
  if (!process.waitForFinished(100'000) || process.exitStatus() != QProcess::NormalExit) {
    return {-1, {}, process.readAllStandardError().toStdString() + process.errorString().toStdString()};
  }
  return {process.exitCode(), process.readAllStandardOutput().toStdString(),
          process.readAllStandardError().toStdString()};
}

const QStringList kDisplay = {QStringLiteral("DISPLAY"), QStringLiteral("WAYLAND_DISPLAY"),
                              QStringLiteral("QT_QPA_PLATFORM")};

TEST(DesktopProgram, saysInOneLineThatThereIsNoDisplay) {
  const Outcome outcome = Started({}, kDisplay);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.error.find("there is no display"), std::string::npos) << outcome.error;
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
}

TEST(DesktopProgram, refusesAPageThatThereIsNot) {
  const Outcome outcome = Started({QStringLiteral("--page"), QStringLiteral("nowhere")}, kDisplay);
  EXPECT_EQ(outcome.code, 2);
  EXPECT_NE(outcome.error.find("board"), std::string::npos) << outcome.error;
}

TEST(DesktopProgram, saysItsOptions) {
  const Outcome outcome = Started({QStringLiteral("--help")}, kDisplay);
  EXPECT_EQ(outcome.code, 0);
  for (const char* const option :
       {"--server", "--replay", "--clock", "--scenario", "--lang", "--theme", "--screenshot"}) {
    EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
  }
}

TEST(DesktopProgram, paintsAPageWithoutADisplay) {
  const cli::TemporaryDirectory directory;
  const QString file = QString::fromStdString(directory.path() + "/page.png");
  const Outcome outcome =
      Started({QStringLiteral("--screenshot"), file, QStringLiteral("--size"), QStringLiteral("1000x700"),
               QStringLiteral("--page"), QStringLiteral("stock"), QStringLiteral("--symbol"),
               QStringLiteral("sh600000"), QStringLiteral("--theme"), QStringLiteral("light"),
               QStringLiteral("--clock"), QStringLiteral("2024-03-15 14:20:00")},
              kDisplay);
  EXPECT_EQ(outcome.code, 0) << outcome.error;
  EXPECT_EQ(outcome.error, "");
  const QImage image(file);
  EXPECT_EQ(image.size(), QSize(1000, 700));
}

TEST(DesktopProgram, cannotPaintIntoAFolderThatIsNotThere) {
  const Outcome outcome =
      Started({QStringLiteral("--screenshot"), QStringLiteral("/nowhere/page.png")}, kDisplay);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.error.find("/nowhere/page.png"), std::string::npos) << outcome.error;
}

TEST(DesktopProgram, needsAKeyForAServerAndSaysSo) {
  const Outcome outcome = Started({QStringLiteral("--server"), QStringLiteral("http://127.0.0.1:9"),
                                   QStringLiteral("--screenshot"), QStringLiteral("/nowhere/page.png")},
                                  kDisplay);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.error.find("CSM_KEY"), std::string::npos) << outcome.error;
}

}  // namespace
