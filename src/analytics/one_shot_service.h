// What the services share that fetch once when a view asks: a subject with its observers and the last list.
#pragma once

#include <list>
#include <utility>

#include "frame/gate.h"
#include "frame/running.h"
#include "frame/stamp.h"
#include "frame/subject.h"
#include "request/ask.h"
#include "services.h"

namespace analytics {

/// Base of the one-shot services: `Interface` with `Attach` and `Detach`, and the record of its list.
template <class Interface, class Item>
class OneShotService : public Interface {
 public:
  using List = std::list<Item>;

  void Attach(IUpdate1<List>* observer) override { subject_.Attach(observer); }
  void Detach(IUpdate1<List>* observer) override { subject_.Detach(observer); }

  /// There is no thread to start.
  void Start() {}

  /// Closes the gate: the first act of destruction.
  void Stop() { gate_.Close(); }

 protected:
  /// Asks for `url()`, reads an accepted answer with `read(list)`, stores the result and tells every
  /// observer.
  template <class MakeUrl, class Read>
  void FetchList(request::Fetch fetch, MakeUrl url, Read read) {
    const frame::Stamp stamp = stamps_.Next();
    request::Ask(
        {fetch, gate_}, url, [read](const request::Answer& answer) { return read(answer.DataList()); },
        [this, stamp](List list) {
          subject_.Tell(stamp, std::move(list));
          return true;
        });
  }

 private:
  CBaseStockSubject<IUpdate1<List>, List> subject_;
  frame::Stamps stamps_;
  frame::CompletionGate gate_;
};

}  // namespace analytics
