#pragma once
// TSqliteSequences: the sequences from which a session takes numbers. Each is a table of one row in
// the file (TSqlSequences); a run that takes numbers reads it, counts in memory and writes where it
// has come to, all under the session's write permission, so that no two clients get one number.
//
// A number once given is not given again by this session, also when its transaction is rolled back:
// then the file is told anew, unless another client writes at that very moment.

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/drivers/sqlite/SqliteRaw.h"

struct sqlite3_context;
struct sqlite3_value;

namespace perlayer {

class TSqliteSequences {
 public:
  // Makes the functions nextval and currval known to the database, which is not owned and goes
  // after this.
  void Register(sqlite3* database);

  // Around a run that takes numbers from these. Raise EDatabaseError, without a sequence of that
  // name or when it cannot be written.
  void RunBegins(const std::vector<std::string>& names, const std::string& statement);
  void RunEnded(const std::vector<std::string>& names, const std::string& statement);
  // It was made or dropped: what is known of it holds no more.
  void Forget(std::string_view name) noexcept;
  void Committed() noexcept;
  void RolledBack() noexcept;

 private:
  struct TSequence {
    std::string name;
    TRawStatement select;
    TRawStatement update;
    std::int64_t next = 0;
    std::int64_t step = 1;
    std::int64_t lowest = 0;
    std::int64_t highest = 0;
    bool given = false;                   // numbers up to `next` are out
    bool uncommitted = false;             // some of them in the open transaction
    std::optional<std::int64_t> current;  // CURRVAL
    std::vector<std::int64_t> seen;       // the values of this row that were asked for
  };

  static void NextValue(sqlite3_context* context, int, sqlite3_value** values) noexcept;
  static void CurrentValue(sqlite3_context* context, int, sqlite3_value** values) noexcept;
  TSequence* Find(std::string_view name) noexcept;
  TSequence& Get(const std::string& name);
  void Load(TSequence& sequence, const std::string& statement);
  int Store(TSequence& sequence) noexcept;
  void Store(TSequence& sequence, const std::string& statement);
  static bool Advance(TSequence& sequence);

  sqlite3* FDatabase = nullptr;
  std::deque<TSequence> FSequences;  // a session uses few
};

}  // namespace perlayer
