#include "perlayer/platform/TCollation.h"

#include <array>

#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

int TCollation::Compare(std::string_view a, std::string_view b, bool ignoreCase) const {
  std::string keyA, keyB;
  AppendKey(keyA, a, ignoreCase);
  AppendKey(keyB, b, ignoreCase);
  return keyA.compare(keyB);
}

namespace {

// What a character weighs on each level.
struct TWeight {
  unsigned char base = 0;
  unsigned char second = 0;  // of what counts as two letters
  unsigned char accent = 0;
  unsigned char letterCase = 0;
};

constexpr char kLevelEnd = 0;
constexpr unsigned char kPlain = 1;  // no accent; a small letter, or what has no case
constexpr unsigned char kCapital = 2;
constexpr unsigned char kOther = 0xFE;  // the code point follows, in three bytes
constexpr char32_t kTableSize = 0x250;  // Latin as far as these languages and their neighbours go

struct TVariants {
  const char* letters;  // one or two
  const char* accented;
};
constexpr const char* kLetters = "abcčćdđefghijklmnopqrsštuvwxyzž";
constexpr TVariants kVariants[] = {
    {"a", "áàâäãåāăą"},  {"c", "çĉċ"},       {"d", "ďð"},  {"e", "éèêëěĕėēę"}, {"g", "ĝğġģ"},
    {"h", "ĥħ"},         {"i", "íìîïĩĭīįı"}, {"j", "ĵ"},   {"k", "ķĸ"},        {"l", "ĺľļŀł"},
    {"n", "ñńňņŉŋ"},     {"o", "óòôöőõøŏō"}, {"r", "ŕřŗ"}, {"s", "śŝşș"},      {"t", "ťţŧț"},
    {"u", "úùûüűũůŭūų"}, {"w", "ŵ"},         {"y", "ýÿŷ"}, {"z", "źż"},        {"ss", "ß"},
    {"ae", "æ"},         {"oe", "œ"},        {"th", "þ"},  {"ij", "ĳ"},
};
using TTable = std::array<TWeight, kTableSize>;

// The character at `i`, and `i` behind it.
char32_t NextOf(std::string_view text, std::size_t& i) {
  const auto byte = static_cast<unsigned char>(text[i]);
  return byte < 0x80 ? ++i, byte : DecodeUtf8(text, i);
}

template <class TVisit>
void ForEachCharacter(std::string_view text, TVisit visit) {
  for (std::size_t i = 0; i < text.size();) visit(NextOf(text, i));
}

TTable MakeTable() {
  TTable table{};
  table.fill({kOther, 0, kPlain, kPlain});
  unsigned char last = kPlain;
  const auto take = [&](char32_t c) { table[c].base = ++last; };
  const auto isBetween = [](char32_t c, char32_t a, char32_t b) { return c >= a && c <= b; };
  for (char32_t c = 0; c < 0x80; ++c) {
    if (!isBetween(c, '0', '9') && !isBetween(c, 'A', 'Z') && !isBetween(c, 'a', 'z')) take(c);
  }
  for (char32_t c = '0'; c <= '9'; ++c) take(c);
  ForEachCharacter(kLetters, take);
  for (const TVariants& variants : kVariants) {
    const auto base = [&](std::size_t i) {
      const auto c = static_cast<unsigned char>(variants.letters[i]);
      return c == 0 ? c : table[c].base;
    };
    unsigned char accent = kPlain;
    ForEachCharacter(variants.accented, [&](char32_t c) {
      table[c] = {base(0), base(1), ++accent, kPlain};
    });
  }
  for (char32_t c = 0; c < kTableSize; ++c) {
    const char32_t small = FoldCodePoint(c);
    if (small == c) continue;
    if (small < kTableSize) table[c] = table[small];
    table[c].letterCase = kCapital;
  }
  return table;
}

class TLatinCollation : public TCollation {
 public:
  // A level behind the first ends with its last weight that is not kPlain: most texts have none,
  // but for the capital at the beginning.
  void AppendKey(std::string& key, std::string_view text, bool ignoreCase) const override {
    static const TTable kTable = MakeTable();
    if (AppendAsciiKey(kTable, key, text, ignoreCase)) return;
    std::size_t accents = 0, capitals = 0, count = 0;
    const auto weightOf = [](char32_t c) {
      return c < kTableSize ? kTable[c]
                            : TWeight{kOther, 0, kPlain, FoldCodePoint(c) == c ? kPlain : kCapital};
    };
    ForEachCharacter(text, [&](char32_t c) {
      const TWeight weight = weightOf(c);
      ++count;
      if (weight.accent != kPlain) accents = count;
      if (weight.letterCase != kPlain) capitals = count;
      key += static_cast<char>(weight.base);
      if (weight.second != 0) key += static_cast<char>(weight.second);
      if (weight.base != kOther) return;
      const char32_t small = FoldCodePoint(c);
      for (const int shift : {16, 8, 0}) key += static_cast<char>(small >> shift);
    });
    const auto appendLevel = [&](std::size_t weights, unsigned char TWeight::*level) {
      key += kLevelEnd;
      for (std::size_t i = 0; weights > 0; --weights) {
        key += static_cast<char>(weightOf(NextOf(text, i)).*level);
      }
    };
    appendLevel(accents, &TWeight::accent);
    if (!ignoreCase) appendLevel(capitals, &TWeight::letterCase);
  }

