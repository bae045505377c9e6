#pragma once
// Objects by what a user calls them: "patient 8".

#include <string>

#include "Schema.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/THold.h"

namespace ward {

using namespace perlayer;

// Classes are named after their tables. REQUIRES: the classes of the hospital are loaded.
TplProvider* ProviderOf(const TWardTable& table);

// A discharge comes with its letter. Raises when there is no such row, or a deactivated one.
THold<> FetchObject(const TWardTable& table, const std::string& id);

// A list of the objects that the condition (SQL) finds, held.
THold<TPlBoList> FetchedList(TplProvider* provider, const std::string& condition);

}  // namespace ward
