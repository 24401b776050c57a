// The one double of the host in all tests: it defines every function of the host contract (src/host/) and
// does with each call what the test scripted. Thread-safe; one live object per process at a time. Not to be
// confused with host_services/, which defines the same functions in earnest.
//
// A test is written as script, act, expect:
//
//   class IndexMarket : public ::testing::Test { protected: ScriptedHost host; };
//
//   TEST_F(IndexMarket, keepsTheListWhenTheAnswerIsAnError) {
//     host.Expect(Script("/pc/rt/stock_detail_list").Inline(Answer::Body(R"({"errno":1001})")));   // script
//     host.ExpectCodeLine(L"IndexMarket::FetchIndexMarkets Response Error Code: %d", 1001);
//     GetIndexMarket()->Refresh();                                                                  // act
//     EXPECT_EQ(host.RequestCount(), 1u);                                                           // expect
//   }
//
// The test fails, when the host is destroyed at the latest, on a request that no script covers, on a log line
// that nobody expected, on a script or a log line that was expected and did not come, and on a wait that ran
// out. Destroy what runs against the host (services, threads) before the host.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Query parameters or headers, decoded, UTF-8.
using NameValues = std::map<std::string, std::string>;

/// One call of `GetAsyn`, `GetSync` or `DownloadFileSyncWithRetry`, as the host saw it.
struct Request {
  enum class Kind { kAsync, kSync, kDownload };

  std::size_t number = 0;    ///< order of arrival, from 0, over all kinds
  Kind kind = Kind::kAsync;  ///< which function was called
  std::wstring url;          ///< as the module passed it
  std::string server;        ///< "http://api.test"
  std::string path;          ///< percent-decoded, "/pc/rt/get"
  NameValues parameters;     ///< percent-decoded
  NameValues headers;        ///< the map argument
  int setting = 0;           ///< the integer argument (seconds)
  int retries = 0;           ///< downloads only
  std::wstring destination;  ///< downloads only: the file to write
  std::thread::id thread;    ///< the caller
};

/// What a completion gets. The bytes are handed over in a buffer of exactly their length, without a
/// terminator, which is gone as soon as the completion returns.
struct Answer {
  bool ok = true;
  bool null_body = false;
  std::string body;

  /// A whole answer with status 200. An empty text gives a non-null body of length 0.
  static Answer Body(std::string text) { return {true, false, std::move(text)}; }
  /// No answer came: flag false, body null.
  static Answer Failed() { return {false, true, {}}; }
  /// An answer with another status: flag false, and the body all the same.
  static Answer Failed(std::string text) { return {false, false, std::move(text)}; }
  /// Flag true, body null and length 0.
  static Answer Null() { return {true, true, {}}; }
};

/// One rule: which requests it covers, how often, and what becomes of them. Scripts are tried in the order in
/// which the test gave them; the first that fits and is not used up takes the request. Unless said otherwise
/// a script covers one request of any kind, with any parameters, and holds it.
class Script {
 public:
  using Reply = std::function<Answer(const Request&)>;

  /// Covers requests whose decoded path is `path`, on whichever server.
  explicit Script(std::string path) : path_(std::move(path)) {}

  /// Only requests with exactly these parameters.
  Script&& With(NameValues parameters) &&;
  /// Only requests with this integer argument.
  Script&& Setting(int seconds) &&;
  /// Exactly `count` requests instead of one. The test fails when fewer come.
  Script&& Times(std::size_t count) &&;
  /// Any number of requests, none included.
  Script&& AnyTimes() &&;

  /// `GetAsyn` calls the completion before it returns. `GetSync` and downloads are answered at once with
  /// every script except a held one.
  Script&& Inline(Answer answer) &&;
  Script&& Inline(Reply reply) &&;
  /// The completion runs on worker thread `worker` (any number; the thread is made at its first use). One
  /// worker answers in the order of its requests.
  Script&& OnWorker(int worker, Answer answer) &&;
  Script&& OnWorker(int worker, Reply reply) &&;
  /// Kept until `Complete` or `CompleteOn`, or never answered. `GetSync` and downloads block meanwhile.
  Script&& Held() &&;

