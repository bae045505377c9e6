#pragma once
// TIGetTableOwner: which owner's table a name means, as the class maps' SELECT statements tell it.
// Main thread only.

#include <string>
#include <string_view>

namespace perlayer {

class TObject;
class TcmpClassMap;

class TIGetTableOwner {
 public:
  // Learns from every query of the map. A later owner of a table replaces an earlier one.
  static void Initialize(TcmpClassMap* AClassMap);
  // Owner and table of the first table behind FROM, in upper case; both empty when the statement
  // does not tell. The first letters FROM count, in a column's name too; a table that ends the text
  // is not taken.
  static void GetOwnerFromSelect(std::string_view ASelect, std::string& AOwner,
                                 std::string& ATable);
  // The owner of the table `ASifrant`; the code-list service's default owner when none was learnt.
  static void GetTableOwner(TObject* Sender, const std::string& ASifrant, std::string& AOwner);
};

}  // namespace perlayer
