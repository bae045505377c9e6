#include "perlayer/drivers/sqlite/TSqliteLargeObject.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/SqliteRaw.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"

namespace perlayer {

TSqliteLargeObject::TSqliteLargeObject(TSqliteSession& session, TSqlLargeColumn column,
                                       std::int64_t row, bool writable)
    : FSession(&session),
      FColumn(std::move(column)),
      FRow(row),
      FWritable(writable),
      FTransaction(session.TransactionsEnded()) {
  FSession->CheckThread();
  Open();
  FSize = sqlite3_blob_bytes(FBlob);
  try {
    FSession->Add(this);
  } catch (...) {
    Close();
    throw;
  }
}

TSqliteLargeObject::~TSqliteLargeObject() {
  Close();
  if (FSession != nullptr) FSession->Remove(this);
}

void TSqliteLargeObject::Close() noexcept { sqlite3_blob_close(std::exchange(FBlob, nullptr)); }

void TSqliteLargeObject::SessionEnds() noexcept {
  Close();
  FSession = nullptr;
}

void TSqliteLargeObject::Raise(int code, const std::string& reason) const {
  throw EDatabaseError(TDatabaseErrorKind::other, code,
                       FColumn.table + "." + FColumn.column + ": " + reason, "");
}

void TSqliteLargeObject::Fail(int code) {
  // The words are the connection's and last until its next call.
  const EDatabaseError error =
      SqliteError(FSession->Database(), code, "", FColumn.table + "." + FColumn.column);
  Close();
  FSession->StatementFailed(false);
  throw error;
}

void TSqliteLargeObject::Open() {
  const int code = sqlite3_blob_open(FSession->Database(), "main", FColumn.table.c_str(),
                                     FColumn.column.c_str(), FRow, FWritable ? 1 : 0, &FBlob);
  if (code != SQLITE_OK) Fail(code);
}

void TSqliteLargeObject::CheckWritable() {
  if (!FWritable) Raise(SQLITE_READONLY, "the large object was opened for reading");
  if (FSession == nullptr || FSession->TransactionsEnded() != FTransaction) {
    Raise(SQLITE_READONLY, "the transaction has ended in which the large object could be written");
  }
}

template <class TCall>
void TSqliteLargeObject::Transfer(std::int64_t at, std::size_t size, TCall call) {
  if (FSession == nullptr) Raise(SQLITE_MISUSE, "the session has ended");
  FSession->CheckThread();
  Assert(at >= 0 && at <= FSize && static_cast<std::int64_t>(size) <= FSize - at,
         "TSqliteLargeObject: the bytes do not lie within the large object");
  if (size == 0) return;
  for (bool again = false;; again = true) {
    if (FBlob == nullptr) {
      Open();
      if (sqlite3_blob_bytes(FBlob) != FSize) {
        Close();
        Raise(SQLITE_ABORT, "the large object has got another size meanwhile");
      }
    }
    const int code = call(static_cast<int>(size), static_cast<int>(at));
    if (code == SQLITE_OK) return;
    // The row was written since it was opened.
    if ((code & 0xff) != SQLITE_ABORT || again) Fail(code);
    Close();
  }
}

void TSqliteLargeObject::Read(std::int64_t at, void* bytes, std::size_t size) {
  Transfer(at, size,
           [&](int count, int offset) { return sqlite3_blob_read(FBlob, bytes, count, offset); });
}

void TSqliteLargeObject::Write(std::int64_t at, const void* bytes, std::size_t size) {
  CheckWritable();
  Transfer(at, size,
           [&](int count, int offset) { return sqlite3_blob_write(FBlob, bytes, count, offset); });
}

void TSqliteLargeObject::Resize(std::int64_t size) {
  CheckWritable();
  if (size == FSize) return;
  std::string kept(static_cast<std::size_t>(std::min(size, FSize)), '\0');
  Read(0, kept.data(), kept.size());
  FSession->BeginWrite("");
  int code = SQLITE_OK;
  const TRawStatement update =
      PrepareRaw(FSession->Database(),
                 "UPDATE " + QuotedName(FColumn.table) + " SET " + QuotedName(FColumn.column) +
                     " = ?1 WHERE _rowid_ = ?2",
                 code);
  if (code != SQLITE_OK) Fail(code);
  std::string text;
  if (FColumn.isText && size <= kLongestText) {
    text.resize(static_cast<std::size_t>(size));
    code =
        sqlite3_bind_text64(update.get(), 1, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  } else {
    code = sqlite3_bind_zeroblob64(update.get(), 1, static_cast<sqlite3_uint64>(size));
  }
  if (code == SQLITE_OK) code = sqlite3_bind_int64(update.get(), 2, FRow);
  if (code == SQLITE_OK) code = sqlite3_step(update.get());
  if (code != SQLITE_OK && code != SQLITE_DONE) Fail(code);
  if (sqlite3_changes64(FSession->Database()) != 1) {
    Raise(SQLITE_NOTFOUND, "the row of the large object has gone");
  }
  FSize = size;
  Write(0, kept.data(), kept.size());
}

}  // namespace perlayer
