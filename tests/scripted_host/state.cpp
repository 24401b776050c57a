#include "state.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

// No test waits longer for anything that is bound to happen.
constexpr std::chrono::seconds kPatience{60};

std::mutex& LiveMutex() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}

std::shared_ptr<ScriptedHost::State>& LiveState() {
  static auto* const state = new std::shared_ptr<ScriptedHost::State>;
  return *state;
}

std::vector<std::string>& StrayCalls() {
  static auto* const calls = new std::vector<std::string>;
  return *calls;
}

std::string PercentDecoded(const std::string& text) {
  std::string decoded;
  for (const char* at = text.data(); at != text.data() + text.size(); ++at) {
    unsigned code = 0;
    const char* const end = at + 3;
    const bool encoded =
        *at == '%' && end <= text.data() + text.size() && std::from_chars(at + 1, end, code, 16).ptr == end;
    decoded.push_back(encoded ? static_cast<char>(code) : *at);
    if (encoded) at += 2;
  }
  return decoded;
}

void ReadUrl(Request& request) {
  const std::string url = Narrow(request.url);
  const std::size_t scheme = url.find("://");
  const std::size_t path = scheme == std::string::npos ? std::string::npos : url.find('/', scheme + 3);
  request.server = url.substr(0, path);
  if (path == std::string::npos) return;
  const std::size_t query = url.find('?', path);
  request.path = PercentDecoded(url.substr(path, query == std::string::npos ? query : query - path));
  for (std::size_t at = query; at != std::string::npos;) {
    const std::size_t next = url.find('&', at + 1);
    const std::string part = url.substr(at + 1, next == std::string::npos ? next : next - at - 1);
    const std::size_t equals = part.find('=');
    request.parameters[PercentDecoded(part.substr(0, equals))] =
        equals == std::string::npos ? std::string() : PercentDecoded(part.substr(equals + 1));
    at = next;
  }
}

// Hands the bytes over in a block of exactly their size: whoever reads on or keeps the pointer is seen by the
// address sanitizer.
void Deliver(const AsynCallback& done, const Answer& answer) {
  if (answer.null_body) {
    done(answer.ok, nullptr, 0);
    return;
  }
  const std::unique_ptr<char[]> bytes(new char[answer.body.size()]);
  std::memcpy(bytes.get(), answer.body.data(), answer.body.size());
  done(answer.ok, bytes.get(), answer.body.size());
}

std::string Name(const LogLine& line) {
  const bool string = line.writer == LogLine::Writer::kString;
  return std::string(string ? "WriteProgramLogString" : "WriteProgramLogNoMask") + " \"" + Narrow(line.text) +
         "\"";
}

}  // namespace

Worker::Worker() : thread_([this] { Run(); }) {}

Worker::~Worker() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void Worker::Add(std::function<void()> job) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  changed_.notify_all();
}

void Worker::WaitUntilIdle() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return jobs_.empty() && !busy_; });
}

void Worker::Run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    std::function<void()> job = std::move(jobs_.front());
    jobs_.pop_front();
    busy_ = true;
    lock.unlock();
    job();
    job = nullptr;
    lock.lock();
    busy_ = false;
    changed_.notify_all();
  }
}

ScriptedHost::State::State() {
  std::string name = (std::filesystem::temp_directory_path() / "scripted_host_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no directory for the scripted host's files");
  directory = name;
  const std::lock_guard<std::mutex> lock(LiveMutex());
  problems = std::exchange(StrayCalls(), {});
}

ScriptedHost::State::~State() {
  std::error_code error;
  std::filesystem::remove_all(directory, error);
}

std::shared_ptr<ScriptedHost::State> ScriptedHost::State::Live() {
  const std::lock_guard<std::mutex> lock(LiveMutex());
  return LiveState();
}

void ScriptedHost::State::SetLive(std::shared_ptr<State> state) {
  std::shared_ptr<State> previous;
  const std::lock_guard<std::mutex> lock(LiveMutex());
  if (state != nullptr && LiveState() != nullptr) throw std::logic_error("another scripted host is live");
  previous = std::exchange(LiveState(), std::move(state));
}

void ScriptedHost::State::Stray(const std::string& what) {
  const std::lock_guard<std::mutex> lock(LiveMutex());
  StrayCalls().push_back("while no host was live: " + what);
}

void ScriptedHost::State::Problem(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex);
  problems.push_back(what);
}

bool ScriptedHost::State::Await(std::unique_lock<std::mutex>& lock, const std::function<bool()>& predicate,
                                const std::string& what) {
  if (changed.wait_for(lock, kPatience, [&] { return ended || predicate(); }) && predicate()) return true;
  problems.push_back("waited in vain for " + what);
  return false;
}

