// The command line of csm, one argument a line: it is understood, or refused with one line for a person;
// nothing of it is run. And what reads the values of options: each takes a text as what it says of it, or
// refuses it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/application.h"
#include "cli/commands/options.h"
#include "cli/format/text.h"
#include "cli/views/securities.h"
#include "cli/views/vocabulary.h"
#include "host/calendar.h"
#include "host/text.h"
#include "market_server/market_server.h"

namespace {

// A line of more arguments finds nothing new.
constexpr std::size_t kMostArguments = 24;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// An argument of a program ends at its first zero.
std::vector<std::string> ArgumentsOf(std::string_view text) {
  std::vector<std::string> arguments = {"csm"};
  while (!text.empty() && arguments.size() < kMostArguments) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    arguments.emplace_back(line.substr(0, line.find('\0')));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return arguments;
}

void CheckLine(const std::vector<std::string>& arguments) {
  std::vector<const char*> pointers;
  for (const std::string& argument : arguments) {
    pointers.push_back(argument.c_str());
  }
  const int count = static_cast<int>(pointers.size());
  pointers.push_back(nullptr);
  const cli::UnderstoodLine line = cli::Understand(count, pointers.data());
  if (line.run) {
    Require(line.code == cli::kFine && line.text.empty());
  } else if (line.code == cli::kFine) {
    Require(line.text.ends_with('\n'));
  } else {
    Require(line.code == cli::kUsage && !line.text.empty() && cli::Printable(line.text) == line.text);
  }
}

void CheckSymbol(const std::string& text) {
  if (const auto symbol = cli::ParseSymbol(text)) {
    const std::string narrow = common::ws2s(*symbol, common::kUtf8);
    Require(narrow.size() == 8 && stock::CheckSymbol(symbol->c_str()) != stock::kSymbolUnknown &&
            cli::ParseSymbol(narrow) == symbol);
  }
}

void CheckRows(const std::string& text) {
  if (const auto rows = cli::ParseRows(text)) {
    Require(rows->start < rows->end && cli::ParseRows(cli::RowsText(*rows)) == rows);
  }
}

void CheckDate(const std::string& text) {
  if (const auto date = cli::ParseDate(text)) {
    Require(*date >= 19900101 && *date <= 20991231 && cli::ParseDate(std::to_string(*date)) == date);
  }
}

// The server is never started: only its own reading of the text is wanted.
template <class Setting>
void CheckServerSetting(const Setting& set) {
  try {
    set();
  } catch (const std::runtime_error& error) {
    Require(*error.what() != '\0');
  }
}

void CheckTypeAhead(const std::string& text) {
  static const std::vector<BaseInfoItem> items = {{L"sh600000", L"浦江银行", L"PJYH", 6},
                                                  {L"sz000001", L"平山银行", L"PSYH", 6},
                                                  {L"sh000001", L"上证指数", L"SZZS", 0},
                                                  {L"bk", L"", L"", 1}};
  constexpr std::size_t kLimit = 2;
  const auto matches = cli::FindByText({{"stock", &items}}, common::s2ws(text, common::kUtf8), kLimit);
  Require(matches.size() <= (text.empty() ? 0 : kLimit));
  for (const cli::Match& match : matches) {
    Require(match.item >= items.data() && match.item < items.data() + items.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static market_server::Server server{market_server::Options()};
  const std::vector<std::string> arguments =
      ArgumentsOf(std::string_view(reinterpret_cast<const char*>(data), size));
  CheckLine(arguments);
  for (const std::string& argument : arguments) {
    CheckSymbol(argument);
    CheckRows(argument);
    CheckDate(argument);
    CheckServerSetting([&] { server.SetClock(argument); });
    CheckServerSetting([&] { server.SetFaults({argument}); });
    CheckTypeAhead(argument);
  }
  return 0;
}
