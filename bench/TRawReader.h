#pragma once
// The raw side of the fetch benchmarks: one statement over the table of BenchTable.h, prepared
// once, read into structs of twelve strings through the engine's C API.

#include <array>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace perlayer::bench {

using TRawRow = std::array<std::string, 12>;

class TRawReader {
 public:
  // The statement stands within a transaction of this reader.
  TRawReader(const std::string& path, const char* sql);
  ~TRawReader();
  TRawReader(const TRawReader&) = delete;
  TRawReader& operator=(const TRawReader&) = delete;

  void Bind(int key);
  bool Step();  // to the next row; false at the end
  // The strings are exact and constructed in place: assigning to an empty one would over-allocate.
  TRawRow Row() {
    return {Integer(0), Text(1), Text(2),   Text(3),   Text(4),     Text(5),
            Text(6),    Text(7), Number(8), Number(9), Integer(10), Text(11)};
  }
  void Reset();

 private:
  std::string Integer(int column);
  std::string Number(int column);
  std::string Text(int column);

  sqlite3* FDatabase = nullptr;
  sqlite3_stmt* FSelect = nullptr;
};

}  // namespace perlayer::bench
