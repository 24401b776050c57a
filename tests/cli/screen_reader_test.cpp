// The reader of screens: what the display writes comes out of it as it went in.
#include "screen_reader.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cli/screen/curses_display.h"

namespace tests {
namespace {

TEST(ScreenReader, placesWhatIsWritten) {
  ScreenReader reader(10, 3);
  reader.Read("ab\x1b[2;3H上证\x1b[3;1Hx\x1b[5b\r\n");
  EXPECT_EQ(reader.Rows(), (std::vector<std::string>{"ab", "  上证", "xxxxxx"}));
}

TEST(ScreenReader, erasesInsertsAndDeletes) {
  ScreenReader reader(6, 2);
  reader.Read("abcdef\x1b[2;1Hghijkl\x1b[1;3H\x1b[2P\x1b[1;2H\x1b[@\x1b[2;4H\x1b[K");
  EXPECT_EQ(reader.Rows(), (std::vector<std::string>{"a bef", "ghi"}));
}

TEST(ScreenReader, goesOnWithPiecesOfSequencesAndCharacters) {
  ScreenReader reader(6, 1);
  for (const char c : std::string("\x1b[1;3H证")) {
    reader.Read(std::string(1, c));
  }
  EXPECT_EQ(reader.Rows(), (std::vector<std::string>{"  证"}));
}

TEST(ScreenReader, namesWhatItDoesNotUnderstand) {
  ScreenReader reader(6, 1);
  reader.Read("\x1b[5y");
  EXPECT_EQ(reader.unknown(), (std::vector<std::string>{"[5y"}));
}

// Keys come from a pipe, since a test has no terminal.
class CursesDisplayTest : public testing::Test {
 protected:
  CursesDisplayTest() {
    setenv("TERM", "xterm-256color", 1);
    EXPECT_EQ(pipe(keys_), 0);
  }
  ~CursesDisplayTest() override {
    close(keys_[0]);
    close(keys_[1]);
  }

