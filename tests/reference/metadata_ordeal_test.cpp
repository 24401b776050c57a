// The K-line metadata file under damage. With CSM_LONG=1 in the environment the test runs its full count.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "answers.h"
#include "long_run.h"
#include "reference/stock_common_service.h"

namespace {

TEST(MetadataOrdeal, isRepairedByTheNextLoadWhateverTheDamage) {
  ScriptedHost host;
  std::string text = "version:20240315\n";
  for (int number = 600000; number < 600200; ++number) {
    text += "sh" + std::to_string(number) + ":{\"d\":{\"b\":" + std::to_string(number) + "}}\n";
  }
  const std::string whole = Gzip(text);
  host.Allow(Script(answers::kVersionPath).Inline(Answer::Body(answers::kVersion)));
  host.Allow(Script(answers::kMetadataPath).Inline(Answer::Body(whole)));
  const std::string path = host.Directory() + "/meta/kline.meta.gzip";
  std::filesystem::create_directories(host.Directory() + "/meta");

  std::mt19937 random{20240315};  // NOLINT(cert-msc51-cpp): the same damage in every run
  const auto below = [&random](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const int files = Rounds(500, 5000);
  for (int file = 0; file < files; ++file) {
    std::string bytes = whole;
    switch (file % 4) {
      case 0:
        bytes.resize(below(bytes.size()));
        break;
      case 1:
        bytes[below(bytes.size())] ^= static_cast<char>(1U << below(8));
        break;
      case 2:
        for (std::size_t at = below(bytes.size()); at < bytes.size(); ++at) {
          bytes[at] = static_cast<char>(below(256));
        }
        break;
      default:
        bytes.insert(below(bytes.size()), std::string(below(64) + 1, static_cast<char>(below(256))));
    }
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    reference::CStockCommon service;
    service.FinishRound({1, false});
    ASSERT_EQ(service.GetKLineMetaInfo(L"sh600123", 1, 1), (KLineMetaInfo{L"20240315", 600123}))
        << "file " << file;
  }
  Note("damaged files", files);
  Note("of them downloaded again", static_cast<int>(host.RequestsTo(answers::kMetadataPath).size()));
}

}  // namespace
