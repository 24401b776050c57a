// A program with a data race in it, on purpose: two threads attach to a subject that has no mutex. The thread
// sanitizer must report it; planted_race_test.cpp looks whether it does.
#include <boost/thread/null_mutex.hpp>
#include <thread>

#include "frame/observer.h"
#include "frame/subject.h"

namespace {

struct View final : IUpdate1<int> {
  void Update(const int&) override {}
};

class Subject final : public SubjectBase<IUpdate1<int>, boost::null_mutex> {};

}  // namespace

int main() {
  View first, second;
  Subject subject;
  std::thread other([&] { subject.Attach(&second); });
  subject.Attach(&first);
  other.join();
  return 0;
}
