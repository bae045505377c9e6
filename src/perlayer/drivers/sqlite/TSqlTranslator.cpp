#include "perlayer/drivers/sqlite/TSqlTranslator.h"

#include <algorithm>

#include "perlayer/drivers/sqlite/TSqlOuterJoins.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// A word by itself that cannot be said, or one with what must follow it.
struct TRefusal {
  std::string_view word;
  std::string_view next;  // empty: whatever follows
  const char* name;
};
constexpr TRefusal kRefusals[] = {
    {"CONNECT", "BY", "CONNECT BY"},
    {"START", "WITH", "START WITH"},
    {"FETCH", "FIRST", "FETCH FIRST"},
    {"FETCH", "NEXT", "FETCH NEXT"},
};

constexpr const char* kNotHere = " is not supported by this database";

}  // namespace

std::size_t TSqlTranslation::SourceOffset(std::size_t offset) const {
  std::size_t source = 0;
  for (const auto& [out, from] : origins) {
    if (out > offset) break;
    source = from;
  }
  return source;
}

TSqlTranslator::TSqlTranslator(const TStatementText& text, TSqlSchema* schema,
                               TSqlNumberBinds numberBinds, TLargeObjects largeObjects)
    : FSchema(schema),
      FTokens(text),
      FSequences(FTokens),
      FExpressions(FTokens, *this, FSequences, numberBinds),
      FLargeObjects(largeObjects) {}

TSqlTranslation TSqlTranslator::Translate() {
  while (FTokens.Count() > 0 && FTokens.Is(FTokens.Count() - 1, ";")) FTokens.Pop();
  if (FTokens.Count() == 0) FTokens.Refuse(0, "the statement is empty");
  if (FTokens.Is(0, "DECLARE")) FTokens.Refuse(0, std::string("DECLARE") + kNotHere);
  if (FTokens.Is(0, "BEGIN")) {
    Block();
  } else {
    Step(0, FTokens.Count());
  }
  FResult.bindsThatMatter = FExpressions.BindsThatMatter();
  return std::move(FResult);
}

// INSERT, UPDATE and DELETE, each closed by a semicolon. Blocks inside a block add nothing to it.
void TSqlTranslator::Block() {
  int open = 0;
  for (std::size_t at = 0; at < FTokens.Count();) {
    const TSqlToken& token = FTokens[at];
    const bool isNull = token.Is("NULL") && (at + 1 == FTokens.Count() || FTokens.Is(at + 1, ";"));
    if (at > 0 && open == 0 && !token.Is(";")) {
      FTokens.Refuse(at, "nothing is expected behind the block's END");
    }
    if (token.Is("BEGIN")) {
      ++open;
      ++at;
    } else if (token.Is("END")) {
      --open;
      ++at;
      if (at < FTokens.Count() && !FTokens.Is(at, ";")) {
        FTokens.Refuse(at, "a semicolon is expected behind END");
      }
    } else if (token.Is(";") || isNull) {
      ++at;
    } else if (token.Is("INSERT") || token.Is("UPDATE") || token.Is("DELETE")) {
      std::size_t end = at;
      while (end < FTokens.Count() && !FTokens.Is(end, ";")) {
        end = FTokens.Is(end, "(") ? FTokens[end].partner + 1 : end + 1;
      }
      if (end >= FTokens.Count()) {
        FTokens.Refuse(end, "the block's statement has no semicolon, or the block no END");
      }
      Step(at, end);
      at = end + 1;
    } else {
      FTokens.Refuse(at, std::string(FTokens.Source(at)) +
                             " has no place in a block, which holds INSERT, UPDATE, DELETE, NULL "
                             "and blocks");
    }
  }
  if (open > 0) FTokens.Refuse(FTokens.Count(), "the block has no END");
}

// Translates one statement and appends it to the result.
void TSqlTranslator::Step(std::size_t first, std::size_t end) {
  FEnd = end;
  FStep = TSqlTranslation::TStep();
  FStep.source = FTokens[first].offset;
  RefuseUnknown(first);
  FSequences.Read(first, end);
  FStep.sequences = FSequences.Taken();
  Statement(first);
  if (FTokens.HasOuterMarks()) TSqlOuterJoins(FTokens, FSchema).RefuseMarks(first, end);
  if (!FResult.steps.empty()) FResult.sql += ";\n";
  FStep.offset = FResult.sql.size();
  FTokens.Render(first, end, FResult.sql, FResult.origins);
  FStep.length = FResult.sql.size() - FStep.offset;
  FResult.steps.push_back(std::move(FStep));
}

