// What a disk may hold after the power went: every operation is done in memory at once, on the disk only when
// it is flushed. No threads.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "watched_disk.h"

class DiskModel {
 public:
  using Files = std::map<std::string, std::string>;  // by path

  /// Starts with files that are on the disk.
  explicit DiskModel(const Files& files);

  void Apply(const watched_disk::Operation& operation);

  /// Everything, as after the end of the process alone.
  [[nodiscard]] Files Everything() const;
  /// Nothing that was not flushed.
  [[nodiscard]] Files FlushedOnly() const;
  /// All names, but of the contents only what was flushed.
  [[nodiscard]] Files NamesAndFlushedContents() const;
  /// Some of the names in their order, and of each content some of the writes; the last of them torn.
  [[nodiscard]] Files Some(std::mt19937& random) const;

 private:
  struct ContentChange {
    bool truncates = false;
    std::size_t offset = 0;  // truncations: the new size
    std::string bytes;
  };
  struct Content {
    std::string flushed;
    std::vector<ContentChange> pending;
  };

  using Names = std::map<std::string, std::shared_ptr<Content>>;
  struct NameChange {
    watched_disk::Operation operation;
    std::shared_ptr<Content> created;
  };

  static void Change(Names& names, const NameChange& change);
  static void Change(std::string& content, const ContentChange& change);
  static std::string All(const Content& content);

  Names now_;
  Names on_disk_;
  std::vector<NameChange> pending_;  // not yet on the disk
};
