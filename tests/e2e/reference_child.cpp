// A client that does nothing but bring reference files to disk, again and again, until it is killed: the
// K-line metadata, or a package with its row in the version store, the file first.
//
// reference_child SERVER DATA_DIRECTORY metadata|package, with the key in CSM_KEY_ID and CSM_KEY.
#include <cstdio>
#include <string>
#include <string_view>

#include "host/host.h"
#include "host_services/stock_host.h"
#include "reference/package_key.h"
#include "reference/package_version_store.h"
#include "reference/stock_common_service.h"
#include "request/urls.h"

namespace {

constexpr const wchar_t* kSymbol = L"sh600000";

// The first time because the server has a newer version, then over the file that is there.
bool UpdateMetadata() {
  reference::CStockCommon service;
  service.FinishRound({1, false});
  return DownloadFileSyncWithRetry(request::KLineMetadataUrl(),
                                   stock::GetKLineMetaFilePath() + L"/kline.meta.gzip", 3, 30);
}

bool UpdatePackage() {
  reference::CStockCommon service;
  service.FinishRound({1, false});
  const KLineMetaInfo info = service.GetKLineMetaInfo(kSymbol, 1, 1);
  const std::string version = common::ws2s(info.version, common::kUtf8);
  reference::PackageVersionStore store(kSymbol);
  const std::wstring package = stock::GetKLineFilePath(kSymbol) + L"/day.bfq.dat";
  if (version.empty() ||
      !DownloadFileSyncWithRetry(request::KLinePackageUrl(kSymbol, 1, 1, version), package, 3, 30)) {
    return false;
  }
  store.Set(reference::PackageKey(1, 1), info);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    return 2;
  }
  stock_host::Settings settings = stock_host::LoadSettings();
  settings.api_root = argv[1];
  settings.data_directory = argv[2];
  std::string error;
  if (!stock_host::Start(settings, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  const bool package = std::string_view(argv[3]) == "package";
  std::puts("ready");
  std::fflush(stdout);
  for (;;) {
    if (package ? UpdatePackage() : UpdateMetadata()) {
      std::puts("updated");
      std::fflush(stdout);
    }
  }
}
