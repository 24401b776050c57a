// Figures as a person reads them: fixed decimals, thousands grouped, the point of the classic locale. Pure
// functions, callable from any thread. JSON keeps every digit and is json_writer.h's matter.
#pragma once

#include <string>

namespace cli {

/// What stands for a figure that is not there.
inline constexpr const char* kNoFigure = "--";

/// "3,012.45". A magnitude of 1e15 and more is written with an exponent, what is no finite number as
/// `kNoFigure`.
[[nodiscard]] std::string Fixed(double value, int decimals);

/// The same with its sign, "+12.34"; no sign when it rounds to zero.
[[nodiscard]] std::string Signed(double value, int decimals);

/// A rate given in percent: "+0.41%".
[[nodiscard]] std::string SignedPercent(double value, int decimals);

/// An amount or a volume in the units that people count in: "9,876", "12.35万", "1.29亿", "3.41万亿". Three
/// digits and more keep fewer decimals: "123.5万", "1,235万".
[[nodiscard]] std::string ShortAmount(double value);

/// The same with its sign: "+1.29亿".
[[nodiscard]] std::string SignedShortAmount(double value);

}  // namespace cli
