#pragma once
// TListFilter: decides by a filter text which objects are shown. The language looks like a piece of
// SQL and is described in docs/filters.md. A text is compiled when it comes for the first time, and
// evaluated for each object.
//
// One text is kept: the one evaluated last. An object that is asked for a value may evaluate
// another filter on the way. Main thread only.

#include <memory>
#include <string_view>

namespace perlayer {

class TplPerObject;
struct TFilterCode;

class TListFilter {
 public:
  // Whether `filter` accepts the object. A filter of blanks accepts everything. Attributes are read
  // as GetAttrValueAsVariant answers them; those of a nil object are Null. Whatever goes wrong, a
  // filter that is none included, is raised as an Exception "Napačen filter: %s! (podrobnosti: %s)"
  // with the filter and what was wrong.
  bool Evaluate(TplPerObject* object, std::string_view filter);

 private:
  std::shared_ptr<TFilterCode> FCode;  // of the last text that was not empty
};

}  // namespace perlayer