 private:
  friend class ScriptedHost;
  enum class Mode { kHeld, kInline, kWorker };

  std::string path_;
  std::optional<NameValues> parameters_;
  std::optional<int> setting_;
  std::optional<std::size_t> times_ = 1;
  Mode mode_ = Mode::kHeld;
  int worker_ = 0;
  Reply reply_;
};

/// One line of the program log.
struct LogLine {
  enum class Writer { kString, kNoMask };

  Writer writer = Writer::kString;  ///< `WriteProgramLogString` or `WriteProgramLogNoMask`
  unsigned mask = 0;                ///< of `WriteProgramLogString`
  std::wstring format;              ///< of `WriteProgramLogNoMask`; the text for `WriteProgramLogString`
  std::wstring text;                ///< as it would stand in the file
  std::thread::id thread;           ///< the caller
};

/// One call of `UrlHelper::GetSigniture`.
struct Signing {
  std::wstring path;
  NameValues parameters;
  std::thread::id thread;
};

/// One call of `common::LegalHoliday::SetHolidays`.
struct HolidayCall {
  int year = 0;
  std::vector<unsigned long> days;
};

namespace detail {
inline thread_local long calls_until_throw = -1;
inline thread_local const char* thrown_by = nullptr;
}  // namespace detail

/// From now on, and while it lives, call number `number` (from 0) that this thread makes of any function of
/// the contract throws `std::bad_alloc` before it does anything.
class ThrowingCall {
 public:
  explicit ThrowingCall(long number) {
    detail::calls_until_throw = number;
    detail::thrown_by = nullptr;
  }
  ~ThrowingCall() { detail::calls_until_throw = -1; }
  ThrowingCall(const ThrowingCall&) = delete;
  ThrowingCall& operator=(const ThrowingCall&) = delete;

  /// The function that threw; null while none has.
  [[nodiscard]] static const char* ThrownBy() { return detail::thrown_by; }
};

class ScriptedHost {
 public:
  /// Starts at 10:00:00 China time on Friday 2024-03-15, tasks queued, watch list empty, files in a new
  /// directory below the system's one for temporary files. Throws when another host is live.
  ScriptedHost();
  /// Lets go of everybody whom the host holds, runs what the workers still have, removes the directory and
  /// reports every problem as a failure of the test.
  ~ScriptedHost();
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;

  // --- clock and calendar
  // -------------------------------------------------------------------------------------
  /// The clock stands still until the test moves it.
  void SetTime(std::int64_t seconds_since_1970);
  void SetTime(std::uint32_t date, int hour, int minute, int second);
  void Advance(std::int64_t seconds);
  /// How often the clock was looked at since the start.
  std::size_t ClockLooks() const;
  /// The answer of `stock::CheckMarketStatus` from now on; without a value computed from the argument: Monday
  /// to Friday without the holidays set through the contract, phases at 09:00, 09:15, 09:30, 11:30, 13:00,
  /// 15:00.
  void SetMarketStatus(std::optional<int> status);
  /// The answer of `stock::TimeSpanToNextMarketStatus` from now on; without a value computed by the same
  /// rules.
  void SetSpan(std::optional<std::int32_t> seconds);
  /// The next answers of `TimeSpanToNextMarketStatus`, one a call; afterwards `SetSpan` holds again.
  void ScriptSpans(std::vector<std::int32_t> seconds);
  /// From now on `TimeSpanToNextMarketStatus` blocks every thread but the one that built the host until the
  /// test releases it: a polling thread stands between its fetch and its sleep.
  void HoldSpans();
  /// Waits until a thread stands in `TimeSpanToNextMarketStatus`.
  bool AwaitHeldSpan();
  /// Lets one held caller go with this answer; with none there, the next one that comes.
  void ReleaseSpan(std::int32_t seconds);
  /// Arguments of all calls of `TimeSpanToNextMarketStatus`, in order.
  std::vector<std::uint32_t> SpanCalls() const;
  /// Waits until there were `count` calls of `TimeSpanToNextMarketStatus` since the start. A polling service
  /// asks for the span after its first look at its observers, so a test that waits here knows that the thread
  /// sleeps.
  bool AwaitSpanCalls(std::size_t count);
  std::vector<HolidayCall> HolidayCalls() const;

