#include "cli/format/record_json.h"

#include "cli/format/china_time.h"

namespace cli {

void BeginJsonLine(JsonWriter& json, std::string_view service, std::wstring_view key,
                   std::int64_t server_time) {
  json.BeginObject();
  json.Member("service", service);
  json.Member("key", key);
  json.Member("time", IsoTime(server_time));
  json.Key("data");
}

}  // namespace cli
