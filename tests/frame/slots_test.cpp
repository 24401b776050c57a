// The position of every virtual operation: hosts are compiled against it.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/subject.h"
#include "frame_service.h"

namespace {

// Place of a virtual operation in declaration order. In this compiler's tables a virtual destructor takes two
// entries, all else one, and a pointer to a virtual operation is 1 plus its entry's offset.
template <class Operation>
std::size_t Place(Operation operation, std::size_t destructors_before) {
  static_assert(sizeof(operation) == 2 * sizeof(void*));
  std::ptrdiff_t words[2];
  std::memcpy(words, &operation, sizeof(words));
  EXPECT_EQ(words[0] & 1, 1) << "not virtual";
  return static_cast<std::size_t>(words[0] - 1) / sizeof(void*) - destructors_before;
}

TEST(TimerSubjectSlots, standInDeclarationOrderBehindTheDestructor) {
  EXPECT_EQ(Place(&FrameSubject::Attach, 1), 1u);
  EXPECT_EQ(Place(&FrameSubject::Detach, 1), 2u);
  EXPECT_EQ(Place(&FrameSubject::Refresh, 1), 3u);
  EXPECT_EQ(Place(&FrameSubject::Suspend, 1), 4u);
  EXPECT_EQ(Place(&FrameSubject::Resume, 1), 5u);
  EXPECT_EQ(Place(&FrameSubject::IsSuspended, 1), 6u);
  EXPECT_EQ(Place(&FrameSubject::SetTarget, 1), 7u);
  EXPECT_EQ(Place(&FrameSubject::GetTarget, 1), 8u);
  EXPECT_EQ(Place(&FrameSubject::RemoveTarget, 1), 9u);
  EXPECT_EQ(Place(&FrameSubject::GetActiveTargets, 1), 10u);
  EXPECT_EQ(Place(&FrameSubject::Fetch, 1), 11u);
  EXPECT_EQ(Place(&FrameSubject::OnTimer, 1), 12u);
  EXPECT_EQ(Place(&FrameSubject::GetInterval, 1), 13u);
}

TEST(TimerSubjectSlots, firstIsTheDestructor) {
  // The first entry of the table destroys the object: with the destructor in front, `Attach` has two before
  // it.
  EXPECT_TRUE(std::has_virtual_destructor_v<FrameSubject>);
  EXPECT_EQ(Place(&FrameSubject::Attach, 0), 2u);
}

TEST(ObserverSlots, updateIsTheFirst) {
  EXPECT_EQ(Place(&FrameObserver::Update, 0), 0u);
}

TEST(PlainSubjectSlots, attachThenDetach) {
  EXPECT_EQ(Place(&ISubject<FrameObserver>::Attach, 0), 0u);
  EXPECT_EQ(Place(&ISubject<FrameObserver>::Detach, 0), 1u);
}

TEST(OneShotSubjectSlots, onlyTheDestructorIsVirtual) {
  using Subject = CBaseStockSubject<FrameObserver, int>;
  EXPECT_TRUE(std::has_virtual_destructor_v<Subject>);
  struct Longer : Subject {
    virtual void Next() {}
  };
  EXPECT_EQ(Place(&Longer::Next, 0), 2u);
}

}  // namespace
