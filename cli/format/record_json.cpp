#include "cli/format/record_json.h"

#include "cli/format/china_time.h"

namespace cli {

void BeginJsonLine(JsonWriter& json, std::string_view service, std::wstring_view key,
                   std::int64_t server_time) {
  json.BeginObject();
  json.Key("service");
  json.Value(service);
  json.Key("key");
  json.Value(key);
  json.Key("time");
  json.Value(IsoTime(server_time));
  json.Key("data");
}

}  // namespace cli
