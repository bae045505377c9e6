#pragma once
// Who holds an object: its holders, and, for references that were taken while a TRetainerTrace
// lived, since when and which function of the program took them. Without one, references are not
// looked at and cost nothing more.
//
// A row that is read while its object lives makes a twin, whose values the object takes over. The
// layer tells that the twin was made, and nothing of its end nor of the reference that its holder
// has to the living object from then on: that one is what the trace knows of the twin.

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
  TTaken Taken(TplDomainObject* object, const TObject* holder, int n);

 private:
  static constexpr int kFrames = 24;
  struct TReference {
    TObjectHandle holder;
    TDateTime time = 0;
    std::array<void*, kFrames> frames{};  // return addresses, the innermost first
    int depth = 0;
  };
  void Heard(TPlBaseObject* object, TIReferenceEventType type, TObject* holder);
  std::vector<TReference>& ReferencesTo(TPlBaseObject* object);

  std::unordered_map<std::uint64_t, std::vector<TReference>> FReferences;  // by object
  std::unordered_map<std::string, std::vector<TObjectHandle>> FMade;       // by row
  TIPerLayerRefereceCountChangedNotifyEvent FBefore;
};

// A table for people: a line for each reference to the object.
std::vector<std::string> HolderTable(TplDomainObject* object, TRetainerTrace* trace);

}  // namespace ward
