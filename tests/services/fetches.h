// Every fetch of the module, one line each: what is asked, what a good answer looks like, and what becomes of
// answers.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "all_services.h"

/// The three lines that a fetch writes; empty for a line that it does not have.
struct Lines {
  std::wstring failed;
  std::wstring response_error;
  std::wstring parse_error;
};

struct FetchCase {
  const char* name;
  Lines lines;
  const char* path;
  Request::Kind kind;
  int setting;
  std::string good;                  ///< an answer with data
  std::vector<std::string> payload;  ///< the keys from the outermost object to the payload
  char type;                         ///< of the payload: '[' array, '{' object, '"' text

  std::function<void(AllServices&)> fetch;
  /// Whether the service still holds what the latest good answer brought; empty for one that holds nothing.
  std::function<bool(AllServices&)> keeps;

  std::size_t audience = 1;          ///< who is told about a good answer
  bool parses_all = false;           ///< a failed request and an empty body are parsed all the same
  bool told_by_failure = false;      ///< a failure is told as well
  bool told_by_nothing = true;       ///< an answer without payload is told
  bool told_by_null_entries = true;  ///< an answer whose entries are null is told
  std::wstring null_line = {};  ///< line about one entry that is null, with its number: nobody is told then
  bool latest_only = false;     ///< an answer to an older request is dropped, though nothing newer came
  bool direct = false;          ///< every request has its own receiver, who gets the answer whenever it comes
  /// Runs something while the view of the fetch is shown.
  std::function<void(AllServices&, const std::function<void()>&)> showing = {};
};

/// For the names of tests.
inline void PrintTo(const FetchCase& fetch, std::ostream* stream) {
  *stream << fetch.name;
}

const std::vector<FetchCase>& AllFetches();
/// The one of that name.
const FetchCase& FetchNamed(const std::string& name);
