// Clock, heap and the measuring loop.
#ifndef VEXO_BENCH_METER_H
#define VEXO_BENCH_METER_H

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <cstddef>
#include <cstdlib>

namespace bench {

/// Processor time of this thread in seconds: unlike the wall clock it does not count the time in
/// which another process had the core.
inline double threadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The bytes that the C library's heap has given out, its own overhead included. All libraries that
/// are compared take their memory from there, whether through `new` or `malloc`.
inline std::size_t liveBytes() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// Keeps freed memory in the process, as in one that has run for a while. Otherwise every large
/// tree or text is paid for in page faults, by chance more for one library than for another.
inline void keepFreedMemory() {
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

/// Makes the C library merge the small blocks that were freed since it last did. It puts that off
/// until somebody frees or asks for a large block, so that half the cost of releasing a tree may be
/// paid by whatever comes next, for one library and document but not for another.
inline void settleHeap() {
  void* const large = std::malloc(4096);
  benchmark::DoNotOptimize(large);
  std::free(large);
}

/// Runs `prepare` and `timed` in turns, and reports what `timed` took for each of its `items`. It
/// always finds a settled heap.
void measure(benchmark::State& state, std::size_t items, auto prepare, auto timed) {
  for ([[maybe_unused]] auto _ : state) {
    prepare();
    settleHeap();
    const double start = threadSeconds();
    timed();
    state.SetIterationTime(threadSeconds() - start);
  }
  using benchmark::Counter;
  state.counters["each"] =
      Counter(static_cast<double>(items), Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void measure(benchmark::State& state, std::size_t items, auto timed) {
  measure(
      state, items, [] {}, timed);
}

}  // namespace bench

#endif
