// Writes every exchange to a record, for a replayer to answer from. Called by the thread at the network as
// exchanges end; its other operations are called by any thread while no exchange runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "descriptor.h"
#include "http.h"
#include "recorded_exchange.h"

namespace stock_host {

class Recorder {
 public:
  using Steady = std::chrono::steady_clock::time_point;

  /// Makes `directory`, or goes on with the record in it; an entry that a crash cut short is taken off. Null
  /// with `error` when the directory holds anything else, another process records into it, or it cannot be
  /// written.
  [[nodiscard]] static std::shared_ptr<Recorder> Open(const std::string& directory, std::string& error);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// Appends the exchange, in one write, unless nothing was ever sent or the services were stopped before it
  /// ended. `report` tells the headers. A write that fails is logged and counted, and ends the recording.
  void Record(const HttpRequest& request, const std::string& endpoint, Steady asked, Steady ended,
              const HttpHeaderReport& report, const HttpAnswer& answer);

 private:
  Recorder(Descriptor file, std::string path);
  [[nodiscard]] std::int64_t TimeOf(Steady at) const;
  void Append(const std::string& bytes);

  const Descriptor file_;
  const std::string path_;
  // Times of a run count from its start: the machine's clock may be set meanwhile.
  const Steady start_;
  const std::int64_t start_time_;
  std::int64_t size_ = 0;
  bool broken_ = false;
};

}  // namespace stock_host
