#include "cli/commands/commands.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include "cli/application.h"

namespace cli {
namespace {

// A command with its words before it, and what it takes.
struct Entry {
  std::string path;  ///< "rank stocks"; empty: csm itself
  std::string summary;
  Form form;
};

void Collect(const std::vector<Command>& commands, const std::string& before, std::vector<Entry>& entries) {
  for (const Command& command : commands) {
    Entry entry{before + std::string(command.name), std::string(command.summary), {}};
    static_cast<void>(command.set_up(entry.form));
    entries.push_back(entry);
    Collect(entry.form.commands, entry.path + " ", entries);
  }
}

std::vector<Entry> AllCommands() {
  std::vector<Entry> entries(1);
  static_cast<void>(SetUpLive(entries.front().form));
  Collect(Commands(), "", entries);
  return entries;
}

bool IsNamed(const Option& option) {
  return option.name.rfind("--", 0) == 0;
}

// What may follow the words of a command.
std::string WordsAfter(const Entry& entry, bool with_commands) {
  std::string words;
  for (const Command& command : with_commands ? Commands() : entry.form.commands) {
    words += std::string(command.name) + " ";
  }
  for (const Option& option : entry.form.options) {
    if (IsNamed(option)) {
      words += option.name + " ";
    } else {
      for (const std::string& value : option.values) {
        words += value + " ";
      }
    }
  }
  return words + "--help";
}

// In text for man(7): a backslash and a dot or quote at a line's beginning mean something there.
std::string Roff(const std::string& text) {
  std::string roff;
  bool at_start = true;
  for (const char c : text) {
    if (c == '\\') {
      roff += "\\e";
    } else if (c == '-') {
      roff += "\\-";
    } else {
      roff += at_start && (c == '.' || c == '\'') ? std::string("\\&") + c : std::string(1, c);
    }
    at_start = c == '\n';
  }
  return roff;
}

void WriteOptions(std::ostringstream& page, const Form& form) {
  for (const Option& option : form.options) {
    const bool takes = option.kind != Option::Kind::kFlag && IsNamed(option) && !option.value.empty();
    page << ".TP\n\\fB" << Roff(option.name) << "\\fR" << (takes ? " \\fI" + Roff(option.value) + "\\fR" : "")
         << "\n"
         << Roff(option.help) << (option.standard.empty() ? "" : " (default: " + Roff(option.standard) + ")")
         << "\n";
  }
}

}  // namespace

std::string CompletionScript(std::string_view shell) {
  std::ostringstream script;
  if (shell == "zsh") {
    script << "#compdef csm\nautoload -U +X bashcompinit && bashcompinit\n";
  }
  script << "_csm() {\n"
            "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} so_far= i\n"
            "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
            "    case \"$so_far ${COMP_WORDS[i]}\" in\n";
  const std::vector<Entry> entries = AllCommands();
  for (const Entry& entry : entries) {
    if (!entry.path.empty()) {
      script << "      ' " << entry.path << "') so_far=' " << entry.path << "' ;;\n";
    }
  }
  script << "    esac\n  done\n  case \"$so_far $before\" in\n";
  for (const Entry& entry : entries) {
    const std::string path = entry.path.empty() ? "" : " " + entry.path;
    for (const Option& option : entry.form.options) {
      if (IsNamed(option) && !option.values.empty()) {
        script << "    '" << path << " " << option.name << "') COMPREPLY=($(compgen -W '";
        for (const std::string& value : option.values) {
          script << value << " ";
        }
        script << "' -- \"$word\")); return ;;\n";
      } else if (IsNamed(option) && (option.value == "DIR" || option.value == "FILE")) {
        script << "    '" << path << " " << option.name
               << "') COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n";
      }
    }
  }
  script << "  esac\n  case \"$so_far\" in\n";
  for (const Entry& entry : entries) {
    script << "    '" << (entry.path.empty() ? "" : " " + entry.path) << "') COMPREPLY=($(compgen -W '"
           << WordsAfter(entry, entry.path.empty()) << "' -- \"$word\")) ;;\n";
  }
  script << "  esac\n}\ncomplete -F _csm csm\n";
  return script.str();
}

std::string ManualPage() {
  std::ostringstream page;
  page << ".TH CSM 1 \"\" \"csm " CSM_VERSION
          "\" \"User commands\"\n.SH NAME\ncsm \\- Chinese A\\-share market data "
          "on the command line\n.SH SYNOPSIS\n\\fBcsm\\fR [\\fICOMMAND\\fR] [\\fIOPTIONS\\fR]\n.SH "
          "DESCRIPTION\n"
       << Roff(About()) << "\n.SH EXIT STATUS\n0 fine, 1 failure, 2 wrong usage.\n";
  for (const Entry& entry : AllCommands()) {
    page << (entry.path.empty() ? ".SH OPTIONS\n" : ".SH \"csm " + Roff(entry.path) + "\"\n");
    page << (entry.summary.empty() ? "" : Roff(entry.summary) + ".\n");
    WriteOptions(page, entry.form);
    if (!entry.form.footer.empty()) {
      page << ".PP\n.nf\n" << Roff(entry.form.footer) << "\n.fi\n";
    }
  }
  return page.str();
}

Runner SetUpCompletion(Form& form) {
  const auto shell = std::make_shared<std::string>();
  Option& option = form.Add("SHELL", "bash or zsh", [shell = shell.get()](const std::string& name) {
    if (name != "bash" && name != "zsh") {
      throw UsageError("\"" + name + "\" is not one of bash, zsh");
    }
    *shell = name;
  });
  option.is_required = true;
  option.values = {"bash", "zsh"};
  form.footer = R"(Examples:
  csm completion bash > ~/.local/share/bash-completion/completions/csm
  csm completion zsh > ~/.zfunc/_csm)";
  return [shell] {
    std::cout << CompletionScript(*shell) << std::flush;
    return static_cast<int>(kFine);
  };
}

Runner SetUpManual(Form& form) {
  form.footer = R"(Examples:
  csm manual > csm.1     the page, for man ./csm.1)";
  return [] {
    std::cout << ManualPage() << std::flush;
    return static_cast<int>(kFine);
  };
}

}  // namespace cli
