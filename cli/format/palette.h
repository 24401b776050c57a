// What a piece of text means to the eye, and the one place where that becomes colour. A rise is red and a
// fall green, as Chinese investors expect it. A value without state; callable from any thread.
#pragma once

#include <string>
#include <string_view>

namespace cli {

enum class Tone { kPlain, kStrong, kDim, kRise, kFall, kWarning };

/// The tone of a figure that is shown with its sign.
[[nodiscard]] Tone ToneOf(double change);

class Palette {
 public:
  explicit Palette(bool colour) : colour_(colour) {}
  [[nodiscard]] std::string Paint(std::string_view text, Tone tone) const;

 private:
  bool colour_;
};

}  // namespace cli
