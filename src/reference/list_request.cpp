#include "reference/list_request.h"

#include <cstddef>
#include <string>

#include "frame/succeeds.h"
#include "host/clock.h"
#include "request/urls.h"

namespace reference {
namespace {

constexpr int kIndustryPlates = 1;

struct Endpoint {
  std::wstring (*url)();
  request::Fetch fetch;
};

// In the order of `ListName`.
constexpr std::array<Endpoint, kListNames.size()> kEndpoints = {{
    {&request::BasicInfoUrl, request::Fetch::kBaseInfo},
    {&request::PlateListUrl, request::Fetch::kPlateList},
    {&request::IndexListUrl, request::Fetch::kIndexList},
    {[] { return request::StockInPlatesUrl(kIndustryPlates); }, request::Fetch::kStockInPlates},
}};

const Endpoint& EndpointOf(ListName list) {
  return kEndpoints[static_cast<std::size_t>(list)];
}

}  // namespace

ListAnswer AskForList(ListName list) noexcept {
  ListAnswer answer;
  answer.came.ok = frame::Succeeds([&] {
    answer.asked = common::GetCurrentServerTime();
    answer.came = request::AskNow(EndpointOf(list).url());
    return answer.came.ok;
  });
  return answer;
}

request::Answer CheckListAnswer(ListName list, const ListAnswer& answer) {
  return request::CheckAnswer(EndpointOf(list).fetch, answer.came.Raw());
}

}  // namespace reference
