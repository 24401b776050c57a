#include "cli/screen/curses_display.h"

#include <curses.h>
#include <locale.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <stdexcept>
#include <utility>

#include "host/text.h"

namespace cli {
namespace {

// A lone escape is the key of that name when nothing follows within so many milliseconds.
constexpr int kEscapeDelay = 25;

constexpr short kRisePair = 1;
constexpr short kFallPair = 2;
constexpr short kWarningPair = 3;

// What terminals send besides what is said about them, as long as nobody has switched their keys over.
constexpr std::array<std::pair<const char*, int>, 8> kUsualKeys = {{{"\x1b[A", KEY_UP},
                                                                    {"\x1b[B", KEY_DOWN},
                                                                    {"\x1b[C", KEY_RIGHT},
                                                                    {"\x1b[D", KEY_LEFT},
                                                                    {"\x1b[H", KEY_HOME},
                                                                    {"\x1b[F", KEY_END},
                                                                    {"\x1b[1~", KEY_HOME},
                                                                    {"\x1b[4~", KEY_END}}};

struct KeyCode {
  wint_t code;
  KeyKind kind;
};

// Keys by the library's codes, and by the characters that stand for some.
constexpr KeyCode kKeyKinds[] = {{KEY_UP, KeyKind::kUp},        {KEY_DOWN, KeyKind::kDown},
                                 {KEY_LEFT, KeyKind::kLeft},    {KEY_RIGHT, KeyKind::kRight},
                                 {KEY_PPAGE, KeyKind::kPageUp}, {KEY_NPAGE, KeyKind::kPageDown},
                                 {KEY_HOME, KeyKind::kHome},    {KEY_END, KeyKind::kEnd},
                                 {KEY_BTAB, KeyKind::kBackTab}, {KEY_BACKSPACE, KeyKind::kBackspace},
                                 {KEY_ENTER, KeyKind::kEnter},  {KEY_DC, KeyKind::kDelete}};
constexpr KeyCode kCharacterKinds[] = {{L'\t', KeyKind::kTab},       {L'\r', KeyKind::kEnter},
                                       {L'\n', KeyKind::kEnter},     {L'\x1b', KeyKind::kEscape},
                                       {L'\b', KeyKind::kBackspace}, {L'\x7f', KeyKind::kBackspace}};

// How a tone looks: an attribute, and the number of a colour pair.
struct Look {
  attr_t attributes = A_NORMAL;
  short pair = 0;
};

// Of the tones, in their order.
constexpr Look kLooks[] = {
    {}, {A_BOLD, 0}, {A_DIM, 0}, {A_NORMAL, kRisePair}, {A_NORMAL, kFallPair}, {A_NORMAL, kWarningPair}};

// What the mouse did, the latest last. The library hands the latest out first, and several for one code.
std::vector<Key> MouseKeys() {
  std::vector<Key> keys;
  MEVENT event{};
  while (getmouse(&event) == OK) {
    const KeyKind kind = (event.bstate & BUTTON4_PRESSED) != 0   ? KeyKind::kWheelUp
                         : (event.bstate & BUTTON5_PRESSED) != 0 ? KeyKind::kWheelDown
                                                                 : KeyKind::kClick;
    keys.insert(keys.begin(), Key{kind, 0, event.x, event.y});
  }
  return keys;
}

// The library takes signals that have an owner already; this gives them back.
class SignalsKept {
 public:
  SignalsKept() {
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
      sigaction(kNumbers[i], nullptr, &actions_[i]);
    }
    // One that has a handler when it first looks is left alone. Else it would ignore SIGTSTP during every
    // update, and so drop one that waits for the main loop.
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGTSTP, &action, nullptr);
  }
  ~SignalsKept() {
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
      sigaction(kNumbers[i], &actions_[i], nullptr);
    }
  }
  SignalsKept(const SignalsKept&) = delete;
  SignalsKept& operator=(const SignalsKept&) = delete;

 private:
  static constexpr std::array kNumbers = {SIGINT, SIGTERM, SIGTSTP, SIGWINCH};

  std::array<struct sigaction, kNumbers.size()> actions_{};
};

}  // namespace

