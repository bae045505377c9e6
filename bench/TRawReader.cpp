#include "TRawReader.h"

#include <sqlite3.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace perlayer::bench {

TRawReader::TRawReader(const std::string& path, const char* sql) {
  if (sqlite3_open_v2(path.c_str(), &FDatabase, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                      nullptr) != SQLITE_OK ||
      sqlite3_prepare_v3(FDatabase, sql, -1, SQLITE_PREPARE_PERSISTENT, &FSelect, nullptr) !=
          SQLITE_OK) {
    std::fprintf(stderr, "bench: %s\n", sqlite3_errmsg(FDatabase));
    std::exit(1);
  }
  sqlite3_exec(FDatabase, "BEGIN", nullptr, nullptr, nullptr);
}

TRawReader::~TRawReader() {
  sqlite3_finalize(FSelect);
  sqlite3_exec(FDatabase, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(FDatabase);
}

void TRawReader::Bind(int key) { sqlite3_bind_int(FSelect, 1, key); }
bool TRawReader::Step() { return sqlite3_step(FSelect) == SQLITE_ROW; }
void TRawReader::Reset() { sqlite3_reset(FSelect); }

// The engine's own conversion of numbers to text is several times slower than to_chars.
std::string TRawReader::Integer(int column) {
  char digits[24];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, sqlite3_column_int64(FSelect, column)).ptr;
  return std::string(digits, end);
}

std::string TRawReader::Number(int column) {
  char digits[32];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, sqlite3_column_double(FSelect, column)).ptr;
  return std::string(digits, end);
}

std::string TRawReader::Text(int column) {
  sqlite3_value* const value = sqlite3_column_value(FSelect, column);
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr ? std::string()
                         : std::string(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

}  // namespace perlayer::bench
