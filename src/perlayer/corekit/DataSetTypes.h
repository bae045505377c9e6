#pragma once
// The small types of data sets: states, answers, events. What they are for stands in TDataSet.h.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TEnumSet.h"

namespace perlayer {

class EDatabaseError;
class TDataSet;
class TField;
enum class TFieldType : std::uint8_t;

// The memory of one row, laid out by the data set that allocates it.
using TRecordBuffer = std::byte*;
// BookmarkSize() bytes that tell a row of a data set; none for no row.
using TBookmark = std::string;

enum class TDataSetState : std::uint8_t {
  dsInactive,
  dsBrowse,
  dsEdit,
  dsInsert,
  dsCalcFields,  // for the moment: OnCalcFields fills a row's calculated fields
  dsFilter       // for the moment: a row is looked at that is not the current one
};

enum class TGetMode : std::uint8_t { gmCurrent, gmNext, gmPrior };
enum class TGetResult : std::uint8_t { grOK, grBOF, grEOF, grError };

enum class TBookmarkFlag : std::uint8_t {
  bfCurrent,  // an ordinary row: its bookmark tells its place
  bfBOF,      // stands before all rows
  bfEOF,      // stands behind all rows
  bfInserted  // being inserted: the bookmark is that of the row that it goes before
};

enum class TResyncOption : std::uint8_t { rmExact, rmCenter };
using TResyncMode = TEnumSet<TResyncOption>;

enum class TLocateOption : std::uint8_t { loCaseInsensitive, loPartialKey };
using TLocateOptions = TEnumSet<TLocateOption>;

enum class TBlobStreamMode : std::uint8_t { bmRead, bmWrite, bmReadWrite };

enum class TDataEvent : std::uint8_t {
  deFieldChange,      // a field of the current row has another value
  deRecordChange,     // all fields of the current row may have
  deDataSetChange,    // rows have come, gone or moved
  deDataSetScroll,    // another row is the current one; the ring has moved by `distance` rows
  deLayoutChange,     // fields have another label, or are shown or hidden
  deUpdateRecord,     // asks for what has been typed but not yet written to fields
  deUpdateState,      // State() is another
  deCheckBrowseMode,  // editing is about to end; whoever raises forbids it
  deFocusControl      // `field` asks for the user's attention
};
struct TDataEventInfo {
  TField* field = nullptr;
  int distance = 0;
};

// One column as the data set declares it.
struct TFieldDef {
  std::string name;
  TFieldType type;
  int size = 0;
  bool required = false;
};

enum class TDataSetEvent : std::uint8_t {
  BeforeOpen,
  AfterOpen,
  BeforeClose,
  AfterClose,
  BeforeScroll,
  AfterScroll,
  BeforeInsert,
  AfterInsert,
  BeforeEdit,
  AfterEdit,
  BeforePost,
  AfterPost,
  BeforeCancel,
  AfterCancel,
  BeforeDelete,
  AfterDelete,
  BeforeRefresh,
  AfterRefresh,
  OnNewRecord,
  OnCalcFields,
  count
};

using TFilterRecordEvent = TDelegate<void(TDataSet* DataSet, bool& Accept)>;

// What happens to an operation that the subclass refused: the error goes on, the operation is given
// up silently (EAbort), or it is tried again.
enum class TDataAction : std::uint8_t { daFail, daAbort, daRetry };
using TDataSetErrorEvent =
    TDelegate<void(TDataSet* DataSet, const EDatabaseError& E, TDataAction& Action)>;
enum class TDataSetOperation : std::uint8_t { edit, post, remove, count };

// The events of one data set. Few have any, so they stand outside of it.
struct TDataSetEvents {
  std::array<TNotifyEvent, static_cast<std::size_t>(TDataSetEvent::count)> notify;
  std::array<TDataSetErrorEvent, static_cast<std::size_t>(TDataSetOperation::count)> error;
  TFilterRecordEvent filter;
};

}  // namespace perlayer
