// Brings one K-line package up to date for ever, for tests that kill it: `package_updater ROOT DIRECTORY
// VERSION`. Writes the number of each version before it begins with it.
#include <cstdio>
#include <cstdlib>

#include "package_updates.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    return 2;
  }
  AnnouncedPackages packages;
  package_updates::StartHost(argv[2], argv[1]);
  for (int version = std::atoi(argv[3]);; ++version) {
    std::printf("%d\n", version);
    std::fflush(stdout);
    if (package_updates::Load(packages, version) != version) {
      return 1;
    }
  }
}
