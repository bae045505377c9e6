#include "perlayer/foundation/TplDomainNotifier.h"

#include "perlayer/platform/Format.h"

namespace perlayer {

std::string TplDomainNotifier::GetHint() {
  const TplRetainerList* retainers = aiRetainerList();
  return Format("Object notifier. Listening %s.", retainers == nullptr || retainers->Count() == 0
                                                      ? std::string("<Unknown class>")
                                                      : retainers->Strings(0));
}

}  // namespace perlayer
