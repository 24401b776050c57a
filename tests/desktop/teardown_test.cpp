// Windows that come and go while answers arrive, as far as other threads see them: the bridge from the
// services to Qt's event loop. Made for the thread sanitizer, to which Qt has to be explained: it is built
// without.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sanitizer/tsan_interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QThread>
#include <QtTest/QTest>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/views/observer.h"
#include "desktop/adapter.h"
#include "market_server/market_server.h"
#include "whole_client.h"

// What Qt does with its own memory is Qt's.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1";
}

namespace {

char queue;  // stands for Qt's queue of events

// Calls that were queued. Qt counts who still needs them, which the sanitizer does not see: with one count
// more they go in the thread that carries them out.
std::mutex calls_mutex;
std::vector<QtPrivate::QSlotObjectBase*> calls;  // guarded by calls_mutex

void DropCalls() {
  std::vector<QtPrivate::QSlotObjectBase*> dropped;
  {
    const std::lock_guard lock(calls_mutex);
    dropped.swap(calls);
  }
  for (QtPrivate::QSlotObjectBase* const call : dropped) {
    call->destroyIfLastRef();
  }
}

template <class Function>
Function Next(const char* symbol) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

// What is done before something is put into the queue happens before what is done with all that is taken out
// of it. Both ways into it.
void QCoreApplication::postEvent(QObject* receiver, QEvent* event, int priority) {
  static const auto post =
      Next<decltype(&QCoreApplication::postEvent)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
  __tsan_release(&queue);
  post(receiver, event, priority);
}

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type,
                                   void* result) {
  static const auto invoke = Next<decltype(&QMetaObject::invokeMethodImpl)>(
      "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
  slot->ref();
  __tsan_release(&queue);
  const bool is_done = invoke(object, slot, type, result);
  const std::lock_guard lock(calls_mutex);
  calls.push_back(slot);
  return is_done;
}

namespace {

class Application final : public QCoreApplication {
 public:
  using QCoreApplication::QCoreApplication;

 private:
  bool notify(QObject* receiver, QEvent* event) override {
    DropCalls();
    __tsan_acquire(&queue);
    return QCoreApplication::notify(receiver, event);
  }
};

// Follows all that a page follows. What arrives goes into members without a lock: one thread has them.
class Window {
 public:
  explicit Window(cli::Post post) : post_(std::move(post)) {
    Follow<std::vector<IndexMarketSummary>>(GetIndexMarket(), std::wstring());
    Follow<std::vector<StockMarketItem>>(GetStockMarket(), StockRangeRankingTarget{1, 4, 2, 0, 49});
    Follow<StockMarketItem>(GetSingleStockMarket(), std::wstring(L"sh600000"));
    Follow<StockMLineData>(GetStockMLine(), std::wstring(L"sh600000"));
    Follow<StockKLineData>(GetStockKLine(), std::wstring(L"sh600000"));
    Follow<StockInOutItem>(GetStockInOut(), std::wstring(L"sh600000"));
    Follow<PlateStockMarketData>(GetPlateStockMarket(), PlateStockRankingTarget{L"bk1001", 4, 2, 0, 49});
    Follow<std::vector<StrengthRatingItem>>(GetStrengthRating(), std::uint32_t{0});
  }

  [[nodiscard]] int arrivals() const { return arrivals_; }
  [[nodiscard]] bool met_another_thread() const { return met_another_thread_; }

 private:
  template <class Data, class Service, class Key>
  void Follow(Service* service, const Key& key) {
    auto observer = std::make_shared<cli::ServiceObserver<Service, Data>>(
        *service, post_, [this, newest = Data()](const cli::Delivery<Data>& delivery) mutable {
          newest = delivery.data;
          ++arrivals_;
          met_another_thread_ |= QThread::currentThread() != QCoreApplication::instance()->thread();
        });
    observer->SetTarget(key);
    observer->Resume(true);
    observers_.push_back(std::move(observer));
  }

  const cli::Post post_;
  int arrivals_ = 0;
  bool met_another_thread_ = false;
  std::vector<std::shared_ptr<void>> observers_;
};

// With CSM_PLANTED_RACE what arrives is carried out where it arrives, and the sanitizer has to say so.
TEST(DesktopTeardown, windowsGoWhileAnswersArrive) {
  market_server::Options options;
  options.clock = "2024-03-15 10:30:00";
  options.stocks = 200;
  options.keys = {{client_test::kKeyId, client_test::kKey}};
  options.faults = {"jitter::1:30"};
  market_server::Server server(options);
  server.Start();
  const client_test::WholeClient services(server.url());
  desktop::UiThread thread;
  const bool has_planted_race = std::getenv("CSM_PLANTED_RACE") != nullptr;
  const cli::Post post = [&](std::function<void()> work) {
    if (has_planted_race) {
      work();
    } else {
      thread.Post(std::move(work));
    }
  };
  Window kept(post);
  ASSERT_TRUE(QTest::qWaitFor([&] { return kept.arrivals() >= 8; }, 60'000));
  // As their own threads do, but without a pause, so that there is always something on its way.
  const std::jthread polling([](const std::stop_token& stopped) {
    while (!stopped.stop_requested()) {
      if (stock_host::ReadCounters().under_way > 0) {
        std::this_thread::yield();
        continue;
      }
      GetIndexMarket()->Refresh();
      GetStockMarket()->Refresh();
      GetSingleStockMarket()->Refresh();
      GetStockMLine()->Refresh();
      GetStrengthRating()->Refresh();
    }
  });
  ASSERT_TRUE(QTest::qWaitFor([&] { return kept.arrivals() >= 50; }, 60'000));
  for (int turn = 0; turn < 100; ++turn) {
    const Window window(post);
    const int wanted = turn % 8;  // so far it gets
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.arrivals() >= wanted; }, 60'000)) << turn;
    EXPECT_FALSE(window.met_another_thread());
  }
  EXPECT_FALSE(kept.met_another_thread());
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const Application application(argc, argv);
  return RUN_ALL_TESTS();
}
