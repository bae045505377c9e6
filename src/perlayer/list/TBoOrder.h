#pragma once
// TBoOrder: the order of a list's objects, told by terms between commas, as "-STARTED,NAME". The
// first term that tells two objects apart decides. A term is the name of an attribute behind up to
// three prefixes, in this order:
//
//   -   the other way round
//   @   by the long text of the code list that the attribute's value is a code of
//   §   by its short text (with both: by the short one)
//
// With "@" and "§" the attribute is read as a field shows it, and a value that is no code stands
// for itself. Otherwise values compare as GetAttrValueAsVariant answers them: integers are
// therefore all alike. Texts compare as people order them; see TCollation.h. A nil object has Null
// everywhere.
//
// Main thread only.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/list/TBoundAttribute.h"
#include "perlayer/platform/TObjectHandle.h"

namespace perlayer {

class TplPerObject;

// Below 0, 0 or above 0.
using TboListSortCompare = int (*)(TplPerObject* AObject1, TplPerObject* AObject2,
                                   const std::string& AParam);
// Compares by the order that the parameter tells.
int CompareByOrder(TplPerObject* AObject1, TplPerObject* AObject2, const std::string& AOrder);

// What a sort by no parameter goes by: the order that was last forced on any list.
std::string& DefaultSortParam();

class TBoOrder {
 public:
  explicit TBoOrder(std::string_view order);

  // Reads the values that it needs, each term's when it comes to it. Either may be nil. Raises what
  // reading raises: also for an attribute that the class does not have.
  int Compare(TplPerObject* a, TplPerObject* b);
  // The objects as QuickSort puts them in this order. Each value is read at most once, when it is
  // first needed. Objects that go meanwhile count as nil.
  std::vector<TObjectHandle> Sorted(std::span<const TObjectHandle> objects);

 private:
  friend class TBoSorter;
  enum class TReading { value, longText, shortText };
  struct TTerm {
    bool descending;
    TReading reading;
    TBoundAttribute attribute;
  };
  static TTerm Term(std::string_view text);

  std::vector<TTerm> FTerms;
};

}  // namespace perlayer
