#include "perlayer/drivers/sqlite/TSqliteRows.h"

#include <sqlite3.h>

#include <utility>

namespace perlayer {

// The value is looked up once. Reading it like this is for one thread at a time, as is the
// statement.
void ReadSqliteCell(sqlite3_stmt* statement, int column, TCell& cell) {
  sqlite3_value* const value = sqlite3_column_value(statement, column);
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      cell.kind = TCellKind::integer;
      cell.integer = sqlite3_value_int64(value);
      break;
    case SQLITE_FLOAT:
      cell.kind = TCellKind::number;
      cell.number = sqlite3_value_double(value);
      break;
    case SQLITE_TEXT: {
      // The text first: asking for its length before could convert it.
      const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
      cell.kind = TCellKind::text;
      cell.text = {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
      break;
    }
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
      cell.kind = TCellKind::blob;
      cell.text = {bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))};
      break;
    }
    default:
      cell.kind = TCellKind::null;
      cell.text = {};
  }
}

TSqliteRows::TSqliteRows(sqlite3_stmt* statement)
    : FWidth(static_cast<std::size_t>(sqlite3_column_count(statement))) {
  try {
    do {
      Append(statement);
    } while ((FEndCode = sqlite3_step(statement)) == SQLITE_ROW);
  } catch (...) {  // no memory for more: the rows so far, then this
    FCells.resize(FCells.size() / FWidth * FWidth);
    FFailure = std::current_exception();
    FEndCode = SQLITE_DONE;
  }
}

void TSqliteRows::Append(sqlite3_stmt* statement) {
  for (std::size_t i = 0; i < FWidth; ++i) {
    TCell cell;
    ReadSqliteCell(statement, static_cast<int>(i), cell);
    FCells.push_back({cell.kind, FBytes.size(), cell.text.size(), cell.integer, cell.number});
    FBytes += cell.text;
  }
}

bool TSqliteRows::Next() {
  if ((FRow + 1) * FWidth < FCells.size()) {
    ++FRow;
    return true;
  }
  if (FFailure != nullptr) std::rethrow_exception(std::exchange(FFailure, nullptr));
  return false;
}

void TSqliteRows::Cell(int column, TCell& cell) const {
  const auto index = static_cast<std::size_t>(column);
  cell = TCell();
  if (index >= FWidth || FRow * FWidth + index >= FCells.size()) return;
  const TStored& stored = FCells[FRow * FWidth + index];
  cell.kind = stored.kind;
  cell.integer = stored.integer;
  cell.number = stored.number;
  cell.text = std::string_view(FBytes).substr(stored.offset, stored.size);
}

}  // namespace perlayer
