#include "cli/args/parser.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>
#include <string_view>
#include <utility>

#include "cli/format/text.h"

namespace cli {
namespace {

constexpr int kHelpLeft = 26;

// `left`, then `text` in lines of its own column.
std::string HelpEntry(const std::string& left, const std::string& text, int help_width) {
  std::string entry = Pad("  " + left, kHelpLeft, Align::kLeft);
  std::string above;
  if (DisplayWidth(entry) > kHelpLeft) {
    above = entry + "\n";
    entry = std::string(kHelpLeft, ' ');
  }
  return above + Wrapped(entry + text, help_width, kHelpLeft) + "\n";
}

// How many letters have to be changed, put in or left out.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({changed, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row.back();
}

// The one of `names` that `word` may have been meant to be; empty when none comes close.
std::string Meant(const std::string& word, const std::vector<std::string>& names) {
  std::string closest;
  std::size_t least = std::min<std::size_t>(3, word.size() / 2 + 1);
  for (const std::string& name : names) {
    if (const std::size_t distance = Distance(word, name); distance < least) {
      least = distance;
      closest = name;
    }
  }
  return closest;
}

// Options and what they take on the left, wrapped sentences on the right.
class HelpFormat : public CLI::Formatter {
 public:
  explicit HelpFormat(int width) : width_(width) { label("SUBCOMMAND", "COMMAND"); }

  std::string make_option(const CLI::Option* option, bool is_positional) const override {
    std::string left = option->get_name(is_positional, true);
    if (option->get_type_size() != 0) {
      left += " " + option->get_type_name();
    }
    std::string text = option->get_description();
    if (!option->get_default_str().empty()) {
      text += " (default: " + option->get_default_str() + ")";
    }
    return HelpEntry(left, text, width_);
  }

  std::string make_subcommand(const CLI::App* command) const override {
    return HelpEntry(command->get_name(), command->get_description(), width_);
  }

  std::string make_footer(const CLI::App* app) const override {
    return app->get_footer().empty() ? std::string() : "\n" + Wrapped(app->get_footer(), width_) + "\n";
  }

  std::string make_description(const CLI::App* app) const override {
    return Wrapped(CLI::Formatter::make_description(app), width_) + "\n\n";
  }

 private:
  const int width_;
};

// Of the commands that were met. A line that is refused in the end may have met several.
using Runners = std::map<const CLI::App*, Runner>;

CLI::Option* AddOption(CLI::App& app, const Option& option) {
  const auto take = [name = option.name, take = option.take](const std::string& text) {
    try {
      take(text);
    } catch (const UsageError& error) {
      throw CLI::ValidationError(name, error.what());
    }
  };
  if (option.kind == Option::Kind::kFlag) {
    return app.add_flag_callback(
        option.name, [take] { take(""); }, option.help);
  }
  if (option.kind == Option::Kind::kOne) {
    return app.add_option_function<std::string>(option.name, take, option.help);
  }
  CLI::Option* const made = app.add_option_function<std::vector<std::string>>(
      option.name,
      [take](const std::vector<std::string>& texts) { std::for_each(texts.begin(), texts.end(), take); },
      option.help);
  return made->get_positional() ? made : made->allow_extra_args(false)->take_all();
}

void AddOptions(CLI::App& app, const std::vector<Option>& options) {
  for (const Option& option : options) {
    CLI::Option* const made = AddOption(app, option);
    made->required(option.is_required);
    if (option.kind != Option::Kind::kFlag) {
      made->type_name(option.value)->default_str(option.standard);
    }
    if (!option.group.empty()) {
      made->group(option.group);
    }
  }
  for (const Option& option : options) {
    CLI::Option* const made = app.get_option(option.name);
    for (const std::string& other : option.excludes) {
      made->excludes(app.get_option(other));
    }
    for (const std::string& other : option.needs) {
      made->needs(app.get_option(other));
    }
  }
}

// The names of the options that stand in the line.
std::vector<std::string> Given(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    if (option->count() > 0) {
      names.push_back(option->get_name());
    }
  }
  return names;
}

void AddCommands(CLI::App& app, const std::vector<Command>& commands, Runners& runners);

Runner SetUp(CLI::App& app, const std::function<Runner(Form& form)>& set_up, Runners& runners) {
  Form form;
  Runner runner = set_up(form);
  AddOptions(app, form.options);
  app.footer(form.footer);
  app.final_callback([&app, checks = form.checks, take_rest = form.take_rest] {
    for (const std::function<void()>& check : checks) {
      check();
    }
    if (take_rest) {
      take_rest(app.remaining(), Given(app));
    }
  });
  app.prefix_command(static_cast<bool>(form.take_rest));
  if (!form.commands.empty()) {
    AddCommands(app, form.commands, runners);
    app.require_subcommand(1);
  }
  return runner;
}

