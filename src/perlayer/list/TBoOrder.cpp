#include "perlayer/list/TBoOrder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "perlayer/corekit/TISifranti.h"
#include "perlayer/list/QuickSort.h"
#include "perlayer/object/FieldText.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TCollation.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

std::string& DefaultSortParam() {
  struct TDefault {
    std::string param;
  };
  return TLayer::Part<TDefault>(TLayerPart::listOrder).param;
}

TBoOrder::TTerm TBoOrder::Term(std::string_view text) {
  text = Trim(text);
  const auto prefixed = [&](std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
  };
  const bool descending = prefixed("-");
  const bool byLong = prefixed("@");
  const bool byShort = prefixed("§");
  return {descending,
          byShort  ? TReading::shortText
          : byLong ? TReading::longText
                   : TReading::value,
          TBoundAttribute(Trim(text))};
}

TBoOrder::TBoOrder(std::string_view order) {
  for (const std::string& term : SplitText(order, ",")) FTerms.push_back(Term(term));
}

// Sorts by keys. A key is one number where that decides, and the text's key in the collation
// otherwise. While the list is parted for the first time every object's first key is read; from
// then on these numbers stand beside the objects, and skip what all the texts begin with.
class TBoSorter {
 public:
  TBoSorter(TBoOrder& order, std::span<const TObjectHandle> objects)
      : FOrder(order), FObjects(objects.begin(), objects.end()), FTables(order.FTerms.size()) {}

  std::vector<TObjectHandle> Sorted();
  int Compare(std::size_t a, std::size_t b);

 private:
  // In the order of values of different kinds.
  enum class TKind : std::uint8_t { unassigned, null, number, text, unread };
  struct TKey {
    std::uint64_t head = 0;   // orders like the number, or like eight bytes of the text's key
    std::uint64_t place = 0;  // of the text's key
    std::uint32_t size = 0;
    TKind kind = TKind::unread;
  };
  struct TTable {
    std::vector<TKey> keys;    // by object; none until one is needed
    std::uint32_t prefix = 0;  // bytes that all texts' keys begin with, and heads skip
  };
  struct TItem {
    std::uint64_t head;  // of the first term's key
    std::uint32_t object;
  };

  const TKey& KeyOf(std::size_t term, std::size_t object);
  TKey Read(TBoOrder::TTerm& term, TplPerObject* object);
  TKey TextKey(std::string_view text);
  int CompareKeys(const TTable& table, const TKey& a, const TKey& b) const;
  bool MakeHeads();
  std::uint64_t HeadOf(const TKey& key, std::uint32_t from) const;
  std::string_view TextOf(const TKey& key) const {
    return std::string_view(FTexts).substr(key.place, key.size);
  }

  TBoOrder& FOrder;
  const std::vector<TObjectHandle> FObjects;
  std::vector<TTable> FTables;  // by term
  std::string FTexts;           // the texts' keys
};

TBoSorter::TKey TBoSorter::TextKey(std::string_view text) {
  TKey key;
  key.kind = TKind::text;
  key.place = FTexts.size();
  Collation().AppendKey(FTexts, text, false);
  key.size = static_cast<std::uint32_t>(FTexts.size() - key.place);
  key.head = HeadOf(key, 0);
  return key;
}

std::uint64_t TBoSorter::HeadOf(const TKey& key, std::uint32_t from) const {
  if (key.kind != TKind::text) return key.head;
  char bytes[8] = {};
  TextOf(key).substr(from).copy(bytes, sizeof bytes);
  std::uint64_t head;
  std::memcpy(&head, bytes, sizeof head);
  return std::endian::native == std::endian::little ? __builtin_bswap64(head) : head;
}

TBoSorter::TKey TBoSorter::Read(TBoOrder::TTerm& term, TplPerObject* object) {
  TKey key;
  key.kind = TKind::null;
  if (object == nullptr) return key;
  if (term.reading != TBoOrder::TReading::value) {
    const auto [text, info] = FieldTextOf(object, term.attribute.Name());
    if (info.kind != "S") return TextKey(text);
    return TextKey(term.reading == TBoOrder::TReading::shortText
                       ? Sifranti().ShortDesc(info.codeList, text)
                       : Sifranti().Desc(info.codeList, text));
  }
  TValueView view;
  Variant value;
  std::string text;
  TObjectShape shape(object);
  if (!term.attribute.ReadStored(shape, object, view)) {
    value = object->GetAttrValueAsVariant(term.attribute.Name());
    view.kind = value.Kind();
    if (view.kind == TVariantKind::String) view.text = text = value.AsText();
    if (view.kind > TVariantKind::Null && view.kind < TVariantKind::String) {
      view.number = value.AsFloat();
    }
  }
  switch (view.kind) {
    case TVariantKind::Unassigned:
      key.kind = TKind::unassigned;
      break;
    case TVariantKind::Null:
      break;
    case TVariantKind::String:
      return TextKey(view.text);
    default: {
      // Numbers order like their bits with the sign turned, negative ones with all bits turned.
      constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
      const auto bits = std::bit_cast<std::uint64_t>(view.number + 0.0);  // one zero, not two
      key.kind = TKind::number;
      key.head = (bits & kSign) != 0 ? ~bits : bits | kSign;
    }
  }
  return key;
}

