// The one-off request for all (code, name) pairs of a board or of a kind of plates: the latest call wins,
// earlier ones are dropped without a word. Thread-safe.
#pragma once

#include <memory>

#include "frame/field.h"
#include "frame/gate.h"
#include "frame/stamp.h"
#include "json/budget.h"
#include "json/json.h"
#include "request/ask.h"

namespace request {

class ItemRequest {
 public:
  /// `gate` is the service's and outlives this.
  ItemRequest(Fetch fetch, const frame::CompletionGate& gate) : fetch_(fetch), gate_(gate) {}

  /// Asks for `url()` and hands the list to `done`, on a thread of the host; not after a failure or a later
  /// call.
  template <class MakeUrl>
  void Send(MakeUrl url, const CodeNameCallback& done) {
    const auto shared = Shared(fetch_, done);
    if (shared == nullptr) {
      return;
    }
    Ask(
        {fetch_, gate_, {&stamps_, stamps_.Next()}}, url,
        [](const Answer& answer) { return Read(answer.DataArray()); },
        [shared](const CodeNameList& list) {
          if (*shared) {
            (*shared)(list);
          }
          return true;
        });
  }

 private:
  // One pair per element, in order.
  static CodeNameList Read(const json::Array& array) {
    CodeNameList list;
    json::Budget budget(json::kMostSharedRecordMemory);
    budget.Require(array.Size(), sizeof(CodeNameList::value_type));
    list.reserve(array.Size());
    array.ForEach([&](const json::Value& element) {
      const json::Object object = element.AsObject();
      list.emplace_back(object.Member("code").Text(budget), object.Member("name").Text(budget));
    });
    return list;
  }

  const Fetch fetch_;
  const frame::CompletionGate& gate_;
  frame::Stamps stamps_;
};

}  // namespace request
