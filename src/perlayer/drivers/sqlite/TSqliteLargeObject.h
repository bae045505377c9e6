#pragma once
// TSqliteLargeObject: a large object of one cell, by the database's own access in pieces.
//
// The engine keeps a cell open between the pieces, which stands in the way of commits and marks: so
// every write, Commit and Rollback of the session closes it, and the next piece opens it again.
//
// A text of up to kLongestText bytes is made a text of that size, whose bytes are then written. The
// engine has no way to make room for a longer one but to hold it twice. So that becomes bytes, for
// which it makes room without holding them, and the driver reads bytes in a column of texts as a
// text.
//
// Belongs to the session's thread. When the session ends first, every call raises from then on.

#include <cstdint>
#include <string>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"

struct sqlite3_blob;

namespace perlayer {

class TSqliteSession;

class TSqliteLargeObject final : public TDriverLargeObject {
 public:
  static constexpr std::int64_t kLongestText = 256 << 10;

  // Raises EDatabaseError when the cell cannot be opened.
  TSqliteLargeObject(TSqliteSession& session, TSqlLargeColumn column, std::int64_t row,
                     bool writable);
  ~TSqliteLargeObject() override;
  TSqliteLargeObject(const TSqliteLargeObject&) = delete;
  TSqliteLargeObject& operator=(const TSqliteLargeObject&) = delete;

  std::int64_t Size() const override { return FSize; }
  void Read(std::int64_t at, void* bytes, std::size_t size) override;
  void Write(std::int64_t at, const void* bytes, std::size_t size) override;
  void Resize(std::int64_t size) override;

  // For the session.
  void Close() noexcept;
  void SessionEnds() noexcept;

 private:
  void Open();
  void CheckWritable();
  template <class TCall>
  void Transfer(std::int64_t at, std::size_t size, TCall call);
  [[noreturn]] void Raise(int code, const std::string& reason) const;
  [[noreturn]] void Fail(int code);

  TSqliteSession* FSession;  // nullptr once it has ended
  const TSqlLargeColumn FColumn;
  const std::int64_t FRow;
  const bool FWritable;
  const std::uint64_t FTransaction;
  sqlite3_blob* FBlob = nullptr;  // nullptr while closed
  std::int64_t FSize = 0;
};

}  // namespace perlayer
