// The HTTP layer with a handler of the test's own: which thread answers what.
#include "market_server/http/listener.h"

#include <gtest/gtest.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

#include "raw_client.h"

namespace market_server::http {
namespace {

/// "/long" is answered only after "/short" was.
class Patient : public Handler {
 public:
  Welcome OnConnect() override { return Welcome::kServe; }
  bool TakesLong(const Request& request) const override { return request.path == "/long"; }
  Delivery Handle(const Request& request) override {
    std::unique_lock lock(mutex_);
    if (request.path == "/short") {
      short_answered_ = true;
      changed_.notify_all();
    }
    const bool good = changed_.wait_for(lock, std::chrono::seconds(20), [this] { return short_answered_; });
    return {{{Step::Kind::kWrite,
              good ? "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"
                   : "HTTP/1.1 500 Late\r\nContent-Length: 0\r\n\r\n",
              1,
              {}}},
            true};
  }
  Delivery Refuse(unsigned, const std::string&) override { return {}; }

 private:
  std::mutex mutex_;  ///< guards short_answered_
  std::condition_variable changed_;
  bool short_answered_ = false;
};

/// A listener with one thread for connections and one worker.
class Running {
 public:
  explicit Running(Handler& handler) : listener_(io_, workers_, handler, traffic_, Limits{}, nullptr) {
    listener_.Open("127.0.0.1", 0);
    thread_ = std::thread([this] {
      const auto work = boost::asio::make_work_guard(io_);
      io_.run();
    });
  }
  ~Running() {
    listener_.Close();
    io_.stop();
    thread_.join();
    workers_.join();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  [[nodiscard]] std::uint16_t port() const { return listener_.port(); }
  [[nodiscard]] const Traffic& traffic() const { return traffic_; }

 private:
  Traffic traffic_;
  boost::asio::io_context io_;
  boost::asio::thread_pool workers_{1};
  Listener listener_;
  std::thread thread_;
};

TEST(Listener, aRequestThatTakesLongDoesNotHoldUpOthers) {
  Patient handler;
  Running running(handler);
  testing::RawClient slow(running.port());
  testing::RawClient quick(running.port());
  slow.SendGet("/long");
  while (running.traffic().requests == 0) std::this_thread::yield();
  EXPECT_EQ(quick.Get("/short").status, 200);
  EXPECT_EQ(slow.ReadAnswer().status, 200);
  EXPECT_EQ(slow.Get("/long").status, 200) << "on the same connection";
}

/// Throws at everything but "/good".
class Careless : public Handler {
 public:
  Welcome OnConnect() override { return Welcome::kServe; }
  bool TakesLong(const Request& request) const override { return request.path == "/long"; }
  Delivery Handle(const Request& request) override {
    if (request.path != "/good") throw std::bad_alloc();
    return {{{Step::Kind::kWrite, "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", 1, {}}}, true};
  }
  Delivery Refuse(unsigned, const std::string&) override { return {}; }
};

TEST(Listener, aHandlerThatThrowsCostsOneConnection) {
  Careless handler;
  Running running(handler);
  for (const char* target : {"/short", "/long"}) {
    testing::RawClient client(running.port());
    client.SendGet(target);
    EXPECT_EQ(client.ReadAll(), "") << target;
    EXPECT_EQ(client.end(), testing::End::kClosed) << target;
    EXPECT_EQ(testing::RawClient(running.port()).Get("/good").status, 200) << target;
  }
}

}  // namespace
}  // namespace market_server::http
