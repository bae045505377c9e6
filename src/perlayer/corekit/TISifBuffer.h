#pragma once
// TISifBuffer: the codes of one list that have been read. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/platform/TObject.h"
#include "perlayer/platform/TTextList.h"

namespace perlayer {

struct TISifCode {
  std::string shortDesc;
  std::string desc;
  std::string params;  // "NAME=VALUE;..."
  bool deactivated = false;
};

class TISifBuffer : public TObject {
  TCLASS(TISifBuffer, TObject)
 public:
  void Create() { FCodes.Sorted(true); }
  // A code that is there already gets the new texts.
  void Add(std::string_view ACode, std::string_view AShortDesc, std::string_view ADesc,
           bool ADeactivated, std::string_view AParams = {});
  // nullptr when it has not been read. Lives until the next Add.
  const TISifCode* Find(std::string_view ACode) const;
  int Count() const { return FCodes.Count(); }

 private:
  TTextList<TISifCode> FCodes;
};

}  // namespace perlayer
