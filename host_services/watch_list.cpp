#include "watch_list.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/text.h"
#include "log.h"
#include "replace_file.h"
#include "stock_host.h"
#include "symbols.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

constexpr std::chrono::seconds kLookInterval{1};
constexpr std::chrono::milliseconds kLockStep{10};
constexpr int kLockSteps = 200;
constexpr std::size_t kLargestFile = 256U << 10;

// A lock file beside the list: the list's own file is replaced at each change.
class FileLock {
 public:
  explicit FileLock(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    for (int step = 0; fd_ >= 0 && !held_ && step < kLockSteps; ++step) {
      held_ = flock(fd_, LOCK_EX | LOCK_NB) == 0;
      if (!held_) {
        std::this_thread::sleep_for(kLockStep);
      }
    }
  }
  ~FileLock() {
    if (fd_ >= 0) {
      close(fd_);
    }
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  [[nodiscard]] bool held() const { return held_; }

 private:
  const int fd_;
  bool held_ = false;
};

std::string Trimmed(std::string line) {
  const auto is_space = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!line.empty() && is_space(line.back())) {
    line.pop_back();
  }
  line.erase(line.begin(), std::find_if_not(line.begin(), line.end(), is_space));
  return line;
}

std::string NotInList(const std::wstring& symbol) {
  return "\"" + LogText(common::ws2s(symbol, common::kUtf8)) + "\" is not in the watch list";
}

}  // namespace

WatchListFile::~WatchListFile() {
  Stop();
}

WatchListFile::Stamp WatchListFile::StampOf(const std::string& path) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    return {};
  }
  return {static_cast<std::uint64_t>(info.st_ino), static_cast<std::int64_t>(info.st_size),
          static_cast<std::int64_t>(info.st_mtim.tv_sec), static_cast<std::int64_t>(info.st_mtim.tv_nsec)};
}

std::optional<WatchListFile::Content> WatchListFile::Read(const std::string& path, std::string& error) {
  Content content;
  struct Close {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rbe"));
  if (!file) {
    if (errno == ENOENT) {
      return content;
    }
    error = "cannot read \"" + path + "\": " + std::generic_category().message(errno);
    return std::nullopt;
  }
  std::string text(kLargestFile + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0 || text.size() > kLargestFile) {
    error = "cannot read \"" + path + "\", or it is larger than a watch list can be";
    return std::nullopt;
  }
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string line = Trimmed(text.substr(at, end - at));
    at = end + 1;
    if (line.empty()) {
      continue;
    }
    const std::wstring symbol = SecuritySymbol(common::s2ws(line, common::kUtf8));
    if (symbol.empty() || content.symbols.size() >= kLongestList) {
      content.other_lines.push_back(line);
      if (line.front() != '#') {
        content.refused.push_back(line);
      }
    } else if (std::find(content.symbols.begin(), content.symbols.end(), symbol) == content.symbols.end()) {
      content.symbols.push_back(symbol);
    }
  }
  return content;
}

void WatchListFile::Start(const std::string& directory) {
  {
    const std::lock_guard lock(mutex_);
    if (running_) {
      return;
    }
    path_ = directory + "/watchlist.txt";
    stamp_ = Stamp{0, -2, 0, 0};  // unlike that of any file, also of none
    // What the last run did not get to is of an old list; whoever missed it is told the present one.
    for (const Event& event : events_) {
      for (Entry& entry : entries_) {
        entry.told = entry.id == event.id ? nullptr : entry.told;
      }
    }
    events_.clear();
  }
  LookAtFile();
  const SignalsBlocked blocked;
  const std::lock_guard lock(mutex_);
  QueueLocked();
  thread_ = std::thread([this] { Run(); });
  running_ = true;  // not if there is no thread
}

void WatchListFile::Stop() {
  std::thread thread;
  {
    const std::lock_guard lock(mutex_);
    if (!running_) {
      return;
    }
    running_ = false;
    thread.swap(thread_);
    woken_.notify_all();
  }
  thread.join();
}

void WatchListFile::Attach(Observer* observer) {
  if (observer == nullptr) {
    return;
  }
  const std::lock_guard lock(mutex_);
  const auto same = [observer](const Entry& entry) { return entry.observer == observer; };
  if (std::any_of(entries_.begin(), entries_.end(), same)) {
    return;
  }
  entries_.push_back({++latest_id_, observer, nullptr});
  if (running_) {
    QueueLocked();
  }
}

void WatchListFile::Detach(Observer* observer) {
  std::unique_lock lock(mutex_);
  const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                  [observer](const Entry& one) { return one.observer == observer; });
  if (entry == entries_.end()) {
    return;
  }
  const std::uint64_t id = entry->id;
  entries_.erase(entry);
  std::erase_if(events_, [id](const Event& event) { return event.id == id; });
  // From inside its own call there is nothing to wait for.
  if (teller_ != std::this_thread::get_id()) {
    told_.wait(lock, [&] { return telling_ != id; });
  }
}

WatchListFile::Symbols WatchListFile::Get() {
  const std::lock_guard lock(mutex_);
  return *symbols_;
}