// ncurses writes into a file without a name, from where its text is taken: a terminal that is held up must
// not hold up the process with it.
struct CursesDisplay::Curses {
  Curses(int in, bool wants_colour) : written(memfd_create("screen", MFD_CLOEXEC)) {
    const SignalsKept signals;
    if (!KnowsTerminalKind()) {
      close(written);
      throw std::runtime_error("the kind of this terminal is not known");
    }
    utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t());
    if (utf8 != locale_t()) {
      before = uselocale(utf8);
    }
    out_file = fdopen(written, "w+");
    const int keys = dup(in);
    in_file = fdopen(keys, "r");
    if (out_file == nullptr || in_file == nullptr ||
        (screen = newterm(nullptr, out_file, in_file)) == nullptr) {
      Close();
      throw std::runtime_error("the screen cannot be made");
    }
    set_escdelay(kEscapeDelay);
    has_colour = wants_colour && has_colors() && start_color() == OK && use_default_colors() == OK;
    has_tones = wants_colour;
    if (has_colour) {
      init_pair(kRisePair, COLOR_RED, -1);
      init_pair(kFallPair, COLOR_GREEN, -1);
      init_pair(kWarningPair, COLOR_YELLOW, -1);
    }
    typed = newpad(1, 1);
    keypad(typed, TRUE);
    nodelay(typed, TRUE);
    for (const auto& [bytes, key] : kUsualKeys) {
      define_key(bytes, key);
    }
    // The screen was taken over by its owner; so are the modes.
    static_cast<void>(Take());
    mouseinterval(0);
  }

  // The terminal sends what the mouse does from the next picture on. Its owner ends that with the screen.
  static void AskForMouse() {
    mousemask(0, nullptr);
    mousemask(BUTTON1_PRESSED | BUTTON4_PRESSED | BUTTON5_PRESSED, nullptr);
  }

  ~Curses() {
    const SignalsKept signals;
    delwin(typed);
    endwin();
    delscreen(screen);
    Close();
  }

  Curses(const Curses&) = delete;
  Curses& operator=(const Curses&) = delete;

  void Close() {
    for (FILE* const file : {out_file, in_file}) {
      if (file != nullptr) {
        fclose(file);
      }
    }
    if (utf8 != locale_t()) {
      uselocale(before);
      freelocale(utf8);
    }
  }

  // What was written since the last time.
  [[nodiscard]] std::string Take() const {
    fflush(out_file);
    std::string text(static_cast<std::size_t>(std::max<off_t>(lseek(written, 0, SEEK_END), 0)), '\0');
    const ssize_t length = pread(written, text.data(), text.size(), 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    if (ftruncate(written, 0) != 0 || lseek(written, 0, SEEK_SET) != 0) {
      throw std::runtime_error("the picture of the screen cannot be kept");
    }
    return text;
  }

  void Put(int row, const StyledLine& line, int columns) const {
    wmove(stdscr, row, 0);
    for (const Cell& cell : line) {
      const std::string fitting = Clip(cell.text, columns);
      columns -= DisplayWidth(fitting);
      const Look look = has_tones ? kLooks[static_cast<std::size_t>(cell.tone)] : Look();
      wattr_set(stdscr, look.attributes, has_colour ? look.pair : short{0}, nullptr);
      waddwstr(stdscr, common::s2ws(fitting, common::kUtf8).c_str());
      if (fitting.size() != cell.text.size()) {
        break;
      }
    }
    wattr_set(stdscr, A_NORMAL, 0, nullptr);
  }

  const int written;
  FILE* out_file = nullptr;
  FILE* in_file = nullptr;
  locale_t utf8 = locale_t();
  locale_t before = locale_t();
  SCREEN* screen = nullptr;
  WINDOW* typed = nullptr;
  bool has_colour = false;
  bool has_tones = false;
};

CursesDisplay::CursesDisplay(int in, bool colour) : in_(in), curses_(std::make_unique<Curses>(in, colour)) {}

CursesDisplay::~CursesDisplay() = default;

std::string CursesDisplay::Difference(const std::vector<StyledLine>& lines, const ChartSize& size) {
  if (forgotten_) {
    curses_->AskForMouse();
  }
  if (size.columns != size_.columns || size.rows != size_.rows || forgotten_) {
    resize_term(size.rows, size.columns);
    clearok(curscr, TRUE);
    size_ = size;
    forgotten_ = false;
  }
  werase(stdscr);
  const int rows = std::min(static_cast<int>(lines.size()), size.rows);
  for (int row = 0; row < rows; ++row) {
    curses_->Put(row, lines[static_cast<std::size_t>(row)], size.columns);
  }
  wnoutrefresh(stdscr);
  doupdate();
  return curses_->Take();
}

std::optional<std::vector<Key>> CursesDisplay::ReadKeys() {
  int bytes = 0;
  if (ioctl(in_, FIONREAD, &bytes) != 0 || bytes == 0) {
    return std::nullopt;
  }
  std::vector<Key> keys;
  wint_t code = 0;
  for (int kind = wget_wch(curses_->typed, &code); kind != ERR; kind = wget_wch(curses_->typed, &code)) {
    const bool is_code = kind == KEY_CODE_YES;
    const std::span<const KeyCode> kinds = is_code ? std::span<const KeyCode>(kKeyKinds) : kCharacterKinds;
    const auto known =
        std::find_if(kinds.begin(), kinds.end(), [code](const KeyCode& key) { return key.code == code; });
    if (known != kinds.end()) {
      keys.push_back({known->kind});
    } else if (!is_code) {
      keys.push_back(Typed(static_cast<char32_t>(code)));
    } else if (code == KEY_MOUSE) {
      const std::vector<Key> used = MouseKeys();
      keys.insert(keys.end(), used.begin(), used.end());
    }
  }
  return keys;
}

}  // namespace cli
