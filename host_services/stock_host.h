// The application's side of the host services: configure, start, stop, watch. The module's side is
// host/host.h, which an application does not need. Every function may be called from any thread, except that
// `Start` and `Stop` must not be called from a call-back, a task or a watch-list observer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/export.h"

namespace stock_host {

/// What `Start` needs to know. Text is UTF-8. An empty member stands for its default.
struct Settings {
  std::string api_root;  ///< quote API server, "http://host:port" or with a path; empty: no request is signed
  std::string static_root;       ///< static file server; default: `api_root` + "/static/"
  std::string history_root;      ///< history query service; default: `api_root`
  std::string key_id;            ///< 1 to 64 characters of A-Z a-z 0-9 . _ -
  std::string key;               ///< the secret; never logged
  std::string proxy;             ///< for all requests; empty: none, whatever the environment says
  std::string ca_file;           ///< PEM file of trusted certificates; default: the system's
  std::string data_directory;    ///< default: $XDG_DATA_HOME/csm or ~/.local/share/csm
  std::string log_directory;     ///< default: $XDG_STATE_HOME/csm or ~/.local/state/csm
  std::string config_directory;  ///< holds the watch list; default: $XDG_CONFIG_HOME/csm or ~/.config/csm
  /// Every exchange is kept in a record in this directory, without key, key id and signature. The directory
  /// must be missing, empty or hold a record, which is continued. Empty: nothing is recorded.
  std::string record_directory;
  /// Requests are answered from the record in this directory and nothing is sent; addresses, key and proxy do
  /// not matter. The recorded time begins at the record's start with `Start`; a request gets the latest
  /// answer to its question recorded at or before its moment, else the first, after the time that this one
  /// took; fewer rows or symbols than were recorded are taken out of what was. What was never recorded gets
  /// status 404. The server's clock follows the recorded Date headers.
  std::string replay_directory;
  double replay_speed = 1;         ///< seconds of recorded time in a second, 0.001 to 100,000
  bool log_to_stderr = false;      ///< the log goes to standard error as well
  std::string log_level = "info";  ///< "trace", "debug", "info", "warn", "error", "off"
};

/// The user's settings: `csm.ini` in the configuration directory, the key file, and the CSM_* environment
/// variables on top (docs/host.md lists them). Whatever cannot be read is left at its default and named in
/// the log once it runs.
[[nodiscard]] STOCK_HOST_API Settings LoadSettings();

/// Makes sure that descriptors 0 to 2 are open, onto nothing if need be. A program that was started without
/// them would otherwise hand its files and connections to whoever writes to the standard streams. `Start`
/// does it too; a program that opens anything before calls this first.
STOCK_HOST_API void FillStandardDescriptors();

/// Starts the threads and opens the log. Sends nothing. False, with a text for the user in `error` and
/// nothing started, when a setting is wrong, the log cannot be opened, or the services already run.
[[nodiscard]] STOCK_HOST_API bool Start(const Settings& settings, std::string& error);

/// Fails every request under way (each call-back still comes, once, before the return), finishes the queued
/// tasks, joins all threads and flushes the log. Afterwards requests fail, tasks and log lines wait for the
/// next `Start`. Does nothing when the services do not run.
STOCK_HOST_API void Stop();

/// Whether requests succeed at present.
enum class Connection {
  kIdle,      ///< no request has been completed since the start
  kLive,      ///< the latest completed request succeeded
  kFailing,   ///< the latest completed request failed
  kNoServer,  ///< as `kIdle`, and there is no quote API server to be asked
};

/// Failed requests by cause.
struct Failures {
  std::uint64_t invalid = 0;     ///< empty or unusable URL or header; nothing was sent
  std::uint64_t connection = 0;  ///< no such host, refused, reset, no route
  std::uint64_t security = 0;    ///< TLS: certificate, protocol
  std::uint64_t timeout = 0;     ///< not complete within its time
  std::uint64_t incomplete = 0;  ///< the answer ended early, or is no proper HTTP or gzip
  std::uint64_t status = 0;      ///< complete, but the status is not 200
  std::uint64_t too_large = 0;   ///< header or body above the limit
  std::uint64_t stopped = 0;     ///< under way at `Stop`, or asked for while not running
};

/// Counts of one endpoint: "/pc/rt/stock_detail_list" and the like, "static", "history" or "other".
struct EndpointCounters {
  std::uint64_t requests = 0;   ///< completed or under way
  std::uint64_t succeeded = 0;  ///< complete, with status 200
  std::uint64_t failed = 0;
  std::uint64_t handed_over = 0;  ///< of those two: the call-back has returned, or the waiting thread has it
  std::uint64_t bytes_received = 0;  ///< of bodies, unpacked
  std::int64_t last_success = 0;     ///< Unix seconds by the machine's clock; 0: never
  double success_age = -1;           ///< seconds since then, when the counters were read; -1: never
  double answer_seconds = 0;         ///< from the request to its end, of the latest success
  std::string last_error;            ///< of the latest failure; empty: none yet
};

/// Counts since the latest `Start`.
struct Counters {
  std::uint64_t requests = 0;                         ///< completed or under way
  std::uint64_t succeeded = 0;                        ///< complete, with status 200
  std::uint64_t failed = 0;                           ///< all others that have ended; `failures` says of what
  std::uint64_t under_way = 0;                        ///< at this moment; a call-back that runs still counts
  std::uint64_t bytes_received = 0;                   ///< of bodies, unpacked
  std::uint64_t connections = 0;                      ///< opened; a reused one counts once
  std::uint64_t recorded = 0;                         ///< exchanges written to `Settings::record_directory`
  std::string recording_failure;                      ///< why no more of them are; empty: nothing is wrong
  Failures failures;                                  ///< by cause
  std::map<std::string, EndpointCounters> endpoints;  ///< by endpoint, those that were asked
};

/// How the connection is doing, for a status bar.
[[nodiscard]] STOCK_HOST_API Connection ConnectionState();

/// A copy of the counters as they stand. Those of the run before stay until the next `Start`.
[[nodiscard]] STOCK_HOST_API Counters ReadCounters();

/// What happens inside the services, for those who would otherwise have to look again and again.
struct Event {
  enum class Kind {
    kExchangeEnded,  ///< and is counted
    kHandedOver,     ///< its call-back has returned, or the thread that waits for it is about to have it
    kWarning,        ///< a warning or an error was written to the log
  };
  Kind kind = Kind::kExchangeEnded;
  std::string text;  ///< the endpoint as it is counted, or the line of the log without time and level
};

/// `listener` gets every event from now on, on the thread where it happens and maybe on several at once: it
/// must neither wait nor throw, and calls nothing of this header but `ReadCounters` and `ConnectionState`.
/// After the return the one before is called no more. Empty: nobody listens.
STOCK_HOST_API void SetListener(std::function<void(const Event&)> listener);

/// What is known of the quote API server's clock.
struct ServerClockState {
  bool known = false;      ///< an answer has told it since the start
  bool sure = false;       ///< and nothing has put it in doubt since: no suspension, no latest answer far off
  bool suspended = false;  ///< the machine was suspended since the latest answer
  double ahead = 0;        ///< seconds before the machine's clock, to about a second; negative: behind it
  double speed = 1;        ///< seconds of the server's clock in a second; 0: it stands still
};
[[nodiscard]] STOCK_HOST_API ServerClockState ReadServerClock();

/// One thing that the services stand on, as it was found.
struct Finding {
  /// How it was found.
  enum class State {
    kGood,
    kWarning,  ///< it works, but not as it should
    kFailed,   ///< it will not work
  };
  State state = State::kGood;
  std::string subject;  ///< "settings", "environment", "server address", "key", "data directory" and so on
  std::string text;     ///< what was looked at and how it is; never a key
  std::string advice;   ///< what to do; empty when nothing is wrong
};

/// Looks at what `LoadSettings` and `Start` stand on: csm.ini and the environment, the key, the directories
/// (which are made if missing, as `Start` would, and written to), the watch list. Sends nothing. The services
/// may run or not.
[[nodiscard]] STOCK_HOST_API std::vector<Finding> ExamineSetup();

/// The watch list in the user's order, symbols in lower case. Empty before the first `Start`.
[[nodiscard]] STOCK_HOST_API std::vector<std::wstring> WatchList();

/// Appends `symbol` ("sh" or "sz" and six digits, any case) and stores the list. True also when it was there
/// already. False, with a text for the user in `error`, when the symbol is none, the list is full or it
/// cannot be stored.
[[nodiscard]] STOCK_HOST_API bool AddToWatchList(const std::wstring& symbol, std::string& error);

/// Takes `symbol` out and stores the list. False, with `error`, when it is not in the list or the list cannot
/// be stored.
[[nodiscard]] STOCK_HOST_API bool RemoveFromWatchList(const std::wstring& symbol, std::string& error);

/// Moves `symbol` to `position` (0 is the first; beyond the end is the last) and stores the list. False, with
/// `error`, as for `RemoveFromWatchList`. Every change of the list is told to its observers, and so asked for
/// by the module, on a thread of the host services.
[[nodiscard]] STOCK_HOST_API bool MoveInWatchList(const std::wstring& symbol, std::size_t position,
                                                  std::string& error);

}  // namespace stock_host
