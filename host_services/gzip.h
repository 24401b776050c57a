// Unpacking of gzip: piece by piece for HTTP answers, whole files for the module (GZipExtract in
// host/files.h). A gzip text is one or more members and nothing else: bytes after the last member that are no
// member are an error, and so is a text that ends inside a member.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace stock_host {

/// One pass over a gzip text that arrives in pieces. Not thread-safe.
class Gunzip {
 public:
  enum class State { kGood, kCorrupt, kTooLarge };

  /// At most `limit` unpacked bytes.
  explicit Gunzip(std::size_t limit);
  ~Gunzip();
  Gunzip(const Gunzip&) = delete;
  Gunzip& operator=(const Gunzip&) = delete;

  /// Unpacks the next piece and appends the result to `out`. After anything but `kGood` every further call
  /// gives the same answer and appends nothing.
  State Feed(std::string_view piece, std::string& out);

  /// True when what was fed so far is a whole gzip text.
  [[nodiscard]] bool Whole() const { return state_ == State::kGood && between_members_; }

 private:
  const std::size_t limit_;
  std::size_t unpacked_ = 0;
  z_stream stream_{};
  State state_ = State::kGood;
  bool between_members_ = false;  // at the end of a member, at least one read
};

/// True when `bytes` is a whole gzip text of at most 64 MiB unpacked.
[[nodiscard]] bool IsWholeGzip(std::string_view bytes);

}  // namespace stock_host
