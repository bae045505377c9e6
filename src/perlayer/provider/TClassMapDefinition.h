#pragma once
// TClassMapDefinition: what a class map is made from, as plain data: the queries of its classes
// with their fields, and the statements that write their tables. It comes from a NAME.classmap file
// (ClassMapFile.h) or from C++ (TClassMapBuilder.h); both give only definitions that CheckClassMap
// accepts.
//
// A statement is kept as lines, for the layer finds its clauses by line numbers. Blank lines and
// "--" comment lines count like all others.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace perlayer {

// Raised for a class map that cannot be read. The message says where, what was expected there and
// what was found: "ward.classmap:12: expected a field type (...), found "strnig"".
PERLAYER_EXCEPTION(EClassMapError, Exception);

enum class TClassMapFieldType : std::uint8_t { string, memo, floating, integer, dateTime, blob };

inline constexpr int kMaxStringSize = 32767;

// `line` of the records below is the line of the file where the item begins, that of a statement
// the line of its line 0; 0 for one made in C++. Items are equal when they say the same, wherever
// that stands.

struct TClassMapField {
  std::string name;
  TClassMapFieldType type = TClassMapFieldType::string;
  int size = 0;       // characters of a string, 1 to kMaxStringSize; 0 for all other types
  std::string label;  // what users see; empty: the name
  bool required = false;
  std::string codeList;  // code list that the values come from, or empty
  bool calculated = false;
  int line = 0;
};

struct TClassMapQuery {
  std::string name;     // "quPatient"
  std::string caption;  // what users call the class; may be empty
  std::vector<std::string> sql;
  std::vector<TClassMapField> fields;  // the first is the ID attribute
  int line = 0;
  int sqlLine = 0;
};

// The three statements of one table. One that is not there is an empty text.
struct TClassMapUpdateSql {
  std::string name;  // "usPatient", for a class's further tables "usPatient_2"
  std::vector<std::string> insertSql;
  std::vector<std::string> modifySql;
  std::vector<std::string> deleteSql;
  int line = 0;
  int insertLine = 0;
  int modifyLine = 0;
  int deleteLine = 0;
};

struct TClassMapDefinition {
  std::string name;
  std::string source;  // the file it was read from; empty for one made in C++
  std::vector<TClassMapQuery> queries;
  std::vector<TClassMapUpdateSql> updateSqls;  // in the order of the writes
};

bool operator==(const TClassMapField& a, const TClassMapField& b);
bool operator==(const TClassMapQuery& a, const TClassMapQuery& b);
bool operator==(const TClassMapUpdateSql& a, const TClassMapUpdateSql& b);
bool operator==(const TClassMapDefinition& a, const TClassMapDefinition& b);

// "string", "memo", "float", "integer", "datetime", "blob".
std::string_view ClassMapFieldTypeName(TClassMapFieldType type);

// One thing that is not right: where, and "expected ..., found ...".
struct TClassMapFault {
  int line = 0;  // of the file; 0: the map as a whole
  std::string text;
};

// All faults of a definition. It has none when names are well formed and no two alike (in any
// case), every query has SQL, every update SQL a statement, string fields and no others a size, and
// every text is UTF-8 without control characters.
std::vector<TClassMapFault> ClassMapFaults(const TClassMapDefinition& definition);
// Raises EClassMapError for the first of them.
void CheckClassMap(const TClassMapDefinition& definition);

}  // namespace perlayer
