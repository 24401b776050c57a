#include "desktop/options.h"

#include <memory>
#include <utility>
#include <vector>

#include "cli/commands/options.h"
#include "cli/format/words.h"
#include "desktop/pane_kinds.h"

namespace desktop {
namespace {

constexpr const char* kAbout =
    "Chinese A-share market data in windows. Without --server the data come from a simulated market inside\n"
    "csm-desktop: nothing to set up, and none of it is real.";
constexpr const char* kExamples = R"(Examples:
  csm-desktop                                   the simulated market
  csm-desktop --server URL                      a market server; needs a key
  csm-desktop --replay DIR                      what "csm record DIR" has kept
  csm-desktop --screenshot board.png --page board --theme light

Exit codes: 0 fine, 1 failure, 2 wrong usage. Settings and keys: the CSM_* variables and csm.ini.)";

Options* target = nullptr;  // of the line that is being read

std::vector<std::string> PageNames() {
  std::vector<std::string> names;
  for (const PageKind& page : PageKinds()) {
    names.emplace_back(page.name);
  }
  return names;
}

void AddOneOf(cli::Form& form, const char* name, const char* help, const std::vector<std::string>& values,
              std::string& into) {
  const auto take = [values, &into](const std::string& text) {
    std::string all;
    for (const std::string& value : values) {
      all += (all.empty() ? "" : ", ") + value;
      if (value == text) {
        into = text;
        return;
      }
    }
    throw cli::UsageError("\"" + text + "\" is none of " + all);
  };
  form.Add(std::string(name) + " NAME", help, take).values = values;
}

cli::Runner SetUp(cli::Form& form) {
  Options& options = *target;
  cli::AddMarketOptions(form, options.session);
  cli::AddReplayOption(form, options.session);
  cli::AddLanguageOption(form);
  AddOneOf(form, "--theme", "colours: light or dark", {"light", "dark"}, options.theme);
  AddOneOf(form, "--rises", "the colour of rises, the other one is that of falls: red or green",
           {"red", "green"}, options.rises);
  AddOneOf(form, "--page", "the page that is opened", PageNames(), options.page);
  form.Add("--symbol TEXT", "the stock, index or plate that is selected, sh600000 or 600000",
           cli::Into(options.symbol));
  const auto take_size = [&options](const std::string& text) {
    const std::size_t x = text.find('x');
    if (x == std::string::npos) {
      throw cli::UsageError("it must be WIDTHxHEIGHT: 1440x900");
    }
    options.size = {static_cast<int>(cli::WholeNumber(text.substr(0, x), 400, 8000)),
                    static_cast<int>(cli::WholeNumber(text.substr(x + 1), 300, 8000))};
  };
  form.Add("--size WxH", "of the window, in pixels", take_size).standard = "1440x900";
  form.Add("--screenshot FILE", "paint the page into this PNG file, without a display, and end",
           cli::Into(options.screenshot));
  cli::AddForOption(form, options.seconds);
  cli::AddIntervalOption(form, options.interval);
  form.AddFlag("--measure", "scroll, stand still and hide for a third of --for each, and say what that cost",
               options.measure);
  return [] { return 0; };
}

}  // namespace

cli::UnderstoodLine ReadOptions(int argc, const char* const* argv, Options& options) {
  target = &options;
  return cli::Parse({.about = kAbout,
                     .examples = kExamples,
                     .version = "csm-desktop " CSM_VERSION,
                     .set_up = &SetUp,
                     .name = "csm-desktop"},
                    argc, argv);
}

}  // namespace desktop
