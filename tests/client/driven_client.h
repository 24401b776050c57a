// A client with every service whose threads do not run: the test's clock says when each of them would wake,
// and the test does what it would do then. So days pass in a moment, and every request is known by the
// service that made it. One test thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "feed.h"
#include "frame/polled_subject.h"
#include "scripted_host.h"

namespace client_test {

/// How often each path was asked for.
using Counts = std::map<std::string, std::uint64_t>;

/// What the servers say besides that all is well.
struct World {
  std::vector<std::string> holidays;  ///< of the year, "2024-04-04"
  /// Version of all packages, the date of their last candle, at an instant.
  std::function<std::string(std::int64_t)> version = [](std::int64_t) { return "20240313"; };
};

class DrivenClient {
 public:
  /// Every service at an instant of China time, with the reference data loaded; nothing is shown.
  DrivenClient(World world, std::uint32_t date, int hour, int minute, int second);
  ~DrivenClient();
  DrivenClient(const DrivenClient&) = delete;
  DrivenClient& operator=(const DrivenClient&) = delete;

  /// Adds a service to those that are driven, with active views on `shown` and suspended ones on `hidden`.
  template <class Data, class Service, class Key>
  void Add(const std::string& name, Service* service, const std::vector<Key>& shown,
           const std::vector<Key>& hidden) {
    auto& subject = dynamic_cast<frame::PolledSubject<Service>&>(*service);
    subject.StopPolling();
    auto feed = std::make_unique<PolledFeed<Service, Data, Key>>(name, "", service);
    for (const Key& key : shown) {
      feed->Show(key, false);
    }
    auto unseen = std::make_unique<PolledFeed<Service, Data, Key>>(name, "", service);
    for (const Key& key : hidden) {
      unseen->Show(key, false);
    }
    unseen->Hide();
    feeds_.push_back(std::move(feed));
    feeds_.push_back(std::move(unseen));
    driven_.push_back(
        {name, Now(), [&subject] { subject.PollOnce(); }, [service] { return service->GetInterval(); }});
  }

  /// Hides every view.
  void HideAll();

  /// Lets every thread wake, in the order of time, before `end`; the clock stands at `end` afterwards.
  void RunUntil(std::int64_t end);

  /// Counts what `act` asks for under `name`.
  void Count(const std::string& name, const std::function<void()>& act);

  /// By service: what it asked for since the constructor.
  [[nodiscard]] const std::map<std::string, Counts>& counts() const { return counts_; }
  [[nodiscard]] std::int64_t Now() const { return now_; }

  static std::int64_t Instant(std::uint32_t date, int hour, int minute, int second = 0);

 private:
  // A thread: when it wakes next, what it does then, and how long it sleeps afterwards.
  struct Driven {
    std::string name;
    std::int64_t wakes;
    std::function<void()> round;
    std::function<int()> interval;
  };

  void AnswerEverything();
  void Answer(const std::string& path, std::function<std::string()> body);
  void AddReferenceData();
  void MoveTo(std::int64_t instant);

  const World world_;
  ScriptedHost host_;
  std::int64_t now_ = 0;
  std::vector<std::unique_ptr<Feed>> feeds_;
  std::vector<Driven> driven_;
  std::map<std::string, Counts> counts_;
  std::string counted_;  // the service that the requests of this moment belong to
};

}  // namespace client_test
