// Start and stop of the host services, in the one order that lets every request, task and observer end well.
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "addresses.h"
#include "clock.h"
#include "counters.h"
#include "descriptor.h"
#include "files.h"
#include "holidays.h"
#include "host/tasks.h"
#include "http.h"
#include "log.h"
#include "recorder.h"
#include "replayer.h"
#include "settings.h"
#include "signing.h"
#include "stock_host.h"
#include "tasks.h"
#include "watch_list.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

struct Life {
  std::mutex mutex;  // serialises Start and Stop; guards running
  bool running = false;
};

// Leaked: callable until the very end of the process.
Life& TheLife() {
  static Life* const life = new Life;
  return *life;
}

// Undoes in the order of Stop what has been started.
void StopParts() {
  TheHttpClient().StopNetwork();  // waiting callers in tasks and call-backs come back
  StopTasks();
  TheHttpClient().FinishCompletions();
  TheWatchList().Stop();
  TheHolidays().Close();
}

bool MakeDirectory(const std::string& directory, const char* what, std::string& error) {
  if (directory.empty()) {
    error = std::string("the user has no home directory, and the settings name no ") + what + " directory";
    return false;
  }
  if (!MakeDirectories(directory) || access(directory.c_str(), W_OK | X_OK) != 0) {
    error = std::string("the ") + what + " directory \"" + directory + "\" cannot be made or written";
    return false;
  }
  return true;
}

// A replay sends nothing: any server and any key will do, and the user's own have no place there.
void LeaveNetworkOut(Settings& settings) {
  settings.api_root = "http://replay.invalid";
  settings.static_root.clear();
  settings.history_root.clear();
  settings.proxy.clear();
  settings.ca_file.clear();
  settings.key_id = "replay";
  settings.key = "replay";
}

}  // namespace

void FillStandardDescriptors() {
  // The lowest free number is given, so these are filled in turn.
  for (int fd = open("/dev/null", O_RDWR); fd >= 0; fd = open("/dev/null", O_RDWR)) {
    if (fd > STDERR_FILENO) {
      close(fd);
      return;
    }
  }
}

bool Start(const Settings& wanted, std::string& error) {
  error.clear();
  FillStandardDescriptors();
  if (OnHostThread()) {
    error = "the host services cannot be started from one of their own threads";
    return false;
  }
  Life& life = TheLife();
  const std::lock_guard lock(life.mutex);
  if (life.running) {
    error = "the host services run already";
    return false;
  }
  Settings settings = wanted;
  std::shared_ptr<Replayer> replayer;
  if (!settings.replay_directory.empty()) {
    if (!settings.record_directory.empty()) {
      error = "a replay cannot be recorded";
      return false;
    }
    replayer = Replayer::Open(settings.replay_directory, settings.replay_speed, error);
    if (!replayer) {
      return false;
    }
    LeaveNetworkOut(settings);
  }
  const auto addresses = ParseAddresses(settings, error);
  if (!addresses) {
    return false;
  }
  error = TroubleOfCertificates(settings.ca_file);
  if (!error.empty()) {
    return false;
  }
  const auto chosen = [](const std::string& text, std::string (*standard)()) {
    return text.empty() ? standard() : text;
  };
  const std::string data = chosen(settings.data_directory, &DefaultDataDirectory);
  const std::string config = chosen(settings.config_directory, &DefaultConfigDirectory);
  const std::string log = chosen(settings.log_directory, &DefaultLogDirectory);
  if (!MakeDirectory(data, "data", error) || !MakeDirectory(config, "configuration", error) ||
      !MakeDirectory(log, "log", error) ||
      !OpenLog(log, settings.log_to_stderr, settings.log_level.empty() ? "info" : settings.log_level,
               error)) {
    return false;
  }
  ResetCounters(!addresses->scheme.empty());
  std::shared_ptr<Recorder> recorder;
  if (!settings.record_directory.empty()) {
    recorder = Recorder::Open(settings.record_directory, error);
    if (!recorder) {
      CloseLog();
      return false;
    }
    Log(Severity::kInfo, "every exchange is recorded in " + settings.record_directory);
  }
  ResetServerClock();
  if (replayer) {
    const Moment now = Moment::Now();
    ServerClock().Reset(replayer->start(), now);
    replayer->Begin(now);
    replayer->Teach(ServerClock(), now);  // what is asked before the first answer is asked by it, too
    Log(Severity::kInfo, "every request is answered from the record in " + settings.replay_directory);
  }
  SetAddresses(addresses);
  SetDataRoot(data);
  TheHolidays().Open(data);
  Log(Severity::kInfo,
      "started; quote API " + (addresses->scheme.empty() ? "none" : addresses->Origin()) + ", static files " +
          (addresses->static_root.empty() ? "none" : addresses->static_root) + ", history " +
          (addresses->history_root.empty() ? "none" : addresses->history_root) +
          (addresses->key.empty() ? ", no key" : ", key id " + addresses->key_id) + ", data in " + data);
  if (addresses->scheme.empty()) {
    Log(Severity::kWarning, "no quote API server is configured; nothing is sent to one");
  } else if (addresses->key.empty()) {
    Log(Severity::kWarning, "no key is configured; nothing is sent to the quote API server");
  }
  try {
    StartTasks();
    const auto correct = [](const HttpHeaderReport& report) {
      return FollowServer(ServerClock(), *CurrentAddresses(), report);
    };
    TheHttpClient().Start({settings.proxy, settings.ca_file, correct, recorder, replayer});
    TheWatchList().Start(config);
    base::TaskManagerInstance()->AddTask(&SweepLeftovers);
  } catch (const std::exception& e) {
    error = std::string("the host services cannot be started: ") + e.what();
    StopParts();
    CloseLog();
    return false;
  }
  life.running = true;
  return true;
}

void Stop() {
  if (OnHostThread()) {
    Log(Severity::kError, "a call-back, a task or a watch-list observer tried to stop the host services");
    return;
  }
  Life& life = TheLife();
  const std::lock_guard lock(life.mutex);
  if (!life.running) {
    return;
  }
  StopParts();
  life.running = false;
  Log(Severity::kInfo, "stopped");
  CloseLog();
}

}  // namespace stock_host
