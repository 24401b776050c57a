// The stamps of a module without order: every answer counts, however old its request.
#include "frame/stamp.h"

#include "frame/ticks.h"

namespace frame {

bool MayFollow(Stamp /*stamp*/, Stamp /*told*/) {
  return true;
}

bool AreOneRequest(Stamp /*left*/, Stamp /*right*/) {
  return true;
}

Stamp Stamps::Next() {
  return Ticks();
}

}  // namespace frame