void TSqlTranslator::RefuseUnknown(std::size_t first) {
  const bool isSequence = FTokens.Is(first + 1, "SEQUENCE");
  for (std::size_t i = first; i < FEnd; ++i) {
    const TSqlToken& token = FTokens[i];
    if (token.Is(";")) FTokens.Refuse(i, "one statement is expected, and here begins another");
    if (token.kind != TSqlTokenKind::word || isSequence) continue;
    if (i > first && FTokens.Is(i - 1, ".")) continue;
    for (const TRefusal& refusal : kRefusals) {
      if (token.name != refusal.word) continue;
      if (!refusal.next.empty() && !FTokens.Is(i + 1, refusal.next)) continue;
      FTokens.Refuse(i, std::string(refusal.name) + kNotHere);
    }
  }
}

void TSqlTranslator::Statement(std::size_t at) {
  const TSqlToken& token = FTokens[at];
  if (token.Is("SELECT") || token.Is("WITH")) {
    ForUpdate(at);
    Query({at, FEnd}, nullptr, TColumns::shown);
  } else if (token.Is("INSERT")) {
    Insert(at + 1);
  } else if (token.Is("UPDATE")) {
    Update(at + 1);
  } else if (token.Is("DELETE")) {
    Delete(at + 1);
  } else if (token.Is("CREATE") || token.Is("DROP") || token.Is("ALTER")) {
    Definition(at);
  } else if (at == 0 && token.Is("EXPLAIN") && FTokens.Is(1, "PLAN") && FTokens.Is(2, "FOR") &&
             FEnd > 3) {
    FTokens[1].out = "QUERY PLAN";
    FTokens.Hide(2, 3);
    Statement(3);
    // The plan is told and nothing done.
    FStep.returns.clear();
    FStep.largeObjects.clear();
    FStep.sequences.clear();
    FResult.locks = FResult.changesSchema = false;
    FResult.sequence.clear();
  } else {
    FTokens.Refuse(at, std::string(FTokens.Source(at)) + " begins no statement" +
                           " that is supported by this database");
  }
}

std::size_t TSqlTranslator::Find(std::size_t at, std::size_t end,
                                 std::initializer_list<std::string_view> words) const {
  for (; at < end; ++at) {
    const TSqlToken& token = FTokens[at];
    if (token.Is("(")) {
      at = token.partner;
    } else if (token.kind == TSqlTokenKind::word &&
               std::find(words.begin(), words.end(), token.name) != words.end()) {
      return at;
    }
  }
  return end;
}

TSqlScope::TTable TSqlTranslator::TableName(std::size_t& at) {
  if (at >= FEnd || !FTokens[at].IsName() || IsSqlKeyword(FTokens[at])) {
    FTokens.Refuse(at, "the name of a table is expected here");
  }
  TSqlToken& first = FTokens[at];
  TSqlScope::TTable table;
  if (FTokens.Is(at + 1, ".")) {
    if (at + 2 >= FEnd || !FTokens[at + 2].IsName()) {
      FTokens.Refuse(at + 2, "the name of a table is expected here");
    }
    table.owner = first.name;
    table.name = FTokens[at + 2].name;
    first.out = QuotedName(FileName(table.owner, table.name));
    FTokens.Hide(at + 1, at + 3);
    at += 3;
  } else {
    table.name = first.name;
    first.out = SqlName(first);
    ++at;
  }
  first.settled = true;
  return table;
}

TSqlScope::TTable TSqlTranslator::TableWithAlias(std::size_t& at, std::size_t end, const char* as) {
  TSqlScope::TTable table = TableName(at);
  if (at < end && FTokens.Is(at, "AS")) {
    ++at;
    as = "";
  }
  if (at < end && FTokens[at].IsName() && !IsSqlKeyword(FTokens[at])) {
    table.alias = FTokens[at].name;
    FTokens[at].out = as + SqlName(FTokens[at]);
    FTokens[at].settled = true;
    ++at;
  }
  return table;
}

std::string TranslateSql(std::string_view statement) {
  const TStatementText text(statement);
  return TSqlTranslator(text, nullptr).Translate().sql;
}

}  // namespace perlayer
