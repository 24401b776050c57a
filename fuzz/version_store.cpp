// The file of a version store: whatever bytes it holds, nothing crashes, leaks or is undefined behaviour, and
// the store after the next is usable and keeps what is set.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "reference/package_version_store.h"
#include "scripted_host.h"

namespace {

constexpr const wchar_t* kSymbol = L"sh600000";

// Ended with the program, so that its directory goes with it.
ScriptedHost& Host() {
  static ScriptedHost host;
  return host;
}

void Write(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string directory = Host().Directory() + "/kline/sh600000";
  std::filesystem::create_directories(directory);
  const std::string path = directory + "/trace.db";
  std::filesystem::remove(path + "-journal");
  std::filesystem::remove(path + "-wal");
  Write(path, data, size);
  {
    reference::PackageVersionStore store(kSymbol);
    static_cast<void>(store.Get(257));
    store.Set(258, {L"1", 1});
  }
  reference::PackageVersionStore store(kSymbol);
  store.Set(259, {L"20240315", 4711});
  if (!store.IsOpen() || store.Get(259) != KLineMetaInfo{L"20240315", 4711}) {
    std::abort();
  }
  return 0;
}
