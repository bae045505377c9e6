#pragma once
// Resident memory of the process.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>

namespace perlayer::bench {

inline std::size_t ResidentBytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  long total = 0;
  long resident = 0;
  if (file == nullptr || std::fscanf(file, "%ld %ld", &total, &resident) != 2) std::exit(1);
  std::fclose(file);
  return static_cast<std::size_t>(resident) * 4096;
}

// Bytes of resident memory per row of what `make` answers, which holds that many.
template <class TMake>
double BytesPerRow(int rows, TMake make) {
  malloc_trim(0);
  const std::size_t before = ResidentBytes();
  const auto held = make();
  benchmark::DoNotOptimize(&held);
  return static_cast<double>(ResidentBytes() - before) / rows;
}

}  // namespace perlayer::bench
