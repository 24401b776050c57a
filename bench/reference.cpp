// What a client pays when it starts: the reference data of the whole simulated market from loopback, its own
// work in it, and the look-ups that follow.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/host.h"
#include "host_services/stock_host.h"
#include "json/json.h"
#include "market_server/market_server.h"
#include "parser_ratio.h"
#include "reference/kline_metadata.h"
#include "reference/package_version_store.h"
#include "reference/plate_membership.h"
#include "reference/reference_lists.h"
#include "reference/stock_common_service.h"
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
    // Late enough for the full count of listed stocks.
    options.clock = "2027-06-15 10:30:00";
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

// The client's own work in a start: every answer from bytes to lists, and the metadata file to its table.
class OwnWork {
 public:
  OwnWork()
      : metadata_path_(World::Get().MetadataPath()),
        stocks_(World::Fetch(request::BasicInfoUrl())),
        plates_(World::Fetch(request::PlateListUrl())),
        indices_(World::Fetch(request::IndexListUrl())),
        membership_(World::Fetch(request::StockInPlatesUrl(1))) {}

  static const OwnWork& Get() {
    static const OwnWork work;
    return work;
  }

  [[nodiscard]] const std::string& StocksAnswer() const { return stocks_; }
  [[nodiscard]] const std::string& PlatesAnswer() const { return plates_; }
  [[nodiscard]] const std::string& MembershipAnswer() const { return membership_; }

  // Rows read.
  [[nodiscard]] std::size_t Stocks() const {
    return Decode(stocks_, [](const auto& root) {
      const auto lists = reference::ReadStockLists(root);
      return lists.shanghai.size() + lists.shenzhen.size();
    });
  }
  [[nodiscard]] std::size_t Plates() const {
    return Decode(plates_, [](const auto& root) {
      const auto lists = reference::ReadPlateLists(root);
      return lists.kind1.size() + lists.kind2.size();
    });
  }
  [[nodiscard]] std::size_t Indices() const {
    return Decode(indices_, [](const auto& root) {
      const auto lists = reference::ReadIndexLists(root.ObjectAt("data"));
      return lists.shanghai->size() + lists.shenzhen->size();
    });
  }
  [[nodiscard]] std::size_t Membership() const {
    return Decode(membership_, [](const auto& root) {
      return reference::ReadPlateMembership(root.ObjectAt("data")).size();
    });
  }

  // Length of the text.
  [[nodiscard]] std::size_t Inflate() const {
    std::string text;
    return GZipExtract(metadata_path_.c_str(), text) ? text.size() : 0;
  }
  // Symbols read.
  [[nodiscard]] std::size_t Metadata() const {
    std::string text;
    if (!GZipExtract(metadata_path_.c_str(), text)) {
      return 0;
    }
    const auto metadata = reference::KLineMetadata::FromText(std::move(text));
    return metadata != nullptr ? metadata->Size() : 0;
  }

  // All of it once, in milliseconds of processor time: the median of nine.
  [[nodiscard]] double Milliseconds() const {
    std::vector<double> rounds;
    for (int round = 0; round < 9; ++round) {
      rounds.push_back(bench::ProcessorSeconds(
          [this] { benchmark::DoNotOptimize(Stocks() + Plates() + Indices() + Membership() + Metadata()); }));
    }
    return bench::Median(rounds) * 1e3;
  }

 private:
  template <class Read>
  static std::size_t Decode(const std::string& body, const Read& read) {
    const auto document = request::json::Document::Parse(body.data(), body.size());
    return read(document.Root());
  }

  std::wstring metadata_path_;
  std::string stocks_, plates_, indices_, membership_;
};

// Splits the time of a round, all in all `seconds`, into the client's own work and waiting.
void SplitTime(benchmark::State& state, const std::vector<double>& seconds) {
  const double own = OwnWork::Get().Milliseconds();
  state.counters["own_ms"] = own;
  state.counters["waiting_ms"] = bench::Median(seconds) * 1e3 - own;
}

