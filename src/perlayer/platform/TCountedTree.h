#pragma once
// TCountedTree<T>: a sequence that inserts, erases and reads by position, and searches, in
// O(log n). A counted B+tree: Bayer and McCreight, "Organization and Maintenance of Large Ordered
// Indices" (1972), with the number of items kept beside each child.
//
// Beside each item stands a hint, an unsigned number of the caller's. Whoever searches keeps the
// sequence so that hints never fall from one item to the next; only where hints are equal is the
// item itself asked. A search so reads two or three small arrays of numbers and one item. Whoever
// does not search passes 0.
//
// Invariants: no node but the root of an empty tree is empty, all leaves are equally deep. Inner
// nodes know for each child the hint of its first item and the number of items before it. Nodes
// are split and filled up on the way down, before anything is counted, so that running out of
// memory leaves the items as they were. Appending leaves full nodes behind it.
//
// Items move without raising (checked when compiled), and often: a reference to one lives until the
// next insertion or erasure. Belongs to one thread at a time.

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace perlayer {

template <class T, class THint = std::uint64_t>
class TCountedTree {
  static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_destructible_v<T>);

 public:
  TCountedTree() = default;
  TCountedTree(const TCountedTree& other) : TCountedTree() {
    other.ForEach([this](const T& item, THint hint) { Insert(Count(), hint, T(item)); });
  }
  TCountedTree(TCountedTree&& other) noexcept
      : FRoot(std::exchange(other.FRoot, nullptr)), FHeight(std::exchange(other.FHeight, 0)) {}
  TCountedTree& operator=(TCountedTree other) noexcept {
    std::swap(FRoot, other.FRoot);
    std::swap(FHeight, other.FHeight);
    return *this;
  }
  ~TCountedTree() { Clear(); }

  int Count() const { return FRoot == nullptr ? 0 : FRoot->total; }

  // REQUIRES: 0 <= index < Count()
  const T& At(int index) const {
    const TNode* node = FRoot;
    for (int level = FHeight; level > 0; --level) {
      const auto& inner = static_cast<const TInner&>(*node);
      const int child = inner.ChildOf(index);
      index -= inner.starts[child];
      node = inner.children[child];
    }
    return static_cast<const TLeaf*>(node)->Items()[index];
  }
  T& At(int index) { return const_cast<T&>(std::as_const(*this).At(index)); }

  // The item moves in once nothing can fail any more; where memory runs out it stays with the
  // caller. REQUIRES: 0 <= index <= Count()
  void Insert(int index, THint hint, T&& item);
  // Never raises. REQUIRES: 0 <= index < Count()
  void Erase(int index) noexcept;
  void Clear() noexcept {
    if (FRoot != nullptr) FreeNode(FRoot, FHeight);
    FRoot = nullptr;
    FHeight = 0;
  }

  // How many items stand below a place in the order: those with a smaller hint, and those with this
  // hint of which below(item) is true. REQUIRES: hints do not fall, and below does not turn true
  // again behind an item of which it is false. Where the place is that of an item with this hint,
  // below has been asked about that item.
  template <class TBelow>
  int PartitionPoint(THint hint, TBelow below) const;

  // visit(item, hint) in order; it must not change the sequence.
  template <class TVisit>
  void ForEach(TVisit visit) const {
    if (FRoot != nullptr) Visit(*FRoot, FHeight, visit);
  }
  // Gives each item the hint hintOf(item), which must not raise.
  template <class THintOf>
  void Rehint(THintOf hintOf) noexcept {
    if (FRoot != nullptr) Rehint(*FRoot, FHeight, hintOf);
  }

  // Whether the invariants hold; reads every node. For tests.
  bool IsSound() const { return FRoot == nullptr ? FHeight == 0 : IsSound(*FRoot, FHeight); }

 private:
  static constexpr int kLeafSize = 32;
  static constexpr int kFanOut = 64;
  static constexpr THint kNoHint = static_cast<THint>(-1);
  static constexpr int kMaxHeight = 16;

  struct TNode {
    int count = 0;  // items of a leaf, children of an inner node
    int total = 0;  // items below
  };

  struct TLeaf : TNode {
    TLeaf() { hints.fill(kNoHint); }
    T* Items() { return reinterpret_cast<T*>(storage); }
    const T* Items() const { return reinterpret_cast<const T*>(storage); }
    void Shift(int from, int to) noexcept;
    void SetCount(int n) {
      std::fill(hints.begin() + std::min(n, this->count), hints.end(), kNoHint);
      this->count = this->total = n;
    }

    std::array<THint, kLeafSize> hints;  // kNoHint behind the last
    alignas(T) std::byte storage[sizeof(T) * kLeafSize];
  };

  struct TInner : TNode {
    TInner() {
      hints.fill(kNoHint);
      starts.fill(INT_MAX);
    }
    // The child with that item.
    int ChildOf(int index) const { return CountBelow(starts, index + 1) - 1; }
    void InsertChild(int at, THint hint, int start, TNode* child) noexcept;
    void RemoveChild(int at) noexcept;
    void Recount() noexcept;

    std::array<THint, kFanOut> hints;  // kNoHint behind the last
    std::array<int, kFanOut> starts;   // INT_MAX behind the last
    std::array<TNode*, kFanOut> children;
  };

  // A way down: at each level above the leaves, the node and which of its children comes next.
  struct TStep {
    TInner* node;
    int child;
  };
  using TPath = std::array<TStep, kMaxHeight>;

  // How many entries of a sorted array are below `value`. Without branches, which random keys would
  // send the wrong way every other time.
  template <class TValue, std::size_t N>
  static int CountBelow(const std::array<TValue, N>& sorted, TValue value) {
    static_assert((N & (N - 1)) == 0);
    std::size_t base = 0;
    for (std::size_t half = N / 2; half > 0; half /= 2) {
      base += half & -static_cast<std::size_t>(sorted[base + half - 1] < value);
    }
    return static_cast<int>(base) + (sorted[base] < value);
  }

  // Fetches the hints of a node all at once; a search would wait for one cache line after another.
  static void Prefetch(const TNode* node) {
    const auto* bytes = reinterpret_cast<const char*>(node);
    constexpr std::size_t kLine = 64;
    for (std::size_t i = 0; i < sizeof(THint) * kLeafSize; i += kLine) {
      __builtin_prefetch(bytes + i);
    }
  }

  static int Capacity(int level) { return level == 0 ? kLeafSize : kFanOut; }
  static THint FirstHint(const TNode& node, int level) {
    return level == 0 ? static_cast<const TLeaf&>(node).hints[0]
                      : static_cast<const TInner&>(node).hints[0];
  }
  static const T& FirstItem(const TNode* node, int level) {
    for (; level > 0; --level) node = static_cast<const TInner*>(node)->children[0];
    return static_cast<const TLeaf*>(node)->Items()[0];
  }
  // `n` entries from one end of a node to the facing end of its neighbour.
  static void MoveLeft(TNode& from, int n, TNode& to, int level) noexcept;
  static void MoveRight(TNode& from, int n, TNode& to, int level) noexcept;

  void GrowRoot(bool appending);
  static void SplitChild(TInner& parent, int at, int level, bool appending);
  static void FillUp(TInner& parent, int at, int level) noexcept;
  // Adds `change` to the counts along the way to a leaf, and tells the way the leaf's first hint.
  static void Account(const TPath& path, int height, const TLeaf& leaf, int change) noexcept;

  template <class TVisit>
  static void Visit(const TNode& node, int level, TVisit& visit);
  template <class THintOf>
  static void Rehint(TNode& node, int level, THintOf& hintOf) noexcept;
  static bool IsSound(const TNode& node, int level);
  static void FreeNode(TNode* node, int level) noexcept;

  TNode* FRoot = nullptr;
  int FHeight = 0;  // levels of inner nodes
};

