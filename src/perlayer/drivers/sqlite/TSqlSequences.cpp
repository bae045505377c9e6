#include "perlayer/drivers/sqlite/TSqlSequences.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <optional>

#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// One number is left at each end, so that the one behind the last can be told.
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max() - 1;
constexpr const char* kPlaces =
    "NEXTVAL stands in a select list, among VALUES or behind SET, and not beside DISTINCT, groups, "
    "ORDER BY or UNION";

template <std::size_t N>
bool IsOneOf(const TSqlToken& token, const std::string_view (&words)[N]) {
  return token.kind == TSqlTokenKind::word &&
         std::find(std::begin(words), std::end(words), token.name) != std::end(words);
}

bool IsSequenceValue(const TSqlTokens& tokens, std::size_t at) {
  return at > 1 && (tokens.Is(at, "NEXTVAL") || tokens.Is(at, "CURRVAL")) &&
         tokens.Is(at - 1, ".") && tokens[at - 2].IsName();
}

}  // namespace

std::string SequenceTable(std::string_view sequence) {
  return QuotedName("sequence " + std::string(sequence));
}

std::string TSqlSequences::NameBefore(std::size_t value) const {
  const bool hasOwner = value > 3 && FTokens.Is(value - 3, ".") && FTokens[value - 4].IsName();
  return FileName(hasOwner ? std::string_view(FTokens[value - 4].name) : "",
                  FTokens[value - 2].name);
}

void TSqlSequences::Read(std::size_t first, std::size_t end) {
  static constexpr std::string_view kConditional[] = {"COALESCE", "DECODE", "NVL", "NVL2"};
  static constexpr std::string_view kEnds[] = {"EXCEPT", "GROUP", "HAVING",   "INTERSECT", "MINUS",
                                               "ORDER",  "UNION", "DISTINCT", "UNIQUE"};
  FTaken.clear();
  FUses = 0;
  std::vector<TUse> uses;
  std::size_t levelEnd = first;        // of the outermost parentheses that are open
  std::size_t queryEnd = first;        // of a query in parentheses
  std::size_t conditionalEnd = first;  // of a function's arguments
  int cases = 0;
  bool ended = false;  // a clause was seen behind or before which no number is taken
  bool inWhere = false;
  for (std::size_t i = first; i < end; ++i) {
    const TSqlToken& token = FTokens[i];
    if (token.Is("(")) {
      levelEnd = std::max(levelEnd, token.partner);
      if (FTokens.IsSubquery(i)) queryEnd = std::max(queryEnd, token.partner);
    } else if (IsOneOf(token, kConditional) && FTokens.Is(i + 1, "(")) {
      conditionalEnd = std::max(conditionalEnd, FTokens[i + 1].partner);
    } else if (token.Is("CASE")) {
      ++cases;
    } else if (token.Is("END")) {
      --cases;
    } else if (i >= levelEnd && (token.Is("WHERE") || token.Is("RETURNING"))) {
      inWhere = true;
    } else if (i >= levelEnd && IsOneOf(token, kEnds)) {
      ended = true;
    } else if (IsSequenceValue(FTokens, i)) {
      const bool next = token.name == "NEXTVAL";
      if (next && (i < queryEnd || inWhere || FTokens.Is(first, "CREATE"))) {
        FTokens.Refuse(i, kPlaces);
      }
      uses.push_back({NameBefore(i), i, next, cases > 0 || i < conditionalEnd});
    }
  }
  for (const TUse& use : uses) {
    if (!use.next) continue;
    if (ended) FTokens.Refuse(use.token, kPlaces);
    if (std::find(FTaken.begin(), FTaken.end(), use.sequence) == FTaken.end()) {
      FTaken.push_back(use.sequence);
    }
  }
  CheckUses(uses);
}

// Where a row may pass over one of several values of a sequence, nobody could tell the rows.
void TSqlSequences::CheckUses(const std::vector<TUse>& uses) const {
  for (const std::string& sequence : FTaken) {
    const auto isIts = [&](const TUse& use) { return use.sequence == sequence; };
    if (std::count_if(uses.begin(), uses.end(), isIts) == 1) continue;
    for (const TUse& use : uses) {
      if (isIts(use) && use.conditional) {
        FTokens.Refuse(use.token,
                       "a sequence's value stands in CASE, DECODE, NVL or COALESCE only when it is "
                       "the only one of the statement");
      }
    }
  }
}

