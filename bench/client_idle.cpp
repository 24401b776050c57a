// What a client with every service costs while nothing happens: its processor time in a closed market, with
// its views hidden and shown. The market server is a process of its own and does not count.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <thread>

#include "served_client.h"

namespace {

double Seconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Processor time of all threads but this one, which only waits and measures.
double ProcessorSecondsOfClient() {
  return Seconds(CLOCK_PROCESS_CPUTIME_ID) - Seconds(CLOCK_THREAD_CPUTIME_ID);
}

// A client of an evening market that shows something of every service.
bench::ServedClient& EveningClient() {
  static bench::ServedClient& served = []() -> bench::ServedClient& {
    static bench::ServedClient made("2027-06-15 20:00:00", "1");
    bench::ServedClient::LoadReferenceData();
    made.ShowEverything();
    return made;
  }();
  return served;
}

// A round is a tenth of a second in which the client is left alone.
void Idle(benchmark::State& state, bool shown) {
  client_test::WholeClient& client = EveningClient().client();
  for (const auto& feed : client.feeds()) {
    shown ? feed->Show() : feed->Hide();
  }
  if (!client.AwaitSettled()) {
    state.SkipWithError("the client does not come to rest");
    return;
  }
  const std::uint64_t requests = stock_host::ReadCounters().requests;
  const double processor = ProcessorSecondsOfClient();
  const auto begin = std::chrono::steady_clock::now();
  for ([[maybe_unused]] auto round : state) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  const double worked = ProcessorSecondsOfClient() - processor;
  const auto asked = static_cast<double>(stock_host::ReadCounters().requests - requests);
  if (!shown && asked > 0) {
    state.SkipWithError("hidden views are asked for");
  }
  state.counters["measured_s"] = seconds;
  state.counters["cpu_s_an_hour"] = worked / seconds * 3600;
  state.counters["requests_an_hour"] = asked / seconds * 3600;
}

void IdleWithHiddenViews(benchmark::State& state) {
  Idle(state, false);
}
BENCHMARK(IdleWithHiddenViews)->UseRealTime()->Unit(benchmark::kMillisecond);

void IdleWithShownViews(benchmark::State& state) {
  Idle(state, true);
}
BENCHMARK(IdleWithShownViews)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
