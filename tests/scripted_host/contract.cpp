// The functions of the host contract, but for those on texts and symbols, which have no state: they are the
// host services' own. Each does what the live host's script says; with no live host they give the plainest
// answer there is, and a request or a log line is held against the next host.
#include <zlib.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "host/host.h"
#include "host_services/ascii.h"
#include "host_services/symbols.h"
#include "host_services/trading_day.h"
#include "no_watch_list.h"
#include "state.h"

namespace {

// Every function of the contract begins with one of these two.
void Called(const char* function) {
  if (detail::calls_until_throw >= 0 && detail::calls_until_throw-- == 0) {
    detail::thrown_by = function;
    throw std::bad_alloc();
  }
}

std::shared_ptr<ScriptedHost::State> Live(const char* function = __builtin_FUNCTION()) {
  Called(function);
  return ScriptedHost::State::Live();
}

std::wstring Format(const wchar_t* format, va_list arguments) {
  for (std::size_t size = 256; size <= (1U << 20); size *= 4) {
    std::vector<wchar_t> text(size);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vswprintf(text.data(), text.size(), format, again);
    va_end(again);
    if (length >= 0) return {text.data(), static_cast<std::size_t>(length)};
  }
  return L"(cannot be formatted)";
}

/// Everything encoded but letters, digits, "-", ".", "_" and "~".
std::string PercentEncoded(const std::string& text) {
  static constexpr std::string_view kBare =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  std::string encoded;
  for (const char c : text) {
    char code[16] = {c};
    if (kBare.find(c) == std::string_view::npos)
      std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
    encoded += code;
  }
  return encoded;
}

std::atomic<bool> has_watch_list{true};

class WatchList final : public IUserOptionalStock {
 public:
  void Attach(IUpdate1<std::vector<std::wstring>>* observer) override {
    if (const auto live = Live(); live != nullptr && observer != nullptr) live->AttachWatcher(observer);
  }
  void Detach(IUpdate1<std::vector<std::wstring>>* observer) override {
    if (const auto live = Live()) live->DetachWatcher(observer);
  }
};

}  // namespace

namespace common {

std::int64_t GetCurrentServerTime() {
  const auto live = Live();
  if (live == nullptr) return 0;
  const std::lock_guard<std::mutex> lock(live->mutex);
  ++live->clock_looks;
  return live->now;
}

std::uint32_t GetCurrentServerDate() {
  return TimeToDate(GetCurrentServerTime());
}

std::uint32_t TimeToDate(std::int64_t seconds) {
  Called(__func__);
  return stock_host::DateOfDay(stock_host::DayAt(seconds));
}

std::int64_t DateToTime(std::uint32_t date, int hour, int minute, int second) {
  Called(__func__);
  return stock_host::InstantOf(date, hour, minute, second);
}

bool IsSameWeek(std::uint32_t date, std::uint32_t other) {
  Called(__func__);
  return stock_host::IsOneWeek(date, other);
}

bool ForceRemoveFile(const wchar_t* path) {
  if (const auto live = Live()) {
    const std::lock_guard<std::mutex> lock(live->mutex);
    if (live->fail_removing) return false;
  }
  std::error_code error;
  std::filesystem::remove(Narrow(path), error);
  return !std::filesystem::exists(Narrow(path), error);
}

void LegalHoliday::SetHolidays(int year, const std::vector<unsigned long>& days) {
  const auto live = Live();
  if (live == nullptr) return;
  std::function<void()> step;
  {
    const std::lock_guard<std::mutex> lock(live->mutex);
    std::set<std::uint32_t>& of_year = live->holidays[year];
    of_year.clear();
    for (const unsigned long day : days) of_year.insert(static_cast<std::uint32_t>(day));
    live->holiday_calls.push_back({year, days});
    step = live->on_holidays;
  }
  if (step) step();
}

}  // namespace common

namespace stock {

MarketStatus CheckMarketStatus(std::uint32_t time) {
  const auto live = Live();
  if (live == nullptr) return kMarketUnknown;
  const std::lock_guard<std::mutex> lock(live->mutex);
  return live->status ? static_cast<MarketStatus>(*live->status)
                      : stock_host::PhaseAt(time, live->KnownHolidays());
}

std::int32_t TimeSpanToNextMarketStatus(std::uint32_t time) {
  const auto live = Live();
  return live == nullptr ? 3600 : live->Span(time);
}

std::uint32_t GetLastTradingDate(std::uint32_t date) {
  const auto live = Live();
  if (live == nullptr)
    return stock_host::TradingDateBefore(date, [](std::chrono::sys_days) { return false; });
  const std::lock_guard<std::mutex> lock(live->mutex);
  return stock_host::TradingDateBefore(date, live->KnownHolidays());
}

std::wstring GetKLineFilePath(const wchar_t* symbol) {
  const auto live = Live();
  if (live == nullptr || symbol == nullptr) return {};
  {
    const std::lock_guard<std::mutex> lock(live->mutex);
    if (live->every_text_has_directory) {
      return Widen(live->directory + "/kline/") + symbol;
    }
  }
  if (stock_host::SecuritySymbol(symbol).empty()) return {};
  return Widen(live->directory + "/kline/") + stock_host::Lower(std::wstring(symbol));
}

std::wstring GetKLineMetaFilePath() {
  const auto live = Live();
  return live == nullptr ? std::wstring() : Widen(live->directory + "/meta");
}

}  // namespace stock