std::string TSqlSequences::Value(const std::string& sequence, bool next) {
  const std::string name = '\'' + StringReplaceAll(sequence, "'", "''") + '\'';
  const bool taken = next || std::find(FTaken.begin(), FTaken.end(), sequence) != FTaken.end();
  return taken ? "nextval(" + name + ", " + IntToStr(++FUses) + ")" : "currval(" + name + ")";
}

std::string TSqlSequences::Definition(std::size_t first, std::size_t end) {
  std::size_t at = first + 2;
  const auto expectName = [&] {
    if (at >= end || !FTokens[at].IsName()) {
      FTokens.Refuse(at, "the name of a sequence is expected here");
    }
  };
  expectName();
  std::string name = FTokens[at++].name;
  if (at < end && FTokens.Is(at, ".")) {
    ++at;
    expectName();
    name = FileName(name, FTokens[at++].name);
  }
  if (FTokens.Is(first, "CREATE")) {
    Create(first, at, end, name);
  } else if (FTokens.Is(first, "DROP")) {
    if (at < end) FTokens.Refuse(at, "nothing is expected behind the sequence's name");
    FTokens[first].out = "DROP TABLE " + SequenceTable(name);
  } else {
    FTokens.Refuse(first, "a sequence cannot be altered, only dropped and created");
  }
  FTokens.Hide(first + 1, end);
  return name;
}

void TSqlSequences::Create(std::size_t first, std::size_t at, std::size_t end,
                           const std::string& name) {
  static constexpr std::string_view kNoEffect[] = {"NOCYCLE",    "NOCACHE",    "ORDER", "NOORDER",
                                                   "NOMINVALUE", "NOMAXVALUE", "CACHE"};
  std::optional<std::int64_t> start, lowest, highest;
  std::int64_t step = 1;
  const auto readNumber = [&] {
    const bool negative = at < end && FTokens.Is(at, "-");
    if (negative) ++at;
    if (at >= end || FTokens[at].kind != TSqlTokenKind::number) {
      FTokens.Refuse(at, "a whole number is expected here");
    }
    const std::string_view text = FTokens.Source(at++);
    std::int64_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ptr != text.data() + text.size()) {
      FTokens.Refuse(at - 1, "a whole number is expected here");
    }
    // A number beyond all that the file can hold stands for its last.
    if (read.ec != std::errc() || value > kHighest) value = kHighest;
    return negative ? -value : value;
  };
  const auto skipWord = [&](std::string_view word) {
    if (at >= end || !FTokens.Is(at, word)) {
      FTokens.Refuse(at, std::string(word) + " is expected here");
    }
    ++at;
  };
  while (at < end) {
    const TSqlToken& option = FTokens[at++];
    if (option.Is("START")) {
      skipWord("WITH");
      start = readNumber();
    } else if (option.Is("INCREMENT")) {
      skipWord("BY");
      step = readNumber();
      if (step == 0) FTokens.Refuse(at - 1, "a sequence is not incremented by 0");
    } else if (option.Is("MINVALUE")) {
      lowest = readNumber();
    } else if (option.Is("MAXVALUE")) {
      highest = readNumber();
    } else if (option.Is("CACHE")) {
      readNumber();
    } else if (!IsOneOf(option, kNoEffect)) {
      FTokens.Refuse(at - 1, std::string(FTokens.Source(at - 1)) +
                                 " is no option of a sequence that is supported by this database");
    }
  }
  if (!lowest) lowest = step > 0 ? std::min<std::int64_t>(1, start.value_or(1)) : -kHighest;
  if (!highest) highest = step > 0 ? kHighest : std::max<std::int64_t>(-1, start.value_or(-1));
  if (!start) start = step > 0 ? *lowest : *highest;
  if (*start < *lowest || *start > *highest) {
    FTokens.Refuse(first, "the sequence starts with a number that is not between its limits");
  }
  FTokens[first].out = "CREATE TABLE " + SequenceTable(name) + " AS SELECT " + IntToStr(*start) +
                       " AS NEXT, " + IntToStr(step) + " AS STEP, " + IntToStr(*lowest) +
                       " AS LOWEST, " + IntToStr(*highest) + " AS HIGHEST";
}

}  // namespace perlayer
