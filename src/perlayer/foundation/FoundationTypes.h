#pragma once
// The enumerations and the exception that the whole layer shares.

#include <cstdint>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TEnumSet.h"

namespace perlayer {

// What a notification tells.
enum class TIBaseObjectAction : std::uint8_t {
  paCreate,
  paAddRef,
  paRelease,
  paFree,
  paReload,
  paMarkedDeleted,
  paUnMarkDeleted,
  paDelete,
  paModified,
  paValidate,
  paPostData,
  paCancelData,
  paAddToList,
  paDeleteFromList,
  paSort,
  paLock,
  paUnlock,
  paNotifyRefresh,
  paDBChanged
};

// "paModified"
const char* BaseObjectActionName(TIBaseObjectAction action);

enum class TIAccessRight : std::uint8_t { arScan, arRead, arUpdate, arDelete, arInsert, arPrint };
using TIAccessRights = TEnumSet<TIAccessRight>;  // bit 0 is arScan

// Which thread has the right to walk or change an object's references at the moment.
enum class TplLockedBy : std::uint8_t { lbNone, lbMainThread, lbReleaserThread };

// How bad an error of an attribute is. The first two keep the object from being posted, the third
// is shown; elNone is the answer for an attribute without error.
enum class TIErrorLevel : std::uint8_t { elFatal = 1, elError = 2, elWarning = 3, elNone = 8 };

// Posting an object whose attributes have errors.
PERLAYER_EXCEPTION(EIPostException, Exception);

// The one exception that passes through a notification walk: somebody refuses a lock.
PERLAYER_EXCEPTION(ELockException, Exception);

}  // namespace perlayer
