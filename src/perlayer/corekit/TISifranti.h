#pragma once
// TISifranti: the code-list service. A code list is a table, or a part of one, that gives codes
// their short and long texts; every list is described by one row of the catalogue table
// OWNER.SIFRANTI, OWNER being the default owner:
//
//   NAME          the list, as class maps name it
//   TABLE_NAME    where its codes are
//   LIST_FIELD    for lists that share a table: the column that holds NAME; else empty
//   CODE_FIELD    the code
//   SHORT_FIELD   the short text that users type; empty where a list has none
//   DESC_FIELD    the long text; may be empty
//   PARAMS_FIELD  "NAME=VALUE;..." for programs; may be empty
//   ACTIVE_FIELD  "1" while the code may be used; empty where all may
//   TRASHOLD      how many characters a search needs
//   START_ORDER   the order that a pick list starts with; may be empty
//
// What has been read of catalogue and codes is kept until DropBuffer. Every operation that names a
// list raises "There is no code list %s in %s" for one that the catalogue does not have, and what
// the database raises.
//
// An application replaces the instances by its own classes. A query is never shared: an override
// may come back to the service while a row of it is being read. Main thread only.

#include <map>
#include <string>
#include <string_view>

#include "perlayer/corekit/TISifBuffer.h"

namespace perlayer {

class TIQuery;

class TISifranti : public TObject {
  TCLASS(TISifranti, TObject)
 public:
  void Destroy() override;

  // --- codes ---

  virtual bool Exists(std::string_view AName, std::string_view ACode, bool AIncludeDeactivated);
  // Empty for a code that does not exist; deactivated ones do.
  virtual std::string ShortDesc(std::string_view AName, std::string_view ACode);
  virtual std::string Desc(std::string_view AName, std::string_view ACode);
  virtual std::string Params(std::string_view AName, std::string_view ACode);
  virtual std::string ShortDescToCode(std::string_view AName, std::string_view AShortDesc);
  virtual bool ExistsShortDesc(std::string_view AName, std::string_view AShortDesc,
                               bool AIncludeDeactivated);
  // Forgets what has been read of the list, or of all lists.
  void DropBuffer(std::string_view AName);
  void DropBuffers();

  // --- the catalogue ---

  // The short text's column, or empty.
  std::string GetOkrajsava(std::string_view AName) { return Definition(AName).shortField; }
  bool HasShortDesc(std::string_view AName) { return !Definition(AName).shortField.empty(); }
  int GetTrashold(std::string_view AName) { return Definition(AName).trashold; }
  std::string GetStartOrder(std::string_view AName) { return Definition(AName).startOrder; }
  void GetTableSelectFields(std::string_view AName, std::string& ADatabaseName,
                            std::string& ATableName, std::string& ACodeField,
                            std::string& ADescField);
  const std::string& DefaultOwner() const { return FDefaultOwner; }
  void DefaultOwner(std::string_view owner) { FDefaultOwner = owner; }
  // The owner of that table, for tables that are not the default owner's.
  virtual std::string GetTableOwner(std::string_view ATable);

  // --- for classes that read codes from elsewhere ---

  // A query, yours to free, that reads one row of a list by its parameter CODE, and the list's
  // buffer. AKey is "S_CODE" or "S_DESC" (by short text) and the list's name; anything else raises
  // EDatabaseError.
  TIQuery* GetPreparedQuery(const std::string& AKey, TISifBuffer*& ABuffer);
  // Puts the code into the buffer; false when there is no such code. AQuery is a prepared one.
  virtual bool LoadFromDataSet(const std::string& AName, const std::string& ACode, TIQuery* AQuery,
                               TISifBuffer* ABuffer);
  // The columns of a prepared query that is open; "0" stands for a text that the list has not.
  static std::string ISSifra(const TIQuery* AQuery);
  static std::string ISOkrajsava(const TIQuery* AQuery);
  static std::string ISOpis(const TIQuery* AQuery);
  static bool ISHasShortDesc(const TIQuery* AQuery);

 protected:
  struct TDefinition {
    std::string table;
    std::string listField;
    std::string codeField;
    std::string shortField;
    std::string descField;
    std::string paramsField;
    std::string activeField;
    int trashold = 0;
    std::string startOrder;
  };
  const TDefinition& Definition(std::string_view AName);
  // The select of a prepared query, with the rows where `AField` is the parameter CODE.
  std::string SelectText(std::string_view AName, const std::string& AField);
  // The buffered code; nullptr when there is none.
  const TISifCode* Code(std::string_view AName, std::string_view ACode);

 private:
  struct TList {
    TDefinition definition;
    TISifBuffer* buffer = nullptr;  // owned
  };
  TList& List(std::string_view AName);
  static std::string Folded(std::string_view AName);

  std::string FDefaultOwner = "OMRA";
  std::map<std::string, TList> FLists;  // by folded name
};

// Lists of three-character codes, which share tables as a rule.
class TISkupSifranti : public TISifranti {
  TCLASS(TISkupSifranti, TISifranti)
 public:
  using TISifranti::Exists;
  // Unbuffered, or with a further condition (SQL), the database is asked.
  virtual bool Exists(std::string_view AName, std::string_view ACode, bool ABuffered,
                      std::string_view ACondition, bool AIncludeDeactivated);
};

// The services of the loaded layer.
TISifranti& Sifranti();
TISkupSifranti& SkupSifranti();
// Replace them; the layer owns what it is given.
void InstallSifranti(TOwned<TISifranti> service);
void InstallSkupSifranti(TOwned<TISkupSifranti> service);

}  // namespace perlayer
