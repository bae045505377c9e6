#pragma once
// The driver port: what corekit needs of a database engine. An adapter (drivers/sqlite) derives
// from TDriverSession and TDriverStatement; nothing else of the engine is seen above.
//
// A session belongs to one thread. It speaks the statement language of docs/sql.md: an empty text
// bound or written is NULL, text against a number compares as numbers, dates are days (TDateTime),
// the first write outside a transaction opens one, and nothing is committed by itself.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/corekit/TStatementText.h"

namespace perlayer {

// The type of a result column as its declaration tells it; a column without one takes the type of
// its first value.
enum class TColumnType : std::uint8_t { text, number, dateTime, memo, blob };

// What one cell holds.
enum class TCellKind : std::uint8_t { null, text, integer, number, blob };

// A view of one cell. `text` (also the bytes of a blob) lives until the statement's next Step or
// Reset, and no longer than to the session's next write, Commit or Rollback. The days of a date may
// come as a whole number.
struct TCell {
  TCellKind kind = TCellKind::null;
  std::string_view text;
  std::int64_t integer = 0;
  double number = 0;

  // The cell as text: a null is empty, numbers are in decimal.
  std::string AsText() const;
};

struct TColumnInfo {
  std::string name;  // as the database tells it; unquoted names in upper case
  TColumnType type = TColumnType::text;
  int size = 0;  // declared size of a text in characters, 0 when unknown
};

// The columns of one statement. Made when the statement is first opened and shared by all who run
// it; its address identifies the layout.
struct TColumnLayout {
  std::vector<TColumnInfo> columns;

  // The first column of that name (any case), or -1.
  int IndexOf(std::string_view name) const;
};

// A large object, read and written in pieces where it stands: in one column of one row. Nothing of
// it is held in memory but what a call is given. One that is opened for writing belongs to the
// transaction that it was opened in; nothing writes it once that has ended. What the session or
// another client does to the row meanwhile is seen by the next call; it raises EDatabaseError when
// the row has gone or the object has another size.
class TDriverLargeObject {
 public:
  virtual ~TDriverLargeObject() = default;

  virtual std::int64_t Size() const = 0;  // in bytes, of a text too
  // REQUIRES: the bytes lie within Size().
  virtual void Read(std::int64_t at, void* bytes, std::size_t size) = 0;
  virtual void Write(std::int64_t at, const void* bytes, std::size_t size) = 0;
  // Cuts the end off, or adds zero bytes. An object that is not empty may be held whole meanwhile:
  // whoever knows the size tells it first.
  virtual void Resize(std::int64_t size) = 0;
};

// A prepared statement. Positions count from 0; parameter i is TStatementText::Parameters()[i].
class TDriverStatement {
 public:
  virtual ~TDriverStatement() = default;

  // A bind holds until Reset; what a run does not bind is NULL. Texts and bytes are not copied: the
  // caller keeps them until Reset.
  virtual void BindNull(int parameter) = 0;
  virtual void BindText(int parameter, std::string_view text) = 0;  // empty is NULL
  virtual void BindNumber(int parameter, double value) = 0;         // also dates
  virtual void BindBlob(int parameter, std::span<const std::byte> bytes) = 0;

  // Runs to the next row: true with a row, false at the end. Raises EDatabaseError, after which the
  // statement is reset.
  virtual bool Step() = 0;
  // Ends the run; the statement can be bound and stepped again.
  virtual void Reset() noexcept = 0;
  // True for a statement that changes nothing in the database.
  virtual bool ReadOnly() const = 0;
  // Rows changed by the last finished run; of a block, by all its statements together.
  virtual std::int64_t RowsAffected() const = 0;

  // The parameters that a run gives a value (RETURNING ... INTO); they need not be bound.
  virtual const std::vector<int>& Returns() const = 0;
  // What the finished run gave the parameter; null where no row was changed. The view lives until
  // Reset. REQUIRES: `parameter` is one of Returns(), and the last Step answered false.
  virtual void Returned(int parameter, TCell& cell) = 0;

  // The large object that the finished run returned into the parameter, for writing; nullptr where
  // no row was changed. Raises EDatabaseError where that is NULL, or no column of large objects.
  // REQUIRES: the statement was taken by TakeForLargeObjects, and the last Step answered false.
  virtual std::unique_ptr<TDriverLargeObject> OpenReturned(int parameter) = 0;
  // The large object in a column of the current row, nullptr for NULL; for writing, when the
  // statement has locked its rows (FOR UPDATE). Raises EDatabaseError for a column of another kind.
  // REQUIRES: the statement was taken by TakeForLargeObjects, and the last Step answered true.
  virtual std::unique_ptr<TDriverLargeObject> OpenLargeObject(int column) = 0;

  // REQUIRES: Step has been called once since the statement was prepared. Empty for a statement
  // that gives no rows.
  virtual std::shared_ptr<const TColumnLayout> Layout() = 0;
  // REQUIRES: the last Step answered true.
  virtual void Cell(int column, TCell& cell) = 0;
};

class TDriverSession {
 public:
  virtual ~TDriverSession() = default;

  // A statement ready to be bound, from the cache when it holds a free one. Hand it back by
  // GiveBack. Raises EDatabaseError, with the statement, when it cannot be said or prepared.
  virtual TDriverStatement* Take(const TStatementTextPtr& text) = 0;
  virtual void GiveBack(TDriverStatement* statement) noexcept = 0;
  // As Take, of a statement whose large objects are opened and not read: plain columns of large
  // objects have no values, in rows and where they are returned, but can be opened.
  virtual TDriverStatement* TakeForLargeObjects(const TStatementTextPtr& text) = 0;

  // Around several writes that belong together: Undo leaves nothing of what has been written since
  // Mark. Mark opens the session's transaction where none is open and answers whether it did; Undo
  // then rolls it back. One of the two, with that answer, ends each Mark, the last one first.
  virtual bool Mark() = 0;
  virtual void Keep(bool opened) = 0;
  virtual void Undo(bool opened) noexcept = 0;

  // The session's transaction. Commit raising leaves the session rolled back.
  virtual void Begin() = 0;
  virtual void Commit() = 0;
  virtual void Rollback() = 0;
  // An explicit transaction is open, or a write has opened one.
  virtual bool InTransaction() const = 0;
  // What the driver really ran for `text`, for people to read.
  virtual std::string Translated(const TStatementTextPtr& text) = 0;
  // The columns of a table or view in their order; none when it is not there. Names in any case,
  // `owner` may be empty. Raises EDatabaseError when the database cannot be asked.
  virtual std::vector<TColumnInfo> TableColumns(std::string_view owner, std::string_view table) = 0;
};

}  // namespace perlayer
