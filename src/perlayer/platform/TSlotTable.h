#pragma once
// The process-wide table of live objects. Every TObject occupies one numbered slot; a slot's
// generation grows whenever it is given back, so (slot, generation) names one object for ever and
// nobody has to read freed memory to learn that an object is gone.
//
// Any thread may take, give back and read. Reading is lock-free; taking and giving back go through
// a cache of the calling thread and touch the shared free list only once per kBatch slots.

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace perlayer {

class TObject;
class TClass;

enum class TSlotState : std::uint32_t { free, alive, shell };

class TSlotTable {
 public:
  static constexpr std::uint32_t kChunkBits = 12;
  static constexpr std::uint32_t kChunkSize = 1u << kChunkBits;
  static constexpr std::uint32_t kMaxChunks = 1u << 15;
  static constexpr std::size_t kBatch = 64;

  struct TRecord {
    std::atomic<std::uint64_t> word{0};  // generation << 32 | state
    std::atomic<const TClass*> cls{nullptr};
    std::atomic<TObject*> object{nullptr};
  };

  // A free slot, marked alive for class `cls` with no object yet. Raises std::bad_alloc.
  static std::uint32_t Take(const TClass& cls);
  // Ends the slot's current generation: every handle to it is stale from now on.
  static void GiveBack(std::uint32_t slot) noexcept;

  static TRecord& At(std::uint32_t slot) {
    return FChunks[slot >> kChunkBits].load(std::memory_order_acquire)[slot & (kChunkSize - 1)];
  }

  static void SetState(std::uint32_t slot, TSlotState state) noexcept {
    TRecord& record = At(slot);
    const std::uint64_t word = record.word.load(std::memory_order_relaxed);
    record.word.store((word & ~std::uint64_t{0xffffffff}) | static_cast<std::uint32_t>(state),
                      std::memory_order_release);
  }

  // Slots in use, for leak checks. Counts the objects of all threads; exact while none is at work.
  static std::int64_t LiveCount();

 private:
  friend struct TSlotCache;
  static std::atomic<TRecord*> FChunks[kMaxChunks];
};

}  // namespace perlayer
