// Standard output as csm writes it: whole lines, at once, and no word when the reader has had enough. Main
// thread only.
#pragma once

#include <string>
#include <string_view>

namespace cli {

class MainLoop;

class Output {
 public:
  /// Writes to `fd`, which stays the caller's. A write that has to wait goes on looking at the loop's
  /// signals.
  Output(MainLoop& loop, int fd) : loop_(loop), fd_(fd) {}

  /// Writes `text` as it stands. When the reader is gone (EPIPE, a terminal hung up) the loop is ended and
  /// nothing more is written. Throws std::system_error for any other failure.
  void Write(std::string_view text);
  /// Ends the loop, too, when the reader is gone although nothing is written. For those who may be silent for
  /// long.
  void LookForReader();
  /// `text` and a line feed, in one piece.
  void WriteLine(std::string_view text) { Write(std::string(text) + "\n"); }

 private:
  MainLoop& loop_;
  int fd_;
  bool closed_ = false;
};

/// Writes what is to be left on the terminal `fd` when all is over, unless it is held up. A failure is
/// ignored.
void WriteLast(int fd, std::string_view text);

/// Writes "csm: `text`" to standard error. A failure is ignored: there is nobody to tell.
void Say(std::string_view text);
/// The same for what is good to know but no failure; not written when `Quiet(true)` was called before.
void Note(std::string_view text);
void Quiet(bool quiet);

}  // namespace cli
