#include "support/ModelTest.h"

#include <cstdlib>

namespace {

thread_local int MemoryLeft = -1;  // how many times; below 0: always
thread_local bool RefuseOnce = false;
thread_local bool Refused = false;
thread_local std::int64_t Live = 0;

void* Allocate(std::size_t size, std::size_t alignment) {
  if (MemoryLeft == 0) {
    Refused = true;
    if (RefuseOnce) MemoryLeft = -1;
    throw std::bad_alloc();
  }
  if (MemoryLeft > 0) --MemoryLeft;
  const std::size_t whole = (size + alignment) / alignment * alignment;  // and never 0
  void* memory = alignment == 1 ? std::malloc(whole) : std::aligned_alloc(alignment, whole);
  if (memory == nullptr) throw std::bad_alloc();
  ++Live;
  return memory;
}

void Free(void* memory) noexcept {
  if (memory != nullptr) --Live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
// The sanitizers have these on their own, where others go by the one above.
void* operator new[](std::size_t size) { return Allocate(size, 1); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size, 1);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { Free(memory); }

namespace perlayer {

TOutOfMemory::TOutOfMemory(int allocations, bool once) {
  MemoryLeft = allocations;
  RefuseOnce = once;
  ::Refused = false;
}
TOutOfMemory::~TOutOfMemory() { MemoryLeft = -1; }
int TOutOfMemory::Left() const { return MemoryLeft; }
bool TOutOfMemory::Refused() const { return ::Refused; }

std::int64_t LiveAllocations() { return Live; }

int ModelSteps(int steps) {
  const char* factor = std::getenv("PERLAYER_MODEL_STEPS");
  return factor == nullptr ? steps : steps * std::atoi(factor);
}

}  // namespace perlayer
