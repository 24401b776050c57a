// What opening a candle chart from disk costs: ten years of days and thirty, from the package file to the
// record that a view gets. Counters: "of_inflate" is the ratio to unpacking the same file by the host's
// library alone, "of_zlib" that to zlib on its bytes in memory, both turn by turn in one run.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <stdlib.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "charts/kline_package.h"
#include "charts/series_loader.h"
#include "charts/stock_kline.h"
#include "host/files.h"
#include "host/text.h"
#include "host_services/stock_host.h"
#include "json/budget.h"
#include "parser_ratio.h"

namespace {

constexpr int kTenYears = 2430;
constexpr int kThirtyYears = 8000;

// Lines as the feed writes them: prices with two decimals, whole lots, amounts.
std::string PackageText(int lines) {
  std::mt19937 random(20240315);  // NOLINT(cert-msc51-cpp): the same prices in every run
  std::normal_distribution<double> step(0, 0.02);
  double price = 20;
  std::string text;
  for (int line = 0; line < lines; ++line) {
    const double before = price;
    price = std::max(1.0, price * (1 + step(random)));
    const double low = std::min(before, price) * 0.99;
    const auto lots = std::uniform_int_distribution<long>(1000, 500'000)(random);
    char row[256];
    std::snprintf(row, sizeof row, "[%d,%.2f,%.2f,%.2f,%.2f,%.2f,%ld,%.2f,%.2f]\n",
                  line + 1 == lines ? 20991231 : 19900101 + line, before, before * 1.001,
                  std::max(before, price) * 1.01, price, low, lots * 100,
                  static_cast<double>(lots) * 100 * price, static_cast<double>(lots) / 20000);
    text += row;
  }
  return text;
}

// Host services without a server, and the package on disk.
class Disk {
 public:
  explicit Disk(int lines) : text_(PackageText(lines)) {
    char name[] = "/tmp/csm-bench-XXXXXX";
    if (mkdtemp(name) == nullptr) {
      throw std::runtime_error("no directory for temporary files");
    }
    directory_ = name;
    stock_host::Settings settings;
    settings.data_directory = directory_ + "/data";
    settings.log_directory = directory_ + "/log";
    settings.config_directory = directory_ + "/config";
    std::string error;
    if (!stock_host::Start(settings, error)) {
      throw std::runtime_error(error);
    }
    const std::wstring package_directory = stock::GetKLineFilePath(L"sh600000");
    std::filesystem::create_directories(common::ws2s(package_directory, common::kUtf8));
    path_ = package_directory + L"/1.1.dat";
    const gzFile file = gzopen(common::ws2s(path_, common::kUtf8).c_str(), "wb");
    gzwrite(file, text_.data(), static_cast<unsigned>(text_.size()));
    gzclose(file);
    std::ifstream packed(common::ws2s(path_, common::kUtf8), std::ios::binary);
    packed_.assign(std::istreambuf_iterator<char>(packed), {});
  }
  ~Disk() {
    stock_host::Stop();
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  [[nodiscard]] std::size_t TextSize() const { return text_.size(); }

  // By the host's library.
  void Inflate() const {
    std::string text;
    if (!GZipExtract(path_.c_str(), text)) {
      throw std::runtime_error("the package cannot be unpacked");
    }
    benchmark::DoNotOptimize(text.data());
  }

  // By zlib, into memory that is there already.
  void InflateBytes(std::string& out) const {
    z_stream stream{};
    inflateInit2(&stream, 15 + 16);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed_.data()));
    stream.avail_in = static_cast<uInt>(packed_.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
  }

 private:
  const std::string text_;
  std::string directory_;
  std::wstring path_;
  std::string packed_;
};

// A chart as a view gets it, with today's candle, in a record that may have been another chart's.
void Open(charts::SeriesLoader& history, StockKLineData& record) {
  const charts::Series series{L"sh600000"};
  const KLineCandle today{20991232, 1, 1, 1, 1, 1, 1, 1, 1};
  charts::Assemble(series, history.Load(series, today), {today}, record);
}

// The allocator hands memory back to the system as long as no large piece was ever freed. A client has freed
// answers of some megabytes when it opens a chart: from then on the allocator keeps what a chart takes.
void FreeAnAnswer() {
  const std::string answer(request::json::kMostAnswer, ' ');
  benchmark::DoNotOptimize(answer.data());
}

// Nothing of the series is in memory. The record is that of a chart that is shown no more, as the service
// fills them.
void OpenChart(benchmark::State& state) {
  FreeAnAnswer();
  const auto lines = static_cast<int>(state.range(0));
  const Disk disk(lines);
  StockKLineData record;
  {
    charts::SeriesLoader history([] { return true; });
    Open(history, record);
    if (record.candles.size() != static_cast<std::size_t>(lines) + 1) {
      state.SkipWithError("the chart does not hold every candle");
      return;
    }
  }
  std::string out(disk.TextSize() + 1, '\0');
  bench::AgainstPeers(
      state,
      [&record] {
        charts::SeriesLoader history([] { return true; });
        Open(history, record);
      },
      {{"of_inflate", [&disk] { disk.Inflate(); }}, {"of_zlib", [&disk, &out] { disk.InflateBytes(out); }}});
}
BENCHMARK(OpenChart)->Arg(kTenYears)->Arg(kThirtyYears)->UseManualTime()->Unit(benchmark::kMicrosecond);

// The same chart again: it is in memory.
void OpenChartAgain(benchmark::State& state) {
  const Disk disk(kTenYears);
  charts::SeriesLoader history([] { return true; });
  const std::size_t before = mallinfo2().uordblks;
  StockKLineData data;
  Open(history, data);
  const std::size_t held_and_told = mallinfo2().uordblks - before;
  data.candles.clear();
  const std::size_t held = mallinfo2().uordblks - before;
  for ([[maybe_unused]] auto round : state) {
    Open(history, data);
  }
  state.counters["held_bytes/candle"] = static_cast<double>(held) / kTenYears;
  state.counters["told_bytes/candle"] = static_cast<double>(held_and_told - held) / kTenYears;
}
BENCHMARK(OpenChartAgain)->Unit(benchmark::kMicrosecond);

// Where the time goes: lines to candles by the plain reader, and by Qt's parser alone.
template <charts::Candles (*read)(std::string_view)>
void ReadLines(benchmark::State& state) {
  const std::string text = PackageText(kTenYears);
  if (charts::ReadPackage(text) != charts::ReadPackageByQt(text)) {
    state.SkipWithError("the readers differ");
    return;
  }
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(read(text));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(ReadLines<charts::ReadPackage>)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadLines<charts::ReadPackageByQt>)->Unit(benchmark::kMicrosecond);

}  // namespace
