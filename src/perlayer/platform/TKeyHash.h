#pragma once
// TKeyHash<T>: values of type T by key, keys compared in any case. A hash table with open
// addressing and linear probing (Knuth, The Art of Computer Programming, vol. 3, 6.4). Each place
// holds the hash, the length and the value beside the key's address: a look-up reads one place and
// one key, and whatever the value leads to can be fetched at the same time.
//
// T is small and trivial: a pointer or a handle. Belongs to one thread at a time.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

#include "perlayer/platform/TFoldedKey.h"

namespace perlayer {

template <class T>
class TKeyHash {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  TKeyHash() = default;
  TKeyHash(TKeyHash&& other) noexcept { Swap(other); }
  TKeyHash& operator=(TKeyHash&& other) noexcept {
    TKeyHash old(std::move(other));
    Swap(old);
    return *this;
  }

  std::size_t Count() const { return FCount; }
  // The key's value, or nullptr. It stays where it is until a key comes or goes.
  T* Find(const TFoldedKey& key) const {
    TPlace* place = FMask == 0 ? nullptr : &PlaceOf(key);
    return place == nullptr || place->bytes == nullptr ? nullptr : &place->value;
  }
  // Adds the key: true. When it is there already, with whatever value: false, and nothing happens.
  // When memory runs out everything is as it was.
  bool Insert(const TFoldedKey& key, T value);
  // False when the key is not there.
  bool Erase(const TFoldedKey& key) noexcept;
  void Clear() noexcept { *this = TKeyHash(); }
  // Room for that many keys.
  void Reserve(std::size_t count);

 private:
  struct TPlace {
    std::unique_ptr<char[]> bytes;  // nullptr: free
    T value;
    std::uint32_t hash;
    std::uint32_t size;
  };

  void Swap(TKeyHash& other) noexcept {
    std::swap(FPlaces, other.FPlaces);
    std::swap(FMask, other.FMask);
    std::swap(FCount, other.FCount);
  }
  // The key's place, or the free one where it belongs. REQUIRES: there are places
  TPlace& PlaceOf(const TFoldedKey& key) const {
    const std::string_view bytes = key.Bytes();
    for (std::size_t i = key.Hash() & FMask;; i = (i + 1) & FMask) {
      TPlace& place = FPlaces[i];
      if (place.bytes == nullptr) return place;
      if (place.hash == key.Hash() && place.size == bytes.size() &&
          std::memcmp(place.bytes.get(), bytes.data(), bytes.size()) == 0) {
        return place;
      }
    }
  }
  static std::size_t Loaded(std::size_t count) { return count + count / 2; }

  std::unique_ptr<TPlace[]> FPlaces;
  std::size_t FMask = 0;  // places are a power of two; 0: there are none
  std::size_t FCount = 0;
};

template <class T>
void TKeyHash<T>::Reserve(std::size_t count) {
  std::size_t places = 16;
  while (Loaded(count) > places) places *= 2;
  if (places <= FMask + 1) return;
  TKeyHash grown;
  grown.FPlaces = std::make_unique<TPlace[]>(places);
  grown.FMask = places - 1;
  grown.FCount = FCount;
  for (std::size_t i = 0; FCount > 0 && i <= FMask; ++i) {
    if (FPlaces[i].bytes == nullptr) continue;
    std::size_t to = FPlaces[i].hash & grown.FMask;
    while (grown.FPlaces[to].bytes != nullptr) to = (to + 1) & grown.FMask;
    grown.FPlaces[to] = std::move(FPlaces[i]);
  }
  Swap(grown);
}

template <class T>
bool TKeyHash<T>::Insert(const TFoldedKey& key, T value) {
  Reserve(FCount + 1);
  TPlace& place = PlaceOf(key);
  if (place.bytes != nullptr) return false;
  const std::string_view bytes = key.Bytes();
  std::unique_ptr<char[]> copy(new char[bytes.size()]);
  std::memcpy(copy.get(), bytes.data(), bytes.size());
  place = {std::move(copy), value, key.Hash(), static_cast<std::uint32_t>(bytes.size())};
  ++FCount;
  return true;
}

// Those behind it move up where they would not be found otherwise.
template <class T>
bool TKeyHash<T>::Erase(const TFoldedKey& key) noexcept {
  if (FMask == 0) return false;
  TPlace* gone = &PlaceOf(key);
  if (gone->bytes == nullptr) return false;
  auto hole = static_cast<std::size_t>(gone - FPlaces.get());
  for (std::size_t i = (hole + 1) & FMask; FPlaces[i].bytes != nullptr; i = (i + 1) & FMask) {
    if (((i - FPlaces[i].hash) & FMask) >= ((i - hole) & FMask)) {
      FPlaces[hole] = std::move(FPlaces[i]);
      hole = i;
    }
  }
  FPlaces[hole].bytes.reset();
  --FCount;
  return true;
}

}  // namespace perlayer