namespace base {

std::uint32_t TaskManager::AddTask(const boost::function<void()>& task) {
  const auto live = Live();
  return live == nullptr ? 0 : live->AddTask(task);
}

TaskManager* TaskManagerInstance() {
  Called(__func__);
  static TaskManager manager;
  return &manager;
}

}  // namespace base

namespace pattern {

template <>
STOCK_HOST_API UrlHelper* CSingleton<UrlHelper>::GetInstance() {
  Called(__func__);
  static UrlHelper helper;
  return &helper;
}

template <>
STOCK_HOST_API common::LegalHoliday* CSingleton<common::LegalHoliday>::GetInstance() {
  static common::LegalHoliday holiday;
  return &holiday;
}

}  // namespace pattern

std::wstring UrlHelper::GetSigniture(const std::wstring& path,
                                     const std::map<std::string, std::string>& parameters) {
  const auto live = Live();
  if (live == nullptr) return {};
  {
    const std::lock_guard<std::mutex> lock(live->mutex);
    live->signings.push_back({path, parameters, std::this_thread::get_id()});
    if (live->sign_nothing) return {};
  }
  std::string query;
  for (const auto& [key, value] : parameters) {
    query += query.empty() ? "?" : "&";
    query += PercentEncoded(key) + "=" + PercentEncoded(value);
  }
  return L"http://api.test" + path + Widen(query);
}

std::wstring UrlHelper::StaticRoot() {
  Called(__func__);
  return L"http://static.test/";
}

std::wstring UrlHelper::HistoryRoot() {
  Called(__func__);
  return L"http://history.test";
}

bool GetSync(const std::wstring& url, std::string& body, const std::map<std::string, std::string>& headers,
             int seconds) {
  if (const auto live = Live()) return live->GetNow(url, body, headers, seconds);
  ScriptedHost::State::Stray("a request: " + Narrow(url));
  body.clear();
  return false;
}

void GetAsyn(const std::wstring& url, const AsynCallback& done,
             const std::map<std::string, std::string>& headers, int seconds) {
  if (const auto live = Live()) {
    live->Get(url, done, headers, seconds);
  } else {
    ScriptedHost::State::Stray("a request: " + Narrow(url));
  }
}

bool DownloadFileSyncWithRetry(const std::wstring& url, const std::wstring& path, int retries, int seconds) {
  if (const auto live = Live()) return live->Download(url, path, retries, seconds);
  ScriptedHost::State::Stray("a download: " + Narrow(url));
  return false;
}

bool GZipExtract(const wchar_t* path, std::string& text) {
  Called(__func__);
  constexpr std::size_t kLargest = std::size_t{64} << 20;
  text.clear();
  std::error_code error;
  const std::string name = path == nullptr ? std::string() : Narrow(path);
  if (!std::filesystem::is_regular_file(name, error)) return false;
  std::vector<char> block(1 << 16);
  const gzFile file = gzopen(name.c_str(), "rb");
  if (file == nullptr) return false;
  struct Close {
    gzFile open;
    ~Close() {
      if (open != nullptr) gzclose_r(open);
    }
  } close{file};
  int count = 0;
  while (text.size() <= kLargest &&
         (count = gzread(file, block.data(), static_cast<unsigned>(block.size()))) > 0) {
    text.append(block.data(), static_cast<std::size_t>(count));
  }
  // A file without the gzip mark is handed through by zlib; one that is cut short ends with an error on
  // closing.
  const bool plain = gzdirect(file) != 0;
  const bool whole = count == 0 && gzclose_r(std::exchange(close.open, nullptr)) == Z_OK;
  if (plain || !whole) text.clear();
  return !plain && whole;
}

void WriteProgramLogString(unsigned mask, const wchar_t* text) {
  LogLine line;
  line.mask = mask;
  line.format = text;
  line.text = text;
  if (const auto live = Live()) {
    live->WriteLog(std::move(line));
  } else {
    ScriptedHost::State::Stray("a log line: " + Narrow(text));
  }
}

void WriteProgramLogNoMask(const wchar_t* format, ...) {
  LogLine line;
  line.writer = LogLine::Writer::kNoMask;
  line.format = format;
  va_list arguments;
  va_start(arguments, format);
  line.text = Format(format, arguments);
  va_end(arguments);
  if (const auto live = Live()) {
    live->WriteLog(std::move(line));
  } else {
    ScriptedHost::State::Stray("a log line: " + Narrow(line.text));
  }
}

IUserOptionalStock* GetUserOptionalStock() {
  Called(__func__);
  static WatchList list;
  return has_watch_list.load() ? &list : nullptr;
}

NoWatchList::NoWatchList() {
  has_watch_list.store(false);
}

NoWatchList::~NoWatchList() {
  has_watch_list.store(true);
}
