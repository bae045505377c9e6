#pragma once
// TSqliteRows: the rows that a cursor had still to give when its read had to end, the current one
// first. Serves them as the cursor would have; a failure met while reading ahead comes where it
// would have come.

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "perlayer/corekit/TDriver.h"

struct sqlite3_stmt;

namespace perlayer {

class TSqliteRows {
 public:
  // Reads the current row and all behind it. The statement stands at its end or failure then, and
  // is to be reset. Raises nothing but std::bad_alloc for the object itself.
  explicit TSqliteRows(sqlite3_stmt* statement);

  // True with a row; false at the end; raises the failure.
  bool Next();
  void Cell(int column, TCell& cell) const;

  void FailAtEnd(std::exception_ptr failure) { FFailure = std::move(failure); }
  int EndCode() const { return FEndCode; }  // what the statement answered last

 private:
  struct TStored {
    TCellKind kind;
    std::size_t offset = 0;  // of a text or blob in FBytes
    std::size_t size = 0;
    std::int64_t integer = 0;
    double number = 0;
  };
  void Append(sqlite3_stmt* statement);

  std::size_t FWidth;
  std::size_t FRow = 0;
  std::vector<TStored> FCells;
  std::string FBytes;
  int FEndCode = 0;
  std::exception_ptr FFailure;
};

// One cell of the row at which the statement stands.
void ReadSqliteCell(sqlite3_stmt* statement, int column, TCell& cell);

}  // namespace perlayer