// Moves the items from `from` on so that they begin at `to`; count is the caller's to set.
template <class T, class THint>
void TCountedTree<T, THint>::TLeaf::Shift(int from, int to) noexcept {
  T* items = Items();
  const auto relocate = [items](int source, int target) {
    std::construct_at(items + target, std::move(items[source]));
    std::destroy_at(items + source);
  };
  const int n = this->count - from;
  if (to < from) {
    for (int i = 0; i < n; ++i) relocate(from + i, to + i);
    std::copy_n(hints.begin() + from, n, hints.begin() + to);
  } else {
    for (int i = n - 1; i >= 0; --i) relocate(from + i, to + i);
    std::copy_backward(hints.begin() + from, hints.begin() + from + n, hints.begin() + to + n);
  }
}

template <class T, class THint>
void TCountedTree<T, THint>::TInner::InsertChild(int at, THint hint, int start,
                                                 TNode* child) noexcept {
  const int n = this->count++;
  std::copy_backward(hints.begin() + at, hints.begin() + n, hints.begin() + n + 1);
  std::copy_backward(starts.begin() + at, starts.begin() + n, starts.begin() + n + 1);
  std::copy_backward(children.begin() + at, children.begin() + n, children.begin() + n + 1);
  hints[at] = hint;
  starts[at] = start;
  children[at] = child;
}

