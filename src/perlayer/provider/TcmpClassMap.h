#pragma once
// TcmpClassMap: the SQL of a group of classes, as named components. The query of class TplX is
// "quX", its update SQL "usX" and, for further tables, "usX_" and anything.
//
// A class map is made before the providers of its classes, and retains them. Main thread only.

#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIValidInfo.h"
#include "perlayer/corekit/TdmIBaseModule.h"
#include "perlayer/platform/TList.h"
#include "perlayer/provider/TClassMapDefinition.h"

namespace perlayer {

class TIQuery;
class TIUpdateSQL;

class TcmpClassMap : public TdmIBaseModule {
  TCLASS(TcmpClassMap, TdmIBaseModule)
 public:
  // The session that every statement of the layer runs on.
  static constexpr std::string_view kDatabaseName = "_QOR";

  using TdmIBaseModule::Create;
  void Create(TClassMapDefinition ADefinition);

  // The shared query of that name (any case), its comment lines emptied. Copy it before opening or
  // changing it. Raises "No query for %s"; a component of that name that is no query is an
  // EInvalidCast.
  TIQuery* GetQuery(std::string_view sQueryName);
  // A new list, yours to free, of the update SQL of that query's class, in the order of the map.
  // Compared letter by letter. Empty when there is none.
  TList* GetUpdateSQLList(std::string_view sQueryName);
  // Empties, and does not delete, every line that begins with "--": positions hold.
  void DeleteSQLComments(TIQuery*& AQuery);

  TIValidInfo* IValidInfo1() const { return FValidInfo1; }

  static TFieldType FieldTypeOf(TClassMapFieldType type);
  // The calculated attributes that the map declares for a query; they are no columns.
  std::vector<TClassMapField> CalculatedFields(std::string_view sQueryName) const;

 protected:
  // What the map is made from, for classes that declare it in C++; empty here.
  virtual TClassMapDefinition Define() { return {}; }
  void InternalLoadComponents() override;
  void dmIBaseModuleCreate(TObject* Sender) override;
  void dmIBaseModuleDestroy(TObject* Sender) override;

 private:
  void LoadQuery(const TClassMapQuery& definition);
  void LoadUpdateSql(const TClassMapUpdateSql& definition);

  TClassMapDefinition FDefinition;     // kept for the calculated fields
  TIValidInfo* FValidInfo1 = nullptr;  // a component of this map
};

// The class map of views. It stands twice among the loaded class maps until it goes: its handlers
// register it once more behind the class map's own.
class TvmpView : public TcmpClassMap {
  TCLASS(TvmpView, TcmpClassMap)
 protected:
  void dmIBaseModuleCreate(TObject* Sender) override;
  void dmIBaseModuleDestroy(TObject* Sender) override;
};

// Makes a class map from a NAME.classmap file, or from a definition, and gives it to the loaded
// layer, which frees it, and first its providers, when it unloads. Raise EClassMapError.
TcmpClassMap* LoadClassMap(const std::string& path);
TcmpClassMap* AddClassMap(TClassMapDefinition definition);

}  // namespace perlayer
