#include "scripted_host.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <stdexcept>

#include "state.h"

Script&& Script::With(NameValues parameters) && {
  parameters_ = std::move(parameters);
  return std::move(*this);
}

Script&& Script::Setting(int seconds) && {
  setting_ = seconds;
  return std::move(*this);
}

Script&& Script::Times(std::size_t count) && {
  times_ = count;
  return std::move(*this);
}

Script&& Script::AnyTimes() && {
  times_.reset();
  return std::move(*this);
}

Script&& Script::Inline(Answer answer) && {
  return std::move(*this).Inline([answer = std::move(answer)](const Request&) { return answer; });
}

Script&& Script::Inline(Reply reply) && {
  mode_ = Mode::kInline;
  reply_ = std::move(reply);
  return std::move(*this);
}

Script&& Script::OnWorker(int worker, Answer answer) && {
  return std::move(*this).OnWorker(worker, [answer = std::move(answer)](const Request&) { return answer; });
}

Script&& Script::OnWorker(int worker, Reply reply) && {
  mode_ = Mode::kWorker;
  worker_ = worker;
  reply_ = std::move(reply);
  return std::move(*this);
}

Script&& Script::Held() && {
  mode_ = Mode::kHeld;
  return std::move(*this);
}

ScriptedHost::ScriptedHost() : state_(std::make_shared<State>()) {
  state_->now = stock_host::InstantOf(20240315, 10, 0, 0);
  State::SetLive(state_);
}

ScriptedHost::~ScriptedHost() {
  state_->LetGo();
  State::SetLive(nullptr);
  for (const std::string& problem : state_->Problems()) ADD_FAILURE() << "scripted host: " << problem;
}

void ScriptedHost::SetTime(std::int64_t seconds_since_1970) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->now = seconds_since_1970;
}

void ScriptedHost::SetTime(std::uint32_t date, int hour, int minute, int second) {
  SetTime(stock_host::InstantOf(date, hour, minute, second));
}

void ScriptedHost::Advance(std::int64_t seconds) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->now += seconds;
}

std::size_t ScriptedHost::ClockLooks() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->clock_looks;
}

void ScriptedHost::SetMarketStatus(std::optional<int> status) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->status = status;
}

void ScriptedHost::SetSpan(std::optional<std::int32_t> seconds) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->span = seconds;
}

void ScriptedHost::ScriptSpans(std::vector<std::int32_t> seconds) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->scripted_spans.assign(seconds.begin(), seconds.end());
}

void ScriptedHost::HoldSpans() {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->hold_spans = true;
}

bool ScriptedHost::AwaitHeldSpan() {
  std::unique_lock<std::mutex> lock(state_->mutex);
  return state_->Await(
      lock, [this] { return state_->held_callers > state_->released_spans.size(); },
      "a thread that asks for the span to the next phase");
}

void ScriptedHost::ReleaseSpan(std::int32_t seconds) {
  {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->released_spans.push_back(seconds);
  }
  state_->changed.notify_all();
}

std::vector<std::uint32_t> ScriptedHost::SpanCalls() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->span_calls;
}

bool ScriptedHost::AwaitSpanCalls(std::size_t count) {
  std::unique_lock<std::mutex> lock(state_->mutex);
  return state_->Await(
      lock, [this, count] { return state_->span_calls.size() >= count; },
      std::to_string(count) + " questions for the span to the next phase");
}

void ScriptedHost::OnHolidays(std::function<void()> step) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->on_holidays = std::move(step);
}

std::vector<HolidayCall> ScriptedHost::HolidayCalls() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->holiday_calls;
}

void ScriptedHost::Expect(Script script) {
  if (script.mode_ != Script::Mode::kHeld && !script.reply_) {
    throw std::invalid_argument("a script that answers needs an answer");
  }
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->rules.push_back({std::move(script), 0});
}

void ScriptedHost::Allow(Script script) {
  Expect(std::move(script).AnyTimes());
}

void ScriptedHost::Complete(std::size_t number, const Answer& answer) {
  state_->Complete(number, answer, nullptr);
}

void ScriptedHost::CompleteOn(int worker, std::size_t number, const Answer& answer) {
  state_->Complete(number, answer, &worker);
}

std::vector<Request> ScriptedHost::Requests() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->requests;
}

