// The K-line metadata file in memory: for every symbol how many records each of its packages has, and one
// version for all. What is on disk of a package is in package_version_store.h. Not thread-safe: its owner
// guards it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace reference {

/// Number of records of each package of one symbol, by package key.
class PackageCounts {
 public:
  /// 0 for a package that is not there.
  [[nodiscard]] std::int32_t Get(std::uint16_t key) const;

  /// Reads a symbol's JSON text: {"d":{"b":7,"q":7,"h":7},"w":{...},"m":{...}}. Returns the parser's error
  /// code; the counts are then all 0.
  [[nodiscard]] int Read(std::string_view json);

 private:
  static constexpr std::size_t kPeriods = 3;
  static constexpr std::size_t kAdjustments = 3;

  std::array<std::array<std::int32_t, kAdjustments>, kPeriods> counts_{};
};

/// One file. A symbol's counts stay text until somebody asks for them.
class KLineMetadata {
 public:
  struct Symbol {
    std::string_view json;  ///< in the file's text
    bool parsed = false;
    PackageCounts counts;
  };

  KLineMetadata(const KLineMetadata&) = delete;
  KLineMetadata& operator=(const KLineMetadata&) = delete;

  /// Takes a file's text apart. Null when it is no metadata: it has neither a version nor a symbol, more
  /// symbols than any market, or a version that cannot be one.
  [[nodiscard]] static std::shared_ptr<KLineMetadata> FromText(std::string text);

  /// May be empty.
  [[nodiscard]] const std::string& Version() const { return version_; }

  [[nodiscard]] std::size_t Size() const { return symbols_.size(); }

  /// Null for an unknown symbol.
  [[nodiscard]] Symbol* Find(std::string_view symbol);

 private:
  explicit KLineMetadata(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] bool Split();

  std::string text_;
  std::string version_;
  std::vector<Symbol> symbols_;
  std::unordered_map<std::string_view, std::size_t> index_;  // into symbols_
};

}  // namespace reference
