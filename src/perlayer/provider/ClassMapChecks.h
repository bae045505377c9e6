#pragma once
// The single checks behind CheckClassMapFile.

#include <string>
#include <string_view>
#include <vector>

#include "perlayer/provider/ClassMapCheck.h"
#include "perlayer/provider/TClassMapDefinition.h"
#include "perlayer/provider/TMapStatement.h"

namespace perlayer {

// What has been found in one file.
class TClassMapFindings {
 public:
  explicit TClassMapFindings(std::string file) : FFile(std::move(file)) {}

  void Fault(int line, std::string text) { Add(line, TClassMapFinding::TKind::fault, text); }
  void Remark(int line, std::string text) { Add(line, TClassMapFinding::TKind::remark, text); }
  // Of a statement, at the line of that offset; its title comes in front.
  void Fault(const TMapStatement& sql, std::size_t offset, const std::string& text) {
    Fault(sql.FileLine(offset), sql.Title() + ": " + text);
  }
  void Remark(const TMapStatement& sql, std::size_t offset, const std::string& text) {
    Remark(sql.FileLine(offset), sql.Title() + ": " + text);
  }
  // Tells a statement that has no end somewhere, of which nothing else can be said. True for one
  // that is there and whole.
  bool IsWhole(const TMapStatement& sql);

  std::size_t Faults() const { return FFaults; }
  std::vector<TClassMapFinding> TakeSorted();

 private:
  void Add(int line, TClassMapFinding::TKind kind, std::string& text) {
    if (kind == TClassMapFinding::TKind::fault) ++FFaults;
    FFindings.push_back({FFile, line, kind, std::move(text)});
  }

  const std::string FFile;
  std::vector<TClassMapFinding> FFindings;
  std::size_t FFaults = 0;
};

// The attribute of that name (any case) which is read from the database, or nullptr.
const TClassMapField* FindAttribute(const TClassMapQuery& query, std::string_view name);
// The first of them, whose name the ID condition's parameter has; empty without one.
std::string IdAttribute(const TClassMapQuery& query);

// The statements of a map, with what messages call them.
TMapStatement SelectOf(const TClassMapQuery& query);
TMapStatement InsertOf(const TClassMapUpdateSql& update);
TMapStatement ModifyOf(const TClassMapUpdateSql& update);
TMapStatement DeleteOf(const TClassMapUpdateSql& update);

void CheckQueryRules(const TClassMapQuery& query, TClassMapFindings& findings);
// `query` is nullptr when none owns the update; `several`: its class has further updates.
void CheckUpdateRules(const TClassMapUpdateSql& update, const TClassMapQuery* query, bool several,
                      TClassMapFindings& findings);
void CheckAgainstDatabase(const TClassMapDefinition& definition, TDriverSession& session,
                          TClassMapFindings& findings);

}  // namespace perlayer