std::vector<Request> ScriptedHost::RequestsTo(const std::string& path) const {
  std::vector<Request> found = Requests();
  found.erase(std::remove_if(found.begin(), found.end(),
                             [&path](const Request& request) { return request.path != path; }),
              found.end());
  return found;
}

std::size_t ScriptedHost::RequestCount() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->RequestCount();
}

Request ScriptedHost::AwaitRequest(std::size_t number) {
  std::unique_lock<std::mutex> lock(state_->mutex);
  const bool came = state_->Await(
      lock, [this, number] { return state_->RequestCount() > number; }, "request " + std::to_string(number));
  return came ? state_->requests.at(number - state_->forgotten) : Request();
}

void ScriptedHost::ForgetRequests() {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->forgotten = state_->RequestCount();
  state_->requests.clear();
  state_->signings.clear();
}

std::vector<std::size_t> ScriptedHost::HeldRequests() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  std::vector<std::size_t> numbers;
  for (const auto& [number, done] : state_->held) numbers.push_back(number);
  return numbers;
}

void ScriptedHost::Settle() {
  state_->Settle();
}

void ScriptedHost::SignNothing(bool nothing) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->sign_nothing = nothing;
}

std::vector<Signing> ScriptedHost::Signings() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->signings;
}

void ScriptedHost::ExpectFailureLine(const std::wstring& text, std::size_t times) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->log_rules.push_back({LogLine::Writer::kString, text, text, times, 0});
}

void ScriptedHost::ExpectCodeLine(const std::wstring& format, int code, std::size_t times) {
  std::wstring text = format;
  const std::size_t place = text.find(L"%d");
  if (place == std::wstring::npos) throw std::invalid_argument("the format has no %d");
  text.replace(place, 2, std::to_wstring(code));
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->log_rules.push_back({LogLine::Writer::kNoMask, format, text, times, 0});
}

void ScriptedHost::ExpectLine(const std::wstring& text, std::size_t times) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->log_rules.push_back({std::nullopt, {}, text, times, 0});
}

void ScriptedHost::AllowLine(const std::wstring& text) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->log_rules.push_back({std::nullopt, {}, text, std::nullopt, 0});
}

std::vector<LogLine> ScriptedHost::Log() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->log;
}

void ScriptedHost::SetTaskMode(TaskMode mode, int worker) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->task_mode = mode;
  state_->task_worker = worker;
}

std::size_t ScriptedHost::QueuedTasks() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->tasks.size();
}

std::size_t ScriptedHost::RunTasks() {
  std::size_t count = 0;
  while (state_->RunOneTask()) ++count;
  return count;
}

bool ScriptedHost::RunOneTask() {
  return state_->RunOneTask();
}

void ScriptedHost::DropTasks() {
  std::deque<boost::function<void()>> dropped;
  const std::lock_guard<std::mutex> lock(state_->mutex);
  dropped.swap(state_->tasks);
}

bool ScriptedHost::AwaitQueuedTasks(std::size_t count) {
  std::unique_lock<std::mutex> lock(state_->mutex);
  return state_->Await(
      lock, [this, count] { return state_->tasks.size() >= count; }, std::to_string(count) + " queued tasks");
}

void ScriptedHost::SetWatchList(std::vector<std::wstring> symbols) {
  {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->watch_list = std::move(symbols);
  }
  state_->TellWatchers();
}

void ScriptedHost::DeliverWatchListOnAttach(bool deliver) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->deliver_on_attach = deliver;
}

std::size_t ScriptedHost::WatchListObservers() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->watchers.size();
}

const std::string& ScriptedHost::Directory() const {
  return state_->directory;
}

void ScriptedHost::GiveEveryTextADirectory() {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->every_text_has_directory = true;
}

void ScriptedHost::FailRemoving(bool fail) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->fail_removing = fail;
}

std::vector<std::string> ScriptedHost::TakeProblems() {
  return state_->Problems();
}

std::string Gzip(const std::string& text) {
  z_stream stream{};
  constexpr int kGzipWindow = 15 + 16;
  if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("zlib does not start");
  }
  std::string out(deflateBound(&stream, static_cast<uLong>(text.size())) + 32, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  const int result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("zlib does not finish");
  return out;
}
