#include "cli/application.h"
#include "host_services/stock_host.h"

int main(int argc, char** argv) {
  stock_host::FillStandardDescriptors();
  return cli::RunApplication(argc, argv);
}
