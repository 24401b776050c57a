// csm-desktop as a program of its own: without a display and on one, with a wrong line, and painting pages.
#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QThread>
#include <QtCore/QtEndian>
#include <QtGui/QImage>
#include <algorithm>
#include <fstream>
#include <string>

#include "cli/temporary_directory.h"
#include "tests/desktop/virtual_display.h"
#include "tests/desktop/without_display.h"

namespace {

struct Outcome {
  int code = -1;
  std::string out;
  std::string error;
};

// csm-desktop while it runs.
class Program {
 public:
  explicit Program(const QStringList& arguments, const QStringList& without = {}) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : without) {
      environment.remove(name);
    }
    // What Qt's platform keeps until the process ends.
    const std::string kept = directory_.path() + "/kept";
    std::ofstream(kept) << tests::kKeptByQt;
    environment.insert(QStringLiteral("LSAN_OPTIONS"),
                       QStringLiteral("print_suppressions=0:suppressions=") + QString::fromStdString(kept));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QString::fromStdString(directory_.path()));
    process_.setProcessEnvironment(environment);
    process_.start(QStringLiteral(CSM_DESKTOP), arguments);
  }
  void Terminate() { process_.terminate(); }
  Outcome Await() {
    if (!process_.waitForFinished(100'000) || process_.exitStatus() != QProcess::NormalExit) {
      return {-1, {}, process_.readAllStandardError().toStdString() + process_.errorString().toStdString()};
    }
    return {process_.exitCode(), process_.readAllStandardOutput().toStdString(),
            process_.readAllStandardError().toStdString()};
  }

 private:
  const cli::TemporaryDirectory directory_;
  QProcess process_;
};

Outcome Started(const QStringList& arguments, const QStringList& without = {}) {
  return Program(arguments, without).Await();
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

// The picture of an X server's screen, in the format of xwd: a header of numbers, colours, lines of pixels.
QImage Screen(const std::string& file) {
  QFile dump(QString::fromStdString(file));
  if (!dump.open(QIODevice::ReadOnly)) {
    return {};
  }
  const QByteArray bytes = dump.readAll();
  const auto number = [&](int place) {
    return static_cast<int>(qFromBigEndian<quint32>(bytes.constData() + 4 * place));
  };
  enum {
    kHeaderSize,
    kWidth = 4,
    kHeight,
    kBytesPerLine = 12,
    kColours = 19,
    kBytesPerColour = 12,
    kNumbers = 25
  };
  if (bytes.size() < 4 * kNumbers) {
    return {};
  }
  const int start = number(kHeaderSize) + number(kColours) * kBytesPerColour;
  if (bytes.size() < start + number(kHeight) * number(kBytesPerLine)) {
    return {};
  }
  return QImage(reinterpret_cast<const uchar*>(bytes.constData()) + start, number(kWidth), number(kHeight),
                number(kBytesPerLine), QImage::Format_RGB32)
      .copy();
}

// Of all pixels of `picture`, the share that is another one at the same place of `screen`.
double Difference(const QImage& picture, const QImage& screen) {
  if (screen.width() < picture.width() || screen.height() < picture.height()) {
    return 1;
  }
  int others = 0;
  for (int y = 0; y < picture.height(); ++y) {
    const auto* const wanted = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
    const auto* const shown = reinterpret_cast<const QRgb*>(screen.constScanLine(y));
    for (int x = 0; x < picture.width(); ++x) {
      others += (wanted[x] & RGB_MASK) != (shown[x] & RGB_MASK) ? 1 : 0;
    }
  }
  return static_cast<double>(others) / (picture.width() * picture.height());
}

TEST(DesktopProgram, paintsAPageWithoutADisplayAsItStandsOnOne) {
  const cli::TemporaryDirectory directory;
  const QString file = QString::fromStdString(directory.path() + "/page.png");
  const QStringList page = {
      QStringLiteral("--size"),  QStringLiteral("1000x700"), QStringLiteral("--page"),
      QStringLiteral("stock"),   QStringLiteral("--symbol"), QStringLiteral("sh600000"),
      QStringLiteral("--theme"), QStringLiteral("light"),    QStringLiteral("--speed"),
      QStringLiteral("0"),       QStringLiteral("--clock"),  QStringLiteral("2024-03-15 14:20:00")};
  const Outcome outcome = Started(page + QStringList{QStringLiteral("--screenshot"), file}, kDisplay);
  EXPECT_EQ(outcome.code, 0) << outcome.error;
  EXPECT_EQ(outcome.error, "");
  const QImage picture = QImage(file).convertToFormat(QImage::Format_RGB32);
  ASSERT_EQ(picture.size(), QSize(1000, 700));

  const tests::VirtualDisplay display({QStringLiteral("-fbdir"), QString::fromStdString(directory.path())});
  Program program(page, {QStringLiteral("QT_QPA_PLATFORM")});
  double difference = 1;
  QElapsedTimer patience;
  for (patience.start(); difference > 0.02 && !patience.hasExpired(100'000); QThread::msleep(100)) {
    difference = Difference(picture, Screen(directory.path() + "/Xvfb_screen0"));
  }
  EXPECT_LE(difference, 0.02);
  program.Terminate();
  const Outcome shown = program.Await();
  EXPECT_EQ(shown.code, 0) << shown.error;
  EXPECT_EQ(shown.error, "");
}

TEST(DesktopProgram, saysInOneLineThatADisplayIsNotThere) {
  qputenv("DISPLAY", ":nowhere");
  const Outcome outcome = Started({}, {QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("WAYLAND_DISPLAY")});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.error.find("cannot open the display :nowhere"), std::string::npos) << outcome.error;
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
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
