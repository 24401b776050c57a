// Writes gzip files in memory (and reads its own): whole ones for the packages, and the huge ones of hostile
// servers. Stateless.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace market_server {

/// One gzip member; the same text gives the same bytes. Throws std::bad_alloc when memory ends.
[[nodiscard]] std::string Gzip(std::string_view text);

/// The text of a file that Gzip wrote; empty for any other.
[[nodiscard]] std::string Gunzip(std::string_view file);

/// A small gzip member that unpacks to `mebibytes` MiB of blanks.
[[nodiscard]] std::string GzipBomb(std::uint64_t mebibytes);

}  // namespace market_server
