#pragma once
// Model tests do random things to an object and to something as simple as can be that must answer
// alike. They are run for a seed each; PERLAYER_MODEL_STEPS=10 in the environment makes them ten
// times as long.

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <random>

namespace perlayer {

// For the length of a scope, this thread is given memory so many times and then no more; or, with
// `once`, not given it one time.
class TOutOfMemory {
 public:
  explicit TOutOfMemory(int allocations, bool once = false);
  ~TOutOfMemory();
  TOutOfMemory(const TOutOfMemory&) = delete;
  TOutOfMemory& operator=(const TOutOfMemory&) = delete;
  int Left() const;      // how many times still; below 0: the one time is over
  bool Refused() const;  // it has come to that
};

int ModelSteps(int steps);

// What this thread has allocated and nobody has given back on it.
std::int64_t LiveAllocations();

class TModelTest : public testing::TestWithParam<unsigned> {
 protected:
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
  // Runs the operation; now and then memory runs out, sooner or later, and then it is false.
  template <class TOperation>
  bool Attempt(const TOperation& operation) {
    const int memory = Below(4) == 0 ? Below(5) : -1;
    try {
      const TOutOfMemory scarce(memory);
      operation();
      return true;
    } catch (const std::bad_alloc&) {
      ++refused;
      return false;
    }
  }
  void TearDown() override { RecordProperty("operationsWithoutMemory", refused); }

  std::mt19937 random{GetParam()};
  int refused = 0;
};

}  // namespace perlayer
