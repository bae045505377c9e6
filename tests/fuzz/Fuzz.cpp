#include "fuzz/Fuzz.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TSlotTable.h"

namespace perlayer {
namespace {

std::uint64_t Inputs = 0, Accepted = 0;

void PrintShare() {
  std::fprintf(
      stderr, "accepted %llu of %llu inputs, %.1f %%\n", static_cast<unsigned long long>(Accepted),
      static_cast<unsigned long long>(Inputs),
      Inputs == 0 ? 0.0 : 100.0 * static_cast<double>(Accepted) / static_cast<double>(Inputs));
}

}  // namespace

void Require(bool condition, const char* property, std::string_view found) {
  if (condition) return;
  std::fprintf(stderr, "does not hold: %s\nfound: %.*s\n", property, static_cast<int>(found.size()),
               found.data());
  std::abort();
}

}  // namespace perlayer

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  using namespace perlayer;
  static TLayer layer;
  TClock::Install(std::make_unique<TManualClock>(EncodeDate(2023, 1, 27)));
  std::atexit(PrintShare);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace perlayer;
  const std::int64_t objects = TSlotTable::LiveCount();
  ++Inputs;
  if (Takes({reinterpret_cast<const char*>(data), size})) ++Accepted;
  Require(TSlotTable::LiveCount() == objects, "every object made for the input is gone");
  return 0;
}
