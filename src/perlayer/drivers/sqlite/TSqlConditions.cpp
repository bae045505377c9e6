#include "perlayer/drivers/sqlite/TSqlConditions.h"

#include <cassert>

namespace perlayer {

namespace {

// One level: nothing that stands in parentheses is looked at.
std::vector<TSqlRange> SplitAtAnd(const TSqlTokens& tokens, TSqlRange all) {
  std::vector<TSqlRange> parts;
  std::size_t first = all.first;
  int cases = 0;
  int betweens = 0;  // whose AND is still to come
  for (std::size_t i = all.first; i < all.behind; ++i) {
    const TSqlToken& token = tokens[i];
    if (token.Is("(")) {
      i = token.partner;
    } else if (token.kind != TSqlTokenKind::word) {
      continue;
    } else if (token.name == "CASE") {
      ++cases;
    } else if (token.name == "END" && cases > 0) {
      --cases;
    } else if (cases > 0) {
      continue;
    } else if (token.name == "BETWEEN") {
      ++betweens;
    } else if (token.name == "OR") {
      return {all};
    } else if (token.name == "AND" && betweens > 0) {
      --betweens;
    } else if (token.name == "AND") {
      parts.push_back({first, i});
      first = i + 1;
    }
  }
  parts.push_back({first, all.behind});
  return parts;
}

}  // namespace

TSqlRange WithoutParentheses(const TSqlTokens& tokens, TSqlRange range) {
  while (range.behind > range.first + 1 && tokens.Is(range.first, "(") &&
         !tokens.IsSubquery(range.first) && tokens[range.first].partner == range.behind - 1) {
    ++range.first;
    --range.behind;
  }
  return range;
}

std::vector<TSqlRange> SplitConditions(const TSqlTokens& tokens, TSqlRange all) {
  std::vector<TSqlRange> conditions;
  std::vector<TSqlRange> open = SplitAtAnd(tokens, all);  // the next one last
  std::vector<TSqlRange> parts(open.rbegin(), open.rend());
  for (open.swap(parts); !open.empty();) {
    const TSqlRange range = open.back();
    open.pop_back();
    parts = SplitAtAnd(tokens, WithoutParentheses(tokens, range));
    if (parts.size() > 1) {
      open.insert(open.end(), parts.rbegin(), parts.rend());
    } else {
      conditions.push_back(range);
    }
  }
  return conditions;
}

std::vector<TSqlRange> SplitAtCommas(const TSqlTokens& tokens, TSqlRange all) {
  std::vector<TSqlRange> parts;
  std::size_t first = all.first;
  for (std::size_t i = all.first; i < all.behind; ++i) {
    if (tokens.Is(i, "(")) {
      i = tokens[i].partner;
    } else if (tokens.Is(i, ",")) {
      parts.push_back({first, i});
      first = i + 1;
    }
  }
  parts.push_back({first, all.behind});
  return parts;
}

void TSqlNewOrder::Put(TSqlRange range, bool apart) {
  if (apart && range.first < range.behind && FTokens[range.first].gap.empty()) {
    FTokens[range.first].gap = " ";
  }
  for (std::size_t i = range.first; i < range.behind; ++i) {
    assert(!FUsed[i - FAll.first]);
    FUsed[i - FAll.first] = true;
    FOrder.push_back(i);
  }
}

void TSqlNewOrder::PutWord(std::string_view word, std::string_view out) {
  TSqlToken token;
  token.kind = TSqlTokenKind::word;
  token.name = word;
  token.out = out;
  token.gap = " ";
  FOrder.push_back(FAll.behind + FNew.size());
  FNew.push_back(std::move(token));
}

void TSqlNewOrder::PutText(std::string_view out, std::string_view gap) {
  PutWord("", out);
  FNew.back().kind = TSqlTokenKind::symbol;
  FNew.back().gap = gap;
  FNew.back().settled = true;
}

void TSqlNewOrder::Apply() {
  std::vector<std::size_t> left;
  for (std::size_t i = FUsed.size(); i-- > 0;) {
    if (!FUsed[i]) left.push_back(FAll.first + i);  // the first of them last
  }
  assert(left.size() >= FNew.size());
  for (std::size_t& place : FOrder) {
    if (place < FAll.behind) continue;
    TSqlToken& added = FNew[place - FAll.behind];
    place = left.back();
    left.pop_back();
    added.offset = FTokens[place].offset;
    added.length = FTokens[place].length;
    FTokens[place] = std::move(added);
  }
  for (; !left.empty(); left.pop_back()) {
    TSqlToken& token = FTokens[left.back()];
    token.kind = TSqlTokenKind::symbol;
    token.name.clear();
    token.gap = " ";
    token.hidden = token.settled = true;
    FOrder.push_back(left.back());
  }
  FTokens.Reorder(FAll.first, FOrder);
}

}  // namespace perlayer
