#include "perlayer/list/TListFilter.h"

#include <new>
#include <string>

#include "perlayer/list/TFilterCode.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

bool TListFilter::Evaluate(TplPerObject* object, std::string_view filter) {
  if (FCode == nullptr || FCode->text != filter) {
    if (Empty(filter)) return true;
    FCode = std::make_shared<TFilterCode>(CompileFilter(filter));
  }
  TFilterCode& code = *FCode;
  std::shared_ptr<TFilterCode> kept;  // so that it may be replaced meanwhile
  try {
    return code.Run(object, kept);
  } catch (const std::bad_alloc&) {
    throw;  // not the filter's fault
  } catch (const std::exception& e) {
    const std::string detail = ExceptionMessage(e);
    throw Exception(Format("Napačen filter: %s! (podrobnosti: %s)", code.text, detail));
  }
}

}  // namespace perlayer