template <class Work>
double WallSeconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// From `Init` to its call-back; the metadata file is downloaded each time. The monitor looks every 300 ms.
void StartFromLoopback(benchmark::State& state) {
  if (OwnWork::Get().Stocks() < 5000 || OwnWork::Get().Plates() < 200) {
    state.SkipWithError("the market is too small");
    return;
  }
  std::vector<double> seconds;
  for ([[maybe_unused]] auto round : state) {
    common::ForceRemoveFile((stock::GetKLineMetaFilePath() + L"/kline.meta.gzip").c_str());
    reference::CStockCommon service;
    seconds.push_back(WallSeconds([&service] { World::Load(service); }));
    state.SetIterationTime(seconds.back());
  }
  SplitTime(state, seconds);
  state.counters["stocks"] = static_cast<double>(OwnWork::Get().Stocks());
  state.counters["plates"] = static_cast<double>(OwnWork::Get().Plates());
}
BENCHMARK(StartFromLoopback)->Unit(benchmark::kMillisecond)->UseManualTime();

// The same five loads one after another on one thread, without the monitor.
void LoadOneAfterAnother(benchmark::State& state) {
  World::Get();
  std::vector<double> seconds;
  for ([[maybe_unused]] auto round : state) {
    common::ForceRemoveFile((stock::GetKLineMetaFilePath() + L"/kline.meta.gzip").c_str());
    reference::CStockCommon service;
    seconds.push_back(WallSeconds([&service] { service.FinishRound({1, true}); }));
    state.SetIterationTime(seconds.back());
    if (service.GetPlateList(1).empty()) {
      state.SkipWithError("nothing was loaded");
    }
  }
  SplitTime(state, seconds);
}
BENCHMARK(LoadOneAfterAnother)->Unit(benchmark::kMillisecond)->UseManualTime();

// --- The client's own work in it ---

void DecodeStocks(benchmark::State& state) {
  const OwnWork& work = OwnWork::Get();
  bench::AgainstParser(state, work.StocksAnswer(), [&work] { benchmark::DoNotOptimize(work.Stocks()); });
}
BENCHMARK(DecodeStocks)->Unit(benchmark::kMicrosecond)->UseManualTime();

void DecodePlates(benchmark::State& state) {
  const OwnWork& work = OwnWork::Get();
  bench::AgainstParser(state, work.PlatesAnswer(), [&work] { benchmark::DoNotOptimize(work.Plates()); });
}
BENCHMARK(DecodePlates)->Unit(benchmark::kMicrosecond)->UseManualTime();

void DecodeMembership(benchmark::State& state) {
  const OwnWork& work = OwnWork::Get();
  bench::AgainstParser(state, work.MembershipAnswer(),
                       [&work] { benchmark::DoNotOptimize(work.Membership()); });
}
BENCHMARK(DecodeMembership)->Unit(benchmark::kMicrosecond)->UseManualTime();

// The metadata file from disk to its table, against inflating it alone, turn by turn.
void LoadMetadata(benchmark::State& state) {
  const OwnWork& work = OwnWork::Get();
  if (work.Metadata() < 5000) {
    state.SkipWithError("the metadata file holds too little");
    return;
  }
  std::vector<double> inflated;
  std::vector<double> loaded;
  for ([[maybe_unused]] auto round : state) {
    inflated.push_back(bench::ProcessorSeconds([&work] { benchmark::DoNotOptimize(work.Inflate()); }));
    loaded.push_back(bench::ProcessorSeconds([&work] { benchmark::DoNotOptimize(work.Metadata()); }));
    state.SetIterationTime(loaded.back());
  }
  if (!loaded.empty()) {
    state.counters["of_inflating"] = bench::Median(loaded) / bench::Median(inflated);
  }
  state.counters["symbols"] = static_cast<double>(work.Metadata());
  state.counters["bytes"] = static_cast<double>(work.Inflate());
}
BENCHMARK(LoadMetadata)->Unit(benchmark::kMicrosecond)->UseManualTime();

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
    if (store.Get(257).value_or(KLineMetaInfo()).count != 1) {
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
  if (store.Get(257).value_or(KLineMetaInfo()).count != count) {
    state.SkipWithError("the row is not there");
  }
}
BENCHMARK(SetInVersionStore)->Unit(benchmark::kMicrosecond);

}  // namespace
