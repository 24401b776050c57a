#include <fcntl.h>
#include <unistd.h>

#include "cli/application.h"

namespace {

// A standard descriptor that is missing would be given to the next file that is opened, and what is meant for
// a person would go there.
void FillStandardDescriptors() {
  int fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO) {
    fd = dup(fd);
  }
  if (fd > STDERR_FILENO) {
    close(fd);
  }
}

}  // namespace

int main(int argc, char** argv) {
  FillStandardDescriptors();
  return cli::RunApplication(argc, argv);
}
