#include "frame/stamp.h"

#include <algorithm>

#include "frame/ticks.h"

namespace frame {

bool MayFollow(Stamp stamp, Stamp told) {
  return stamp >= told;
}

bool AreOneRequest(Stamp left, Stamp right) {
  return MillisecondsBetween(left, right) == 0;
}

Stamp Stamps::Next() {
  Stamp latest = latest_.load();
  Stamp next = 0;
  do {
    next = std::max(Ticks(), latest + kTicksPerMillisecond);
  } while (!latest_.compare_exchange_weak(latest, next));
  return next;
}

}  // namespace frame
