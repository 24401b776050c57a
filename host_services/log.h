// The program log: one rotating file, and stderr if asked. Lines written while the log is closed are kept, up
// to a limit, for the next opening. Callable from any thread. The module's two log functions (host/log.h) end
// here.
#pragma once

#include <string>
#include <string_view>

namespace stock_host {

enum class Severity { kDebug, kInfo, kWarning, kError };

/// Opens "csm.log" in `directory` (made if missing) and writes the lines kept so far. False with `error` when
/// the file cannot be opened or `level` is no level.
[[nodiscard]] bool OpenLog(const std::string& directory, bool to_stderr, const std::string& level,
                           std::string& error);

/// True for a text that `OpenLog` takes as `level`.
[[nodiscard]] bool IsLogLevel(const std::string& text);

/// Flushes and closes. Does nothing when closed.
void CloseLog();

/// Appends one line. `text` is UTF-8; control characters are escaped and an overlong text is cut.
void Log(Severity severity, std::string_view text);

/// `text` as it stands in a line: invalid UTF-8 replaced, control, line-separating and bidirectional control
/// characters escaped, cut after 16,384 characters.
[[nodiscard]] std::string LogText(std::string_view text);

}  // namespace stock_host
