#pragma once
// TClassMapBuilder writes a class map in C++:
//
//   TClassMapDefinition ward = TClassMapBuilder("ward")
//                                  .Query("quPatient", "Bolnik")
//                                  .Sql(R"(
//                                    select ID, NAME, SEX
//                                    from OMRA.PATIENT
//                                    where
//                                    ID = :ID)")
//                                  .Float("ID", "ID")
//                                  .String("NAME", 60, "Ime").Required()
//                                  .String("SEX", 1, "Spol").CodeList("SPO")
//                                  .Update("usPatient")
//                                  .Insert(R"(...)")
//                                  .Build();
//
// Sql and the fields belong to the last Query; Insert, Modify and Delete to the last Update;
// Required, CodeList and Calculated to the last field. Out of place they raise EClassMapError.
//
// A statement is given as one text. A blank line at its very beginning and one at its very end are
// the frame of a raw string and do not count; the indentation of the first line of SQL is taken off
// every line.

#include <string_view>

#include "perlayer/provider/TClassMapDefinition.h"

namespace perlayer {

class TClassMapBuilder {
 public:
  explicit TClassMapBuilder(std::string_view name);

  TClassMapBuilder& Query(std::string_view name, std::string_view caption = "");
  TClassMapBuilder& Sql(std::string_view text);

  TClassMapBuilder& String(std::string_view name, int size, std::string_view label = "");
  TClassMapBuilder& Memo(std::string_view name, std::string_view label = "");
  // Numbers are declared so: an integer field without a value reads as Unassigned.
  TClassMapBuilder& Float(std::string_view name, std::string_view label = "");
  TClassMapBuilder& Integer(std::string_view name, std::string_view label = "");
  TClassMapBuilder& DateTime(std::string_view name, std::string_view label = "");
  TClassMapBuilder& Blob(std::string_view name, std::string_view label = "");
  TClassMapBuilder& Required();
  TClassMapBuilder& CodeList(std::string_view code);
  TClassMapBuilder& Calculated();

  TClassMapBuilder& Update(std::string_view name);
  TClassMapBuilder& Insert(std::string_view text);
  TClassMapBuilder& Modify(std::string_view text);
  TClassMapBuilder& Delete(std::string_view text);

  // Raises EClassMapError unless CheckClassMap accepts the definition.
  TClassMapDefinition Build() const;

 private:
  TClassMapBuilder& Field(std::string_view name, TClassMapFieldType type, int size,
                          std::string_view label);
  TClassMapQuery& LastQuery(std::string_view wanted);
  TClassMapField& LastField(std::string_view wanted);
  TClassMapUpdateSql& LastUpdate(std::string_view wanted);
  [[noreturn]] void RaiseMisplaced(std::string_view wanted, std::string_view needed) const;

  TClassMapDefinition FDefinition;
  bool FInUpdate = false;
};

}  // namespace perlayer
