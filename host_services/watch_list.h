// The user's watch list: a file, its copy in memory, and the observers that are told of it. The contract's
// IUserOptionalStock and the application's functions stand on it. Callable from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/watch_list.h"

namespace stock_host {

class WatchListFile final : public IUserOptionalStock {
 public:
  using Symbols = std::vector<std::wstring>;
  using Observer = IUpdate1<Symbols>;

  static constexpr std::size_t kLongestList = 1000;

  /// The file's lines, in their order. Its members are the first `kLongestList` different symbols; all other
  /// lines (comments, empty ones, what is no symbol, repetitions, symbols beyond) stay where they are.
  class Content {
   public:
    Content() = default;
    explicit Content(const std::string& text);

    [[nodiscard]] Symbols Members() const;
    /// Lines that are neither a member nor a repetition of one nor a comment nor empty.
    [[nodiscard]] std::vector<std::string> Refused() const;
    [[nodiscard]] std::string Text() const;

    /// After the last member.
    void Add(const std::wstring& symbol);
    /// With its repetitions. False when there is none.
    bool Remove(const std::wstring& symbol);
    /// Before the member that is then at `position`, or after the last. False when there is none.
    bool Move(const std::wstring& symbol, std::size_t position);

   private:
    struct Line {
      std::string text;
      std::wstring symbol;  // empty if the line is none
      bool member = false;
    };
    using Lines = std::vector<Line>;
    void ChooseMembers();
    [[nodiscard]] Lines::iterator PlaceOf(std::size_t position);
    Lines lines_;
  };

  /// A missing file is an empty list. Nothing, with `error`, when it cannot be read.
  [[nodiscard]] static std::optional<Content> Read(const std::string& path, std::string& error);

  WatchListFile() = default;
  ~WatchListFile();
  WatchListFile(const WatchListFile&) = delete;
  WatchListFile& operator=(const WatchListFile&) = delete;

  /// Reads "watchlist.txt" in `directory` and starts the thread that tells observers and, once a second,
  /// looks whether another process has changed the file.
  void Start(const std::string& directory);

  /// Joins the thread. What was not told yet is told after the next start.
  void Stop();

  void Attach(Observer* observer) override;
  void Detach(Observer* observer) override;

  [[nodiscard]] Symbols Get();

  /// Reads the file, applies `change`, stores the result and queues it for the observers. `change` gives an
  /// error text, empty for none. The file is locked meanwhile, against other processes too. False with
  /// `error` when anything fails; the list is then as it was. A file that is a symbolic link stays one.
  [[nodiscard]] bool Edit(const std::function<std::string(Content&)>& change, std::string& error);

  /// Reads the file if it is not the one read last.
  void LookAtFile();

 private:
  struct Entry {
    std::uint64_t id = 0;
    Observer* observer = nullptr;
    std::shared_ptr<const Symbols> told;  // latest list that was queued for it
  };
  struct Event {
    std::shared_ptr<const Symbols> symbols;
    std::uint64_t id = 0;
  };
  // Identity of a version of the file.
  struct Stamp {
    std::uint64_t inode = 0;
    std::int64_t size = -1;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    bool operator==(const Stamp&) const = default;
    /// True when a change made after this stamp was taken, at `now`, would show in the next one: the times of
    /// files advance in steps.
    [[nodiscard]] bool Settled(std::chrono::system_clock::time_point now) const;
  };
  [[nodiscard]] static Stamp StampOf(const std::string& path);
  void StampLocked(const Stamp& stamp);
  void PublishLocked(const Content& content, const Stamp& stamp);
  void QueueLocked();
  void Run();

  std::mutex mutex_;  // guards all members below
  std::condition_variable woken_;
  std::condition_variable told_;
  std::string path_;
  std::shared_ptr<const Symbols> symbols_ = std::make_shared<const Symbols>();
  Stamp stamp_;
  bool stamp_settled_ = false;
  std::vector<Entry> entries_;
  std::deque<Event> events_;
  std::uint64_t latest_id_ = 0;
  std::uint64_t telling_ = 0;  // id of the entry that is being told; 0: none
  std::thread::id teller_;
  std::thread thread_;
  bool running_ = false;
};

/// The one of the process; leaked.
[[nodiscard]] WatchListFile& TheWatchList();

}  // namespace stock_host
