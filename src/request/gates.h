// What may become part of a path, a static URL or a stored statement. Texts come from views, from the server
// and from files; nothing else of them reaches the disk or the wire. Thread-safe: pure functions.
#pragma once

#include <string>
#include <string_view>

namespace request {

/// True for "sh" or "sz" and six digits, the letters in any case.
[[nodiscard]] bool IsPlainSymbol(std::wstring_view symbol);

/// True for a package version that is safe in a file name, a URL and a statement: 1 to 64 printable ASCII
/// characters, blanks included, none of `" \ / ? # % &`, and not the name of a column.
[[nodiscard]] bool IsPlainVersion(std::string_view version);

}  // namespace request
