#pragma once
// TNameCache<T>: what names have led to lately, by their exact bytes. Callers spell a name the same
// way each time, so that it need not be folded again. A name stands in its place or in one of the
// next few; where all of them are taken the last that came keeps the first. Nothing is lost with
// one that is not there.
//
// T is small and trivial. Belongs to one thread at a time.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

namespace perlayer {

template <class T>
class TNameCache {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  // nullptr for a name that is not kept.
  const T* Find(std::string_view name) const {
    if (FPlaces == nullptr) return nullptr;
    const TKey key(name);
    const std::size_t home = key.Place();
    for (std::size_t i = 0; i < kTries; ++i) {
      const TPlace& place = (*FPlaces)[home + i];
      if (place.Has(key, name)) return &place.value;
    }
    return nullptr;
  }
  // Without memory for it the name is not kept.
  void Keep(std::string_view name, T value) noexcept {
    try {
      if (FPlaces == nullptr) FPlaces = std::make_unique<TPlaces>();
      const TKey key(name);
      TPlace* const home = &(*FPlaces)[key.Place()];
      TPlace* const end = home + kTries;
      TPlace* const free = std::find_if(home, end, [&](const TPlace& place) {
        return place.key == TKey() || place.Has(key, name);
      });
      TPlace& place = free == end ? *home : *free;
      place.key = TKey();
      if (name.size() > kWhole) place.name = name;
      place.value = value;
      place.key = key;
    } catch (const std::bad_alloc&) {
    }
  }
  void Clear() { FPlaces.reset(); }

 private:
  static constexpr int kPlaceBits = 6;
  static constexpr std::size_t kTries = 4;
  static constexpr std::size_t kWhole = 16;  // so many bytes stand in the key

  // The first and the last eight bytes, which overlap or are fewer in a short name.
  struct TKey {
    TKey() = default;
    explicit TKey(std::string_view name) : size(name.size()) {
      const char* const begin = name.data();
      const char* const end = begin + name.size();
      if (size >= 8) {
        first = Word<std::uint64_t>(begin);
        last = Word<std::uint64_t>(end - 8);
      } else if (size >= 4) {
        first = Word<std::uint32_t>(begin);
        last = Word<std::uint32_t>(end - 4);
      } else if (size > 0) {
        const auto byte = [](char c) { return std::uint64_t{static_cast<unsigned char>(c)}; };
        first = byte(begin[0]) | byte(begin[size / 2]) << 8 | byte(end[-1]) << 16;
      }
    }
    // In a register: half a word that is written to memory is waited for by who reads the whole.
    template <class TWord>
    static TWord Word(const char* bytes) {
      TWord word;
      std::memcpy(&word, bytes, sizeof word);
      return word;
    }
    // Multiplicative hashing (Knuth, The Art of Computer Programming, vol. 3, 6.4).
    std::size_t Place() const {
      return ((first ^ std::rotl(last, 29) ^ size) * 0x9E3779B97F4A7C15u) >> (64 - kPlaceBits);
    }
    bool operator==(const TKey&) const = default;

    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint64_t size = ~std::uint64_t{0};  // of no name
  };
  struct TPlace {
    TKey key;
    T value;
    std::string name;  // where the key does not hold all of it

    bool Has(const TKey& other, std::string_view whole) const {
      return key == other && (whole.size() <= kWhole || name == whole);
    }
  };
  using TPlaces = std::array<TPlace, (std::size_t{1} << kPlaceBits) + kTries - 1>;

  std::unique_ptr<TPlaces> FPlaces;  // made by the first name
};

}  // namespace perlayer