template <class T, class THint>
void TCountedTree<T, THint>::TInner::RemoveChild(int at) noexcept {
  const int n = this->count--;
  std::copy(hints.begin() + at + 1, hints.begin() + n, hints.begin() + at);
  std::copy(starts.begin() + at + 1, starts.begin() + n, starts.begin() + at);
  std::copy(children.begin() + at + 1, children.begin() + n, children.begin() + at);
  hints[n - 1] = kNoHint;
  starts[n - 1] = INT_MAX;
}

template <class T, class THint>
void TCountedTree<T, THint>::TInner::Recount() noexcept {
  this->total = 0;
  for (int i = 0; i < this->count; ++i) {
    starts[i] = this->total;
    this->total += children[i]->total;
  }
  std::fill(starts.begin() + this->count, starts.end(), INT_MAX);
  std::fill(hints.begin() + this->count, hints.end(), kNoHint);
}

template <class T, class THint>
void TCountedTree<T, THint>::MoveLeft(TNode& from, int n, TNode& to, int level) noexcept {
  if (level == 0) {
    auto& source = static_cast<TLeaf&>(from);
    auto& target = static_cast<TLeaf&>(to);
    std::uninitialized_move_n(source.Items(), n, target.Items() + target.count);
    std::destroy_n(source.Items(), n);
    std::copy_n(source.hints.begin(), n, target.hints.begin() + target.count);
    target.count = target.total = target.count + n;
    source.Shift(n, 0);
    source.SetCount(source.count - n);
  } else {
    auto& source = static_cast<TInner&>(from);
    auto& target = static_cast<TInner&>(to);
    const auto move = [&](auto& entries, auto& others) {
      std::copy_n(entries.begin(), n, others.begin() + target.count);
      std::copy(entries.begin() + n, entries.begin() + source.count, entries.begin());
    };
    move(source.hints, target.hints);
    move(source.children, target.children);
    source.count -= n;
    target.count += n;
    source.Recount();
    target.Recount();
  }
}

template <class T, class THint>
void TCountedTree<T, THint>::MoveRight(TNode& from, int n, TNode& to, int level) noexcept {
  const int rest = from.count - n;
  if (level == 0) {
    auto& source = static_cast<TLeaf&>(from);
    auto& target = static_cast<TLeaf&>(to);
    target.Shift(0, n);
    std::uninitialized_move_n(source.Items() + rest, n, target.Items());
    std::destroy_n(source.Items() + rest, n);
    std::copy_n(source.hints.begin() + rest, n, target.hints.begin());
    target.count = target.total = target.count + n;
    source.SetCount(rest);
  } else {
    auto& source = static_cast<TInner&>(from);
    auto& target = static_cast<TInner&>(to);
    const auto move = [&](auto& entries, auto& others) {
      std::copy_backward(others.begin(), others.begin() + target.count,
                         others.begin() + target.count + n);
      std::copy_n(entries.begin() + rest, n, others.begin());
    };
    move(source.hints, target.hints);
    move(source.children, target.children);
    source.count = rest;
    target.count += n;
    source.Recount();
    target.Recount();
  }
}

