// One exchange as a record keeps it, and the file that holds them. The file begins with a line of its own and
// grows by whole entries: a line with lengths and check sum, a head of "name value" lines, the body's bytes
// as they are. Nothing of the signature is ever in it. Who writes and who answers from it: recorder.h and
// replayer.h. No state but a reader's.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "addresses.h"
#include "descriptor.h"
#include "http.h"

namespace stock_host {

/// Times are Unix microseconds of the machine's clock.
struct RecordedExchange {
  std::int64_t asked = 0;
  std::int64_t duration = 0;  ///< microseconds from the request to its end
  std::string endpoint;       ///< as it is counted
  std::string request;        ///< see `RequestText`
  std::int64_t limit = 0;     ///< milliseconds that the exchange was given
  std::int64_t date = -1;     ///< Date header of the quote API server, Unix seconds; -1 if none
  std::string speed;          ///< X-Market-Speed header beside it; empty if none
  HttpAnswer answer;

  [[nodiscard]] std::int64_t ended() const { return asked + duration; }
};

/// What a request asks for, whoever signs it and whichever server is asked: path and parameters without those
/// of the signature, "static/" or "history" in place of the roots of these servers. A URL of no configured
/// server stays as it is, without parameters of a signature.
[[nodiscard]] std::string RequestText(const Addresses& addresses, std::string_view url);

/// Path of the record in `directory`.
[[nodiscard]] std::string RecordFile(const std::string& directory);

/// The first bytes of the file.
[[nodiscard]] std::string_view RecordTitle();

/// The entry that says that a client was started at `time`.
[[nodiscard]] std::string EncodeStart(std::int64_t time);
[[nodiscard]] std::string Encode(const RecordedExchange& exchange);

/// Reads a record from its beginning. Not thread-safe.
class RecordReader {
 public:
  enum class Found {
    kStart,     ///< `start()` is valid
    kExchange,  ///< `exchange()` is valid, its body left out; `body_at()` and `body_size()` tell where it is
    kDamaged,   ///< an entry whose check sum or head is wrong; the next one can be read
    kTorn,      ///< the file ends inside an entry; nothing follows
    kLost,      ///< what stands here is no entry; nothing follows
    kEnd,
  };

  /// Null, with `error`, when there is no record in `directory` or it cannot be read.
  [[nodiscard]] static std::unique_ptr<RecordReader> Open(const std::string& directory, std::string& error);

  [[nodiscard]] Found Next();

  [[nodiscard]] std::int64_t start() const { return start_; }
  [[nodiscard]] RecordedExchange& exchange() { return exchange_; }
  [[nodiscard]] std::int64_t body_at() const { return body_at_; }
  [[nodiscard]] std::size_t body_size() const { return body_size_; }
  /// Where the latest whole entry ends.
  [[nodiscard]] std::int64_t good_until() const { return good_until_; }

 private:
  explicit RecordReader(Descriptor file) : file_(std::move(file)) {}
  [[nodiscard]] bool TakeHead(std::string_view head);

  const Descriptor file_;
  std::int64_t start_ = 0;
  RecordedExchange exchange_;
  bool is_start_ = false;
  std::int64_t good_until_ = 0;
  std::int64_t body_at_ = 0;
  std::size_t body_size_ = 0;
};

}  // namespace stock_host
