#include "perlayer/provider/TClassMapDefinition.h"

#include <map>
#include <tuple>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapLines.h"

namespace perlayer {

bool operator==(const TClassMapField& a, const TClassMapField& b) {
  const auto content = [](const TClassMapField& f) {
    return std::tie(f.name, f.type, f.size, f.label, f.required, f.codeList, f.calculated);
  };
  return content(a) == content(b);
}

bool operator==(const TClassMapQuery& a, const TClassMapQuery& b) {
  return std::tie(a.name, a.caption, a.sql, a.fields) ==
         std::tie(b.name, b.caption, b.sql, b.fields);
}

bool operator==(const TClassMapUpdateSql& a, const TClassMapUpdateSql& b) {
  return std::tie(a.name, a.insertSql, a.modifySql, a.deleteSql) ==
         std::tie(b.name, b.insertSql, b.modifySql, b.deleteSql);
}

bool operator==(const TClassMapDefinition& a, const TClassMapDefinition& b) {
  return std::tie(a.name, a.queries, a.updateSqls) == std::tie(b.name, b.queries, b.updateSqls);
}

std::string_view ClassMapFieldTypeName(TClassMapFieldType type) {
  static constexpr std::string_view kNames[] = {"string",  "memo",     "float",
                                                "integer", "datetime", "blob"};
  return kNames[static_cast<std::size_t>(type)];
}

namespace {

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// Letters, digits and the characters of `others`; no digit first. `wide` allows letters beyond
// ASCII.
bool IsName(std::string_view name, std::string_view others, bool wide) {
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const bool digit = c >= '0' && c <= '9' && i > 0;
    const bool beyondAscii = static_cast<unsigned char>(c) >= 0x80;
    if (!IsLetter(c) && !digit && !(wide && beyondAscii) && others.find(c) == others.npos) {
      return false;
    }
  }
  return !name.empty();
}

class TCheck {
 public:
  explicit TCheck(const TClassMapDefinition& definition) : FDefinition(definition) {}

  std::vector<TClassMapFault> Run() {
    if (!IsName(FDefinition.name, "_", false)) {
      Expected(0, "a map name of letters, digits and _", Quoted(FDefinition.name));
    }
    if (FDefinition.queries.empty() && FDefinition.updateSqls.empty()) {
      Expected(0, "a query or an update", "none");
    }
    for (const auto& query : FDefinition.queries) CheckQuery(query);
    for (const auto& update : FDefinition.updateSqls) CheckUpdate(update);
    return std::move(FFaults);
  }

 private:
  using TNames = std::map<std::string, int>;  // folded name, line

  void Expected(int line, std::string_view expected, std::string_view found) {
    FFaults.push_back({line, ExpectedText(expected, found)});
  }

  void CheckNew(TNames& names, std::string_view name, int line, std::string_view where) {
    const auto [known, added] = names.emplace(FoldCase(name), line);
    if (added) return;
    Expected(line, Format("a name that is new in %s", where),
             known->second == 0
                 ? Format("%s once more", Quoted(name))
                 : Format("%s, which stands in line %d already", Quoted(name), known->second));
  }

  void CheckQuery(const TClassMapQuery& query) {
    CheckComponent(query.name, query.line, "a query name", "qu");
    CheckText(query.caption, query.line, "caption of " + query.name);
    if (query.sql.empty()) Expected(query.line, "SQL in query " + query.name, "none");
    CheckStatement(query.sql, query.line, "the SQL of " + query.name);
    TNames names;
    for (const auto& field : query.fields) {
      if (!IsName(field.name, "_$#", true) || !LineFault(field.name).empty()) {
        Expected(field.line, "a field name of letters, digits, _, $ and #", Quoted(field.name));
      }
      CheckNew(names, field.name, field.line, "the fields of " + query.name);
      CheckField(field, query.name);
    }
  }

  void CheckField(const TClassMapField& field, const std::string& query) {
    const std::string title = Format("field %s of %s", field.name, query);
    const std::string found = field.size == 0 ? std::string("none") : Format("%d", field.size);
    if (field.type != TClassMapFieldType::string) {
      if (field.size != 0) {
        const std::string_view type = ClassMapFieldTypeName(field.type);
        Expected(field.line, Format("no size for %s of type %s", title, type), found);
      }
    } else if (field.size < 1 || field.size > kMaxStringSize) {
      Expected(field.line, Format("a size from 1 to %d for string %s", kMaxStringSize, title),
               found);
    }
    CheckText(field.label, field.line, "label of " + title);
    // The code takes a position of its own between TABs and is trimmed there, so it is one word.
    const std::string& code = field.codeList;
    if (!code.empty() && !IsName("_" + code, "_$#.-", true)) {
      Expected(field.line, "a code list of letters, digits, _, $, #, . and - for " + title,
               Quoted(code));
    }
    CheckText(code, field.line, "code list of " + title);
  }

  void CheckUpdate(const TClassMapUpdateSql& update) {
    CheckComponent(update.name, update.line, "an update name", "us");
    if (update.insertSql.empty() && update.modifySql.empty() && update.deleteSql.empty()) {
      Expected(update.line, "an insert, modify or delete in update " + update.name, "none");
    }
    CheckStatement(update.insertSql, update.line, "the insert of " + update.name);
    CheckStatement(update.modifySql, update.line, "the modify of " + update.name);
    CheckStatement(update.deleteSql, update.line, "the delete of " + update.name);
  }

  // Update SQL is found by its exact name, so the prefix is taken exactly too.
  void CheckComponent(std::string_view name, int line, const char* title, std::string_view prefix) {
    if (!name.starts_with(prefix) || name.size() == prefix.size() || !IsName(name, "_", false)) {
      Expected(line,
               Format("%s like %sPatient (%s, then letters, digits and _)", title, prefix, prefix),
               Quoted(name));
    }
    CheckNew(FComponents, name, line, "the map");
  }

  // An empty statement is a statement that is not there.
  void CheckStatement(const std::vector<std::string>& lines, int line, const std::string& title) {
    if (lines.empty()) return;
    if (!HasSql(lines)) Expected(line, "SQL in " + title, "only blank and comment lines");
    bool first = true;
    for (const auto& text : lines) {
      if (const std::string fault = LineFault(text); !fault.empty()) {
        Expected(line, "plain text in " + title, fault);
      }
      if (!first || !IsSql(text)) continue;
      first = false;
      if (!Indentation(text).empty()) {
        Expected(line, "no indentation at the beginning of " + title, Quoted(text));
      }
    }
  }

  // Captions and labels: TAB separates the positions of a validation string.
  void CheckText(const std::string& text, int line, const std::string& title) {
    std::string fault = LineFault(text);
    if (fault.empty() && text.find('\t') != text.npos) fault = "a TAB";
    if (!fault.empty()) Expected(line, "plain text as " + title, fault);
  }

  const TClassMapDefinition& FDefinition;
  TNames FComponents;
  std::vector<TClassMapFault> FFaults;
};

}  // namespace

std::vector<TClassMapFault> ClassMapFaults(const TClassMapDefinition& definition) {
  return TCheck(definition).Run();
}

void CheckClassMap(const TClassMapDefinition& definition) {
  const auto faults = ClassMapFaults(definition);
  if (faults.empty()) return;
  const auto& [line, text] = faults[0];
  const std::string place =
      definition.source.empty() ? "class map " + definition.name : definition.source;
  throw EClassMapError((line == 0 ? place : Format("%s:%d", place, line)) + ": " + text);
}

}  // namespace perlayer
