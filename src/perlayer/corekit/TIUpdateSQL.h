#pragma once
// TIUpdateSQL: the INSERT, MODIFY and DELETE statements of one table. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/corekit/TComponent.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

class TIUpdateSQL : public TComponent {
  TCLASS(TIUpdateSQL, TComponent)
 public:
  enum TIndex { usInsert = 0, usModify = 1, usDelete = 2 };
  static constexpr int kStatements = 3;

  void Create() { Create(nullptr); }
  void Create(TComponent* AOwner);
  void Destroy() override;

  // The lines of one statement; index is a TIndex.
  TStringList* SQL(int index) const;
  // The statement as one text, lines joined by CR LF, without a line end behind the last.
  std::string Text(int index) const;
  void Assign(const TIUpdateSQL& other);

 private:
  TStringList* FStatements[kStatements] = {};  // owned
};

}  // namespace perlayer
