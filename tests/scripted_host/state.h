// What the contract functions work on: the script of the live host and the record of what was called.
// Internal to the scripted host; tests use scripted_host.h. Thread-safe; no function of the module is called
// under a lock.
#pragma once

#include <algorithm>
#include <boost/function.hpp>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/network.h"
#include "host/text.h"
#include "host/watch_list.h"
#include "host_services/trading_day.h"
#include "scripted_host.h"

[[nodiscard]] inline std::wstring Widen(const std::string& utf8) {
  return common::s2ws(utf8, common::kUtf8);
}
[[nodiscard]] inline std::string Narrow(const std::wstring& text) {
  return common::ws2s(text, common::kUtf8);
}

/// A thread with a queue, first in first out.
class Worker {
 public:
  Worker();
  ~Worker();  ///< runs what is queued, then ends
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  void Add(std::function<void()> job);
  void WaitUntilIdle();

 private:
  void Run();

  std::mutex mutex_;  // guards the members below but the thread
  std::condition_variable changed_;
  std::deque<std::function<void()>> jobs_;
  bool busy_ = false;
  bool ending_ = false;
  std::thread thread_;
};

class ScriptedHost::State {
 public:
  State();
  ~State();

  /// The state of the live host; null when there is none.
  static std::shared_ptr<State> Live();
  /// Makes `state` the live one, or none.
  static void SetLive(std::shared_ptr<State> state);
  /// A call that nobody was there to judge; the next host reports it.
  static void Stray(const std::string& what);

  void Problem(const std::string& what);

  // Called by the contract functions.
  void Get(const std::wstring& url, const AsynCallback& done, const NameValues& headers, int seconds);
  bool GetNow(const std::wstring& url, std::string& body, const NameValues& headers, int seconds);
  bool Download(const std::wstring& url, const std::wstring& path, int retries, int seconds);
  void WriteLog(LogLine line);
  std::int32_t Span(std::uint32_t time);
  std::uint32_t AddTask(const boost::function<void()>& task);
  void AttachWatcher(IUpdate1<std::vector<std::wstring>>* observer);
  void DetachWatcher(IUpdate1<std::vector<std::wstring>>* observer);

  // Called by ScriptedHost.
  void Complete(std::size_t number, const Answer& answer, const int* worker);
  Worker& WorkerThread(int number);
  void Settle();
  bool RunOneTask();
  void TellWatchers();
  void LetGo();
  std::vector<std::string> Problems();

  /// Waits, with `mutex` held by `lock`, until `predicate` holds. A wait that runs out is a problem.
  bool Await(std::unique_lock<std::mutex>& lock, const std::function<bool()>& predicate,
             const std::string& what);

  struct Rule {
    Script script;
    std::size_t taken = 0;
  };
  struct LogRule {
    std::optional<LogLine::Writer> writer;
    std::wstring format;
    std::wstring text;
    std::optional<std::size_t> times = 1;
    std::size_t taken = 0;
  };
  struct HeldAnswer {
    bool answered = false;
    Answer answer;
  };

  std::mutex mutex;  // guards everything below but what says otherwise
  std::condition_variable changed;
  const std::thread::id owner = std::this_thread::get_id();
  bool ended = false;

  std::int64_t now = 0;
  std::size_t clock_looks = 0;
  std::optional<int> status;
  std::optional<std::int32_t> span;
  std::deque<std::int32_t> scripted_spans;
  bool hold_spans = false;
  std::size_t held_callers = 0;
  std::deque<std::int32_t> released_spans;
  std::vector<std::uint32_t> span_calls;
  std::map<int, std::set<std::uint32_t>> holidays;
  /// Those that were set, while `mutex` is held.
  [[nodiscard]] stock_host::IsHoliday KnownHolidays() const {
    return [this](std::chrono::sys_days day) {
      return std::any_of(
          holidays.begin(), holidays.end(),
          [date = stock_host::DateOfDay(day)](const auto& year) { return year.second.contains(date); });
    };
  }
  std::vector<HolidayCall> holiday_calls;
  std::function<void()> on_holidays;

  [[nodiscard]] std::size_t RequestCount() const { return forgotten + requests.size(); }

  std::vector<Rule> rules;
  std::size_t forgotten = 0;  // requests before the first of those below
  std::vector<Request> requests;
  std::map<std::size_t, AsynCallback> held;                            // asynchronous ones
  std::map<std::size_t, std::shared_ptr<HeldAnswer>> held_callers_of;  // blocked callers of the others

  bool sign_nothing = false;
  std::vector<Signing> signings;

  std::vector<LogRule> log_rules;
  std::vector<LogLine> log;

  TaskMode task_mode = TaskMode::kQueued;
  int task_worker = 0;
  std::uint32_t last_task = 0;
  std::deque<boost::function<void()>> tasks;

  std::vector<std::wstring> watch_list;
  std::vector<IUpdate1<std::vector<std::wstring>>*> watchers;
  bool deliver_on_attach = true;
  std::recursive_mutex watch_mutex;  // held around calls of watchers, so that detaching waits for them; first

  std::string directory;
  bool every_text_has_directory = false;
  bool fail_removing = false;

  std::vector<std::string> problems;

  std::mutex workers_mutex;  // guards workers
  std::map<int, std::unique_ptr<Worker>> workers;

 private:
  struct Taken {
    Request request;
    Script::Mode mode = Script::Mode::kHeld;
    int worker = 0;
    Script::Reply reply;
    bool expected = false;
  };
  Taken Take(Request request, const AsynCallback* done, std::shared_ptr<HeldAnswer>* waiting);
  Answer AnswerNow(Request request);
};
