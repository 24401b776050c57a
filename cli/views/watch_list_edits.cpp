#include "cli/views/watch_list_edits.h"

#include <algorithm>

#include "cli/format/chart_headings.h"
#include "cli/format/text.h"
#include "cli/views/view.h"
#include "host_services/stock_host.h"

namespace cli {

std::string WatchListEdits::Add(const Security& security) {
  if (security.code.empty()) {
    return kNothingSelected;
  }
  std::string error;
  return stock_host::AddToWatchList(security.code, error) ? NameText(security) + " is in the watch list"
                                                          : Printable(error);
}

std::string WatchListEdits::Remove(const Security& security) {
  if (security.code.empty()) {
    return kNothingSelected;
  }
  const std::vector<std::wstring> list = stock_host::WatchList();
  const auto place = std::find(list.begin(), list.end(), security.code) - list.begin();
  std::string error;
  if (!stock_host::RemoveFromWatchList(security.code, error)) {
    return Printable(error);
  }
  removed_.push_back({security, static_cast<std::size_t>(place)});
  return NameText(security) + " is off the watch list; " + undo_ + " puts it back";
}

std::string WatchListEdits::Move(const Security& security, std::size_t position) {
  std::string error;
  return stock_host::MoveInWatchList(security.code, position, error)
             ? NameText(security) + " is number " + std::to_string(position + 1) + " of the watch list"
             : Printable(error);
}

std::string WatchListEdits::Undo() {
  if (removed_.empty()) {
    return "nothing was taken out";
  }
  const Removed last = removed_.back();
  std::string error;
  if (!stock_host::AddToWatchList(last.security.code, error) ||
      !stock_host::MoveInWatchList(last.security.code, last.position, error)) {
    return Printable(error);
  }
  removed_.pop_back();
  return NameText(last.security) + " is back in its place";
}

}  // namespace cli
