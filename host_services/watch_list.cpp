#include "watch_list.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "ascii.h"
#include "descriptor.h"
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
constexpr int kMostLinks = 40;  // as the system
constexpr std::size_t kLargestFile = 256U << 10;

// A lock file beside the list: the list's own file is replaced at each change.
class FileLock {
 public:
  explicit FileLock(const std::string& path) : file_(OpenFile(path, O_RDWR | O_CREAT)) {
    for (int step = 0; file_.good() && !held_ && step < kLockSteps; ++step) {
      held_ = flock(file_.get(), LOCK_EX | LOCK_NB) == 0;
      if (!held_) {
        std::this_thread::sleep_for(kLockStep);
      }
    }
  }
  [[nodiscard]] bool held() const { return held_; }

 private:
  const Descriptor file_;
  bool held_ = false;
};

// The file that `path` leads to, which need not exist: replacing a link would leave its target as it was.
std::string TargetOf(const std::string& path) {
  std::filesystem::path target = path;
  std::error_code failure;
  for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(target, failure); ++links) {
    target = target.parent_path() / std::filesystem::read_symlink(target, failure);
  }
  return target;
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

WatchListFile::Content::Content(const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string line = text.substr(at, end - at);
    lines_.push_back({line, SecuritySymbol(common::s2ws(std::string(Trimmed(line)), common::kUtf8))});
    at = end + 1;
  }
  ChooseMembers();
}

void WatchListFile::Content::ChooseMembers() {
  std::unordered_set<std::wstring> members;
  for (Line& line : lines_) {
    line.member = !line.symbol.empty() && members.size() < kLongestList && members.insert(line.symbol).second;
  }
}

WatchListFile::Symbols WatchListFile::Content::Members() const {
  Symbols members;
  for (const Line& line : lines_) {
    if (line.member) {
      members.push_back(line.symbol);
    }
  }
  return members;
}

std::vector<std::string> WatchListFile::Content::Refused() const {
  const Symbols members = Members();
  const std::unordered_set<std::wstring> known(members.begin(), members.end());
  std::vector<std::string> refused;
  for (const Line& line : lines_) {
    const std::string_view text = Trimmed(line.text);
    if (!text.empty() && text.front() != '#' && !known.contains(line.symbol)) {
      refused.emplace_back(text);
    }
  }
  return refused;
}

std::string WatchListFile::Content::Text() const {
  std::string text;
  for (const Line& line : lines_) {
    text += line.text + "\n";
  }
  return text;
}

// The line of the member at `position`, or what follows the last member.
WatchListFile::Content::Lines::iterator WatchListFile::Content::PlaceOf(std::size_t position) {
  auto after_last = lines_.end();
  for (auto line = lines_.begin(); line != lines_.end(); ++line) {
    if (line->member) {
      if (position == 0) {
        return line;
      }
      --position;
      after_last = std::next(line);
    }
  }
  return after_last;
}

void WatchListFile::Content::Add(const std::wstring& symbol) {
  lines_.insert(PlaceOf(lines_.size()), {common::ws2s(symbol, common::kUtf8), symbol});
  ChooseMembers();
}

bool WatchListFile::Content::Remove(const std::wstring& symbol) {
  const bool found = std::any_of(lines_.begin(), lines_.end(),
                                 [&](const Line& line) { return line.member && line.symbol == symbol; });
  if (found) {
    std::erase_if(lines_, [&](const Line& line) { return line.symbol == symbol; });
    ChooseMembers();
  }
  return found;
}

bool WatchListFile::Content::Move(const std::wstring& symbol, std::size_t position) {
  const auto line = std::find_if(lines_.begin(), lines_.end(),
                                 [&](const Line& one) { return one.member && one.symbol == symbol; });
  if (line == lines_.end()) {
    return false;
  }
  const Line moved = *line;
  lines_.erase(line);
  lines_.insert(PlaceOf(position), moved);
  ChooseMembers();
  return true;
}

bool WatchListFile::Stamp::Settled(std::chrono::system_clock::time_point now) const {
  constexpr std::chrono::seconds kStep{1};  // of the coarsest file system that keeps fractions of it
  const std::chrono::system_clock::time_point changed{std::chrono::seconds(seconds)};
  return now - changed > 2 * kStep || changed - now > 2 * kStep;
}

