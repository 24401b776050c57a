// What a client pays when it starts: the reference data of the whole simulated market from loopback, its own
// work in it, and the look-ups that follow.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/host.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"
#include "reference/kline_metadata.h"
#include "reference/package_version_store.h"
#include "reference/plate_membership.h"
#include "reference/reference_lists.h"
#include "reference/stock_common_service.h"
#include "request/json.h"
#include "request/urls.h"

namespace {

// The market, the host services and a directory, from the first use to the end of the program.
class World {
 public:
  static World& Get() {
    static World world;
    return world;
  }
  ~World() {
    service_.reset();
    stock_host::Stop();
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  // A service with everything loaded.
  reference::CStockCommon& Service() {
    if (service_ == nullptr) {
      service_ = std::make_unique<reference::CStockCommon>();
      Load(*service_);
    }
    return *service_;
  }

  static void Load(reference::CStockCommon& service) {
    std::mutex mutex;
    std::condition_variable told;
    int outcome = -1;
    service.Init([&](bool ok) {
      const std::lock_guard<std::mutex> lock(mutex);
      outcome = ok ? 1 : 0;
      told.notify_all();
    });
    std::unique_lock<std::mutex> lock(mutex);
    told.wait(lock, [&] { return outcome >= 0; });
    if (outcome != 1) {
      throw std::runtime_error("the reference data cannot be loaded");
    }
  }

  static std::string Fetch(const std::wstring& url) {
    std::string body;
    if (!GetSync(url, body, {}, 8)) {
      throw std::runtime_error("a request failed");
    }
    return body;
  }

  // The metadata file as it was downloaded.
  std::wstring MetadataPath() {
    Service();
    return stock::GetKLineMetaFilePath() + L"/kline.meta.gzip";
  }

 private:
  World() {
    char name[] = "/tmp/csm-bench-XXXXXX";
    if (mkdtemp(name) == nullptr) {
      throw std::runtime_error("no directory for temporary files");
    }
    directory_ = name;
    market_server::Options options;
    options.clock = "2024-03-15 10:30:00";
    options.speed = 0;
    server_ = std::make_unique<market_server::Server>(options);
    server_->Start();
    stock_host::Settings settings;
    settings.api_root = server_->url();
    settings.key_id = server_->key_id();
    settings.key = server_->key();
    settings.data_directory = directory_ + "/data";
    settings.log_directory = directory_ + "/log";
    settings.config_directory = directory_ + "/config";
    std::string error;
    if (!stock_host::Start(settings, error)) {
      throw std::runtime_error(error);
    }
  }

  std::string directory_;
  std::unique_ptr<market_server::Server> server_;
  std::unique_ptr<reference::CStockCommon> service_;
};

// From `Init` to its call-back; the metadata file is downloaded each time. The monitor looks every 300 ms.
void StartFromLoopback(benchmark::State& state) {
  for ([[maybe_unused]] auto round : state) {
    state.PauseTiming();
    World::Get();
    common::ForceRemoveFile((stock::GetKLineMetaFilePath() + L"/kline.meta.gzip").c_str());
    auto service = std::make_unique<reference::CStockCommon>();
    state.ResumeTiming();
    World::Load(*service);
    state.PauseTiming();
    service.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(StartFromLoopback)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same five loads one after another on one thread, without the monitor: waiting for the server included.
void LoadOneAfterAnother(benchmark::State& state) {
  World::Get();
  for ([[maybe_unused]] auto round : state) {
    reference::CStockCommon service;
    service.FinishRound({1, true});
    if (service.GetPlateList(1).empty()) {
      state.SkipWithError("nothing was loaded");
    }
  }
}
BENCHMARK(LoadOneAfterAnother)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- The client's own work in it ---

template <class Read>
void Decode(benchmark::State& state, const std::wstring& url, const Read& read) {
  const std::string body = World::Fetch(url);
  for ([[maybe_unused]] auto round : state) {
    const auto document = request::json::Document::Parse(body.data(), body.size());
    benchmark::DoNotOptimize(read(document.Root()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(body.size()));
}

void DecodeStocks(benchmark::State& state) {
  World::Get();
  Decode(state, request::BasicInfoUrl(), [](const auto& root) { return reference::ReadStockLists(root); });
}
BENCHMARK(DecodeStocks)->Unit(benchmark::kMicrosecond);

void DecodePlates(benchmark::State& state) {
  World::Get();
  Decode(state, request::PlateListUrl(), [](const auto& root) { return reference::ReadPlateLists(root); });
}
BENCHMARK(DecodePlates)->Unit(benchmark::kMicrosecond);

void DecodeMembership(benchmark::State& state) {
  World::Get();
  Decode(state, request::StockInPlatesUrl(1),
         [](const auto& root) { return reference::ReadPlateMembership(root.ObjectAt("data")); });
}
BENCHMARK(DecodeMembership)->Unit(benchmark::kMicrosecond);

void InflateMetadata(benchmark::State& state) {
  const std::wstring path = World::Get().MetadataPath();
  std::string text;
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(GZipExtract(path.c_str(), text));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(InflateMetadata)->Unit(benchmark::kMicrosecond);

void LoadMetadata(benchmark::State& state) {
  const std::wstring path = World::Get().MetadataPath();
  std::size_t symbols = 0;
  for ([[maybe_unused]] auto round : state) {
    std::string text;
    if (!GZipExtract(path.c_str(), text)) {
      state.SkipWithError("the metadata file cannot be read");
      break;
    }
    const auto metadata = reference::KLineMetadata::FromText(std::move(text));
    symbols = metadata->Size();
  }
  if (symbols < 4000) {
    state.SkipWithError("the metadata file holds too little");
  }
  state.counters["symbols"] = static_cast<double>(symbols);
}
BENCHMARK(LoadMetadata)->Unit(benchmark::kMicrosecond);

// --- Look-ups ---

void GetPlatesOfStock(benchmark::State& state) {
  reference::CStockCommon& service = World::Get().Service();
  const std::vector<BaseInfoItem> stocks = service.GetStockList(1);
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  if (stocks.empty() || !service.GetPlatesOfStock(stocks[0].code, plates)) {
    state.SkipWithError("a stock has no plates");
    return;
  }
  std::size_t next = 0;
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(service.GetPlatesOfStock(stocks[next].code, plates));
    next = (next + 7) % stocks.size();
  }
}
BENCHMARK(GetPlatesOfStock);

void GetKLineMetaInfo(benchmark::State& state) {
  reference::CStockCommon& service = World::Get().Service();
  const std::vector<BaseInfoItem> stocks = service.GetStockList(1);
  if (stocks.empty() || service.GetKLineMetaInfo(stocks[0].code, 1, 1).count <= 0) {
    state.SkipWithError("a stock has no packages");
    return;
  }
  for (const BaseInfoItem& stock : stocks) {
    benchmark::DoNotOptimize(service.GetKLineMetaInfo(stock.code, 1, 1));
  }
  std::size_t next = 0;
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(service.GetKLineMetaInfo(stocks[next].code, 1, 1));
    next = (next + 7) % stocks.size();
  }
}
BENCHMARK(GetKLineMetaInfo);

void GetStockList(benchmark::State& state) {
  reference::CStockCommon& service = World::Get().Service();
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(&service.GetStockList(1));
  }
}
BENCHMARK(GetStockList);

// --- The version store ---

void OpenVersionStore(benchmark::State& state) {
  World::Get();
  reference::PackageVersionStore(L"sh600000").Set(257, {L"20240315", 1});
  for ([[maybe_unused]] auto round : state) {
    reference::PackageVersionStore store(L"sh600000");
    if (store.Get(257).count != 1) {
      state.SkipWithError("the row is not there");
    }
  }
}
BENCHMARK(OpenVersionStore)->Unit(benchmark::kMicrosecond);

void SetInVersionStore(benchmark::State& state) {
  World::Get();
  reference::PackageVersionStore store(L"sh600001");
  int count = 0;
  for ([[maybe_unused]] auto round : state) {
    store.Set(257, {L"20240315", ++count});
  }
  if (store.Get(257).count != count) {
    state.SkipWithError("the row is not there");
  }
}
BENCHMARK(SetInVersionStore)->Unit(benchmark::kMicrosecond);

}  // namespace
