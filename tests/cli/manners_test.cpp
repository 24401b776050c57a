// What shells and people expect of a program besides its work: words completed, a manual, silence when it is
// asked for.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "child_process.h"

namespace tests {
namespace {

using Words = std::vector<std::string>;

std::string OutputOf(const Words& command) {
  ChildProcess child(command);
  EXPECT_EQ(child.Wait(), 0) << child.errors();
  EXPECT_EQ(child.errors(), "") << command.front();
  return child.output();
}

// What bash offers after `typed`, of which the last word may be a part of one.
Words OfferedByBash(const Words& typed) {
  std::string line = "source <(\"$0\" completion bash)\nCOMP_WORDS=(";
  for (const std::string& word : typed) {
    line += "'" + word + "' ";
  }
  line += ")\nCOMP_CWORD=" + std::to_string(typed.size() - 1) +
          "\n_csm\nfor word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done; complete -p csm >&2";
  ChildProcess bash({"/bin/bash", "-c", line, Csm({}).front()});
  EXPECT_EQ(bash.Wait(), 0);
  EXPECT_EQ(bash.errors(), "complete -F _csm csm\n");
  return LinesOf(bash.output());
}

// Whether zsh, asked the way a person asks it, makes `whole` of `typed`.
bool ZshCompletes(const std::string& typed, const std::string& whole) {
  ChildProcess zsh({"/usr/bin/zsh", "-f", "-i"}, {}, ChildProcess::Around::kTerminal);
  zsh.Type("PS1='ready>'; autoload -Uz compinit && compinit -u -D; csm() { :; }; source <(" +
           Csm({}).front() + " completion zsh); echo set''up\n");
  const auto is_ready = [&] {
    const std::size_t set_up = zsh.output().find("setup");
    return set_up != std::string::npos && zsh.output().find("ready>", set_up) != std::string::npos;
  };
  EXPECT_TRUE(zsh.ReadUntil(is_ready)) << zsh.output();
  zsh.Type(typed + "\t");
  return zsh.ReadUntilOutput(whole);
}

bool Has(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

TEST(Completion, offersTheCommandsAndTheirOwnOptions) {
  const Words commands = OfferedByBash({"csm", ""});
  for (const char* const command : {"board", "kline", "watchlist", "rank", "doctor", "completion"}) {
    EXPECT_TRUE(Has(commands, command)) << command;
  }
  EXPECT_EQ(OfferedByBash({"csm", "distr"}), Words{"distribution"});
  EXPECT_EQ(OfferedByBash({"csm", "rank", "s"}), Words{"stocks"});
  EXPECT_EQ(OfferedByBash({"csm", "rank", "stocks", "--five"}), Words{"--five-minutes"});
  EXPECT_EQ(OfferedByBash({"csm", "board", "--five"}), Words());
  EXPECT_TRUE(Has(OfferedByBash({"csm", "kline", "--"}), "--period"));
  EXPECT_FALSE(Has(OfferedByBash({"csm", "board", "--"}), "--period"));
}

TEST(Completion, offersTheValuesOfAnOption) {
  EXPECT_EQ(OfferedByBash({"csm", "kline", "sh600000", "--period", ""}), (Words{"day", "week", "month"}));
  EXPECT_EQ(OfferedByBash({"csm", "board", "--board", "g"}), Words{"gem"});
  EXPECT_EQ(OfferedByBash({"csm", "completion", "z"}), Words{"zsh"});
  EXPECT_EQ(OfferedByBash({"csm", "--lang", ""}), (Words{"en", "zh"}));
}

TEST(Completion, isUnderstoodByZsh) {
  EXPECT_TRUE(ZshCompletes("csm distr", "csm distribution"));
  EXPECT_TRUE(ZshCompletes("csm kline --period m", "csm kline --period month"));
}

TEST(Completion, ofAnotherShellIsRefused) {
  ChildProcess csm(Csm({"completion", "fish"}));
  EXPECT_EQ(csm.Wait(), 2);
  EXPECT_EQ(csm.errors(), "csm: SHELL: \"fish\" is not one of bash, zsh (csm --help says more)\n");
}

// The page as a person reads it, 80 columns wide, with every command and no complaint of the formatter.
TEST(Manual, isAPageWithEveryCommandAndTheExitCodes) {
  ChildProcess groff({"/bin/sh", "-c", "\"$0\" manual | groff -K utf8 -T utf8 -P -cbou -man -ww -r LL=80n",
                      Csm({}).front()});
  ASSERT_EQ(groff.Wait(), 0) << groff.errors();
  EXPECT_EQ(groff.errors(), "");
  const std::string& page = groff.output();
  std::istringstream help(OutputOf(Csm({"--help"})));
  std::size_t commands = 0;
  for (std::string line; std::getline(help, line) && line != "Examples:";) {
    // "  board       A page of a board of stocks"
    if (line.rfind("  ", 0) == 0 && line.size() > 3 && line[2] >= 'a' && line[2] <= 'z') {
      const std::string name = line.substr(2, line.find(' ', 2) - 2);
      EXPECT_NE(page.find("csm " + name + "\n"), std::string::npos) << name;
      ++commands;
    }
  }
  EXPECT_GE(commands, 20U);
  for (const char* const text : {"csm rank stocks\n", "csm watchlist move\n", "EXIT STATUS", "--replay DIR",
                                 "csm board --rows 0: --count 1 --json"}) {
    EXPECT_NE(page.find(text), std::string::npos) << text;
  }
}

// Standard error has nothing but failures.
TEST(Quiet, leavesOutWhatIsNoFailure) {
  const Words index = Csm({"index", "--count", "1", "--clock", "10:30"});
  ChildProcess loud(index);
  EXPECT_EQ(loud.Wait(), 0);
  EXPECT_NE(loud.errors().find("csm: asking "), std::string::npos) << loud.errors();
  Words quiet = index;
  quiet.push_back("--quiet");
  EXPECT_NE(OutputOf(quiet).find("sh000001"), std::string::npos);
  EXPECT_NE(OutputOf(Csm({"kline", "600000", "--last", "1", "--clock", "2024-03-13 18:00", "--quiet"})), "");
  ChildProcess failing(
      Csm({"quote", "600000", "--count", "1", "--quiet", "--for", "1", "--server", "http://127.0.0.1:1"}),
      {{"CSM_KEY_ID", "tester"}, {"CSM_KEY", "a secret of the test"}});
  EXPECT_EQ(failing.Wait(), 1);
  EXPECT_EQ(LinesOf(failing.errors()).size(), 1U) << failing.errors();
}

}  // namespace
}  // namespace tests
