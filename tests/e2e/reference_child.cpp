// A client that does nothing but bring reference files to disk, again and again, until it is killed: the
// K-line metadata, and a package with its row in the version store, the file first.
//
// reference_child SERVER DATA_DIRECTORY, with the key in CSM_KEY_ID and CSM_KEY. Says "ready" once and
// "updated" whenever both are on disk.
#include <cstdio>
#include <string>

#include "host/host.h"
#include "host_services/stock_host.h"
#include "reference/package_key.h"
#include "reference/package_version_store.h"
#include "reference/stock_common_service.h"
#include "request/urls.h"

int main(int argc, char** argv) {
  if (argc != 3) {
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
  constexpr const wchar_t* kSymbol = L"sh600000";
  const std::uint16_t day = reference::PackageKey(1, 1);
  const std::wstring metadata = stock::GetKLineMetaFilePath() + L"/kline.meta.gzip";
  std::puts("ready");
  std::fflush(stdout);
  for (;;) {
    common::ForceRemoveFile(metadata.c_str());
    reference::CStockCommon service;
    service.FinishRound({1, false});
    const KLineMetaInfo info = service.GetKLineMetaInfo(kSymbol, 1, 1);
    const std::string version = common::ws2s(info.version, common::kUtf8);
    reference::PackageVersionStore store(kSymbol);
    const std::wstring package = stock::GetKLineFilePath(kSymbol) + L"/day.bfq.dat";
    if (!version.empty() &&
        DownloadFileSyncWithRetry(request::KLinePackageUrl(kSymbol, 1, 1, version), package, 3, 30)) {
      store.Set(day, info);
      std::puts("updated");
      std::fflush(stdout);
    }
  }
}