bool WatchListFile::Edit(const std::function<std::string(Symbols&)>& change, std::string& error) {
  std::string path;
  {
    const std::lock_guard lock(mutex_);
    if (!running_) {
      error = "the host services do not run";
      return false;
    }
    path = path_;
  }
  std::error_code no_directory;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), no_directory);
  const FileLock file_lock(path + ".lock");
  if (!file_lock.held()) {
    error = "cannot lock \"" + path + "\"; another program may hold it, or its directory cannot be written";
    return false;
  }
  auto content = Read(path, error);
  if (!content) {
    return false;
  }
  const Symbols before = content->symbols;
  error = change(content->symbols);
  if (!error.empty()) {
    return false;
  }
  if (content->symbols != before) {
    std::string text;
    for (const std::string& line : content->other_lines) {
      text += line + "\n";
    }
    for (const std::wstring& symbol : content->symbols) {
      text += common::ws2s(symbol, common::kUtf8) + "\n";
    }
    if (!ReplaceFile(path, text, error)) {
      return false;
    }
  }
  const std::lock_guard lock(mutex_);
  PublishLocked(std::move(content->symbols), StampOf(path));
  return true;
}

void WatchListFile::LookAtFile() {
  std::string path;
  Stamp known;
  {
    const std::lock_guard lock(mutex_);
    path = path_;
    known = stamp_;
  }
  if (StampOf(path) == known) {
    return;
  }
  // The stamp before the text: a change between the two is seen at the next look.
  const Stamp stamp = StampOf(path);
  std::string error;
  auto content = Read(path, error);
  if (!content) {
    Log(Severity::kError, "watch list: " + error);
    const std::lock_guard lock(mutex_);
    stamp_ = stamp;
    return;
  }
  for (const std::string& line : content->refused) {
    Log(Severity::kWarning, "watch list: this line is no symbol, or one too many, and is left out: " + line);
  }
  const std::lock_guard lock(mutex_);
  // Otherwise an edit of this process was quicker: its list is the newer one.
  if (stamp_ == known) {
    PublishLocked(std::move(content->symbols), stamp);
  }
}

void WatchListFile::PublishLocked(Symbols symbols, const Stamp& stamp) {
  stamp_ = stamp;
  if (symbols == *symbols_) {
    return;
  }
  symbols_ = std::make_shared<const Symbols>(std::move(symbols));
  QueueLocked();
}

// Queues the present list for every observer that was not told of it.
void WatchListFile::QueueLocked() {
  for (Entry& entry : entries_) {
    if (!entry.told || *entry.told != *symbols_) {
      entry.told = symbols_;
      events_.push_back({symbols_, entry.id});
    }
  }
  woken_.notify_all();
}

void WatchListFile::Run() {
  const HostThreadMark mark;
  std::unique_lock lock(mutex_);
  teller_ = std::this_thread::get_id();
  auto next_look = std::chrono::steady_clock::now() + kLookInterval;
  while (running_) {
    if (!events_.empty()) {
      const Event event = std::move(events_.front());
      events_.pop_front();
      const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                      [&](const Entry& one) { return one.id == event.id; });
      if (entry == entries_.end()) {
        continue;
      }
      Observer* const observer = entry->observer;
      telling_ = event.id;
      lock.unlock();
      RunGuarded("watch list", [&] { observer->Update(*event.symbols); });
      lock.lock();
      telling_ = 0;
      told_.notify_all();
      continue;
    }
    if (std::chrono::steady_clock::now() >= next_look) {
      lock.unlock();
      LookAtFile();
      lock.lock();
      next_look = std::chrono::steady_clock::now() + kLookInterval;
      continue;
    }
    woken_.wait_until(lock, next_look);
  }
}

WatchListFile& TheWatchList() {
  static WatchListFile* const list = new WatchListFile;
  return *list;
}

std::vector<std::wstring> WatchList() {
  return TheWatchList().Get();
}

bool AddToWatchList(const std::wstring& symbol, std::string& error) {
  return TheWatchList().Edit(
      [&](WatchListFile::Symbols& symbols) -> std::string {
        const std::wstring gated = SecuritySymbol(symbol);
        if (gated.empty()) {
          return "\"" + LogText(common::ws2s(symbol, common::kUtf8)) +
                 "\" is no symbol: sh or sz and six digits";
        }
        if (std::find(symbols.begin(), symbols.end(), gated) != symbols.end()) {
          return {};
        }
        if (symbols.size() >= WatchListFile::kLongestList) {
          return "the watch list is full";
        }
        symbols.push_back(gated);
        return {};
      },
      error);
}

bool RemoveFromWatchList(const std::wstring& symbol, std::string& error) {
  return TheWatchList().Edit(
      [&](WatchListFile::Symbols& symbols) -> std::string {
        return std::erase(symbols, SecuritySymbol(symbol)) > 0 ? std::string() : NotInList(symbol);
      },
      error);
}

bool MoveInWatchList(const std::wstring& symbol, std::size_t position, std::string& error) {
  return TheWatchList().Edit(
      [&](WatchListFile::Symbols& symbols) -> std::string {
        const std::wstring gated = SecuritySymbol(symbol);
        if (std::erase(symbols, gated) == 0) {
          return NotInList(symbol);
        }
        symbols.insert(symbols.begin() + static_cast<std::ptrdiff_t>(std::min(position, symbols.size())),
                       gated);
        return {};
      },
      error);
}

}  // namespace stock_host

IUserOptionalStock* GetUserOptionalStock() {
  return &stock_host::TheWatchList();
}
