#include "perlayer/provider/ClassMapCheck.h"

#include <algorithm>
#include <map>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapChecks.h"
#include "perlayer/provider/ClassMapFile.h"

namespace perlayer {

bool TClassMapFindings::IsWhole(const TMapStatement& sql) {
  if (sql.Empty()) return false;
  if (sql.OpenEnd().empty()) return true;
  Fault(sql, 0, sql.OpenEnd() + " has no end, or no beginning; nothing else was checked");
  return false;
}

std::vector<TClassMapFinding> TClassMapFindings::TakeSorted() {
  std::stable_sort(FFindings.begin(), FFindings.end(),
                   [](const auto& a, const auto& b) { return a.line < b.line; });
  return std::move(FFindings);
}

const TClassMapField* FindAttribute(const TClassMapQuery& query, std::string_view name) {
  for (const TClassMapField& field : query.fields) {
    if (!field.calculated && SameText(field.name, name)) return &field;
  }
  return nullptr;
}

std::string IdAttribute(const TClassMapQuery& query) {
  for (const TClassMapField& field : query.fields) {
    if (!field.calculated) return field.name;
  }
  return "";
}

TMapStatement SelectOf(const TClassMapQuery& query) {
  return {query.name, query.sql, query.sqlLine};
}
TMapStatement InsertOf(const TClassMapUpdateSql& update) {
  return {"insert of " + update.name, update.insertSql, update.insertLine};
}
TMapStatement ModifyOf(const TClassMapUpdateSql& update) {
  return {"modify of " + update.name, update.modifySql, update.modifyLine};
}
TMapStatement DeleteOf(const TClassMapUpdateSql& update) {
  return {"delete of " + update.name, update.deleteSql, update.deleteLine};
}

namespace {

// A name without qu or us; one that is no name may be shorter.
std::string Stem(std::string_view name) {
  return std::string(name.substr(std::min<std::size_t>(2, name.size())));
}

// Whose rows an update writes, as the layer finds it: by its exact name.
bool Owns(std::string_view query, std::string_view update) {
  const std::string primary = "us" + Stem(query);
  return update == primary || update.starts_with(primary + "_");
}

class TMapCheck {
 public:
  TMapCheck(const TClassMapReading& reading, TClassMapFindings& findings)
      : FDefinition(reading.definition), FUnread(reading.unread), FFindings(findings) {}

  void Run() {
    for (const TClassMapUpdateSql& update : FDefinition.updateSqls) FindOwner(update);
    for (const TClassMapQuery& query : FDefinition.queries) {
      CheckQueryRules(query, FFindings);
      CheckUpdatesOf(query);
    }
    for (const TClassMapUpdateSql& update : FDefinition.updateSqls) {
      const auto owner = FOwners.find(&update);
      const TClassMapQuery* query = owner == FOwners.end() ? nullptr : owner->second;
      const bool several = query != nullptr && UpdatesOf(*query).size() + UnreadOf(*query) > 1;
      // Without fields there is one fault to tell, and not one for each column.
      if (query != nullptr && IdAttribute(*query).empty()) query = nullptr;
      CheckUpdateRules(update, query, several, FFindings);
    }
  }

 private:
  void FindOwner(const TClassMapUpdateSql& update) {
    bool owned = std::any_of(FUnread.begin(), FUnread.end(),
                             [&](const auto& name) { return Owns(name, update.name); });
    std::string near;
    for (const TClassMapQuery& query : FDefinition.queries) {
      if (SameText(Stem(query.name), Stem(update.name))) near = query.name;
      if (!Owns(query.name, update.name)) continue;
      owned = true;
      const auto [known, added] = FOwners.emplace(&update, &query);
      if (added) continue;
      FFindings.Fault(update.line,
                      Format("%s belongs to %s and to %s, and both would write it; call one of the "
                             "queries otherwise",
                             update.name, known->second->name, query.name));
    }
    if (owned) return;
    FFindings.Fault(
        update.line,
        near.empty()
            ? Format("no query owns %s, so nothing ever runs it; its query would be %s",
                     update.name, "qu" + SplitText(Stem(update.name) + "_", "_")[0])
            : Format("no query owns %s; names meet letter by letter, and %s is written otherwise",
                     update.name, near));
  }

  std::vector<const TClassMapUpdateSql*> UpdatesOf(const TClassMapQuery& query) const {
    std::vector<const TClassMapUpdateSql*> updates;
    for (const TClassMapUpdateSql& update : FDefinition.updateSqls) {
      if (Owns(query.name, update.name)) updates.push_back(&update);
    }
    return updates;
  }

  // How many of its updates were not read.
  std::size_t UnreadOf(const TClassMapQuery& query) const {
    return static_cast<std::size_t>(std::count_if(
        FUnread.begin(), FUnread.end(), [&](const auto& name) { return Owns(query.name, name); }));
  }

  void CheckUpdatesOf(const TClassMapQuery& query) {
    if (UnreadOf(query) > 0) return;
    const auto updates = UpdatesOf(query);
    if (updates.empty()) {
      FFindings.Remark(query.line,
                       query.name +
                           " has no update: its rows are only read, and its provider must "
                           "be told its table (aiTableName)");
    } else if (updates[0]->insertSql.empty()) {
      FFindings.Fault(
          updates[0]->line,
          Format("%s, the first update of %s, has no insert, from which the class takes "
                 "the name of its table; put the update that has one first",
                 updates[0]->name, query.name));
    }
  }

  const TClassMapDefinition& FDefinition;
  const std::vector<std::string>& FUnread;
  TClassMapFindings& FFindings;
  std::map<const TClassMapUpdateSql*, const TClassMapQuery*> FOwners;
};

}  // namespace

std::string ClassMapFindingLine(const TClassMapFinding& finding) {
  const bool fault = finding.kind == TClassMapFinding::TKind::fault;
  const std::string place =
      finding.line == 0 ? finding.file : Format("%s:%d", finding.file, finding.line);
  return Format("%s: %s: %s", place, fault ? "fault" : "remark", finding.text);
}

std::vector<TClassMapFinding> CheckClassMapFile(const std::string& path, TDriverSession* session) {
  TClassMapFindings findings(path);
  try {
    const TClassMapReading reading = ReadWholeClassMapFile(path);
    for (const TClassMapFault& fault : reading.faults) findings.Fault(fault.line, fault.text);
    TMapCheck(reading, findings).Run();
    if (session != nullptr) CheckAgainstDatabase(reading.definition, *session, findings);
  } catch (const EClassMapError& e) {
    // Of the file as a whole; the message begins with its name.
    const std::string place = path + ": ";
    findings.Fault(0,
                   e.Message().starts_with(place) ? e.Message().substr(place.size()) : e.Message());
  }
  return findings.TakeSorted();
}

}  // namespace perlayer
