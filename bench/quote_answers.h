// Answers of the size that a full market gives, made from a formula, so that whoever reads one knows what it
// has to find. Pure functions.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// Code and last price of row `row` of the answer number `tick`: each tick raises every price by 0.01.
[[nodiscard]] std::wstring CodeOf(std::size_t row);
[[nodiscard]] double LastOf(std::size_t row, int tick);

/// A board of `rows` rows, each with the 42 keys that a board reads: about 560 bytes a row. Every 50th stock
/// is suspended.
[[nodiscard]] std::string BoardAnswer(std::size_t rows, int tick = 0);

/// The same rows as the quotes of a watch list.
[[nodiscard]] std::string WatchListAnswer(std::size_t rows, int tick = 0);

}  // namespace bench
