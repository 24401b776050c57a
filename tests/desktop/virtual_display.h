// An X server without a screen, for this process and those that it starts: the window system that users have.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <stdexcept>

namespace tests {

class VirtualDisplay {
 public:
  /// `more`: further arguments of Xvfb. Sets DISPLAY, and that there is no session bus: for a display without
  /// one it would be started by a fork, whose child can wait for ever where a sanitizer holds the locks of
  /// another thread.
  explicit VirtualDisplay(const QStringList& more = {}) {
    // It picks a free number, and goes with its last client, so that a test that crashes leaves none.
    server_.start(QStringLiteral("Xvfb"), QStringList{QStringLiteral("-displayfd"), QStringLiteral("1"),
                                                      QStringLiteral("-terminate"), QStringLiteral("-screen"),
                                                      QStringLiteral("0"), QStringLiteral("1600x1000x24")} +
                                              more);
    while (!server_.canReadLine()) {
      if (!server_.waitForReadyRead(60'000)) {
        throw std::runtime_error("Xvfb: " + server_.errorString().toStdString() + " " +
                                 server_.readAllStandardError().toStdString());
      }
    }
    qputenv("DISPLAY", ":" + server_.readLine().trimmed());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
  }
  ~VirtualDisplay() {
    server_.terminate();
    server_.waitForFinished();
  }
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

 private:
  QProcess server_;
};

}  // namespace tests
