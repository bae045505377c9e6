#include "perlayer/drivers/sqlite/TSqliteSequences.h"

#include <sqlite3.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <utility>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/TSqlSequences.h"

namespace perlayer {

namespace {

std::string_view TextOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (text == nullptr) return {};
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

void Fail(sqlite3_context* context, std::string_view name, const char* what) noexcept {
  try {
    const std::string message = "sequence " + std::string(name) + ": " + what;
    sqlite3_result_error(context, message.c_str(), static_cast<int>(message.size()));
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

}  // namespace

void TSqliteSequences::Register(sqlite3* database) {
  FDatabase = database;
  // Each call has an answer of its own, and only statements of this session may ask.
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DIRECTONLY;
  int code = sqlite3_create_function_v2(database, "nextval", 2, kFlags, this, &NextValue, nullptr,
                                        nullptr, nullptr);
  if (code == SQLITE_OK) {
    code = sqlite3_create_function_v2(database, "currval", 1, kFlags, this, &CurrentValue, nullptr,
                                      nullptr, nullptr);
  }
  if (code != SQLITE_OK) throw SqliteError(database, code, "");
}

TSqliteSequences::TSequence* TSqliteSequences::Find(std::string_view name) noexcept {
  for (TSequence& sequence : FSequences) {
    if (sequence.name == name) return &sequence;
  }
  return nullptr;
}

TSqliteSequences::TSequence& TSqliteSequences::Get(const std::string& name) {
  if (TSequence* known = Find(name)) return *known;
  FSequences.emplace_back().name = name;
  return FSequences.back();
}

void TSqliteSequences::RunBegins(const std::vector<std::string>& names,
                                 const std::string& statement) {
  for (const std::string& name : names) Load(Get(name), statement);
}

void TSqliteSequences::RunEnded(const std::vector<std::string>& names,
                                const std::string& statement) {
  for (const std::string& name : names) Store(Get(name), statement);
}

void TSqliteSequences::Load(TSequence& sequence, const std::string& statement) {
  int code = SQLITE_OK;
  const std::string table = SequenceTable(sequence.name);
  if (sequence.select == nullptr) {
    sequence.select =
        PrepareRaw(FDatabase, "SELECT NEXT, STEP, LOWEST, HIGHEST FROM " + table, code, true);
    if (sequence.select == nullptr) {
      throw EDatabaseError(SqliteErrorKind(code), code, "there is no sequence " + sequence.name,
                           statement);
    }
  }
  sqlite3_stmt* const select = sequence.select.get();
  code = sqlite3_step(select);
  if (code == SQLITE_ROW) {
    const std::int64_t next = sqlite3_column_int64(select, 0);
    sequence.step = sqlite3_column_int64(select, 1);
    sequence.lowest = sqlite3_column_int64(select, 2);
    sequence.highest = sqlite3_column_int64(select, 3);
    const bool fileIsAhead = sequence.step > 0 ? next > sequence.next : next < sequence.next;
    if (!sequence.given || fileIsAhead) sequence.next = next;
    sequence.seen.clear();
  }
  sqlite3_reset(select);
  if (code != SQLITE_ROW) {
    // Dropped by another client, or by a transaction that is rolled back by now.
    sequence.select.reset();
    sequence.update.reset();
    throw EDatabaseError(SqliteErrorKind(code), code, "there is no sequence " + sequence.name,
                         statement);
  }
}

int TSqliteSequences::Store(TSequence& sequence) noexcept {
  sqlite3_stmt* const update = sequence.update.get();
  sqlite3_bind_int64(update, 1, sequence.next);
  sqlite3_step(update);
  return sqlite3_reset(update);
}

void TSqliteSequences::Store(TSequence& sequence, const std::string& statement) {
  int code = SQLITE_OK;
  if (sequence.update == nullptr) {
    sequence.update = PrepareRaw(FDatabase,
                                 "UPDATE " + SequenceTable(sequence.name) +
                                     " SET NEXT = ?1 WHERE CASE WHEN STEP > 0 THEN NEXT < ?1 "
                                     "ELSE NEXT > ?1 END",
                                 code, true);
  }
  if (code == SQLITE_OK) code = Store(sequence);
  if (code != SQLITE_OK) throw SqliteError(FDatabase, code, statement, sequence.name);
  sequence.uncommitted = true;
}

void TSqliteSequences::Forget(std::string_view name) noexcept {
  FSequences.erase(std::remove_if(FSequences.begin(), FSequences.end(),
                                  [&](const TSequence& s) { return s.name == name; }),
                   FSequences.end());
}

void TSqliteSequences::Committed() noexcept {
  for (TSequence& sequence : FSequences) sequence.uncommitted = false;
}

void TSqliteSequences::RolledBack() noexcept {
  for (TSequence& sequence : FSequences) {
    if (!std::exchange(sequence.uncommitted, false) || sequence.update == nullptr) continue;
    // A statement by itself, and committed as such. Should it fail, as with a sequence that was
    // made in the same transaction, only other clients are given these numbers again.
    Store(sequence);
  }
}

bool TSqliteSequences::Advance(TSequence& sequence) {
  if (sequence.next < sequence.lowest || sequence.next > sequence.highest) return false;
  sequence.current = sequence.next;
  sequence.given = true;
  if (__builtin_add_overflow(sequence.next, sequence.step, &sequence.next)) {
    // Beyond the limits either way.
    sequence.next = sequence.step > 0 ? std::numeric_limits<std::int64_t>::max()
                                      : std::numeric_limits<std::int64_t>::min();
  }
  return true;
}

void TSqliteSequences::NextValue(sqlite3_context* context, int, sqlite3_value** values) noexcept {
  auto& self = *static_cast<TSqliteSequences*>(sqlite3_user_data(context));
  const std::string_view name = TextOf(values[0]);
  TSequence* const sequence = self.Find(name);
  if (sequence == nullptr || sequence->select == nullptr) {
    Fail(context, name, "no number can be taken here");
    return;
  }
  // A value that this row has had already belongs to the next row.
  const std::int64_t value = sqlite3_value_int64(values[1]);
  std::vector<std::int64_t>& seen = sequence->seen;
  if (seen.empty() || std::find(seen.begin(), seen.end(), value) != seen.end()) {
    if (!Advance(*sequence)) {
      Fail(context, name, "there are no more numbers");
      return;
    }
    seen.clear();
  }
  try {
    seen.push_back(value);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
    return;
  }
  sqlite3_result_int64(context, *sequence->current);
}

void TSqliteSequences::CurrentValue(sqlite3_context* context, int,
                                    sqlite3_value** values) noexcept {
  auto& self = *static_cast<TSqliteSequences*>(sqlite3_user_data(context));
  const std::string_view name = TextOf(values[0]);
  const TSequence* const sequence = self.Find(name);
  if (sequence == nullptr || !sequence->current) {
    Fail(context, name, "CURRVAL is known once this session has taken NEXTVAL");
    return;
  }
  sqlite3_result_int64(context, *sequence->current);
}

}  // namespace perlayer
