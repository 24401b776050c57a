#include "log.h"

#include <fcntl.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "descriptor.h"
#include "events.h"
#include "host/log.h"
#include "host/text.h"

namespace stock_host {
namespace {

constexpr std::size_t kFileBytes = 5U << 20;
constexpr std::size_t kFiles = 4;
constexpr std::size_t kKeptLines = 256;
constexpr std::size_t kLongestLine = 16384;

struct LogState {
  std::mutex mutex;  // guards all members
  std::shared_ptr<spdlog::logger> logger;
  std::deque<std::pair<Severity, std::string>> kept;
  std::size_t dropped = 0;
};

// Leaked: threads of the process may log until its very end.
LogState& TheLog() {
  static LogState* const state = new LogState;
  return *state;
}

spdlog::level::level_enum LevelOf(Severity severity) {
  switch (severity) {
    case Severity::kDebug:
      return spdlog::level::debug;
    case Severity::kInfo:
      return spdlog::level::info;
    case Severity::kWarning:
      return spdlog::level::warn;
    case Severity::kError:
      break;
  }
  return spdlog::level::err;
}

bool MustBeEscaped(unsigned long c) {
  return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x2028 || c == 0x2029 || c == 0x061c || c == 0x200e ||
         c == 0x200f || (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

bool ParseLevel(const std::string& text, spdlog::level::level_enum& level) {
  static constexpr std::array<std::pair<const char*, spdlog::level::level_enum>, 6> kLevels{{
      {"trace", spdlog::level::trace},
      {"debug", spdlog::level::debug},
      {"info", spdlog::level::info},
      {"warn", spdlog::level::warn},
      {"error", spdlog::level::err},
      {"off", spdlog::level::off},
  }};
  for (const auto& [name, value] : kLevels) {
    if (text == name) {
      level = value;
      return true;
    }
  }
  return false;
}

// Each file of the log is the user's alone and stays with this process: the logging library would open it for
// all, and for children.
spdlog::file_event_handlers OnOpening() {
  spdlog::file_event_handlers handlers;
  handlers.before_open = [](const std::string& path) {
    const Descriptor file = OpenFile(path, O_WRONLY | O_CREAT);
    (void)fchmod(file.get(), 0600);  // one of an earlier run
  };
  handlers.after_open = [](const std::string&, std::FILE* file) {
    (void)fcntl(fileno(file), F_SETFD, FD_CLOEXEC);
  };
  return handlers;
}

}  // namespace

std::string LogText(std::string_view text) {
  const std::wstring wide = common::s2ws(std::string(text), common::kUtf8);
  std::wstring line;
  line.reserve(wide.size());
  for (const wchar_t c : wide) {
    if (line.size() >= kLongestLine) {
      line += L"...";
      break;
    }
    const unsigned long code = static_cast<char32_t>(c);
    if (!MustBeEscaped(code)) {
      line += c;
    } else if (c == L'\n') {
      line += L"\\n";
    } else if (c == L'\r') {
      line += L"\\r";
    } else if (c == L'\t') {
      line += L"\\t";
    } else {
      std::array<wchar_t, 16> escape{};
      std::swprintf(escape.data(), escape.size(), L"\\u{%lx}", code);
      line += escape.data();
    }
  }
  return common::ws2s(line, common::kUtf8);
}

bool IsLogLevel(const std::string& text) {
  spdlog::level::level_enum ignored{};
  return ParseLevel(text, ignored);
}

bool OpenLog(const std::string& directory, bool to_stderr, const std::string& level, std::string& error) {
  spdlog::level::level_enum threshold{};
  if (!ParseLevel(level, threshold)) {
    error = "the log level \"" + level + "\" is none of trace, debug, info, warn, error, off";
    return false;
  }
  std::shared_ptr<spdlog::logger> logger;
  try {
    if (!MakeDirectories(directory)) {
      error = "cannot open the log in \"" + directory + "\": " + SystemText(errno);
      return false;
    }
    std::vector<spdlog::sink_ptr> sinks;
    sinks.push_back(std::make_shared<spdlog::sinks::rotating_file_sink_mt>(directory + "/csm.log", kFileBytes,
                                                                           kFiles - 1, false, OnOpening()));
    if (to_stderr) {
      sinks.push_back(std::make_shared<spdlog::sinks::stderr_sink_mt>());
    }
    logger = std::make_shared<spdlog::logger>("csm", sinks.begin(), sinks.end());
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %z [%l] %v");
    logger->set_level(threshold);
    logger->flush_on(spdlog::level::info);
    // A full disk must not make the library print.
    logger->set_error_handler([](const std::string&) {});
  } catch (const std::exception& e) {
    error = "cannot open the log in \"" + directory + "\": " + e.what();
    return false;
  }

  std::deque<std::pair<Severity, std::string>> kept;
  std::size_t dropped = 0;
  {
    LogState& state = TheLog();
    const std::lock_guard lock(state.mutex);
    state.logger = logger;
    kept.swap(state.kept);
    dropped = std::exchange(state.dropped, 0);
  }
  if (dropped > 0) {
    Log(Severity::kWarning, std::to_string(dropped) + " log lines were dropped while the log was closed");
  }
  for (const auto& [severity, text] : kept) {
    Log(severity, text);
  }
  return true;
}

void CloseLog() {
  std::shared_ptr<spdlog::logger> logger;
  {
    LogState& state = TheLog();
    const std::lock_guard lock(state.mutex);
    logger.swap(state.logger);
  }
  if (logger) {
    logger->flush();
  }
}

void Log(Severity severity, std::string_view text) {
  std::shared_ptr<spdlog::logger> logger;
  {
    LogState& state = TheLog();
    const std::lock_guard lock(state.mutex);
    logger = state.logger;
    if (!logger) {
      if (state.kept.size() >= kKeptLines) {
        state.kept.pop_front();
        ++state.dropped;
      }
      state.kept.emplace_back(severity, std::string(text.substr(0, 4 * kLongestLine)));
    }
  }
  if (logger && logger->should_log(LevelOf(severity))) {
    const std::string line = LogText(text);
    logger->log(LevelOf(severity), spdlog::string_view_t(line));
    if (severity >= Severity::kWarning) {
      Announce(Event::Kind::kWarning, line);
    }
  }
}

namespace {

bool IsOneOf(wchar_t c, const wchar_t* set) {
  return c != L'\0' && std::wcschr(set, c) != nullptr;
}

// True when every conversion of `format` is one that printing can carry out and that only reads its argument.
// Position numbers ("%1$d") and widths of more than four digits are not among them.
bool IsPrintable(const wchar_t* format) {
  const auto skip_number = [](const wchar_t*& p) {
    int digits = 0;
    if (*p == L'*') {
      ++p;
    } else {
      for (; *p >= L'0' && *p <= L'9'; ++p) {
        ++digits;
      }
    }
    return digits <= 4;
  };
  for (const wchar_t* p = format; *p != L'\0'; ++p) {
    if (*p != L'%') {
      continue;
    }
    ++p;
    while (IsOneOf(*p, L"-+ #0'")) {
      ++p;
    }
    if (!skip_number(p)) {
      return false;
    }
    if (*p == L'.' && !skip_number(++p)) {
      return false;
    }
    while (IsOneOf(*p, L"hlLqjzt")) {
      ++p;
    }
    if (!IsOneOf(*p, L"diouxXeEfFgGaAcsCSpm%")) {
      return false;
    }
  }
  return true;
}

// Narrow texts among the arguments are UTF-8 and numbers have a point, whatever locale the program runs in.
class NeutralLocale {
 public:
  NeutralLocale() : before_(uselocale(Neutral())) {}
  ~NeutralLocale() { uselocale(before_); }
  NeutralLocale(const NeutralLocale&) = delete;
  NeutralLocale& operator=(const NeutralLocale&) = delete;

 private:
  static locale_t Neutral() {
    static const locale_t neutral = [] {
      const locale_t utf8 = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
      return utf8 != nullptr ? utf8 : newlocale(LC_ALL_MASK, "C", nullptr);
    }();
    return neutral;
  }

  const locale_t before_;
};

bool Print(std::wstring& text, const wchar_t* format, va_list arguments) {
  const NeutralLocale neutral;
  for (const std::size_t size : {std::size_t{512}, kLongestLine + 1}) {
    std::vector<wchar_t> buffer(size, L'\0');
    va_list copy;
    va_copy(copy, arguments);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int written = std::vswprintf(buffer.data(), buffer.size(), format, copy);
#pragma GCC diagnostic pop
    va_end(copy);
    if (written >= 0) {
      text.assign(buffer.data(), static_cast<std::size_t>(written));
      return true;
    }
  }
  return false;
}

}  // namespace
}  // namespace stock_host

void WriteProgramLogString(unsigned mask, const wchar_t* text) {
  if (mask == 0 || text == nullptr) {
    return;
  }
  stock_host::Log(stock_host::Severity::kWarning, common::ws2s(text, common::kUtf8));
}

void WriteProgramLogNoMask(const wchar_t* format, ...) {
  if (format == nullptr) {
    return;
  }
  std::wstring text;
  bool printed = false;
  if (stock_host::IsPrintable(format)) {
    va_list arguments;
    va_start(arguments, format);
    printed = stock_host::Print(text, format, arguments);
    va_end(arguments);
  }
  if (!printed) {
    text = std::wstring(format) + L" (the arguments cannot be printed)";
  }
  stock_host::Log(stock_host::Severity::kWarning, common::ws2s(text, common::kUtf8));
}
