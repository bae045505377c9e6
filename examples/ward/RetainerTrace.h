#pragma once
// Who holds an object: its holders, and, for references that were taken while a TRetainerTrace
// lived, since when and which function of the program took them. Without one, references are not
// looked at and cost nothing more.

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "perlayer/foundation/TplDomainObject.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TObjectHandle.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace ward {

using namespace perlayer;

class TRetainerTrace {
 public:
  // Takes the layer's event of references for as long as it lives.
  TRetainerTrace();
  ~TRetainerTrace();
  TRetainerTrace(const TRetainerTrace&) = delete;
  TRetainerTrace& operator=(const TRetainerTrace&) = delete;

  // When that holder took its n-th reference to the object, and who called for it; both empty for
  // one that was there before.
  struct TTaken {
    std::string time;
    std::string caller;  // "ward::Who"
  };
  TTaken Taken(const TplDomainObject* object, const TObject* holder, int n) const;

 private:
  static constexpr int kFrames = 24;
  struct TReference {
    TObjectHandle holder;
    TDateTime time = 0;
    std::array<void*, kFrames> frames{};  // return addresses, the innermost first
    int depth = 0;
  };
  void Heard(TPlBaseObject* object, TIReferenceEventType type, TObject* holder);

  std::unordered_map<std::uint64_t, std::vector<TReference>> FReferences;  // by object
  TIPerLayerRefereceCountChangedNotifyEvent FBefore;
};

// A table for people: a line for each reference to the object.
std::vector<std::string> HolderTable(TplDomainObject* object, const TRetainerTrace* trace);

}  // namespace ward
