#pragma once
// `ward list`: objects of one kind, filtered and ordered in memory, in a table.

#include <string>
#include <vector>

#include "Schema.h"

namespace perlayer {
class TPlBoList;
}

namespace ward {

struct TListRequest {
  std::string filter;                // the language of list filters; empty: all
  std::string order;                 // "-CITY,@SEX"; empty: as they come
  std::vector<std::string> columns;  // attributes; empty: the kind's own choice
};

// The objects that the list's filter leaves, a line for each. A column "@NAME" shows the text of
// the attribute's code. Raises for a column that no object has.
std::vector<std::string> ListTable(perlayer::TPlBoList* list,
                                   const std::vector<std::string>& columns);

void List(const std::string& databaseFile, const TWardTable& table, const TListRequest& request);

}  // namespace ward
