// Values whose memory is used again.
#include "frame/recycler.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Texts = frame::Recycler<std::string>;

TEST(Recycler, makesANewValueWhileTheOthersAreRead) {
  Texts texts;
  const auto first = texts.Take();
  const auto second = texts.Take();
  EXPECT_NE(first, second);
  EXPECT_EQ(*second, "");
}

TEST(Recycler, givesOutAgainWhatNobodyReadsAnyMore) {
  Texts texts;
  auto first = texts.Take();
  *first = "held";
  const std::string* const place = first.get();
  std::shared_ptr<const std::string> reader = first;
  first.reset();
  EXPECT_NE(texts.Take().get(), place) << "it is still read";
  reader.reset();
  const auto again = texts.Take();
  EXPECT_EQ(again.get(), place);
  EXPECT_EQ(*again, "held");
}

TEST(Recycler, keepsOneInReserve) {
  Texts texts;
  auto first = texts.Take();
  auto second = texts.Take();
  *first = "first";
  *second = "second";
  first.reset();
  second.reset();
  EXPECT_EQ(*texts.Take(), "second");
  const auto kept = texts.Take();
  EXPECT_EQ(*texts.Take(), "");
}

TEST(Recycler, isOutlivedByItsValues) {
  std::shared_ptr<std::string> value;
  {
    Texts texts;
    value = texts.Take();
  }
  *value = "still there";
  EXPECT_EQ(*value, "still there");
}

}  // namespace
