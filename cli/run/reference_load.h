// The reference data, as far as a command needs them before it can ask. Main thread only.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "c_stock_market.h"
#include "cli/run/main_loop.h"
#include "cli/run/session.h"

namespace cli {

enum class Needs {
  kNothing,
  kCalendar,  ///< holidays, as far as the server knows them
  kNames,     ///< stocks, indices and plates
  kLists,     ///< these, the plates of the stocks and the versions of K-line packages
};

/// The service that an accessor handed out. Throws std::runtime_error when it could not be made.
template <class Service>
Service& Made(Service* service, const char* name) {
  if (service == nullptr) {
    throw std::runtime_error("the service " + std::string(name) + " cannot be made");
  }
  return *service;
}

/// Loads what is needed and calls `done` on the main thread, with false when it could not be loaded within
/// about ten seconds. Lists that fail at once are tried three times, a second apart, before that is said;
/// then they are tried every ten seconds as long as the loop runs, and `done` is called a second time, with
/// true, when they have come. The loop must outlive the module's services.
void LoadReferenceData(HostServices& host, IStockCommon& reference, Needs needs,
                       std::function<void(bool ok)> done);

/// After the load of the lists was begun: calls `done` on the main thread when stocks, indices, plates and
/// the holidays have come, which may be well before all is loaded; not at all when that takes longer than a
/// load.
void AwaitNames(HostServices& host, std::function<void()> done);

/// One try at the lists, without another: `done` is called once.
void TryReferenceData(HostServices& host, IStockCommon& reference, std::function<void(bool ok)> done);

/// After the load of the lists was begun: calls `done` on the main thread when the calendar was answered,
/// too, with false when it could not be loaded within about ten seconds.
void AwaitCalendar(HostServices& host, std::function<void(bool ok)> done);

/// What went wrong with the requests of a load, for a person: "/pc/rt/get_bk_list: timed out".
[[nodiscard]] std::string LoadFailure();

/// The same, or what the module has to say of its answers.
[[nodiscard]] std::string NotLoadedReason(const Warnings& warnings);

/// "cannot load the reference data from …", with the reason as far as it is known.
[[nodiscard]] std::string NotLoadedText(const Session& session);

}  // namespace cli
