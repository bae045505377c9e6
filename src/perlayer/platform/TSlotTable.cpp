#include "perlayer/platform/TSlotTable.h"

#include <mutex>
#include <new>
#include <vector>

namespace perlayer {

constinit std::atomic<TSlotTable::TRecord*> TSlotTable::FChunks[TSlotTable::kMaxChunks] = {};

namespace {

struct TFreeList {
  std::mutex lock;
  std::vector<std::uint32_t> slots;    // guarded by lock
  std::uint32_t chunks = 0;            // guarded by lock
  std::atomic<std::int64_t> taken{0};  // slots handed to thread caches
};

// Never destroyed: objects of static lifetime may still give their slots back at exit.
TFreeList& FreeList() {
  static TFreeList* list = new TFreeList;
  return *list;
}

}  // namespace

// The calling thread's own free slots. At thread end they go back to the shared list.
struct TSlotCache {
  std::uint32_t slots[2 * TSlotTable::kBatch];
  std::size_t count = 0;
  std::int64_t live = 0;  // taken minus given back by this thread since the last flush

  ~TSlotCache() {
    FlushDown(0);
    FreeList().taken.fetch_add(live, std::memory_order_relaxed);
  }

  void Refill() {
    TFreeList& list = FreeList();
    const std::lock_guard guard(list.lock);
    if (list.slots.size() < TSlotTable::kBatch) Grow(list);
    while (count < TSlotTable::kBatch && !list.slots.empty()) {
      slots[count++] = list.slots.back();
      list.slots.pop_back();
    }
  }

  void FlushDown(std::size_t keep) noexcept {
    TFreeList& list = FreeList();
    const std::lock_guard guard(list.lock);
    // Grow() keeps room for every slot that exists, so push_back does not allocate here.
    while (count > keep) list.slots.push_back(slots[--count]);
  }

  static void Grow(TFreeList& list) {
    if (list.chunks == TSlotTable::kMaxChunks) throw std::bad_alloc();
    list.slots.reserve(static_cast<std::size_t>(list.chunks + 1) * TSlotTable::kChunkSize);
    auto* chunk = new TSlotTable::TRecord[TSlotTable::kChunkSize];
    const std::uint32_t base = list.chunks << TSlotTable::kChunkBits;
    TSlotTable::FChunks[list.chunks].store(chunk, std::memory_order_release);
    ++list.chunks;
    for (std::uint32_t i = TSlotTable::kChunkSize; i-- > 0;) {
      if (base + i != 0) list.slots.push_back(base + i);  // slot 0 is nobody: handle 0 is nil
    }
  }
};

namespace {
thread_local TSlotCache Cache;
}  // namespace

std::uint32_t TSlotTable::Take(const TClass& cls) {
  TSlotCache& cache = Cache;
  if (cache.count == 0) cache.Refill();
  const std::uint32_t slot = cache.slots[--cache.count];
  ++cache.live;
  TRecord& record = At(slot);
  // Released, as is the object: who reads these reads the word of this generation or a later one.
  record.cls.store(&cls, std::memory_order_release);
  record.object.store(nullptr, std::memory_order_relaxed);
  const std::uint64_t generation = record.word.load(std::memory_order_relaxed) >> 32;
  record.word.store(generation << 32 | static_cast<std::uint32_t>(TSlotState::alive),
                    std::memory_order_release);
  return slot;
}

void TSlotTable::GiveBack(std::uint32_t slot) noexcept {
  TRecord& record = At(slot);
  const std::uint64_t generation = record.word.load(std::memory_order_relaxed) >> 32;
  record.object.store(nullptr, std::memory_order_relaxed);
  record.word.store((generation + 1) << 32, std::memory_order_release);
  TSlotCache& cache = Cache;
  --cache.live;
  // A slot whose generations are used up is retired: a handle must never come true again.
  if (generation + 1 == 0xffffffff) return;
  if (cache.count == 2 * kBatch) cache.FlushDown(kBatch);
  cache.slots[cache.count++] = slot;
}

std::int64_t TSlotTable::LiveCount() {
  return FreeList().taken.load(std::memory_order_relaxed) + Cache.live;
}

}  // namespace perlayer
