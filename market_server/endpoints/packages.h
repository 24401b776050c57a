// The static files: the metadata of the candle packages and the packages themselves, made when they are asked
// for. Thread-safe; made files are kept within a bound, the least recently used leave first.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "market_server/answer.h"
#include "market_server/model/market.h"

namespace market_server::endpoints {

inline constexpr std::string_view kStaticRoot = "/static/";

class Packages {
 public:
  explicit Packages(const model::Market& market, std::size_t bytes = std::size_t{16} << 20)
      : market_(market), capacity_(bytes) {}

  /// The file of that path below kStaticRoot as it is served at `instant`; status 404 when there is none.
  [[nodiscard]] Answer Serve(const std::string& path, model::Instant instant);

 private:
  using File = std::shared_ptr<const std::string>;

  [[nodiscard]] std::string MetadataText(model::Instant instant) const;
  [[nodiscard]] File Recall(const std::string& key);
  void Keep(const std::string& key, File file);

  const model::Market& market_;
  const std::size_t capacity_;
  std::mutex mutex_;                               ///< guards what follows
  std::list<std::pair<std::string, File>> files_;  ///< most recently used first
  std::map<std::string, std::list<std::pair<std::string, File>>::iterator> index_;
  std::size_t size_ = 0;
};

}  // namespace market_server::endpoints
