// How help looks: options and what they take on the left, wrapped sentences on the right. Used by the parser,
// main thread only.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <string>

namespace cli {

class HelpFormat : public CLI::Formatter {
 public:
  HelpFormat();
  std::string make_option(const CLI::Option* option, bool is_positional) const override;
  std::string make_subcommand(const CLI::App* command) const override;
};

}  // namespace cli
