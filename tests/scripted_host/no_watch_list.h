// Takes the watch list away from the scripted host: a host may have none. The list itself is
// scripted_host.h's.
#pragma once

/// While one lives, `GetUserOptionalStock` returns null. Thread-safe.
class NoWatchList {
 public:
  NoWatchList();
  ~NoWatchList();
  NoWatchList(const NoWatchList&) = delete;
  NoWatchList& operator=(const NoWatchList&) = delete;
};
