// A client that shows everything at once and looks at nothing: views without a face on every service, with
// the keys that the commands show unless they are told otherwise. For recording. Main thread only.
#pragma once

#include <functional>
#include <vector>

#include "c_stock_market.h"
#include "cli/main_loop.h"

namespace cli {

class UsualServices {
 public:
  /// Begins to load the reference data and asks each service once. The loop must outlive the module's
  /// services. Throws std::runtime_error when a service cannot be made.
  explicit UsualServices(MainLoop& loop);
  /// Takes the views away; before the module's services end.
  ~UsualServices();
  UsualServices(const UsualServices&) = delete;
  UsualServices& operator=(const UsualServices&) = delete;

  /// Asks the services that do not poll in seconds by themselves.
  void Refresh() const;

 private:
  enum class Polls { kInSeconds, kByPhase };

  template <class Data, class Service, class Key>
  void Show(Service* service, const Key& key, Polls polls);
  void ShowMembersOfAPlate(IStockCommon& reference);

  std::vector<std::function<void()>> refresh_;
  std::vector<std::function<void()>> detach_;
};

}  // namespace cli
