// Keeps the K-line metadata current: asks the server for its version and brings the file when it is newer.
// Knows the local file and the wire, not the service that holds what was loaded. Thread-safe: no state.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "reference/kline_metadata.h"

namespace reference {

/// What a check came to.
struct MetadataCheck {
  bool ok = false;                        ///< the newest metadata is held, or is in `loaded`
  std::shared_ptr<KLineMetadata> loaded;  ///< to be held from now on; null: what is held stays
};

/// Tells the version that is held, empty when none is; nothing when the check is no longer wanted: then no
/// further request is sent.
using HeldVersion = std::function<std::optional<std::string>()>;

/// One check. Blocks for the exchanges with the server: 8 s for the version and up to three times 30 s for
/// the file. A version that cannot be fetched, a download that fails and a file that is damaged are failures,
/// and leave the local file as it is; so is running out of memory, and a function of the host that throws.
[[nodiscard]] MetadataCheck CheckMetadata(const HeldVersion& held_version) noexcept;

/// The server's version; empty when it cannot be fetched.
[[nodiscard]] std::string FetchMetadataVersion();

}  // namespace reference
