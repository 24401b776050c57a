#include "cli/application.h"

int main(int argc, char** argv) {
  return cli::RunApplication(argc, argv);
}