const TBoSorter::TKey& TBoSorter::KeyOf(std::size_t term, std::size_t object) {
  TTable& table = FTables[term];
  if (table.keys.empty()) table.keys.resize(FObjects.size());
  TKey& key = table.keys[object];
  if (key.kind == TKind::unread) {
    key = Read(FOrder.FTerms[term], static_cast<TplPerObject*>(FObjects[object].Get()));
  }
  return key;
}

int TBoSorter::CompareKeys(const TTable& table, const TKey& a, const TKey& b) const {
  if (a.kind != b.kind) return a.kind < b.kind ? -1 : 1;
  if (a.head != b.head) return a.head < b.head ? -1 : 1;
  return a.kind == TKind::text
             ? TextOf(a).substr(table.prefix).compare(TextOf(b).substr(table.prefix))
             : 0;
}

int TBoSorter::Compare(std::size_t a, std::size_t b) {
  for (std::size_t term = 0; term < FTables.size(); ++term) {
    const TKey& keyA = KeyOf(term, a);
    const TKey& keyB = KeyOf(term, b);
    if (const int order = CompareKeys(FTables[term], keyA, keyB); order != 0) {
      return (order < 0) != FOrder.FTerms[term].descending ? -1 : 1;
    }
  }
  return 0;
}

// Whether the heads of the first term order all objects as far as they differ.
bool TBoSorter::MakeHeads() {
  if (FTables.empty()) return false;
  TTable& table = FTables[0];
  const TKey& first = table.keys[0];
  std::string_view common = first.kind == TKind::text ? TextOf(first) : std::string_view();
  for (const TKey& key : table.keys) {
    if (key.kind != first.kind) return false;
    const std::string_view text = TextOf(key).substr(0, common.size());
    common = common.substr(
        0, static_cast<std::size_t>(std::mismatch(text.begin(), text.end(), common.begin()).first -
                                    text.begin()));
  }
  table.prefix = static_cast<std::uint32_t>(common.size());
  for (TKey& key : table.keys) key.head = HeadOf(key, table.prefix);
  return true;
}

std::vector<TObjectHandle> TBoSorter::Sorted() {
  std::vector<TItem> items(FObjects.size());
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = {0, static_cast<std::uint32_t>(i)};
  if (!items.empty()) {
    const std::span<TItem> all(items);
    const TSortRange whole{0, static_cast<std::ptrdiff_t>(items.size()) - 1};
    auto byKeys = [this](const TItem& a, const TItem& b) { return Compare(a.object, b.object); };
    const TSortRange parts = QuickPartition(all, whole, byKeys);
    const auto sortParts = [&](auto& compare) {
      if (whole.first < parts.last) QuickSort(all, {whole.first, parts.last}, compare);
      if (parts.first < whole.last) QuickSort(all, {parts.first, whole.last}, compare);
    };
    if (MakeHeads()) {
      for (TItem& item : items) item.head = FTables[0].keys[item.object].head;
      const bool descending = FOrder.FTerms[0].descending;
      auto byHeads = [this, descending](const TItem& a, const TItem& b) {
        if (a.head != b.head) return (a.head < b.head) != descending ? -1 : 1;
        return Compare(a.object, b.object);
      };
      sortParts(byHeads);
    } else {
      sortParts(byKeys);
    }
  }
  std::vector<TObjectHandle> sorted(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) sorted[i] = FObjects[items[i].object];
  return sorted;
}

int TBoOrder::Compare(TplPerObject* a, TplPerObject* b) {
  const TObjectHandle objects[] = {a, b};
  return TBoSorter(*this, objects).Compare(0, 1);
}

std::vector<TObjectHandle> TBoOrder::Sorted(std::span<const TObjectHandle> objects) {
  return TBoSorter(*this, objects).Sorted();
}

int CompareByOrder(TplPerObject* AObject1, TplPerObject* AObject2, const std::string& AOrder) {
  return TBoOrder(AOrder).Compare(AObject1, AObject2);
}

}  // namespace perlayer
