// The gates of symbols, the module's and the host services': both let the same texts through, and what passes
// leads to a directory of its own below the data root and into an address without a character of meaning.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "files.h"
#include "host/files.h"
#include "host/text.h"
#include "request/gates.h"
#include "request/urls.h"
#include "symbols.h"

namespace {

constexpr const char* kRoot = "/nonexistent/csm";

bool IsSymbol(const std::wstring& text) {
  const auto is = [](wchar_t character, wchar_t lower, wchar_t upper) {
    return character == lower || character == upper;
  };
  if (text.size() != 8 || !is(text[0], L's', L'S') || !(is(text[1], L'h', L'H') || is(text[1], L'z', L'Z'))) {
    return false;
  }
  return text.find_first_not_of(L"0123456789", 2) == std::wstring::npos;
}

void Check(const std::wstring& text) {
  const bool passes = IsSymbol(text);
  if (request::IsPlainSymbol(text) != passes || stock_host::SecuritySymbol(text).empty() == passes) {
    std::abort();
  }
  // A text with a zero in it ends there for who takes a pointer.
  const std::wstring cut = text.c_str();
  const std::wstring directory = stock::GetKLineFilePath(cut.c_str());
  const std::wstring package = request::KLinePackageUrl(cut.c_str(), 1, 1, "1");
  const std::wstring history = request::KLineHistoryUrl(cut.c_str(), 1, 1, 0, 1);
  if (!IsSymbol(cut)) {
    if (!directory.empty() || !package.empty() || !history.empty()) {
      std::abort();
    }
    return;
  }
  const std::filesystem::path path = common::ws2s(directory, common::kUtf8);
  if (path.parent_path() != std::string(kRoot) + "/kline" || path.filename().string().size() != 8 ||
      package.find(cut) == std::wstring::npos || history.find(cut) == std::wstring::npos) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool rooted = (stock_host::SetDataRoot(kRoot), true);
  static_cast<void>(rooted);
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  Check(common::s2ws(bytes, common::kUtf8));
  // Any 16-bit units as well, which no text of the wire could hold.
  std::wstring units;
  for (std::size_t at = 0; at + 1 < size; at += 2) {
    units += static_cast<wchar_t>(data[at] | data[at + 1] << 8);
  }
  Check(units);
  return 0;
}