// Records the request, finds its script and, if it is held, keeps `done` or a place for the answer.
ScriptedHost::State::Taken ScriptedHost::State::Take(Request request, const AsynCallback* done,
                                                     std::shared_ptr<HeldAnswer>* waiting) {
  ReadUrl(request);
  request.thread = std::this_thread::get_id();
  Taken taken;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    request.number = RequestCount();
    requests.push_back(request);
    for (Rule& rule : rules) {
      const Script& script = rule.script;
      const bool fits = script.path_ == request.path && (!script.times_ || rule.taken < *script.times_) &&
                        (!script.parameters_ || *script.parameters_ == request.parameters) &&
                        (!script.setting_ || *script.setting_ == request.setting);
      if (!fits) continue;
      ++rule.taken;
      taken.expected = true;
      taken.mode = script.mode_;
      taken.worker = script.worker_;
      taken.reply = script.reply_;
      break;
    }
    if (!taken.expected) {
      problems.push_back("a request that no script covers: " + Narrow(request.url) + " (setting " +
                         std::to_string(request.setting) + ")");
    } else if (taken.mode == Script::Mode::kHeld && !ended) {
      if (done != nullptr) held.emplace(request.number, *done);
      if (waiting != nullptr) {
        *waiting = std::make_shared<HeldAnswer>();
        held_callers_of.emplace(request.number, *waiting);
      }
    }
  }
  changed.notify_all();
  taken.request = std::move(request);
  return taken;
}

void ScriptedHost::State::Get(const std::wstring& url, const AsynCallback& done, const NameValues& headers,
                              int seconds) {
  Request request;
  request.url = url;
  request.headers = headers;
  request.setting = seconds;
  Taken taken = Take(std::move(request), &done, nullptr);
  if (!taken.expected || taken.mode == Script::Mode::kHeld) return;
  if (taken.mode == Script::Mode::kInline) {
    Deliver(done, taken.reply(taken.request));
    return;
  }
  WorkerThread(taken.worker).Add([done, taken] { Deliver(done, taken.reply(taken.request)); });
}

Answer ScriptedHost::State::AnswerNow(Request request) {
  std::shared_ptr<HeldAnswer> waiting;
  const Taken taken = Take(std::move(request), nullptr, &waiting);
  if (!taken.expected) return Answer::Failed();
  if (taken.mode != Script::Mode::kHeld) return taken.reply(taken.request);
  if (waiting == nullptr) return Answer::Failed();
  std::unique_lock<std::mutex> lock(mutex);
  changed.wait(lock, [&] { return ended || waiting->answered; });
  return waiting->answered ? waiting->answer : Answer::Failed();
}

bool ScriptedHost::State::GetNow(const std::wstring& url, std::string& body, const NameValues& headers,
                                 int seconds) {
  Request request;
  request.kind = Request::Kind::kSync;
  request.url = url;
  request.headers = headers;
  request.setting = seconds;
  const Answer answer = AnswerNow(std::move(request));
  body = answer.body;
  return answer.ok;
}

bool ScriptedHost::State::Download(const std::wstring& url, const std::wstring& path, int retries,
                                   int seconds) {
  Request request;
  request.kind = Request::Kind::kDownload;
  request.url = url;
  request.destination = path;
  request.retries = retries;
  request.setting = seconds;
  const Answer answer = AnswerNow(std::move(request));
  if (!answer.ok) return false;
  std::ofstream file(std::filesystem::path(Narrow(path)), std::ios::binary | std::ios::trunc);
  file.write(answer.body.data(), static_cast<std::streamsize>(answer.body.size()));
  file.close();
  return static_cast<bool>(file);
}

void ScriptedHost::State::Complete(std::size_t number, const Answer& answer, const int* worker) {
  AsynCallback done;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (const auto found = held.find(number); found != held.end()) {
      done = std::move(found->second);
      held.erase(found);
    } else if (const auto caller = held_callers_of.find(number); caller != held_callers_of.end()) {
      caller->second->answer = answer;
      caller->second->answered = true;
      held_callers_of.erase(caller);
    } else {
      problems.push_back("request " + std::to_string(number) + " is not held, it cannot be answered");
      return;
    }
  }
  changed.notify_all();
  if (!done) return;
  if (worker == nullptr) {
    Deliver(done, answer);
  } else {
    WorkerThread(*worker).Add([done, answer] { Deliver(done, answer); });
  }
}

void ScriptedHost::State::WriteLog(LogLine line) {
  line.thread = std::this_thread::get_id();
  {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto fits = [&](const LogRule& rule) {
      return rule.text == line.text && (!rule.times || rule.taken < *rule.times) &&
             (!rule.writer || (*rule.writer == line.writer && rule.format == line.format &&
                               (line.writer == LogLine::Writer::kNoMask || line.mask == 0xFFFFFFFFU)));
    };
    const auto rule = std::find_if(log_rules.begin(), log_rules.end(), fits);
    if (rule != log_rules.end()) {
      ++rule->taken;
    } else {
      problems.push_back("a log line that nobody expected: " + Name(line));
    }
    log.push_back(std::move(line));
  }
  changed.notify_all();
}

