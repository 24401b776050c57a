// A program with a data race in it, on purpose: two threads attach to a subject that has no mutex. The thread
// sanitizer must report it; planted_race_test.cpp looks whether it does.
#include <atomic>
#include <boost/thread/null_mutex.hpp>
#include <thread>

#include "frame/observer.h"
#include "frame/subject.h"

namespace {

struct View final : IUpdate1<int> {
  void Update(const int&) override {}
};

class Subject final : public SubjectBase<IUpdate1<int>, boost::null_mutex> {};

// Two threads that begin together, so that the race is not over before it begins. Relaxed: no order between
// them.
std::atomic<int> ready{0};

void AttachOften(Subject& subject, View& view) {
  ready.fetch_add(1, std::memory_order_relaxed);
  while (ready.load(std::memory_order_relaxed) < 2) {
  }
  for (int turn = 0; turn < 50; ++turn) {
    subject.Attach(&view);
  }
}

}  // namespace

int main() {
  static View first;
  static View second;
  // Never freed: the race may leave its list in any state.
  static auto* const subject = new Subject;
  std::thread other([] { AttachOften(*subject, second); });
  AttachOften(*subject, first);
  other.join();
  return 0;
}
