#pragma once
// TCountedTree<T>: a sequence that inserts, erases and reads by position, and searches, in
// O(log n). A counted B+tree: Bayer and McCreight, "Organization and Maintenance of Large Ordered
// Indices" (1972), with the number of items kept beside each child.
//
// Beside each item may stand a hint, a number that orders as the items do as far as it goes; only
// where hints are equal is the item itself asked. A search so reads two or three small arrays of
// numbers and one item. THints makes them, and knows how deep into an item a number looks: what all
// items that come to a node have in common tells nothing there, so each node skips it. How much
// that is follows from the numbers on both sides of the node in the one above it, and whoever
// searches comes only by there: nobody has to compare what is skipped.
//
// Invariants: no node but the root of an empty tree is empty, all leaves are equally deep. Inner
// nodes know for each child the number of items before it and, but for the first child, a hint that
// no item before the child exceeds and none in it falls below. Nodes are split and filled up on the
// way down, before anything is counted, so that running out of memory leaves the items as they
// were. Appending leaves full nodes behind it.
//
// Items move without raising (checked when compiled), and often: a reference to one lives until the
// next insertion or erasure. An item with a member StandsIn(leaf) is told whenever it comes to
// another leaf, and can be asked for its index then. Belongs to one thread at a time.

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace perlayer {

// No hints: for a sequence that is not searched.
struct TNoHints {
  using THint = std::uint8_t;
  struct TProbe {
    THint At(unsigned) const { return 0; }
  };
  static constexpr unsigned kMaxDepth = 0;
  template <class T>
  static TProbe ProbeOf(const T&) {
    return {};
  }
  static unsigned Common(THint, THint) { return 0; }
  static THint Deeper(THint hint, unsigned, bool) { return hint; }
};

// THints, none of whose operations raises, has
//   THint                      an unsigned type
//   ProbeOf(item)              what an item is searched by: ProbeOf(item).At(depth) is its hint
//   kMaxDepth                  no node goes deeper
//   Common(low, high)          how much deeper one may look where all hints are between the two
//   Deeper(hint, by, upper)    a bound of the hints `by` deeper: the lowest or highest there can be
template <class T, class THints = TNoHints>
class TCountedTree {
  static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_destructible_v<T>);
  using THint = typename THints::THint;

 public:
  using TProbe = typename THints::TProbe;

  explicit TCountedTree(const THints& hints = {}) : FHints(hints) {}
  TCountedTree(const TCountedTree& other) : TCountedTree(other.FHints) {
    other.ForEach([this](const T& item) { Insert(Count(), T(item)); });
  }
  TCountedTree(TCountedTree&& other) noexcept
      : FHints(other.FHints),
        FRoot(std::exchange(other.FRoot, nullptr)),
        FHeight(std::exchange(other.FHeight, 0)) {}
  TCountedTree& operator=(TCountedTree other) noexcept {
    std::swap(FHints, other.FHints);
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
  // caller. REQUIRES: 0 <= index <= Count(), and hints do not fall from one item to the next
  void Insert(int index, const TProbe& probe, T&& item);
  void Insert(int index, T&& item) { Insert(index, FHints.ProbeOf(item), std::move(item)); }
  // Never raises. REQUIRES: 0 <= index < Count()
  void Erase(int index) noexcept;
  void Clear() noexcept {
    if (FRoot != nullptr) FreeNode(FRoot, FHeight);
    FRoot = nullptr;
    FHeight = 0;
  }

  // How many items stand below a place in the order: those with a smaller hint than the probe's,
  // and those with an equal one of which below(item) is true. REQUIRES: below does not turn true
  // again behind an item of which it is false. Where the item at the place has the probe's hint,
  // below has been asked about it.
  template <class TBelow>
  int PartitionPoint(const TProbe& probe, TBelow below) const;

  // The index of an item that was told that it stands in that leaf.
  int IndexIn(const void* leaf, const T& item) const;

  // visit(item) in order; it must not change the sequence.
  template <class TVisit>
  void ForEach(TVisit visit) const {
    if (FRoot != nullptr) Visit(*FRoot, FHeight, visit);
  }
  const THints& Hints() const { return FHints; }
  // Makes all hints anew.
  void Hints(const THints& hints) noexcept {
    FHints = hints;
    if (FRoot != nullptr) Fit(*FRoot, FHeight, kEverything, 0, TRenew::all);
  }

  // Whether the invariants hold; reads every node. For tests.
  bool IsSound() const {
    if (FRoot == nullptr) return FHeight == 0;
    return FRoot->parent == nullptr && IsSound(*FRoot, FHeight, kEverything, 0);
  }

 private:
  static constexpr int kLeafSize = 32;
  static constexpr int kFanOut = 64;
  static constexpr THint kNoHint = static_cast<THint>(-1);
  static constexpr int kMaxHeight = 16;

  struct TInner;
  struct TNode {
    int count = 0;       // items of a leaf, children of an inner node
    int total = 0;       // items below
    unsigned depth = 0;  // of the node's hints
    TInner* parent = nullptr;
  };

  struct TLeaf : TNode {
    TLeaf() { hints.fill(kNoHint); }
    T* Items() { return reinterpret_cast<T*>(storage); }
    const T* Items() const { return reinterpret_cast<const T*>(storage); }
    void Shift(int from, int to) noexcept;
    // The items from `from` on have come here.
    void Tell(int from, int to) noexcept {
      if constexpr (requires(T & item) { item.StandsIn(this); }) {
        for (int i = from; i < to; ++i) Items()[i].StandsIn(this);
      }
    }
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

    void Adopt() noexcept {
      for (int i = 0; i < this->count; ++i) children[i]->parent = this;
    }

    std::array<THint, kFanOut> hints;  // the first is not read; kNoHint behind the last
    std::array<int, kFanOut> starts;   // INT_MAX behind the last
    std::array<TNode*, kFanOut> children;
  };

  // A way down: at each level above the leaves, the node and which of its children comes next.
  struct TStep {
    TInner* node;
    int child;
  };
  using TPath = std::array<TStep, kMaxHeight>;

  // Between which hints those of a node's items are.
  struct TFence {
    THint low;
    THint high;
  };
  static constexpr TFence kEverything = {0, kNoHint};
  enum class TRenew { asNeeded, node, all };

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
  THint HintOf(const T& item, unsigned depth) const { return FHints.ProbeOf(item).At(depth); }
  static const T& FirstItem(const TNode* node, int level) {
    for (; level > 0; --level) node = static_cast<const TInner*>(node)->children[0];
    return static_cast<const TLeaf*>(node)->Items()[0];
  }
  // `n` entries from one end of a node to the facing end of its neighbour.
  static void MoveLeft(TNode& from, int n, TNode& to, int level) noexcept;
  static void MoveRight(TNode& from, int n, TNode& to, int level) noexcept;

  // The fence of a child, at the depth of its parent, whose own fence is given.
  static TFence FenceOf(const TInner& parent, int child, const TFence& fence) {
    return {child == 0 ? fence.low : parent.hints[child],
            child + 1 == parent.count ? fence.high : parent.hints[child + 1]};
  }
  static TFence Deeper(const TFence& fence, unsigned by) {
    return {THints::Deeper(fence.low, by, false), THints::Deeper(fence.high, by, true)};
  }
  static unsigned DepthWithin(const TFence& fence, unsigned depth) {
    return std::min(depth + THints::Common(fence.low, fence.high), THints::kMaxDepth);
  }
  // Brings a node to the depth that its fence allows: it must not be above that.
  void Fit(TNode& node, int level, TFence fence, unsigned depth, TRenew renew) noexcept;

  void GrowRoot(bool appending);
  void SplitChild(TInner& parent, int at, int level, const TFence& fence, bool appending);
  void FillUp(TInner& parent, int at, int level, const TFence& fence) noexcept;
  // Adds `change` to the counts along the way to a leaf.
  static void Account(const TPath& path, int height, int change) noexcept;

  template <class TVisit>
  static void Visit(const TNode& node, int level, TVisit& visit);
  bool IsSound(const TNode& node, int level, TFence fence, unsigned depth) const;
  static void FreeNode(TNode* node, int level) noexcept;

  THints FHints;
  TNode* FRoot = nullptr;
  int FHeight = 0;  // levels of inner nodes
};

// Moves the items from `from` on so that they begin at `to`; count is the caller's to set.
template <class T, class THints>
void TCountedTree<T, THints>::TLeaf::Shift(int from, int to) noexcept {
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

template <class T, class THints>
void TCountedTree<T, THints>::TInner::InsertChild(int at, THint hint, int start,
                                                  TNode* child) noexcept {
  const int n = this->count++;
  std::copy_backward(hints.begin() + at, hints.begin() + n, hints.begin() + n + 1);
  std::copy_backward(starts.begin() + at, starts.begin() + n, starts.begin() + n + 1);
  std::copy_backward(children.begin() + at, children.begin() + n, children.begin() + n + 1);
  hints[at] = hint;
  starts[at] = start;
  children[at] = child;
  child->parent = this;
}

template <class T, class THints>
void TCountedTree<T, THints>::TInner::RemoveChild(int at) noexcept {
  const int n = this->count--;
  std::copy(hints.begin() + at + 1, hints.begin() + n, hints.begin() + at);
  std::copy(starts.begin() + at + 1, starts.begin() + n, starts.begin() + at);
  std::copy(children.begin() + at + 1, children.begin() + n, children.begin() + at);
  hints[n - 1] = kNoHint;
  starts[n - 1] = INT_MAX;
}

template <class T, class THints>
void TCountedTree<T, THints>::TInner::Recount() noexcept {
  this->total = 0;
  for (int i = 0; i < this->count; ++i) {
    starts[i] = this->total;
    this->total += children[i]->total;
  }
  std::fill(starts.begin() + this->count, starts.end(), INT_MAX);
  std::fill(hints.begin() + this->count, hints.end(), kNoHint);
}

template <class T, class THints>
void TCountedTree<T, THints>::MoveLeft(TNode& from, int n, TNode& to, int level) noexcept {
  if (level == 0) {
    auto& source = static_cast<TLeaf&>(from);
    auto& target = static_cast<TLeaf&>(to);
    std::uninitialized_move_n(source.Items(), n, target.Items() + target.count);
    std::destroy_n(source.Items(), n);
    std::copy_n(source.hints.begin(), n, target.hints.begin() + target.count);
    target.count = target.total = target.count + n;
    target.Tell(target.count - n, target.count);
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
    target.Adopt();
    source.Recount();
    target.Recount();
  }
}

template <class T, class THints>
void TCountedTree<T, THints>::MoveRight(TNode& from, int n, TNode& to, int level) noexcept {
  const int rest = from.count - n;
  if (level == 0) {
    auto& source = static_cast<TLeaf&>(from);
    auto& target = static_cast<TLeaf&>(to);
    target.Shift(0, n);
    std::uninitialized_move_n(source.Items() + rest, n, target.Items());
    std::destroy_n(source.Items() + rest, n);
    std::copy_n(source.hints.begin() + rest, n, target.hints.begin());
    target.count = target.total = target.count + n;
    target.Tell(0, n);
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
    target.Adopt();
    source.Recount();
    target.Recount();
  }
}

// Where hints are made anew, the first item of a child gives the bound between it and the one
// before. That may be above the old one, from an item that has gone, so that the fences of all
// children are others then; and so may be, when none is made, those at both ends.
template <class T, class THints>
void TCountedTree<T, THints>::Fit(TNode& node, int level, TFence fence, unsigned depth,
                                  TRenew renew) noexcept {
  const unsigned fitting = DepthWithin(fence, depth);
  const bool renewing = renew != TRenew::asNeeded || fitting != node.depth;
  node.depth = fitting;
  if (level == 0) {
    auto& leaf = static_cast<TLeaf&>(node);
    for (int i = 0; renewing && i < leaf.count; ++i) {
      leaf.hints[i] = HintOf(leaf.Items()[i], fitting);
    }
    return;
  }
  auto& inner = static_cast<TInner&>(node);
  inner.hints[0] = 0;
  for (int i = 1; renewing && i < inner.count; ++i) {
    inner.hints[i] = HintOf(FirstItem(inner.children[i], level - 1), fitting);
  }
  fence = Deeper(fence, fitting - depth);
  const TRenew below = renew == TRenew::all ? TRenew::all : TRenew::asNeeded;
  for (int i = 0; i < inner.count; i = renewing || i == inner.count - 1 ? i + 1 : inner.count - 1) {
    Fit(*inner.children[i], level - 1, FenceOf(inner, i, fence), fitting, below);
  }
}

// Half of a full node moves to a new neighbour, or only its end where the sequence is appended to.
template <class T, class THints>
void TCountedTree<T, THints>::SplitChild(TInner& parent, int at, int level, const TFence& fence,
                                         bool appending) {
  TNode& left = *parent.children[at];
  TNode* right = level == 0 ? static_cast<TNode*>(new TLeaf) : new TInner;
  right->depth = left.depth;
  MoveRight(left, appending ? 2 : left.count / 2, *right, level);
  parent.InsertChild(at + 1, HintOf(FirstItem(right, level), parent.depth),
                     parent.starts[at] + left.total, right);
  for (const int child : {at, at + 1}) {
    Fit(*parent.children[child], level, FenceOf(parent, child, fence), parent.depth,
        TRenew::asNeeded);
  }
}

template <class T, class THints>
void TCountedTree<T, THints>::GrowRoot(bool appending) {
  auto root = std::make_unique<TInner>();
  root->InsertChild(0, 0, 0, FRoot);
  root->total = FRoot->total;
  try {
    SplitChild(*root, 0, FHeight, kEverything, appending);
  } catch (...) {
    FRoot->parent = nullptr;
    throw;
  }
  FRoot = root.release();
  ++FHeight;
}

// The node at `at` is poor: it merges with a neighbour, or they share evenly.
template <class T, class THints>
void TCountedTree<T, THints>::FillUp(TInner& parent, int at, int level,
                                     const TFence& fence) noexcept {
  const int first = std::max(at - 1, 0);
  TNode& left = *parent.children[first];
  TNode& right = *parent.children[first + 1];
  const int sum = left.count + right.count;
  // Leaves that are equally deep may exchange hints as they are.
  const TRenew renew = level == 0 && left.depth == right.depth ? TRenew::asNeeded : TRenew::node;
  if (sum <= Capacity(level) * 3 / 4) {
    MoveLeft(right, right.count, left, level);
    parent.RemoveChild(first + 1);
    FreeNode(&right, level);
    Fit(left, level, FenceOf(parent, first, fence), parent.depth, renew);
    return;
  }
  const int half = sum / 2;
  if (left.count < half) {
    MoveLeft(right, half - left.count, left, level);
  } else {
    MoveRight(left, left.count - half, right, level);
  }
  parent.starts[first + 1] = parent.starts[first] + left.total;
  parent.hints[first + 1] = HintOf(FirstItem(&right, level), parent.depth);
  for (const int child : {first, first + 1}) {
    Fit(*parent.children[child], level, FenceOf(parent, child, fence), parent.depth, renew);
  }
}

template <class T, class THints>
void TCountedTree<T, THints>::Account(const TPath& path, int height, int change) noexcept {
  for (int level = 1; level <= height; ++level) {
    const auto [node, child] = path[level - 1];
    node->total += change;
    for (int i = child + 1; i < node->count; ++i) node->starts[i] += change;
  }
}

template <class T, class THints>
void TCountedTree<T, THints>::Insert(int index, const TProbe& probe, T&& item) {
  const bool appending = index == Count();
  if (FRoot == nullptr) FRoot = new TLeaf;
  if (FRoot->count == Capacity(FHeight)) GrowRoot(appending);
  TPath path;
  TNode* node = FRoot;
  TFence fence = kEverything;
  for (int level = FHeight; level > 0; --level) {
    auto& inner = static_cast<TInner&>(*node);
    // Between two children it goes where a search for it would.
    const auto behind = [&, hint = probe.At(inner.depth)](int child) {
      return child < inner.count && (inner.starts[child] < index ||
                                     (inner.starts[child] == index && inner.hints[child] < hint));
    };
    int child = std::max(CountBelow(inner.starts, index) - 1, 0);
    if (behind(child + 1)) ++child;
    if (inner.children[child]->count == Capacity(level - 1)) {
      SplitChild(inner, child, level - 1, fence, appending);
      if (behind(child + 1)) ++child;
    }
    path[level - 1] = {&inner, child};
    index -= inner.starts[child];
    node = inner.children[child];
    fence = Deeper(FenceOf(inner, child, fence), node->depth - inner.depth);
  }
  auto& leaf = static_cast<TLeaf&>(*node);
  leaf.Shift(index, index + 1);
  std::construct_at(leaf.Items() + index, std::move(item));
  leaf.hints[index] = probe.At(leaf.depth);
  leaf.total = ++leaf.count;
  leaf.Tell(index, index + 1);
  Account(path, FHeight, +1);
}

template <class T, class THints>
void TCountedTree<T, THints>::Erase(int index) noexcept {
  TPath path;
  TNode* node = FRoot;
  TFence fence = kEverything;
  for (int level = FHeight; level > 0; --level) {
    auto& inner = static_cast<TInner&>(*node);
    int child = inner.ChildOf(index);
    if (inner.children[child]->count <= Capacity(level - 1) / 4) {
      FillUp(inner, child, level - 1, fence);
      child = inner.ChildOf(index);
    }
    path[level - 1] = {&inner, child};
    index -= inner.starts[child];
    node = inner.children[child];
    fence = Deeper(FenceOf(inner, child, fence), node->depth - inner.depth);
  }
  auto& leaf = static_cast<TLeaf&>(*node);
  std::destroy_at(leaf.Items() + index);
  leaf.Shift(index + 1, index);
  leaf.SetCount(leaf.count - 1);
  Account(path, FHeight, -1);
  while (FHeight > 0 && FRoot->count == 1) {
    auto* old = static_cast<TInner*>(FRoot);
    FRoot = old->children[0];
    FRoot->parent = nullptr;
    --FHeight;
    delete old;
  }
  if (Count() == 0) Clear();
}

template <class T, class THints>
int TCountedTree<T, THints>::IndexIn(const void* leaf, const T& item) const {
  const auto& home = *static_cast<const TLeaf*>(leaf);
  auto index =
      static_cast<int>(std::find(home.Items(), home.Items() + home.count, item) - home.Items());
  const TNode* node = &home;
  for (const TInner* parent = node->parent; parent != nullptr; parent = node->parent) {
    const auto children = parent->children.begin();
    index += parent->starts[std::find(children, children + parent->count, node) - children];
    node = parent;
  }
  return index;
}

template <class T, class THints>
template <class TBelow>
int TCountedTree<T, THints>::PartitionPoint(const TProbe& probe, TBelow below) const {
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
  const auto endOfEqual = [](const auto& hints, THint hint, int from, int count) {
    while (from < count && hints[from] == hint) ++from;
    return from;
  };
  int before = 0;
  const TNode* node = FRoot;
  for (int level = FHeight; level > 0; --level) {
    const auto& inner = static_cast<const TInner&>(*node);
    const THint hint = probe.At(inner.depth);
    // The last child whose first item is below, or the first child of all.
    const int low = std::max(CountBelow(inner.hints, hint), 1);
    const int child =
        bisect(low, endOfEqual(inner.hints, hint, low, inner.count),
               [&](int i) -> const T& { return FirstItem(inner.children[i], level - 1); }) -
        1;
    before += inner.starts[child];
    node = inner.children[child];
    Prefetch(node);
  }
  const auto& leaf = static_cast<const TLeaf&>(*node);
  const THint hint = probe.At(leaf.depth);
  const int low = CountBelow(leaf.hints, hint);
  return before + bisect(low, endOfEqual(leaf.hints, hint, low, leaf.count),
                         [&](int i) -> const T& { return leaf.Items()[i]; });
}

template <class T, class THints>
template <class TVisit>
void TCountedTree<T, THints>::Visit(const TNode& node, int level, TVisit& visit) {
  if (level == 0) {
    const auto& leaf = static_cast<const TLeaf&>(node);
    for (int i = 0; i < leaf.count; ++i) visit(leaf.Items()[i]);
  } else {
    const auto& inner = static_cast<const TInner&>(node);
    for (int i = 0; i < inner.count; ++i) Visit(*inner.children[i], level - 1, visit);
  }
}

template <class T, class THints>
bool TCountedTree<T, THints>::IsSound(const TNode& node, int level, TFence fence,
                                      unsigned depth) const {
  if (node.count < 1 || node.count > Capacity(level)) return false;
  if (node.depth < depth || node.depth > DepthWithin(fence, depth)) return false;
  const auto empty = [&](const auto& entries, auto value) {
    return std::all_of(entries.begin() + node.count, entries.end(),
                       [value](auto entry) { return entry == value; });
  };
  if (level == 0) {
    const auto& leaf = static_cast<const TLeaf&>(node);
    for (int i = 0; i < leaf.count; ++i) {
      const TProbe probe = FHints.ProbeOf(leaf.Items()[i]);
      const THint above = probe.At(depth);
      if (above < fence.low || above > fence.high) return false;
      if (leaf.hints[i] != probe.At(leaf.depth)) return false;
      if (i > 0 && leaf.hints[i] < leaf.hints[i - 1]) return false;
    }
    return leaf.total == leaf.count && empty(leaf.hints, kNoHint);
  }
  const auto& inner = static_cast<const TInner&>(node);
  fence = Deeper(fence, inner.depth - depth);
  int total = 0;
  for (int i = 0; i < inner.count; ++i) {
    const TNode& child = *inner.children[i];
    if (inner.starts[i] != total || child.parent != &inner) return false;
    const TFence own = FenceOf(inner, i, fence);
    if (own.low > own.high || !IsSound(child, level - 1, own, inner.depth)) return false;
    total += child.total;
  }
  return inner.total == total && inner.count > 1 && empty(inner.hints, kNoHint) &&
         empty(inner.starts, INT_MAX);
}

template <class T, class THints>
void TCountedTree<T, THints>::FreeNode(TNode* node, int level) noexcept {
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
