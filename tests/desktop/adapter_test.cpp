// The bridge between the services' threads and the event loop.
#include "desktop/adapter.h"

#include <gtest/gtest.h>

#include <QtCore/QThread>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

TEST(UiThread, doesWorkOfOtherThreadsOnItsOwnInItsOrder) {
  desktop::UiThread thread;
  std::vector<int> done;
  bool elsewhere = false;
  std::thread other([&] {
    for (int i = 0; i < 100; ++i) {
      thread.Post([&done, &elsewhere, i] {
        done.push_back(i);
        elsewhere = elsewhere || QThread::currentThread() != QCoreApplication::instance()->thread();
      });
    }
  });
  other.join();
  EXPECT_TRUE(done.empty());
  ASSERT_TRUE(QTest::qWaitFor([&] { return done.size() == 100; }));
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
  EXPECT_FALSE(elsewhere);
}

TEST(UiThread, saysWhatAPieceOfWorkThrewAndGoesOn) {
  desktop::UiThread thread;
  QSignalSpy failed(&thread, &desktop::UiThread::failed);
  bool reached = false;
  thread.Post([] { throw std::runtime_error("out of paint"); });
  thread.Post([&] { reached = true; });
  ASSERT_TRUE(QTest::qWaitFor([&] { return reached; }));
  ASSERT_EQ(failed.count(), 1);
  EXPECT_EQ(failed.at(0).at(0).toString(), QStringLiteral("out of paint"));
}

TEST(UiThread, dropsWhatIsLeftWhenItGoes) {
  int done = 0;
  {
    desktop::UiThread thread;
    thread.Post([&] { ++done; });
    thread.After(std::chrono::milliseconds(0), [&] { ++done; });
  }
  QCoreApplication::processEvents();
  EXPECT_EQ(done, 0);
}

TEST(UiThread, timesEachPieceOfWork) {
  desktop::UiThread thread;
  QSignalSpy worked(&thread, &desktop::UiThread::worked);
  thread.Post([] { QThread::usleep(2000); });
  ASSERT_TRUE(QTest::qWaitFor([&] { return worked.count() == 1; }));
  EXPECT_GE(worked.at(0).at(0).toLongLong(), 2'000'000);
}

}  // namespace
