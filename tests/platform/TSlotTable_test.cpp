#include "perlayer/platform/TSlotTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "perlayer/platform/TObject.h"

namespace perlayer {
namespace {

// Objects of which an address tells the place on the notice board that they were made for: each
// place has a piece of memory of its own, and every object of the place is made in it.
constexpr std::size_t kPlaces = 8;
constexpr std::size_t kRoom = 256;
alignas(std::max_align_t) unsigned char Rooms[kPlaces][kRoom];
thread_local std::size_t PlaceToFill = 0;

template <int kKind>
class TNotice : public TObject {
  TCLASS(TNotice, TObject)
 public:
  static void* operator new(std::size_t size) {
    static_assert(sizeof(TNotice) <= kRoom);
    return size <= kRoom ? Rooms[PlaceToFill] : throw std::bad_alloc();
  }
  static void operator delete(void*) {}
};

// The class of the objects of a place: neighbours, which use each other's slots, differ.
const TClass& ClassOf(std::size_t place) {
  return place % 2 == 0 ? TNotice<0>::ClassInfo() : TNotice<1>::ClassInfo();
}

// Writers hang objects on the board and take them down while readers ask the handles. A handle
// answers the object for which it was made, or nothing: never what came into its slot later, which
// here is always an object of another place. Slots also wander between the writers, by the extra
// objects that they make and free.
TEST(TSlotTable, ThreadsTakeGiveBackAndRead) {
  static_assert(std::atomic<TObjectHandle>::is_always_lock_free);
  constexpr int kRounds = 40000;
  std::atomic<TObjectHandle> board[kPlaces];
  std::atomic<int> writing{2};
  std::atomic<int> wrong{0};
  std::atomic<std::int64_t> seen{0};
  const std::int64_t live = TSlotTable::LiveCount();

  const auto write = [&](std::size_t first) {
    const std::size_t last = first + kPlaces / 2;
    TObject* hanging[kPlaces] = {};
    const auto hang = [&](std::size_t place) {
      PlaceToFill = place;
      hanging[place] = TClassRef<TObject>(ClassOf(place)).New();
      board[place].store(hanging[place], std::memory_order_release);
    };
    std::size_t empty = first;
    for (std::size_t place = first + 1; place < last; ++place) hang(place);
    // Goes on until the readers have met something, should they come late.
    for (int round = 0; round < kRounds || (seen == 0 && round < 1000 * kRounds); ++round) {
      for (std::size_t place = first; place < last; ++place) {
        if (place == empty) continue;
        hanging[place]->Free();
        if (board[place].load().IsAlive()) ++wrong;
        hang(std::exchange(empty, place));
      }
      if (round % 500 == 0) {
        std::vector<TOwned<TObject>> many;
        for (int i = 0; i < 300; ++i) many.push_back(Make<TObject>());
      }
    }
    for (std::size_t place = first; place < last; ++place) {
      if (place != empty) hanging[place]->Free();
    }
    --writing;
  };
  const auto read = [&] {
    while (writing > 0) {
      for (std::size_t place = 0; place < kPlaces; ++place) {
        const TObjectHandle handle = board[place].load(std::memory_order_acquire);
        if (const TObject* object = handle.Get()) {
          ++seen;
          if (static_cast<const void*>(object) != Rooms[place]) ++wrong;
        }
        if (const TClass* cls = handle.Class(); cls != nullptr && cls != &ClassOf(place)) ++wrong;
      }
    }
  };
  std::vector<std::thread> threads;
  threads.emplace_back(write, 0);
  threads.emplace_back(write, kPlaces / 2);
  threads.emplace_back(read);
  threads.emplace_back(read);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(seen, 0) << "no reader met a living object: the test has shown nothing";
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

TEST(TSlotTable, ObjectsMadeInOneThreadMayEndInAnother) {
  const std::int64_t live = TSlotTable::LiveCount();
  std::vector<TObjectHandle> handles;
  for (int round = 0; round < 5; ++round) {
    std::vector<TObject*> objects(1000);
    std::thread maker([&] {
      for (TObject*& object : objects) object = New<TObject>();
    });
    maker.join();
    EXPECT_EQ(TSlotTable::LiveCount(), live + 1000) << "ended threads count";
    for (TObject* object : objects) {
      handles.emplace_back(object);
      object->Free();
    }
  }
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  for (const TObjectHandle& handle : handles) EXPECT_FALSE(handle.IsAlive());
}

}  // namespace
}  // namespace perlayer
