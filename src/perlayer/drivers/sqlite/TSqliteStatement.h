#pragma once
// TSqliteStatement: one prepared statement of a session.
//
// A block is several statements of the database, its parts, that run one after another in one Step.
// What a part returns into a parameter the parts behind it are bound to.
//
// Bound texts and bytes are not copied: they are the caller's until Reset, and a run uses only what
// has been bound since the last Reset; what has not is NULL.
//
// Where a parameter is compared with a text, it matters whether a number or a text is bound to it
// (numbers compare as numbers). Such a statement is prepared anew when a run's binds are of another
// kind than the last run's; all others are prepared once. A statement that is run after the session
// has changed tables is translated anew, as the columns' types may be others.

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/drivers/sqlite/SqliteRaw.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"
#include "perlayer/drivers/sqlite/TSqliteRows.h"

struct sqlite3_stmt;

namespace perlayer {

class TSqliteSession;

class TSqliteStatement final : public TDriverStatement {
 public:
  // What all statements of one text share.
  struct TShared {
    TSqlTranslation translation;  // with every parameter bound as a text
    std::vector<int> returns;     // the parameters of all its steps
    std::shared_ptr<const TColumnLayout> layout;
  };

  // Translates, when `shared` is nullptr, and prepares. Raises EDatabaseError. The session owns the
  // statement and outlives it.
  TSqliteStatement(TSqliteSession& session, TStatementTextPtr text, TLargeObjects largeObjects,
                   std::shared_ptr<TShared> shared);
  ~TSqliteStatement() override;
  TSqliteStatement(const TSqliteStatement&) = delete;
  TSqliteStatement& operator=(const TSqliteStatement&) = delete;

  void BindNull(int parameter) override;
  void BindText(int parameter, std::string_view text) override;
  void BindNumber(int parameter, double value) override;
  void BindBlob(int parameter, std::span<const std::byte> bytes) override;
  bool Step() override;
  void Reset() noexcept override;
  bool ReadOnly() const override { return FReadOnly; }
  std::int64_t RowsAffected() const override { return FRowsAffected; }
  const std::vector<int>& Returns() const override { return FShared->returns; }
  void Returned(int parameter, TCell& cell) override;
  std::unique_ptr<TDriverLargeObject> OpenReturned(int parameter) override;
  std::unique_ptr<TDriverLargeObject> OpenLargeObject(int column) override;
  std::shared_ptr<const TColumnLayout> Layout() override;
  void Cell(int column, TCell& cell) override {
    ReadCell(column, cell);
    if (cell.kind == TCellKind::blob) CellOfBytes(column, cell);
  }

  TLargeObjects LargeObjects() const { return FLargeObjects; }
  const TStatementTextPtr& Text() const { return FText; }
  const std::shared_ptr<TShared>& Shared() const { return FShared; }
  // It stands on a row and keeps the session's read open.
  bool IsOpen() const { return FRun == TRun::row && FRows == nullptr; }
  // Reads what is left into memory, so that the read can end. REQUIRES: IsOpen()
  void ReadAhead();

 private:
  enum class TRun : std::uint8_t { idle, row, ended };
  enum class TBindKind : std::uint8_t { null, text, number, blob };
  struct TBind {
    TBindKind kind = TBindKind::null;
    std::uint32_t run = 0;
    double number = 0;
    const char* data = nullptr;
    std::size_t size = 0;
  };

  struct TReturned {
    int parameter;
    TCell cell;
    std::string bytes;  // of a text or blob
  };
  // Where the large object stands that was returned into a parameter; no row was none.
  struct TPlace {
    int parameter;
    const TSqlLargeColumn* column;  // of FShared
    std::optional<std::int64_t> row;
  };

  void ReadCell(int column, TCell& cell) {
    if (FRows == nullptr) {
      ReadSqliteCell(FStatement, column, cell);
    } else {
      FRows->Cell(column, cell);
    }
  }
  void CellOfBytes(int column, TCell& cell);
  TSqlTranslation TranslateFor(TSqlNumberBinds numbers);
  std::shared_ptr<TShared> Translate();
  void Renew();
  void Prepare(const TSqlTranslation& translation);
  TRawStatement PreparePart(const TSqlTranslation& translation, std::size_t step);
  void Bind(int parameter, const TBind& bind);
  void Apply(std::size_t parameter);
  void ApplyTo(sqlite3_stmt* statement, int position, const TBind& bind);
  void Start();
  void PrepareForBinds();
  bool End();
  bool RunParts();
  void RunPart(std::size_t part);
  void KeepReturned(int parameter, const TCell& cell);
  bool RunForNumbers();
  [[noreturn]] void Fail(int code);
  [[noreturn]] void RaiseUnbound(int code);
  std::shared_ptr<const TColumnLayout> MakeLayout();

  TSqliteSession& FSession;
  const TStatementTextPtr FText;
  const TLargeObjects FLargeObjects;
  std::shared_ptr<TShared> FShared;
  std::uint64_t FSchemaVersion;  // the session's that the translation goes by
  std::vector<TRawStatement> FParts;
  sqlite3_stmt* FStatement = nullptr;  // the first part: the only one that may give rows
  // How a run goes: row by row; its parts to their ends; a query that takes numbers, at once.
  enum class TShape : std::uint8_t { rows, parts, numbers };
  TShape FShape = TShape::rows;
  std::unique_ptr<TSqliteRows> FRows;  // when read ahead
  std::deque<TReturned> FReturned;     // what is bound stays where it is
  std::vector<TPlace> FPlaces;
  std::vector<TBind> FBinds;
  TSqlNumberBinds FNumberBinds = 0;  // those among the binds that matter
  std::uint32_t FRunNumber = 1;
  std::size_t FBoundInRun = 0;  // parameters that have been bound for it
  int FFirstParameters = 0;     // of the first part
  TRun FRun = TRun::idle;
  bool FReadOnly = true;
  bool FOpenedTransaction = false;
  std::int64_t FRowsAffected = 0;
};

}  // namespace perlayer