void WatchListFile::StampLocked(const Stamp& stamp) {
  stamp_ = stamp;
  stamp_settled_ = stamp.Settled(std::chrono::system_clock::now());
}

std::optional<WatchListFile::Content> WatchListFile::Read(const std::string& path, std::string& error) {
  const auto text = ReadWhole(path, kLargestFile);
  if (!text && errno != ENOENT) {
    error = "cannot read \"" + path + "\": " + SystemText(errno);
    return std::nullopt;
  }
  return Content(text.value_or(""));
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

bool WatchListFile::Edit(const std::function<std::string(Content&)>& change, std::string& error) {
  std::string path;
  {
    const std::lock_guard lock(mutex_);
    if (!running_) {
      error = "the host services do not run";
      return false;
    }
    path = path_;
  }
  const std::string target = TargetOf(path);
  (void)MakeDirectories(std::filesystem::path(target).parent_path());  // the lock or the writer says why not
  const FileLock file_lock(path + ".lock");
  if (!file_lock.held()) {
    error = "cannot lock \"" + path + "\"; another program may hold it, or its directory cannot be written";
    return false;
  }
  auto content = Read(path, error);
  if (!content) {
    return false;
  }
  const std::string before = content->Text();
  error = change(*content);
  if (!error.empty()) {
    return false;
  }
  const std::string text = content->Text();
  if (text.size() > kLargestFile) {
    error = "\"" + path + "\" would be larger than a watch list can be";
    return false;
  }
  if (text != before && !ReplaceFile(target, text, error)) {
    return false;
  }
  const std::lock_guard lock(mutex_);
  PublishLocked(*content, StampOf(path));
  return true;
}

void WatchListFile::LookAtFile() {
  std::string path;
  Stamp known;
  bool settled = false;
  {
    const std::lock_guard lock(mutex_);
    path = path_;
    known = stamp_;
    settled = stamp_settled_;
  }
  // The stamp before the text: a change between the two is seen at the next look.
  const Stamp stamp = StampOf(path);
  if (stamp == known && settled) {
    return;
  }
  std::string error;
  auto content = Read(path, error);
  if (!content) {
    Log(Severity::kError, "watch list: " + error);
    const std::lock_guard lock(mutex_);
    StampLocked(stamp);
    return;
  }
  for (const std::string& line : content->Refused()) {
    Log(Severity::kWarning, "watch list: this line is no symbol, or one too many, and is left out: " + line);
  }
  const std::lock_guard lock(mutex_);
  // Otherwise an edit of this process was quicker: its list is the newer one.
  if (stamp_ == known) {
    PublishLocked(*content, stamp);
  }
}

void WatchListFile::PublishLocked(const Content& content, const Stamp& stamp) {
  StampLocked(stamp);
  Symbols symbols = content.Members();
  if (symbols != *symbols_) {
    symbols_ = std::make_shared<const Symbols>(std::move(symbols));
    QueueLocked();
  }
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
      [&](WatchListFile::Content& content) -> std::string {
        const std::wstring gated = SecuritySymbol(symbol);
        if (gated.empty()) {
          return "\"" + LogText(common::ws2s(symbol, common::kUtf8)) +
                 "\" is no symbol: sh or sz and six digits";
        }
        const WatchListFile::Symbols members = content.Members();
        if (std::find(members.begin(), members.end(), gated) != members.end()) {
          return {};
        }
        if (members.size() >= WatchListFile::kLongestList) {
          return "the watch list is full";
        }
        content.Add(gated);
        return {};
      },
      error);
}

bool RemoveFromWatchList(const std::wstring& symbol, std::string& error) {
  return TheWatchList().Edit(
      [&](WatchListFile::Content& content) {
        return content.Remove(SecuritySymbol(symbol)) ? std::string() : NotInList(symbol);
      },
      error);
}

bool MoveInWatchList(const std::wstring& symbol, std::size_t position, std::string& error) {
  return TheWatchList().Edit(
      [&](WatchListFile::Content& content) {
        return content.Move(SecuritySymbol(symbol), position) ? std::string() : NotInList(symbol);
      },
      error);
}

}  // namespace stock_host

IUserOptionalStock* GetUserOptionalStock() {
  return &stock_host::TheWatchList();
}
