#include "instant_host.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "host/host.h"

namespace {

using Symbols = std::vector<std::wstring>;

// What a test sets and polling threads read.
struct Scripted {
  std::mutex mutex;  // guards the members below
  std::shared_ptr<const std::string> answer = std::make_shared<const std::string>();
  Symbols watch_list;
  std::optional<std::thread::id> only;  // the thread that is not held; none: none is
  int held = 0;
  std::condition_variable never;
};

Scripted& TheScripted() {
  static auto* const scripted = new Scripted;
  return *scripted;
}

std::shared_ptr<const std::string> TheAnswer() {
  const std::lock_guard<std::mutex> lock(TheScripted().mutex);
  return TheScripted().answer;
}

void HoldOthers() {
  Scripted& scripted = TheScripted();
  std::unique_lock<std::mutex> lock(scripted.mutex);
  if (scripted.only && *scripted.only != std::this_thread::get_id()) {
    ++scripted.held;
    scripted.never.wait(lock, [] { return false; });
  }
}

class FixedWatchList final : public IUserOptionalStock {
 public:
  void Attach(IUpdate1<Symbols>* observer) override {
    Symbols symbols;
    {
      const std::lock_guard<std::mutex> lock(TheScripted().mutex);
      symbols = TheScripted().watch_list;
    }
    observer->Update(symbols);
  }
  void Detach(IUpdate1<Symbols>* /*observer*/) override {}
};

constexpr std::int64_t kMorning = 1'710'468'000;  // 2024-03-15 10:00 in China
constexpr std::uint32_t kToday = 20240315;

}  // namespace

namespace instant_host {

void SetAnswer(std::string body) {
  auto answer = std::make_shared<const std::string>(std::move(body));
  const std::lock_guard<std::mutex> lock(TheScripted().mutex);
  TheScripted().answer.swap(answer);
}

void SetWatchList(Symbols symbols) {
  const std::lock_guard<std::mutex> lock(TheScripted().mutex);
  TheScripted().watch_list = std::move(symbols);
}

void HoldOtherThreads() {
  const std::lock_guard<std::mutex> lock(TheScripted().mutex);
  TheScripted().only = std::this_thread::get_id();
}

int HeldThreads() {
  const std::lock_guard<std::mutex> lock(TheScripted().mutex);
  return TheScripted().held;
}

}  // namespace instant_host

namespace common {

std::int64_t GetCurrentServerTime() {
  return kMorning;
}
std::uint32_t GetCurrentServerDate() {
  return kToday;
}
std::uint32_t TimeToDate(std::int64_t /*seconds*/) {
  return kToday;
}
std::int64_t DateToTime(std::uint32_t /*date*/, int hour, int minute, int second) {
  return kMorning + (hour - 10) * 3600 + minute * 60 + second;
}
bool IsSameWeek(std::uint32_t date, std::uint32_t other) {
  return date == other;
}
void LegalHoliday::SetHolidays(int /*year*/, const std::vector<unsigned long>& /*days*/) {}
bool ForceRemoveFile(const wchar_t* /*path*/) {
  return true;
}

}  // namespace common

namespace stock {

MarketStatus CheckMarketStatus(std::uint32_t /*time*/) {
  return kMarketMorning;
}
std::int32_t TimeSpanToNextMarketStatus(std::uint32_t /*time*/) {
  return 3600;
}
std::uint32_t GetLastTradingDate(std::uint32_t date) {
  return date - 1;
}
std::wstring GetKLineFilePath(const wchar_t* /*symbol*/) {
  return {};
}
std::wstring GetKLineMetaFilePath() {
  return {};
}

}  // namespace stock

bool GZipExtract(const wchar_t* /*path*/, std::string& text) {
  text.clear();
  return false;
}

bool GetSync(const std::wstring& /*url*/, std::string& body,
             const std::map<std::string, std::string>& /*headers*/, int /*seconds*/) {
  body = *TheAnswer();
  return true;
}

void GetAsyn(const std::wstring& /*url*/, const AsynCallback& done,
             const std::map<std::string, std::string>& /*headers*/, int /*seconds*/) {
  const auto answer = TheAnswer();
  done(true, answer->data(), answer->size());
}

bool DownloadFileSyncWithRetry(const std::wstring& /*url*/, const std::wstring& /*path*/, int /*retries*/,
                               int /*seconds*/) {
  return false;
}

std::wstring UrlHelper::GetSigniture(const std::wstring& path,
                                     const std::map<std::string, std::string>& /*parameters*/) {
  HoldOthers();
  return L"http://bench.test" + path;
}
std::wstring UrlHelper::StaticRoot() {
  return L"http://bench.test/static/";
}
std::wstring UrlHelper::HistoryRoot() {
  return L"http://bench.test";
}

void WriteProgramLogString(unsigned /*mask*/, const wchar_t* /*text*/) {}
void WriteProgramLogNoMask(const wchar_t* /*format*/, ...) {}

namespace base {

std::uint32_t TaskManager::AddTask(const boost::function<void()>& task) {
  task();
  return 1;
}
TaskManager* TaskManagerInstance() {
  static auto* const tasks = new TaskManager;
  return tasks;
}

}  // namespace base

template <class T>
T* pattern::CSingleton<T>::GetInstance() {
  static auto* const instance = new T;
  return instance;
}
template class pattern::CSingleton<UrlHelper>;
template class pattern::CSingleton<common::LegalHoliday>;

IUserOptionalStock* GetUserOptionalStock() {
  static auto* const list = new FixedWatchList;
  return list;
}
