// Following one key of a service: from the subscription to the exit code. Main thread only.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "c_stock_market.h"
#include "cli/format/record_json.h"
#include "cli/line_run.h"
#include "cli/reference_run.h"
#include "cli/subscription.h"

namespace cli {

inline constexpr Feed kReferenceFeed{"stock_common", ""};

/// The service that an accessor handed out. Throws std::runtime_error when it could not be made.
template <class Service>
Service& Made(Service* service, const Feed& feed) {
  if (service == nullptr) {
    throw std::runtime_error("the service " + std::string(feed.name) + " cannot be made");
  }
  return *service;
}

/// A delivered list as a JSON line, each record as its table describes it.
template <class Data, class RecordTable>
std::string RecordsLine(std::string_view service, std::wstring_view key, const Delivery<Data>& delivery,
                        const RecordTable& table) {
  JsonWriter json;
  BeginJsonLine(json, service, key, delivery.server_time);
  WriteRecords(json, table, delivery.data);
  json.EndObject();
  return json.Text();
}

/// One update, as `json_line(delivery)` or as `picture(delivery)`.
template <class Data, class JsonLine, class Picture>
void Show(LineRun& run, const Delivery<Data>& delivery, const JsonLine& json_line, const Picture& picture) {
  if (run.json()) {
    run.OnUpdate(json_line(delivery));
  } else {
    run.OnPicture(picture(delivery));
  }
}

/// Shows every update of `key` until the options of `run` say that it is enough: as `json_line(delivery)` or
/// as `picture(delivery)`, lines one below another. Returns an exit code.
template <class Data, class Service, class Key, class JsonLine, class Picture>
int FollowKey(LineRun& run, Service& service, const Key& key, JsonLine&& json_line, Picture&& picture) {
  const Subscription<Service, Data> subscription(service, key, run.loop(),
                                                 [&](const Delivery<Data>& delivery) {
                                                   if (run.json()) {
                                                     run.OnUpdate(json_line(delivery));
                                                   } else {
                                                     run.OnPicture(picture(delivery));
                                                   }
                                                 });
  return run.Run([&service] { service.Refresh(); });
}

/// The same, once the reference data were loaded. `make_key(reference, loaded)` runs then, on the main
/// thread; what it throws ends the run.
template <class Data, class Service, class MakeKey, class JsonLine, class Picture>
int FollowKeyAfterLists(LineRun& run, Service& service, MakeKey&& make_key, JsonLine&& json_line,
                        Picture&& picture) {
  std::optional<Subscription<Service, Data>> subscription;
  IStockCommon& reference = Made(GetStockCommon(), kReferenceFeed);
  LoadReferenceData(run.loop(), reference, Needs::kLists, [&](bool loaded) {
    if (subscription) {
      return;  // lists that come late change nothing of what is followed
    }
    subscription.emplace(service, make_key(reference, loaded), run.loop(),
                         [&](const Delivery<Data>& delivery) { Show(run, delivery, json_line, picture); });
  });
  return run.Run([&service] { service.Refresh(); });
}

}  // namespace cli