  void Type(const std::string& bytes) const {
    EXPECT_EQ(write(keys_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  int keys_[2] = {-1, -1};
};

std::vector<cli::StyledLine> Lines(const std::vector<std::string>& texts) {
  std::vector<cli::StyledLine> lines;
  for (const std::string& text : texts) {
    lines.push_back({{text, cli::Tone::kRise}});
  }
  return lines;
}

TEST_F(CursesDisplayTest, writesPicturesThatCanBeReadAgain) {
  cli::CursesDisplay display(keys_[0], true);
  ScreenReader reader(20, 4);
  const std::vector<std::vector<std::string>> pictures = {{"上证指数 3,012.45", "", "▴ ▾ … │ ───────", "end"},
                                                          {"上证指数 3,013.45", "x", "▾ ▴ … │", ""},
                                                          {"", "", "", "12345678901234567890"},
                                                          {"深证成指  -1", "", "", ""}};
  for (const auto& picture : pictures) {
    reader.Read(display.Difference(Lines(picture), {20, 4}));
    EXPECT_EQ(reader.Rows(), picture);
  }
  EXPECT_TRUE(reader.unknown().empty()) << reader.unknown().front();
}

TEST_F(CursesDisplayTest, writesOnlyWhatDiffers) {
  cli::CursesDisplay display(keys_[0], true);
  const std::vector<cli::StyledLine> first = Lines({"one line", "another line"});
  EXPECT_GT(display.Difference(first, {80, 24}).size(), 20U);
  EXPECT_EQ(display.Difference(first, {80, 24}), "");
  const std::string change = display.Difference(Lines({"one line", "another lime"}), {80, 24});
  EXPECT_EQ(change.find("one"), std::string::npos) << change;
  EXPECT_EQ(change.find("\x1b[2J"), std::string::npos) << change;
}

TEST_F(CursesDisplayTest, writesEverythingForAnotherSizeAndForAForgottenScreen) {
  cli::CursesDisplay display(keys_[0], true);
  const std::vector<cli::StyledLine> lines = Lines({"one line"});
  static_cast<void>(display.Difference(lines, {80, 24}));
  EXPECT_NE(display.Difference(lines, {70, 20}).find("one line"), std::string::npos);
  display.Forget();
  EXPECT_NE(display.Difference(lines, {70, 20}).find("one line"), std::string::npos);
}

TEST_F(CursesDisplayTest, neverWritesOutsideTheScreen) {
  cli::CursesDisplay display(keys_[0], true);
  ScreenReader reader(8, 2);
  reader.Read(display.Difference(Lines({"上证指数上证指数", "123456789", "third"}), {8, 2}));
  EXPECT_EQ(reader.Rows(), (std::vector<std::string>{"上证指…", "1234567…"}));
}

TEST_F(CursesDisplayTest, hasNeitherColoursNorWeightsWhenNoneAreWanted) {
  cli::CursesDisplay display(keys_[0], false);
  const std::string text = display.Difference(
      {{{"rise", cli::Tone::kRise}, {"strong", cli::Tone::kStrong}, {"dim", cli::Tone::kDim}}}, {80, 24});
  for (const char* colour : {"\x1b[31m", "\x1b[32m", "\x1b[1m", "\x1b[2m", "\x1b[0;1m", "\x1b[0;2m"}) {
    EXPECT_EQ(text.find(colour), std::string::npos) << text;
  }
}

TEST_F(CursesDisplayTest, takesNothingOver) {
  const std::vector<int> signals = {SIGINT, SIGTERM, SIGTSTP, SIGWINCH};
  // Not always the default: a shell starts what is to run in the background with interrupts ignored.
  const auto handlers = [&] {
    std::vector<sighandler_t> found;
    for (const int number : signals) {
      struct sigaction action {};
      sigaction(number, nullptr, &action);
      found.push_back(action.sa_handler);
    }
    return found;
  };
  const auto before = handlers();
  {
    cli::CursesDisplay display(keys_[0], true);
    // The mouse is asked for; who owns the terminal gives it back.
    std::string text = display.Difference({}, {80, 24});
    for (const std::string asked : {"\x1b[?1006;1000h", "\x1b[?1006;1000l"}) {
      if (const std::size_t at = text.find(asked); at != std::string::npos) {
        text.erase(at, asked.size());
      }
    }
    EXPECT_EQ(text.find("\x1b[?"), std::string::npos) << text;
    EXPECT_EQ(handlers(), before);
  }
  EXPECT_EQ(handlers(), before);
}

// An update once dropped a stop that waited for the main loop.
TEST_F(CursesDisplayTest, leavesSignalsThatWaitAlone) {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTSTP);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &stop, nullptr), 0);
  cli::CursesDisplay display(keys_[0], true);
  raise(SIGTSTP);
  EXPECT_FALSE(display.Difference(Lines({"one line"}), {80, 24}).empty());
  const timespec none{};
  EXPECT_EQ(sigtimedwait(&stop, nullptr, &none), SIGTSTP);
  pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
}

TEST_F(CursesDisplayTest, readsKeysHoweverTheTerminalSendsThem) {
  using cli::Key;
  using cli::KeyKind;
  cli::CursesDisplay display(keys_[0], true);
  Type("q上\x1b[A\x1bOA\x1b[5~\x1b[6~\x1b[H\x1b[4~\t\x1b[Z\r\x7f\x1b[3~");
  const std::vector<Key> expected = {
      cli::Typed(U'q'),     cli::Typed(U'上'),     {KeyKind::kUp},    {KeyKind::kUp},  {KeyKind::kPageUp},
      {KeyKind::kPageDown}, {KeyKind::kHome},      {KeyKind::kEnd},   {KeyKind::kTab}, {KeyKind::kBackTab},
      {KeyKind::kEnter},    {KeyKind::kBackspace}, {KeyKind::kDelete}};
  EXPECT_EQ(display.ReadKeys(), expected);
  Type("\x1b");
  EXPECT_EQ(display.ReadKeys(), std::vector<Key>{{KeyKind::kEscape}});
}

TEST_F(CursesDisplayTest, readsTheMouse) {
  using cli::KeyKind;
  cli::CursesDisplay display(keys_[0], true);
  const std::string first = display.Difference({}, {200, 60});
  EXPECT_NE(first.find("\x1b[?1006;1000h"), std::string::npos) << first;
  // Press and release, wheel up and down, at columns and rows that are counted from 1; a key in between.
  Type(
      "\x1b[<0;151;5M\x1b[<0;151;5m\x1b[<64;1;1M"
      "x\x1b[<65;80;60M");
  EXPECT_EQ(display.ReadKeys(), (std::vector<cli::Key>{{KeyKind::kClick, 0, 150, 4},
                                                       {KeyKind::kWheelUp, 0, 0, 0},
                                                       cli::Typed(U'x'),
                                                       {KeyKind::kWheelDown, 0, 79, 59}}));
  display.Forget();
  EXPECT_NE(display.Difference({}, {200, 60}).find("\x1b[?1006;1000h"), std::string::npos);
}

TEST_F(CursesDisplayTest, saysThatTheInputHasEnded) {
  cli::CursesDisplay display(keys_[0], true);
  close(keys_[1]);
  keys_[1] = dup(keys_[0]);
  EXPECT_FALSE(display.ReadKeys().has_value());
}

TEST_F(CursesDisplayTest, refusesTerminalsThatItDoesNotKnow) {
  setenv("TERM", "no-such-terminal", 1);
  EXPECT_FALSE(cli::KnowsTerminalKind());
  EXPECT_THROW(cli::CursesDisplay(keys_[0], true), std::runtime_error);
  setenv("TERM", "xterm-256color", 1);
  EXPECT_TRUE(cli::KnowsTerminalKind());
}

}  // namespace
}  // namespace tests