// Half of a full node moves to a new neighbour, or only its end where the sequence is appended to.
template <class T, class THint>
void TCountedTree<T, THint>::SplitChild(TInner& parent, int at, int level, bool appending) {
  TNode& left = *parent.children[at];
  TNode* right = level == 0 ? static_cast<TNode*>(new TLeaf) : new TInner;
  MoveRight(left, appending ? 2 : left.count / 2, *right, level);
  parent.InsertChild(at + 1, FirstHint(*right, level), parent.starts[at] + left.total, right);
}

template <class T, class THint>
void TCountedTree<T, THint>::GrowRoot(bool appending) {
  auto root = std::make_unique<TInner>();
  root->InsertChild(0, FirstHint(*FRoot, FHeight), 0, FRoot);
  root->total = FRoot->total;
  SplitChild(*root, 0, FHeight, appending);
  FRoot = root.release();
  ++FHeight;
}

// The node at `at` is poor: it merges with a neighbour, or they share evenly.
template <class T, class THint>
void TCountedTree<T, THint>::FillUp(TInner& parent, int at, int level) noexcept {
  const int first = std::max(at - 1, 0);
  TNode& left = *parent.children[first];
  TNode& right = *parent.children[first + 1];
  const int sum = left.count + right.count;
  if (sum <= Capacity(level) * 3 / 4) {
    MoveLeft(right, right.count, left, level);
    parent.RemoveChild(first + 1);
    FreeNode(&right, level);
    return;
  }
  const int half = sum / 2;
  if (left.count < half) {
    MoveLeft(right, half - left.count, left, level);
  } else {
    MoveRight(left, left.count - half, right, level);
  }
  parent.starts[first + 1] = parent.starts[first] + left.total;
  parent.hints[first + 1] = FirstHint(right, level);
}

template <class T, class THint>
void TCountedTree<T, THint>::Account(const TPath& path, int height, const TLeaf& leaf,
                                     int change) noexcept {
  bool first = true;  // the leaf's first item is also the first below path[level].node's child
  for (int level = 1; level <= height; ++level) {
    const auto [node, child] = path[level - 1];
    node->total += change;
    for (int i = child + 1; i < node->count; ++i) node->starts[i] += change;
    if (first) node->hints[child] = leaf.hints[0];
    first = first && child == 0;
  }
}

template <class T, class THint>
void TCountedTree<T, THint>::Insert(int index, THint hint, T&& item) {
  const bool appending = index == Count();
  if (FRoot == nullptr) FRoot = new TLeaf;
  if (FRoot->count == Capacity(FHeight)) GrowRoot(appending);
  TPath path;
  TNode* node = FRoot;
  for (int level = FHeight; level > 0; --level) {
    auto& inner = static_cast<TInner&>(*node);
    int child = std::max(CountBelow(inner.starts, index) - 1, 0);
    if (inner.children[child]->count == Capacity(level - 1)) {
      SplitChild(inner, child, level - 1, appending);
      if (inner.starts[child + 1] < index) ++child;
    }
    path[level - 1] = {&inner, child};
    index -= inner.starts[child];
    node = inner.children[child];
  }
  auto& leaf = static_cast<TLeaf&>(*node);
  leaf.Shift(index, index + 1);
  std::construct_at(leaf.Items() + index, std::move(item));
  leaf.hints[index] = hint;
  leaf.total = ++leaf.count;
  Account(path, FHeight, leaf, +1);
}

template <class T, class THint>
void TCountedTree<T, THint>::Erase(int index) noexcept {
  TPath path;
  TNode* node = FRoot;
  for (int level = FHeight; level > 0; --level) {
    auto& inner = static_cast<TInner&>(*node);
    int child = inner.ChildOf(index);
    if (inner.children[child]->count <= Capacity(level - 1) / 4) {
      FillUp(inner, child, level - 1);
      child = inner.ChildOf(index);
    }
    path[level - 1] = {&inner, child};
    index -= inner.starts[child];
    node = inner.children[child];
  }
  auto& leaf = static_cast<TLeaf&>(*node);
  std::destroy_at(leaf.Items() + index);
  leaf.Shift(index + 1, index);
  leaf.SetCount(leaf.count - 1);
  Account(path, FHeight, leaf, -1);
  while (FHeight > 0 && FRoot->count == 1) {
    auto* old = static_cast<TInner*>(FRoot);
    FRoot = old->children[0];
    --FHeight;
    delete old;
  }
  if (Count() == 0) Clear();
}

