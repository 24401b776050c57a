// Turns a good JSON answer into one that a client must survive. Texts in, texts out; a text that is no JSON
// comes back as it was. Stateless.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace market_server {

enum class JsonPatch { kWrongType, kNull, kRemove, kEmptyArray };

/// Patches every value at `path`, members and positions separated by "/", "*" for each of them
/// ("data/list/*/last").
[[nodiscard]] std::string PatchJson(const std::string& text, std::string_view path, JsonPatch patch);

/// Puts `member` ("errno" say) with the raw JSON `value` at the root in place of what stood there.
[[nodiscard]] std::string ReplaceRootMember(const std::string& text, std::string_view member,
                                            std::string_view value);

/// Every member twice, first with a container that grows with the answer.
[[nodiscard]] std::string DuplicateKeys(const std::string& text);

/// Every number of the payload replaced by one that is hard to hold.
[[nodiscard]] std::string HostileNumbers(const std::string& text);

/// Every text of the payload replaced by one that is hard to show.
[[nodiscard]] std::string HostileTexts(const std::string& text);

/// The rows of the longest array repeated until there are `rows`.
[[nodiscard]] std::string RepeatRows(const std::string& text, std::uint64_t rows);

/// The longest array emptied.
[[nodiscard]] std::string EmptyRows(const std::string& text);

}  // namespace market_server
