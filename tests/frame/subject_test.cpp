// The plain subjects, which have no thread.
#include "frame/subject.h"

#include <gtest/gtest.h>

#include <boost/thread/null_mutex.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "frame_service.h"

namespace {

using Numbers = std::vector<int>;

template <class Mutex>
class OpenSubject final : public SubjectBase<FrameObserver, Mutex> {
 public:
  void Tell(int data) { this->Notify(data); }
};

using UnguardedSubject = OpenSubject<boost::null_mutex>;

TEST(SubjectBase, tellsInTheOrderOfAttachment) {
  UnguardedSubject subject;
  std::string order;
  FrameRecorder a([&](const int&) { order += 'a'; });
  FrameRecorder b([&](const int&) { order += 'b'; });
  subject.Attach(&b);
  subject.Attach(&a);
  subject.Tell(1);
  EXPECT_EQ(order, "ba");
}

TEST(SubjectBase, tellsTwiceWhoIsAttachedTwice) {
  UnguardedSubject subject;
  FrameRecorder a;
  subject.Attach(&a);
  subject.Attach(&a);
  subject.Tell(1);
  EXPECT_EQ(a.Updates(), (Numbers{1, 1}));
}

TEST(SubjectBase, detachRemovesTheFirstEntryOnly) {
  UnguardedSubject subject;
  std::string order;
  FrameRecorder a([&](const int&) { order += 'a'; });
  FrameRecorder b([&](const int&) { order += 'b'; });
  subject.Attach(&a);
  subject.Attach(&b);
  subject.Attach(&a);
  subject.Detach(&a);
  subject.Tell(1);
  EXPECT_EQ(order, "ba");
}

TEST(SubjectBase, detachOfAnUnknownObserverIsIgnored) {
  UnguardedSubject subject;
  FrameRecorder a, b;
  subject.Attach(&a);
  subject.Detach(&b);
  subject.Detach(nullptr);
  subject.Tell(1);
  EXPECT_EQ(a.Count(), 1u);
}

TEST(SubjectBase, nullIsNotAttached) {
  UnguardedSubject subject;
  subject.Attach(nullptr);
  subject.Tell(1);
}

TEST(SubjectBase, anObserverMayDetachItselfInsideUpdate) {
  UnguardedSubject subject;
  FrameRecorder* self = nullptr;
  FrameRecorder a([&](const int&) { subject.Detach(self); });
  self = &a;
  FrameRecorder b;
  subject.Attach(&a);
  subject.Attach(&b);
  subject.Tell(1);
  subject.Tell(2);
  EXPECT_EQ(a.Updates(), Numbers{1});
  EXPECT_EQ(b.Updates(), (Numbers{1, 2}));
}

TEST(SubjectBase, anObserverDetachedByAnotherIsNotToldAnyMore) {
  UnguardedSubject subject;
  auto victim = std::make_unique<FrameRecorder>();
  FrameRecorder a([&](const int&) {
    subject.Detach(victim.get());
    victim.reset();
  });
  FrameRecorder c;
  subject.Attach(&a);
  subject.Attach(victim.get());
  subject.Attach(&c);
  subject.Tell(1);
  EXPECT_EQ(c.Updates(), Numbers{1});
}

// The same wherever the one who attaches stands in the list.
TEST(SubjectBase, anObserverAttachedInsideUpdateIsToldFromTheNextTimeOn) {
  for (const bool attaches_last : {false, true}) {
    UnguardedSubject subject;
    FrameRecorder newcomer;
    bool attached = false;
    FrameRecorder a([&](const int&) {
      if (!attached) subject.Attach(&newcomer);
      attached = true;
    });
    FrameRecorder other;
    if (attaches_last) subject.Attach(&other);
    subject.Attach(&a);
    if (!attaches_last) subject.Attach(&other);
    subject.Tell(1);
    EXPECT_EQ(newcomer.Count(), 0U) << attaches_last;
    EXPECT_EQ(other.Updates(), Numbers{1});
    subject.Tell(2);
    EXPECT_EQ(newcomer.Updates(), Numbers{2}) << attaches_last;
    EXPECT_EQ(other.Updates(), (Numbers{1, 2}));
  }
}

TEST(SubjectBase, anObserverThatMovesToTheEndInsideUpdateIsToldOnce) {
  UnguardedSubject subject;
  FrameRecorder* self = nullptr;
  FrameRecorder a([&](const int&) {
    subject.Detach(self);
    subject.Attach(self);
  });
  self = &a;
  subject.Attach(&a);
  subject.Tell(1);
  EXPECT_EQ(a.Updates(), Numbers{1});
  subject.Tell(2);
  EXPECT_EQ(a.Updates(), (Numbers{1, 2}));
}

// Whoever stood behind the one who tells was told the new first and then the old.
TEST(SubjectBase, whatIsToldInsideUpdateIsTheLastWordForEverybody) {
  constexpr int kViews = 5;
  for (int teller = 0; teller < kViews; ++teller) {
    UnguardedSubject subject;
    std::vector<std::unique_ptr<FrameRecorder>> views;
    for (int view = 0; view < kViews; ++view) {
      views.push_back(std::make_unique<FrameRecorder>([&subject, view, teller](const int& data) {
        if (view == teller && data < 3) subject.Tell(data + 1);
      }));
      subject.Attach(views.back().get());
    }
    subject.Tell(1);
    for (int view = 0; view < kViews; ++view) {
      const Numbers told = view <= teller ? Numbers{1, 2, 3} : Numbers{3};
      EXPECT_EQ(views[static_cast<std::size_t>(view)]->Updates(), told) << view << " of " << teller;
    }
    subject.Tell(9);
    EXPECT_EQ(views.back()->Last(), 9);
  }
}

TEST(SubjectBase, whatIsToldInsideUpdateReachesWhoAttachedBeforeIt) {
  UnguardedSubject subject;
  FrameRecorder newcomer, gone, last;
  bool first = true;
  FrameRecorder a([&](const int&) {
    if (!std::exchange(first, false)) return;
    subject.Attach(&newcomer);
    subject.Detach(&gone);
    subject.Tell(2);
    subject.Detach(&last);
  });
  for (FrameRecorder* const view : {&a, &gone, &last}) subject.Attach(view);
  subject.Tell(1);
  EXPECT_EQ(a.Updates(), (Numbers{1, 2}));
  EXPECT_EQ(gone.Count(), 0U);
  EXPECT_EQ(last.Updates(), Numbers{2});
  EXPECT_EQ(newcomer.Updates(), Numbers{2});
}

TEST(SubjectBase, aThrowingViewLeavesTheSubjectUsable) {
  OpenSubject<boost::mutex> subject;
  bool fail = true;
  FrameRecorder a([&](const int&) {
    if (fail) throw std::runtime_error("a view that fails");
  });
  subject.Attach(&a);
  EXPECT_THROW(subject.Tell(1), std::runtime_error);
  fail = false;
  subject.Tell(2);
  subject.Detach(&a);
  subject.Tell(3);
  EXPECT_EQ(a.Updates(), (Numbers{1, 2}));
}

using OneShotSubject = CBaseStockSubject<FrameObserver, int>;

TEST(OneShotSubject, tellsInTheOrderOfAttachment) {
  OneShotSubject subject;
  std::string order;
  FrameRecorder a([&](const int&) { order += 'a'; });
  FrameRecorder b([&](const int&) { order += 'b'; });
  subject.Attach(&b);
  subject.Attach(&a);
  subject.Tell(1, 5);
  EXPECT_EQ(order, "ba");
  EXPECT_EQ(a.Updates(), Numbers{5});
}

TEST(OneShotSubject, attachDeliversNothingAtOnce) {
  OneShotSubject subject;
  FrameRecorder a;
  subject.Tell(1, 5);
  subject.Attach(&a);
  EXPECT_EQ(a.Count(), 0u);
}

TEST(OneShotSubject, attachTwiceTellsOnce) {
  OneShotSubject subject;
  FrameRecorder a;
  subject.Attach(&a);
  subject.Attach(&a);
  subject.Tell(1, 5);
  EXPECT_EQ(a.Count(), 1u);
  subject.Detach(&a);
  subject.Tell(2, 6);
  EXPECT_EQ(a.Count(), 1u);
}

TEST(OneShotSubject, ignoresNull) {
  OneShotSubject subject;
  subject.Attach(nullptr);
  subject.Detach(nullptr);
  subject.Tell(1, 5);
}

TEST(OneShotSubject, detachOnAnEmptyListAndOfAnUnknownObserverAreIgnored) {
  OneShotSubject subject;
  FrameRecorder a, b;
  subject.Detach(&a);
  subject.Attach(&a);
  subject.Detach(&b);
  subject.Tell(1, 5);
  EXPECT_EQ(a.Count(), 1u);
}

TEST(OneShotSubject, anOlderAnswerNeverFollowsANewerOne) {
  OneShotSubject subject;
  FrameRecorder a;
  subject.Attach(&a);
  subject.Tell(2, 20);
  subject.Tell(1, 10);
  subject.Tell(3, 30);
  EXPECT_EQ(a.Updates(), (Numbers{20, 30}));
}

TEST(OneShotSubject, aThrowingViewLeavesNoMutexLocked) {
  OneShotSubject subject;
  FrameRecorder a([](const int&) { throw std::runtime_error("a view that fails"); });
  subject.Attach(&a);
  EXPECT_THROW(subject.Tell(1, 5), std::runtime_error);
  subject.Detach(&a);
  subject.Tell(2, 6);
  EXPECT_EQ(a.Count(), 1u);
}

}  // namespace