  // --- requests
  // -----------------------------------------------------------------------------------------------
  void Expect(Script script);
  /// A script for any number of requests, shorthand for `Expect(....AnyTimes())`.
  void Allow(Script script);
  /// Answers a held request, on the calling thread or on a worker. A request is answered once only.
  void Complete(std::size_t number, const Answer& answer);
  void CompleteOn(int worker, std::size_t number, const Answer& answer);
  /// All requests since the start, in order.
  std::vector<Request> Requests() const;
  std::vector<Request> RequestsTo(const std::string& path) const;
  std::size_t RequestCount() const;
  /// Request `number`; waits until it has come. Fails the test and returns an empty record when it does not.
  Request AwaitRequest(std::size_t number);
  /// Forgets what is recorded of the requests and signings so far; numbers and `RequestCount` go on. For runs
  /// of very many.
  void ForgetRequests();
  /// Numbers of the asynchronous requests that are held and not answered yet.
  std::vector<std::size_t> HeldRequests() const;
  /// Waits until every worker has nothing left to do.
  void Settle();

  // --- signing
  // ------------------------------------------------------------------------------------------------
  /// From now on `GetSigniture` returns an empty text (`true`) or a readable address (`false`): server, path,
  /// and the parameters percent-encoded in byte order: "http://api.test/pc/rt/get?end=50&start=0".
  void SignNothing(bool nothing);
  std::vector<Signing> Signings() const;

  // --- log
  // ----------------------------------------------------------------------------------------------------
  /// A line written by `WriteProgramLogString` with a mask of all ones.
  void ExpectFailureLine(const std::wstring& text, std::size_t times = 1);
  /// A line written by `WriteProgramLogNoMask` with exactly this format, which has one "%d".
  void ExpectCodeLine(const std::wstring& format, int code, std::size_t times = 1);
  /// A line with this text, whichever function wrote it.
  void ExpectLine(const std::wstring& text, std::size_t times = 1);
  /// As the three above for any number of times, none included.
  void AllowLine(const std::wstring& text);
  std::vector<LogLine> Log() const;

  // --- tasks
  // --------------------------------------------------------------------------------------------------
  enum class TaskMode { kQueued, kInline, kWorker };
  /// Queued tasks wait for `RunTasks`; inline ones run inside `AddTask`; the others on worker thread
  /// `worker`.
  void SetTaskMode(TaskMode mode, int worker = 0);
  std::size_t QueuedTasks() const;
  /// Runs the queued tasks on the calling thread, first in first out, also those that they queue. Returns how
  /// many.
  std::size_t RunTasks();
  /// Runs the oldest queued task, if any. Returns whether there was one.
  bool RunOneTask();
  /// Forgets the queued tasks without running them.
  void DropTasks();
  /// Waits until at least `count` tasks are queued.
  bool AwaitQueuedTasks(std::size_t count);

  // --- watch list
  // ---------------------------------------------------------------------------------------------
  /// Replaces the list and tells every attached observer on the calling thread.
  void SetWatchList(std::vector<std::wstring> symbols);
  /// Whether `Attach` tells the new observer the present list before it returns (the default) or not at all.
  void DeliverWatchListOnAttach(bool deliver);
  std::size_t WatchListObservers() const;

  // --- files
  // -----------------------------------------------------------------------------------------
  /// Directory of this host's files; K-line packages below "kline/<symbol>", the metadata file below "meta".
  const std::string& Directory() const;
  /// From now on `stock::GetKLineFilePath` takes every text for a symbol and leaves its letters as they are.
  void GiveEveryTextADirectory();
  /// From now on `common::ForceRemoveFile` removes nothing and says false.
  void FailRemoving(bool fail);

  // --- problems
  // -----------------------------------------------------------------------------------------------
  /// What would fail the test if it ended now; the list is empty afterwards and nothing of it is reported.
  std::vector<std::string> TakeProblems();

  class State;  ///< what the contract functions work on

 private:
  std::shared_ptr<State> state_;
};

/// `text` as the content of a gzip file, for scripted downloads.
std::string Gzip(const std::string& text);
