// Every page of the live screen on terminals from the smallest to a wall: which panels and columns each has
// room for, and that nothing on a small one is a piece of a figure.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "child_process.h"
#include "cli/format/text.h"
#include "screen_reader.h"

namespace tests {
namespace {

using Texts = std::vector<std::string>;

struct Size {
  int columns;
  int rows;
};
constexpr std::array kSizes = {Size{60, 14},  Size{80, 24},  Size{100, 30}, Size{120, 40},
                               Size{160, 50}, Size{200, 60}, Size{300, 100}};
constexpr Size kWidest{900, 300};

// The characters of `row` from column `begin` to `end`.
std::string Columns(const std::string& row, int begin, int end) {
  std::string part;
  int column = 0;
  for (std::size_t i = 0; i < row.size();) {
    std::size_t next = i + 1;
    while (next < row.size() && (static_cast<unsigned char>(row[next]) & 0xC0U) == 0x80U) {
      ++next;
    }
    const std::string character = row.substr(i, next - i);
    if (column >= begin && column < end) {
      part += character;
    }
    column += cli::DisplayWidth(character);
    i = next;
  }
  return part;
}

Texts WordsIn(const std::string& text) {
  std::istringstream stream(text);
  Texts words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

bool HasDigit(const std::string& word) {
  return std::any_of(word.begin(), word.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

// A panel as it stands on the screen.
struct Seen {
  std::string title;
  Texts inside;  ///< without title and state
  std::string state;
};

// The panels between head and foot, column by column.
std::vector<Seen> PanelsOn(const Texts& rows, int columns) {
  std::vector<int> edges = {0};
  const std::string& titles = rows[2];
  for (std::size_t at = titles.find("│"); at != std::string::npos; at = titles.find("│", at + 1)) {
    edges.push_back(cli::DisplayWidth(titles.substr(0, at)) + 2);
  }
  edges.push_back(columns + 2);
  std::vector<Seen> panels;
  for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
    for (std::size_t row = 2; row + 2 < rows.size(); ++row) {
      const std::string text = Columns(rows[row], edges[i], edges[i + 1] - 2);
      const std::size_t rule = text.find(" ─");
      if ((text.rfind("▸ ", 0) == 0 || text.rfind("  ", 0) == 0) && rule != std::string::npos &&
          text.find_first_not_of(' ', 2) != rule + 1) {
        const std::size_t begin = text.find(' ') == 0 ? 2 : std::string("▸ ").size();
        panels.push_back({text.substr(begin, rule - begin), {}, ""});
      } else if (!panels.empty()) {
        panels.back().inside.push_back(text);
      }
    }
  }
  for (Seen& panel : panels) {
    panel.state = panel.inside.empty() ? "" : panel.inside.back();
    panel.inside.resize(panel.inside.empty() ? 0 : panel.inside.size() - 1);
  }
  return panels;
}

bool IsChart(const Seen& panel) {
  const std::string& title = panel.title;
  return title.rfind("minute", 0) == 0 || title.rfind("candles", 0) == 0 || title.rfind("average", 0) == 0 ||
         title.rfind("stocks up", 0) == 0;
}

// "board: all A shares by change, descending" is "board".
std::string ShortTitle(const std::string& title) {
  std::size_t end = title.find_first_of(":,");
  for (const char* const word : {" of ", " by ", " in "}) {
    end = std::min(end, title.find(word));
  }
  return title.substr(0, end);
}

bool IsTable(const Seen& panel) {
  return !panel.inside.empty() && !IsChart(panel) && !WordsIn(panel.inside.front()).empty() &&
         !HasDigit(panel.inside.front());
}

// "board(code name last change) quote".
std::string LayoutOf(const std::vector<Seen>& panels) {
  std::string layout;
  for (const Seen& panel : panels) {
    layout += (layout.empty() ? "" : ", ") + ShortTitle(panel.title);
    if (IsTable(panel)) {
      std::string header;
      for (const std::string& word : WordsIn(panel.inside.front())) {
        header += (header.empty() ? "" : " ") + word;
      }
      layout += "(" + header + ")";
    }
  }
  return layout;
}

// Words with digits in head and panels; of charts those of their headings.
std::set<std::string> FiguresOn(const Texts& rows, const std::vector<Seen>& panels) {
  std::set<std::string> figures;
  const auto take = [&](const std::string& text) {
    for (const std::string& word : WordsIn(text)) {
      if (HasDigit(word)) {
        figures.insert(word);
      }
    }
  };
  take(rows[0]);
  for (const Seen& panel : panels) {
    for (std::size_t i = 0; i < panel.inside.size() && (i == 0 || !IsChart(panel)); ++i) {
      take(panel.inside[i]);
    }
  }
  return figures;
}

struct Golden {
  char page;
  std::array<const char*, kSizes.size()> layouts;
};

const Golden kGolden[] = {
    {'1',
     {"board(code name last diff change tr)", "board(code name last change), quote",
      "board(code name last diff change), quote", "board(code name last diff change tr amt), quote",
      "board(code name last diff change), quote, minute line, unusual events(time event), flows(days big in "
      "big out big net small in small out)",
      "board(code name last diff change tr amt), quote, minute line, unusual events(time event), flows(days "
      "big in big out big net small in small out small net)",
      "board(code name last diff change tr vol amt open high low preclose), quote, minute line, unusual "
      "events(time event), flows(code name days big in big out big net small in small out small net)"}},
    {'2',
     {"minute line", "minute line, quote", "minute line, quote", "minute line, quote",
      "minute line, quote, flows(days big in big out big net small in small out), unusual events(time event)",
      "minute line, quote, flows(days big in big out big net small in small out small net), unusual "
      "events(time event)",
      "minute line, quote, flows(code name days big in big out big net small in small out small net), "
      "unusual events(time event)"}},
    {'3',
     {"candles", "candles, quote", "candles, quote", "candles, quote",
      "candles, quote, minute line, flows(days big in big out big net small in small out)",
      "candles, quote, minute line, flows(days big in big out big net small in small out small net)",
      "candles, quote, minute line, flows(code name days big in big out big net small in small out small "
      "net)"}},
    {'4',
     {"top 30(code name last diff change tr)",
      "top 30(# code name last diff change tr), top 30(# bk name change bpin cud lead lead_change)",
      "top 30(# code name last diff change tr), top 30(# bk name change bpin cud lead lead_change)",
      "top 30(code name last diff change tr), top 30(bk name change lead lead_change), board(code name last "
      "diff change)",
      "top 30(# code name last diff change tr), top 30(# bk name change bpin cud lead lead_change), "
      "board(code name last diff change tr amt)",
      "top 30(# code name last diff change tr), top 30(# bk name change bpin cud lead lead_change), "
      "board(code name last diff change tr vol amt open)",
      "top 30(# code name last diff change tr), top 30(# bk name change bpin cud lead lead_change), "
      "board(code name last diff change tr vol amt open high low preclose amp qrr)"}},
    {'5',
     {"watch list(code name last diff change tr)", "watch list(code name last change), quote",
      "watch list(code name last diff change), quote", "watch list(code name last diff change tr amt), quote",
      "watch list(code name last diff change), quote, minute line, unusual events(time event), flows(days "
      "big in big out big net small in small out)",
      "watch list(code name last diff change tr amt), quote, minute line, unusual events(time event), "
      "flows(days big in big out big net small in small out small net)",
      "watch list(code name last diff change tr vol amt open high low plate), quote, minute line, unusual "
      "events(time event), flows(code name days big in big out big net small in small out small net)"}},
    {'6',
     {"unusual events(time event)",
      "unusual events(time event), flows(code days big in big out big net small in small out small net)",
      "unusual events(time event), flows(days big in big out big net small in small out), quote",
      "unusual events(time event), flows(days big in big out big net small in small out small net), quote",
      "unusual events(time event), flows(days big in big out big net small in small out), quote, minute line",
      "unusual events(time event), flows(code days big in big out big net small in small out small net), "
      "quote, minute line",
      "unusual events(time event), flows(code name days big in big out big net small in small out small "
      "net), quote, minute line"}},
    {'7',
     {"stocks up and down", "stocks up and down, average change",
      "stocks up and down, average change, spread", "stocks up and down, average change, spread",
      "stocks up and down, average change, spread", "stocks up and down, average change, spread",
      "stocks up and down, average change, spread"}},
    {'8',
     {"average change", "average change, stocks up and down, quote",
      "average change, stocks up and down, quote", "average change, stocks up and down, quote",
      "average change, stocks up and down, quote", "average change, stocks up and down, quote",
      "average change, stocks up and down, quote"}},
    {'9',
     {"industry plates(code name last change lead)", "industry plates(code name last change), quote",
      "industry plates(code name last change lead), quote",
      "industry plates(code name last change lead lead_change), quote",
      "industry plates(code name last change lead), quote, minute line, unusual events(time event), "
      "flows(days big in big out big net small in small out)",
      "industry plates(code name last diff change lead lead_change), quote, minute line, unusual events(time "
      "event), flows(days big in big out big net small in small out small net)",
      "industry plates(code name last diff change num_u num_z num_d lead lead_change tr amt), quote, minute "
      "line, unusual events(time event), flows(code name days big in big out big net small in small out "
      "small net)"}},
};

TEST(GoldenScreens, haveTheirPanelsAndColumnsAndNoPieceOfAFigure) {
  ChildProcess csm(Csm({"--clock", "2024-03-13 10:30:00", "--speed", "0"}), {},
                   ChildProcess::Around::kTerminal);
  ScreenReader reader(100, 30);
  std::size_t read = 0;
  const auto rows = [&] {
    reader.Read(std::string_view(csm.output()).substr(read));
    read = csm.output().size();
    return reader.Rows();
  };
  const auto resize = [&](const Size& size) {
    static_cast<void>(rows());
    reader.Resize(size.columns, size.rows);
    csm.Resize(size.columns, size.rows);
  };
  // Nothing is waited for, and nothing more has come since the last look: no line is half read.
  std::size_t looked_at = 0;
  const auto is_answered = [&] {
    static_cast<void>(rows());
    return std::exchange(looked_at, read) == read && reader.Text().find("… w") == std::string::npos;
  };
  const auto panels = [&](const Size& size) { return PanelsOn(rows(), size.columns); };
  // A picture may come in pieces, from top to bottom: its foot and the state of each panel stand.
  const auto is_whole = [&](char page, const Size& size) {
    const std::vector<Seen> seen = panels(size);
    return rows().back().find("[" + std::string(1, page) + " ") != std::string::npos &&
           std::all_of(seen.begin(), seen.end(), [](const Seen& panel) {
             return panel.state.find_first_of("*=-") != std::string::npos;
           });
  };
  ASSERT_TRUE(csm.ReadUntil([&] { return rows(), reader.Text().find("bid5") != std::string::npos; }));
  csm.Type("5+");
  ASSERT_TRUE(csm.ReadUntil([&] { return rows(), reader.Text().find("▸ s") != std::string::npos; }));
  for (const Golden& golden : kGolden) {
    const char page = golden.page;
    csm.Type(std::string(1, page));
    std::vector<std::set<std::string>> figures;
    for (std::size_t i = 0; i < kSizes.size(); ++i) {
      SCOPED_TRACE(std::string("page ") + page + " on " + std::to_string(kSizes[i].columns) + " by " +
                   std::to_string(kSizes[i].rows));
      resize(kSizes[i]);
      const bool is_there = csm.ReadUntil(
          [&] {
            return is_answered() && is_whole(page, kSizes[i]) &&
                   LayoutOf(panels(kSizes[i])) == golden.layouts[i];
          },
          std::chrono::seconds(20));
      EXPECT_TRUE(is_there) << "    \"" << LayoutOf(panels(kSizes[i])) << "\",\n" << reader.Text();
      const Texts seen = rows();
      EXPECT_EQ(seen[1].rfind("SIMULATED  ", 0), 0U) << seen[1];
      EXPECT_TRUE(seen[1].find("= unchanged since 10:30:00") != std::string::npos ||
                  seen[1].find("* live") != std::string::npos)
          << seen[1];
      EXPECT_NE(seen.back().find("[" + std::string(1, page) + " "), std::string::npos) << seen.back();
      for (const Seen& panel : panels(kSizes[i])) {
        EXPECT_NE(panel.state.find_first_of("*=-"), std::string::npos) << panel.title << ": " << panel.state;
        EXPECT_TRUE(!IsChart(panel) || panel.inside.size() > 4) << panel.title;
      }
      figures.push_back(FiguresOn(seen, panels(kSizes[i])));
      EXPECT_FALSE(figures.back().empty());
    }
    // Where there is room for everything, nothing needs to be cut.
    resize(kWidest);
    std::set<std::string> whole;
    const auto has_all = [&] {
      whole = FiguresOn(rows(), panels(kWidest));
      return is_answered() && std::all_of(figures.begin(), figures.end(), [&](const auto& some) {
               return std::includes(whole.begin(), whole.end(), some.begin(), some.end());
             });
    };
    if (!csm.ReadUntil(has_all, std::chrono::seconds(20))) {
      for (std::size_t i = 0; i < figures.size(); ++i) {
        for (const std::string& figure : figures[i]) {
          EXPECT_EQ(whole.count(figure), 1U)
              << LayoutOf(panels(kWidest)) << "\npage " << page << " on " << kSizes[i].columns << " by "
              << kSizes[i].rows << ": " << figure;
        }
      }
    }
  }
  csm.Type("q");
  EXPECT_EQ(csm.Wait(), 0);
  EXPECT_TRUE(reader.unknown().empty()) << reader.unknown().front();
}

}  // namespace
}  // namespace tests
