// Times work on an answer against the lower bound of the JSON parser alone on the same bytes, turn by turn in
// one run, so that the ratio does not depend on the machine and hardly on what else runs on it.
#pragma once

#include <benchmark/benchmark.h>

#include <QJsonDocument>
#include <algorithm>
#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// Processor time of the calling thread that `work` takes, in seconds.
template <class Work>
[[nodiscard]] double ProcessorSeconds(Work&& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  };
  const double start = now();
  work();
  return now() - start;
}

[[nodiscard]] inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Reads `answer` by the parser alone.
inline void ParseAlone(const std::string& answer) {
  benchmark::DoNotOptimize(
      QJsonDocument::fromJson(QByteArray::fromRawData(answer.data(), static_cast<int>(answer.size()))));
}

/// Rounds of the parser alone and of `worked`, which gives the processor seconds of its own `runs` runs, turn
/// by turn.
template <class Worked>
void CompareRounds(benchmark::State& state, const std::string& answer, std::size_t runs, Worked worked,
                   double parts) {
  constexpr std::size_t kTurns = 101;  // of the parser; more take too long
  std::vector<double> ratios;
  for ([[maybe_unused]] auto round : state) {
    const double seconds = worked();
    state.SetIterationTime(seconds);
    if (ratios.size() < kTurns) {
      ratios.push_back(seconds / parts / ProcessorSeconds([&] {
                         for (std::size_t run = 0; run < runs; ++run) {
                           ParseAlone(answer);
                         }
                       }));
    }
  }
  if (!ratios.empty()) {
    state.counters["of_parser"] = Median(ratios);
    state.counters["runs_a_round"] = static_cast<double>(runs);
  }
}

/// Runs `work` in rounds, whose processor time is the benchmark's (register with `UseManualTime`): one run a
/// round, for a short answer many, so that reading the clock does not count. The counter "of_parser" is the
/// median of the ratios of `work`, divided by `parts`, to the parser alone.
template <class Work>
void AgainstParser(benchmark::State& state, const std::string& answer, Work work, double parts = 1) {
  constexpr std::size_t kRoundBytes = 50'000;
  const std::size_t runs = 1 + kRoundBytes / answer.size();
  const auto worked = [&work, runs] {
    return ProcessorSeconds([&] {
      for (std::size_t run = 0; run < runs; ++run) {
        work();
      }
    });
  };
  CompareRounds(state, answer, runs, worked, parts);
}

/// The same for work on a long answer that needs a fresh object each time: `prepare` makes it and is not
/// counted.
template <class Prepare, class Work>
void AgainstParserPrepared(benchmark::State& state, const std::string& answer, Prepare prepare, Work work) {
  const auto worked = [&prepare, &work] {
    prepare();
    return ProcessorSeconds(work);
  };
  CompareRounds(state, answer, 1, worked, 1);
}

/// What a benchmark is held against, and the name of the counter that says how much of it the work takes.
struct Peer {
  const char* counter;
  std::function<void()> run;
};

/// Runs `work` and its peers by turns. A counter is the median of the ratios of each turn.
template <class Work>
void AgainstPeers(benchmark::State& state, Work work, const std::vector<Peer>& peers) {
  std::vector<std::vector<double>> ratios(peers.size());
  for ([[maybe_unused]] auto round : state) {
    const double seconds = ProcessorSeconds(work);
    state.SetIterationTime(seconds);
    for (std::size_t peer = 0; peer < peers.size(); ++peer) {
      ratios[peer].push_back(seconds / ProcessorSeconds(peers[peer].run));
    }
  }
  for (std::size_t peer = 0; peer < peers.size(); ++peer) {
    state.counters[peers[peer].counter] = Median(ratios[peer]);
  }
}

}  // namespace bench