template <class T, class THint>
template <class TBelow>
int TCountedTree<T, THint>::PartitionPoint(THint hint, TBelow below) const {
  if (FRoot == nullptr) return 0;
  // The first of [low, high) of which below is false.
  const auto bisect = [&](int low, int high, const auto& itemAt) {
    while (low < high) {
      const int middle = low + (high - low) / 2;
      if (below(itemAt(middle))) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  };
  const auto endOfEqual = [&](const auto& hints, int from, int count) {
    while (from < count && hints[from] == hint) ++from;
    return from;
  };
  int before = 0;
  const TNode* node = FRoot;
  for (int level = FHeight; level > 0; --level) {
    const auto& inner = static_cast<const TInner&>(*node);
    // The last child whose first item is below, or the first child of all.
    const int low = std::max(CountBelow(inner.hints, hint), 1);
    const int child =
        bisect(low, endOfEqual(inner.hints, low, inner.count),
               [&](int i) -> const T& { return FirstItem(inner.children[i], level - 1); }) -
        1;
    before += inner.starts[child];
    node = inner.children[child];
    Prefetch(node);
  }
  const auto& leaf = static_cast<const TLeaf&>(*node);
  const int low = CountBelow(leaf.hints, hint);
  return before + bisect(low, endOfEqual(leaf.hints, low, leaf.count),
                         [&](int i) -> const T& { return leaf.Items()[i]; });
}

template <class T, class THint>
template <class TVisit>
void TCountedTree<T, THint>::Visit(const TNode& node, int level, TVisit& visit) {
  if (level == 0) {
    const auto& leaf = static_cast<const TLeaf&>(node);
    for (int i = 0; i < leaf.count; ++i) visit(leaf.Items()[i], leaf.hints[i]);
  } else {
    const auto& inner = static_cast<const TInner&>(node);
    for (int i = 0; i < inner.count; ++i) Visit(*inner.children[i], level - 1, visit);
  }
}

template <class T, class THint>
template <class THintOf>
void TCountedTree<T, THint>::Rehint(TNode& node, int level, THintOf& hintOf) noexcept {
  if (level == 0) {
    auto& leaf = static_cast<TLeaf&>(node);
    for (int i = 0; i < leaf.count; ++i) leaf.hints[i] = hintOf(std::as_const(leaf).Items()[i]);
  } else {
    auto& inner = static_cast<TInner&>(node);
    for (int i = 0; i < inner.count; ++i) {
      Rehint(*inner.children[i], level - 1, hintOf);
      inner.hints[i] = FirstHint(*inner.children[i], level - 1);
    }
  }
}

template <class T, class THint>
bool TCountedTree<T, THint>::IsSound(const TNode& node, int level) {
  if (node.count < 1 || node.count > Capacity(level)) return false;
  const auto empty = [&](const auto& entries, auto value) {
    return std::all_of(entries.begin() + node.count, entries.end(),
                       [value](auto entry) { return entry == value; });
  };
  if (level == 0)
    return node.total == node.count && empty(static_cast<const TLeaf&>(node).hints, kNoHint);
  const auto& inner = static_cast<const TInner&>(node);
  int total = 0;
  for (int i = 0; i < inner.count; ++i) {
    const TNode& child = *inner.children[i];
    if (inner.starts[i] != total || inner.hints[i] != FirstHint(child, level - 1)) return false;
    if (!IsSound(child, level - 1)) return false;
    total += child.total;
  }
  return inner.total == total && inner.count > 1 && empty(inner.hints, kNoHint) &&
         empty(inner.starts, INT_MAX);
}

template <class T, class THint>
void TCountedTree<T, THint>::FreeNode(TNode* node, int level) noexcept {
  if (level == 0) {
    auto* leaf = static_cast<TLeaf*>(node);
    std::destroy_n(leaf->Items(), leaf->count);
    delete leaf;
    return;
  }
  auto* inner = static_cast<TInner*>(node);
  for (int i = 0; i < inner->count; ++i) FreeNode(inner->children[i], level - 1);
  delete inner;
}

}  // namespace perlayer