 private:
  // The same key, faster; false, with the key as it was, for a text that is not all ASCII.
  static bool AppendAsciiKey(const TTable& table, std::string& key, std::string_view text,
                             bool ignoreCase) {
    const std::size_t start = key.size();
    key.resize(start + text.size() + (ignoreCase ? 1 : 2), kLevelEnd);
    std::size_t capitals = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      if (c >= 0x80) {
        key.resize(start);
        return false;
      }
      key[start + i] = static_cast<char>(table[c].base);
      if (table[c].letterCase != kPlain) capitals = i + 1;
    }
    for (std::size_t i = 0; i < capitals && !ignoreCase; ++i) {
      key += static_cast<char>(table[static_cast<unsigned char>(text[i])].letterCase);
    }
    return true;
  }
};

struct TCollationPart {
  std::unique_ptr<TCollation> collation = std::make_unique<TLatinCollation>();
};

TCollationPart& Part() { return TLayer::Part<TCollationPart>(TLayerPart::collation); }

// The place of a value's kind in the order.
enum class TRank { unassigned, null, number, text };
TRank RankOf(const Variant& v) {
  switch (v.Kind()) {
    case TVariantKind::Unassigned:
      return TRank::unassigned;
    case TVariantKind::Null:
      return TRank::null;
    case TVariantKind::String:
    case TVariantKind::Array:
      return TRank::text;
    default:
      return TRank::number;
  }
}

int Sign(std::partial_ordering order) { return order < 0 ? -1 : order > 0 ? 1 : 0; }

}  // namespace

const TCollation& Collation() { return *Part().collation; }

void InstallCollation(std::unique_ptr<TCollation> collation) {
  Part().collation =
      collation != nullptr ? std::move(collation) : std::make_unique<TLatinCollation>();
}

int AnsiCompareStr(std::string_view a, std::string_view b) {
  return Collation().Compare(a, b, false);
}

int AnsiCompareText(std::string_view a, std::string_view b) {
  return Collation().Compare(a, b, true);
}

int AnsiCompareVariant(const Variant& a, const Variant& b) {
  const TRank rank = RankOf(a);
  if (rank != RankOf(b)) return rank < RankOf(b) ? -1 : 1;
  switch (rank) {
    case TRank::text:
      return AnsiCompareStr(a.AsText(), b.AsText());
    case TRank::number:
      if (a.Kind() == TVariantKind::Integer && b.Kind() == TVariantKind::Integer) {
        return Sign(a.AsInteger() <=> b.AsInteger());
      }
      return Sign(a.AsFloat() <=> b.AsFloat());
    default:
      return 0;
  }
}

}  // namespace perlayer
