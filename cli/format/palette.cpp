#include "cli/format/palette.h"

namespace cli {
namespace {

const char* SequenceOf(Tone tone) {
  switch (tone) {
    case Tone::kPlain:
      break;
    case Tone::kStrong:
      return "\x1b[1m";
    case Tone::kDim:
      return "\x1b[2m";
    case Tone::kRise:
      return "\x1b[31m";
    case Tone::kFall:
      return "\x1b[32m";
    case Tone::kWarning:
      return "\x1b[33m";
  }
  return "";
}

}  // namespace

Tone ToneOf(double change) {
  if (change > 0) {
    return Tone::kRise;
  }
  return change < 0 ? Tone::kFall : Tone::kPlain;
}

std::string Palette::Paint(std::string_view text, Tone tone) const {
  if (!colour_ || tone == Tone::kPlain || text.empty()) {
    return std::string(text);
  }
  return SequenceOf(tone) + std::string(text) + "\x1b[0m";
}

}  // namespace cli