// Adds commands without what they take: that is asked for when a command is met.
void AddCommands(CLI::App& app, const std::vector<Command>& commands, Runners& runners) {
  for (const Command& command : commands) {
    CLI::App* const sub = app.add_subcommand(std::string(command.name), std::string(command.summary));
    sub->group("Commands");
    sub->preparse_callback([&runners, sub, set_up = command.set_up](std::size_t) {
      runners[sub] = SetUp(*sub, set_up, runners);
    });
  }
}

// Options of the program itself in front of a command would do nothing.
void RefuseMisplaced(const CLI::App& app, const CLI::App& command, const std::string& path) {
  const std::vector<std::string> given = Given(app);
  if (!given.empty()) {
    throw CLI::ValidationError(given.front(),
                               command.get_option_no_throw(given.front()) == nullptr
                                   ? path + " has no such option"
                                   : "belongs after the command: " + path + " " + given.front());
  }
}

// The command that was chosen; it is added to `path`: "csm rank stocks".
const CLI::App& Innermost(const CLI::App& app, std::string& path) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  if (chosen.empty()) {
    return app;
  }
  // The parser lets several pass when texts without meaning stand in front.
  if (chosen.size() > 1) {
    throw CLI::ExtrasError(app.get_name(), {chosen[1]->get_name()});
  }
  path += " " + chosen.front()->get_name();
  return Innermost(*chosen.front(), path);
}

// What the first word that nobody knows may have been meant to be.
std::string MeantIn(const CLI::App& app) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  if (!chosen.empty()) {
    return MeantIn(*chosen.front());
  }
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands(nullptr)) {
    names.push_back(command->get_name());
  }
  for (const CLI::Option* const option : app.get_options()) {
    names.push_back(option->get_name());
  }
  const std::vector<std::string> unknown = app.remaining();
  return unknown.empty() ? std::string() : Printable(Meant(unknown.front(), names));
}

// "csm --replay DIR --speed 5 rank stocks --json" is understood like "csm rank stocks --replay DIR --speed 5
// --json".
std::vector<const char*> InOrder(const std::vector<Command>& commands, int argc, const char* const* argv) {
  std::vector<const char*> arguments(argv, argv + argc);
  const auto is = [&](std::size_t at, std::string_view option) {
    return at < arguments.size() && std::string_view(arguments[at]) == option;
  };
  std::size_t at = 1;
  bool replays = false;
  while (is(at, "--replay") || is(at, "--speed")) {
    replays = replays || is(at, "--replay");
    at += 2;
  }
  if (replays && at < arguments.size()) {
    const auto command = arguments.begin() + static_cast<std::ptrdiff_t>(at);
    const std::vector<std::string> words(command, arguments.end());
    std::rotate(arguments.begin() + 1, command,
                command + static_cast<std::ptrdiff_t>(CommandWords(commands, words)));
  }
  return arguments;
}

}  // namespace

std::size_t CommandWords(const std::vector<Command>& commands, std::span<const std::string> words) {
  const auto met = std::find_if(commands.begin(), commands.end(), [&](const Command& command) {
    return !words.empty() && command.name == words.front();
  });
  if (met == commands.end()) {
    return 0;
  }
  Form form;
  static_cast<void>(met->set_up(form));
  return 1 + CommandWords(form.commands, words.subspan(1));
}

UnderstoodLine Parse(const Program& program, int argc, const char* const* argv) {
  CLI::App app(program.about, program.name);
  static const std::vector<Command> kNone;
  const std::vector<Command>& commands = program.commands == nullptr ? kNone : program.commands();
  Runners runners;
  app.formatter(std::make_shared<HelpFormat>(program.help_width));
  app.set_help_flag("-h,--help", "show this help");
  app.set_version_flag("--version", program.version, "show the version");
  runners[&app] = SetUp(app, program.set_up, runners);
  app.footer(program.examples);
  AddCommands(app, commands, runners);
  app.require_subcommand(0, 1);
  const auto refuse = [&app, &program](const std::exception& error) {
    std::string text = Printable(std::string(error.what()));
    if (const std::string meant = MeantIn(app); !meant.empty()) {
      text += "; did you mean " + meant + "?";
    }
    return UnderstoodLine{{}, kUsage, text + " (" + program.name + " --help says more)"};
  };
  try {
    const std::vector<const char*> arguments = InOrder(commands, argc, argv);
    app.parse(argc, arguments.data());
    std::string path = program.name;
    const CLI::App& chosen = Innermost(app, path);
    if (&chosen != &app) {
      RefuseMisplaced(app, chosen, path);
    }
    return {runners.at(&chosen), kFine, ""};
  } catch (const CLI::Success& wish) {
    std::ostringstream text;
    app.exit(wish, text, text);
    return {{}, kFine, boost::algorithm::replace_all_copy(text.str(), "\n\n\n", "\n\n")};
  } catch (const CLI::ParseError& error) {
    return refuse(error);
  } catch (const UsageError& error) {
    return refuse(error);
  }
}

}  // namespace cli
