#pragma once
// TKeyHash<T>: values of type T by key, keys compared in any case. A hash table with open
// addressing and linear probing (Knuth, The Art of Computer Programming, vol. 3, 6.4). A short key
// stands in its place itself, so that a look-up reads one place; of a longer one the place has the
// hash, the length and the address.
//
// T is small and trivial: a pointer or a handle. Belongs to one thread at a time.

#include <algorithm>
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
  ~TKeyHash() {
    for (std::size_t i = 0; i < FSize; ++i) FreeBytes(FPlaces[i]);
  }

  std::size_t Count() const { return FCount; }
  // The key's value, or nullptr. It stays where it is until a key comes or goes.
  T* Find(const TFoldedKey& key) const {
    TPlace* place = FSize == 0 ? nullptr : &PlaceOf(key);
    return place == nullptr || IsFree(*place) ? nullptr : &place->value;
  }
  // Adds the key: true. When it is there already, with whatever value: false, and nothing happens.
  // When memory runs out everything is as it was.
  bool Insert(const TFoldedKey& key, T value);
  // False when the key is not there.
  bool Erase(const TFoldedKey& key) noexcept;
  void Clear() noexcept { *this = TKeyHash(); }
  // Room for that many keys. Two thirds of the places are taken when they have come.
  void Reserve(std::size_t count) {
    if (count > FSize / 4 * 3) Resize(count + count / 2);
  }

 private:
  using TWords = TFoldedKey::TWords;
  static constexpr std::uint64_t kLong = std::uint64_t{0xFF} << 56;

  // The last word of a free place is 0, that of a short key has its length, that of a long one is
  // kLong; the first then is hash and length, the second the address of its bytes.
  struct TPlace {
    TWords key;
    T value;
  };

  void Resize(std::size_t places);
  void Swap(TKeyHash& other) noexcept {
    std::swap(FPlaces, other.FPlaces);
    std::swap(FSize, other.FSize);
    std::swap(FCount, other.FCount);
  }
  static bool IsFree(const TPlace& place) { return place.key[2] == 0; }
  static char* BytesOf(const TPlace& place) { return reinterpret_cast<char*>(place.key[1]); }
  static void FreeBytes(const TPlace& place) {
    if (place.key[2] == kLong) delete[] BytesOf(place);
  }
  static std::uint32_t HashOf(const TPlace& place) {
    return place.key[2] == kLong ? static_cast<std::uint32_t>(place.key[0])
                                 : TFoldedKey::HashOf(place.key);
  }
  static std::uint64_t HashAndSize(const TFoldedKey& key) {
    return std::uint64_t{key.Bytes().size()} << 32 | key.Hash();
  }
  // The key's place, or the free one where it belongs. REQUIRES: there are places
  TPlace& PlaceOf(const TFoldedKey& key) const {
    std::size_t i = HomeOf(key.Hash(), FSize);
    if (key.IsShort()) {
      const TWords& words = key.Words();
      for (;; i = Next(i)) {
        TPlace& place = FPlaces[i];
        if (((place.key[0] ^ words[0]) | (place.key[1] ^ words[1]) | (place.key[2] ^ words[2])) ==
            0) {
          return place;
        }
        if (IsFree(place)) return place;
      }
    }
    const std::string_view bytes = key.Bytes();
    for (const std::uint64_t head = HashAndSize(key);; i = Next(i)) {
      TPlace& place = FPlaces[i];
      if (IsFree(place)) return place;
      if (place.key[2] == kLong && place.key[0] == head &&
          std::memcmp(BytesOf(place), bytes.data(), bytes.size()) == 0) {
        return place;
      }
    }
  }
  // The first place of a hash, which is its share of all places.
  static std::size_t HomeOf(std::uint32_t hash, std::size_t places) {
    return static_cast<std::size_t>(std::uint64_t{hash} * places >> 32);
  }
  std::size_t Next(std::size_t i) const { return i + 1 == FSize ? 0 : i + 1; }
  // How far a place lies behind another.
  std::size_t Distance(std::size_t from, std::size_t to) const {
    return to >= from ? to - from : to + FSize - from;
  }

  std::unique_ptr<TPlace[]> FPlaces;
  std::size_t FSize = 0;
  std::size_t FCount = 0;
};

// Three quarters of the places are taken at the most, and half of them after growing.
template <class T>
void TKeyHash<T>::Resize(std::size_t places) {
  places = std::max<std::size_t>(16, (places + 3) / 4 * 4);
  auto grown = std::make_unique<TPlace[]>(places);
  for (std::size_t i = 0; i < FSize; ++i) {
    if (IsFree(FPlaces[i])) continue;
    std::size_t to = HomeOf(HashOf(FPlaces[i]), places);
    while (!IsFree(grown[to])) to = to + 1 == places ? 0 : to + 1;
    grown[to] = FPlaces[i];
  }
  FPlaces = std::move(grown);
  FSize = places;
}

template <class T>
bool TKeyHash<T>::Insert(const TFoldedKey& key, T value) {
  if (FCount == FSize / 4 * 3) Resize(FSize / 2 * 3);
  TPlace& place = PlaceOf(key);
  if (!IsFree(place)) return false;
  if (key.IsShort()) {
    place.key = key.Words();
  } else {
    const std::string_view bytes = key.Bytes();
    char* const copy = new char[bytes.size()];
    std::memcpy(copy, bytes.data(), bytes.size());
    place.key = {HashAndSize(key), reinterpret_cast<std::uintptr_t>(copy), kLong};
  }
  place.value = value;
  ++FCount;
  return true;
}

// Those behind it move up where they would not be found otherwise.
template <class T>
bool TKeyHash<T>::Erase(const TFoldedKey& key) noexcept {
  if (FSize == 0) return false;
  TPlace* gone = &PlaceOf(key);
  if (IsFree(*gone)) return false;
  FreeBytes(*gone);
  auto hole = static_cast<std::size_t>(gone - FPlaces.get());
  for (std::size_t i = Next(hole); !IsFree(FPlaces[i]); i = Next(i)) {
    if (Distance(HomeOf(HashOf(FPlaces[i]), FSize), i) >= Distance(hole, i)) {
      FPlaces[hole] = FPlaces[i];
      hole = i;
    }
  }
  FPlaces[hole] = TPlace{};
  --FCount;
  return true;
}

}  // namespace perlayer
