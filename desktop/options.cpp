#include "desktop/options.h"

#include <algorithm>
#include <boost/algorithm/string/join.hpp>
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

cli::Option OneOf(const char* name, const char* help, const std::vector<std::string>& values,
                  std::string& into) {
  return {
      .name = name,
      .help = help,
      .take =
          [values, &into](const std::string& text) {
            if (std::ranges::find(values, text) == values.end()) {
              throw cli::UsageError("\"" + text + "\" is none of " + boost::algorithm::join(values, ", "));
            }
            into = text;
          },
      .value = "NAME",
      .values = values};
}

cli::Runner SetUp(cli::Form& form) {
  Options& options = *target;
  std::vector<std::string> pages;
  for (const PageKind& page : PageKinds()) {
    pages.emplace_back(page.name);
  }
  cli::AddMarketOptions(form, options.session);
  cli::AddReplayOption(form, options.session);
  cli::AddLanguageOption(form);
  form.Add(OneOf("--theme", "colours: light or dark", {"light", "dark"}, options.theme));
  form.Add(OneOf("--rises", "the colour of rises, the other one is that of falls: red or green",
                 {"red", "green"}, options.rises));
  form.Add(OneOf("--page", "the page that is opened", pages, options.page));
  form.Add({.name = "--symbol",
            .help = "the stock, index or plate that is selected, sh600000 or 600000",
            .take = cli::Into(options.symbol)});
  form.Add({.name = "--size",
            .help = "of the window, in pixels",
            .take =
                [&options](const std::string& text) {
                  const std::size_t x = text.find('x');
                  if (x == std::string::npos) {
                    throw cli::UsageError("it must be WIDTHxHEIGHT: 1440x900");
                  }
                  options.size = {static_cast<int>(cli::WholeNumber(text.substr(0, x), 400, 8000)),
                                  static_cast<int>(cli::WholeNumber(text.substr(x + 1), 300, 8000))};
                },
            .value = "WxH",
            .standard = "1440x900"});
  form.Add({.name = "--screenshot",
            .help = "paint the page into this PNG file, without a display, and end",
            .take = cli::Into(options.screenshot),
            .value = "FILE"});
  cli::AddForOption(form, options.seconds);
  cli::AddIntervalOption(form, options.interval);
  form.Add(cli::Flag("--measure",
                     "scroll, stand still and hide for a third of --for each, and say what that cost",
                     options.measure));
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
