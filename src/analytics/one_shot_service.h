// What the services share that fetch once when a view asks: a subject with its observers and the last list.
#pragma once

#include <cstddef>
#include <list>
#include <string>

#include "frame/polling.h"
#include "frame/subject.h"
#include "request/answer.h"
#include "request/ask.h"

namespace analytics {

/// Base of the one-shot services: `Interface` with `Attach` and `Detach`, and the record of its list.
template <class Interface, class Item>
class OneShotService : public Interface, protected frame::Gated {
 public:
  using List = std::list<Item>;

  void Attach(IUpdate1<List>* observer) override { subject_.Attach(observer); }
  void Detach(IUpdate1<List>* observer) override { subject_.Detach(observer); }

 protected:
  OneShotService() = default;
  // The gate stands in a base and would close after the subject is gone.
  ~OneShotService() override { this->gate_.Close(); }

  /// Asks for `url`, reads an accepted answer with `read(list)`, stores the result and tells every observer.
  template <class Read>
  void FetchList(request::Fetch fetch, const std::wstring& url, Read read) {
    request::Ask(url, request::kUsualSeconds, this->gate_,
                 [this, fetch, read](bool ok, const char* body, std::size_t length) {
                   const request::Answer answer = request::CheckAnswer(fetch, ok, body, length);
                   if (answer) {
                     subject_.Store(read(answer.DataList()));
                     subject_.Notify();
                   }
                 });
  }

 private:
  CBaseStockSubject<IUpdate1<List>, List> subject_;
};

}  // namespace analytics
