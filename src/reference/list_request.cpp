#include "reference/list_request.h"

#include <string>

#include "host/clock.h"
#include "reference/succeeds.h"
#include "request/urls.h"

namespace reference {
namespace {

constexpr int kIndustryPlates = 1;

struct Endpoint {
  std::wstring (*url)();
  request::Fetch fetch;
};

Endpoint EndpointOf(ListName list) {
  using request::Fetch;
  switch (list) {
    case ListName::kStocks:
      return {&request::BasicInfoUrl, Fetch::kBaseInfo};
    case ListName::kPlates:
      return {&request::PlateListUrl, Fetch::kPlateList};
    case ListName::kIndices:
      return {&request::IndexListUrl, Fetch::kIndexList};
    case ListName::kPlatesOfStocks:
      break;
  }
  return {[] { return request::StockInPlatesUrl(kIndustryPlates); }, Fetch::kStockInPlates};
}

}  // namespace

ListAnswer AskForList(ListName list) noexcept {
  ListAnswer answer;
  answer.came.ok = Succeeds([&] {
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