std::int32_t ScriptedHost::State::Span(std::uint32_t time) {
  std::unique_lock<std::mutex> lock(mutex);
  span_calls.push_back(time);
  changed.notify_all();
  if (hold_spans && std::this_thread::get_id() != owner) {
    ++held_callers;
    changed.wait(lock, [this] { return ended || !hold_spans || !released_spans.empty(); });
    --held_callers;
    if (!released_spans.empty()) {
      const std::int32_t seconds = released_spans.front();
      released_spans.pop_front();
      return seconds;
    }
  }
  if (!scripted_spans.empty()) {
    const std::int32_t seconds = scripted_spans.front();
    scripted_spans.pop_front();
    return seconds;
  }
  if (span) return *span;
  return static_cast<std::int32_t>(stock_host::SpanToNextPhase(time, KnownHolidays()).count());
}

std::uint32_t ScriptedHost::State::AddTask(const boost::function<void()>& task) {
  std::uint32_t number = 0;
  TaskMode mode = TaskMode::kQueued;
  int worker = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    number = ++last_task;
    mode = task_mode;
    worker = task_worker;
    if (mode == TaskMode::kQueued) tasks.push_back(task);
  }
  changed.notify_all();
  if (mode == TaskMode::kInline) task();
  if (mode == TaskMode::kWorker) WorkerThread(worker).Add(task);
  return number;
}

bool ScriptedHost::State::RunOneTask() {
  boost::function<void()> task;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (tasks.empty()) return false;
    task = std::move(tasks.front());
    tasks.pop_front();
  }
  task();
  return true;
}

void ScriptedHost::State::AttachWatcher(IUpdate1<std::vector<std::wstring>>* observer) {
  const std::lock_guard<std::recursive_mutex> watch_lock(watch_mutex);
  std::vector<std::wstring> list;
  bool deliver = false;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    watchers.push_back(observer);
    list = watch_list;
    deliver = deliver_on_attach;
  }
  if (deliver) observer->Update(list);
}

void ScriptedHost::State::DetachWatcher(IUpdate1<std::vector<std::wstring>>* observer) {
  const std::lock_guard<std::recursive_mutex> watch_lock(watch_mutex);
  const std::lock_guard<std::mutex> lock(mutex);
  watchers.erase(std::remove(watchers.begin(), watchers.end(), observer), watchers.end());
}

void ScriptedHost::State::TellWatchers() {
  const std::lock_guard<std::recursive_mutex> watch_lock(watch_mutex);
  std::vector<std::wstring> list;
  std::vector<IUpdate1<std::vector<std::wstring>>*> told;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    list = watch_list;
    told = watchers;
  }
  for (auto* const observer : told) {
    const auto attached = [&] {
      const std::lock_guard<std::mutex> lock(mutex);
      return std::find(watchers.begin(), watchers.end(), observer) != watchers.end();
    };
    if (attached()) observer->Update(list);
  }
}

Worker& ScriptedHost::State::WorkerThread(int number) {
  const std::lock_guard<std::mutex> lock(workers_mutex);
  std::unique_ptr<Worker>& worker = workers[number];
  if (worker == nullptr) worker = std::make_unique<Worker>();
  return *worker;
}

void ScriptedHost::State::Settle() {
  std::vector<Worker*> all;
  {
    const std::lock_guard<std::mutex> lock(workers_mutex);
    for (const auto& [number, worker] : workers) all.push_back(worker.get());
  }
  for (Worker* const worker : all) worker->WaitUntilIdle();
}

void ScriptedHost::State::LetGo() {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    ended = true;
  }
  changed.notify_all();
  // A job that still runs may ask for one more worker.
  for (;;) {
    std::map<int, std::unique_ptr<Worker>> ending;
    const std::lock_guard<std::mutex> lock(workers_mutex);
    if (workers.empty()) break;
    ending.swap(workers);
  }
  std::map<std::size_t, AsynCallback> never_answered;
  std::deque<boost::function<void()>> never_run;
  const std::lock_guard<std::mutex> lock(mutex);
  never_answered.swap(held);
  never_run.swap(tasks);
}

std::vector<std::string> ScriptedHost::State::Problems() {
  const std::lock_guard<std::mutex> lock(mutex);
  std::vector<std::string> all = std::exchange(problems, {});
  for (const Rule& rule : rules) {
    if (rule.script.times_ && rule.taken < *rule.script.times_) {
      all.push_back("expected " + std::to_string(*rule.script.times_) + " requests to " + rule.script.path_ +
                    ", " + std::to_string(rule.taken) + " came");
    }
  }
  for (const LogRule& rule : log_rules) {
    if (rule.times && rule.taken < *rule.times) {
      all.push_back("expected " + std::to_string(*rule.times) + " times the log line \"" + Narrow(rule.text) +
                    "\", it came " + std::to_string(rule.taken) + " times");
    }
  }
  rules.clear();
  log_rules.clear();
  return all;
}
