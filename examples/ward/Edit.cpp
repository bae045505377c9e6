#include "Edit.h"

#include <iostream>

#include "AttributeTable.h"
#include "Database.h"
#include "Gloss.h"
#include "Hospital.h"
#include "Kinds.h"
#include "Lines.h"
#include "Rights.h"
#include "TextTable.h"
#include "WardObject.h"
#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/corekit/TConsoleDialogs.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace ward {

namespace {

constexpr std::size_t kMessageWidth = 90;

// With the English below what is asked.
class TWardDialogs : public TConsoleDialogs {
 public:
  using TConsoleDialogs::TConsoleDialogs;
  int ShowCustom(const std::string& text, TMsgDlgType type,
                 const std::vector<std::string>& captions, int defaultPosition,
                 int cancelPosition) override {
    return TConsoleDialogs::ShowCustom(JoinText(WithEnglish(text), "\n"), type, captions,
                                       defaultPosition, cancelPosition);
  }
};

TSqliteDatabase Open(const std::string& databaseFile, const TObjectChange& change) {
  TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  LogInToWard(change.user);
  if (change.asks) {
    PerLayerSettings()->aiUIExists(true);
    InstallDialogs(std::make_unique<TWardDialogs>(std::cin, std::cout));
  }
  return database;
}

// Does what may be refused. The refusal says what was refused, and of which object.
template <class TWork>
void Do(const std::string& databaseFile, const std::string& what, TWork&& work) {
  const auto refuse = [&](const std::string& why) { throw Exception(what + ":\n" + why); };
  try {
    work();
  } catch (const EDatabaseError& e) {
    // The database's words, without the statement.
    std::string words = Lines(e.Message()).front();
    if (e.Kind() == TDatabaseErrorKind::busy) words += "; another program writes to it, try again";
    refuse(databaseFile + ": " + words);
  } catch (const Exception& e) {
    const std::string asked = aiLastBoMessageText();
    refuse((StringInSet("?", asked) ? asked + "\n" : "") + e.Message());
  }
}

// What the layer said to the user who is not there.
void TellWarnings() {
  const std::string text = aiLastBoMessageText();
  if (text.empty()) return;
  std::cout << "warning:\n";
  PrintLines(WithEnglish(text));
  std::cout << '\n';
}

[[noreturn]] void RefuseAttribute(TplPerObject* object, const TObjectChange& change,
                                  const std::string& name) {
  std::string names;
  for (int i = 0; i < object->AttrCount(); ++i) {
    if (object->IsAttributeReadOnly(i)) continue;
    names += (names.empty() ? "" : ", ") + object->AttrName(i);
  }
  throw Exception(Format("a %s has no attribute \"%s\" that can be written; it has\n  %s",
                         KindName(*change.table), name,
                         JoinText(WrapLine(names, kMessageWidth), "\n  ")));
}

void Write(TplPerObject* object, const TObjectChange& change) {
  // The program's own business, not the user's.
  object->SetReadOnlyFields({"ID", "UUID", "ACTIVE", "DATUMIPL", "USER_IPL"}, true);
  for (const auto& [name, value] : change.values) {
    if (object->aiObjectMetaData()->GetAttrIndex(name) < 0) RefuseAttribute(object, change, name);
    object->SetAttrValue(name, value);  // what is not valid keeps the object from being saved
  }
  object->SaveData();
}

std::vector<std::string> Texts(TplPerObject* object) {
  std::vector<std::string> texts;
  for (int i = 0; i < object->AttrCount(); ++i) {
    texts.push_back(object->GetAttrValue(object->AttrName(i)));
  }
  return texts;
}

void PrintDifferences(const std::vector<std::string>& before, TplPerObject* now) {
  TTextTable table({{"attribute"}, {"label"}, {"before"}, {"now"}});
  const std::vector<std::string> after = Texts(now);
  for (std::size_t i = 0; i < before.size() && i < after.size(); ++i) {
    if (before[i] == after[i]) continue;
    const auto index = static_cast<int>(i);
    table.Add({now->AttrName(index),
               now->aiObjectMetaData()->GetAttrPropertiesByIndex(index).sDispLabel, before[i],
               after[i]});
  }
  PrintLines(table.Lines());
}

std::string Named(const TObjectChange& change, const std::string& id) {
  return KindName(*change.table) + " " + id;
}

}  // namespace

void Edit(const std::string& databaseFile, const TObjectChange& change) {
  const TSqliteDatabase database = Open(databaseFile, change);
  THold<> object = FetchObject(*change.table, change.id);
  const std::vector<std::string> before = Texts(object.Get());
  Do(databaseFile, Named(change, change.id) + " stays as it was",
     [&] { Write(object.Get(), change); });
  TellWarnings();
  object = THold<>();
  object = FetchObject(*change.table, change.id);
  std::cout << Named(change, change.id) << ": " << object->GetTextDescription();
  if (Texts(object.Get()) == before) {
    std::cout << "\n\nThese are the values that it has: nothing was written.\n";
    return;
  }
  std::cout << "\n\n";
  PrintDifferences(before, object.Get());
}

void New(const std::string& databaseFile, const TObjectChange& change) {
  const TSqliteDatabase database = Open(databaseFile, change);
  const std::string kind = KindName(*change.table);
  std::string id;
  Do(databaseFile, "no new " + kind + " was saved", [&] {
    const THold<> object = NewOf<>(ProviderOf(*change.table));
    Write(object.Get(), change);
    id = object->GetGID();
  });
  TellWarnings();
  const THold<> object = FetchObject(*change.table, id);
  std::cout << kind << ' ' << id << ": " << object->GetTextDescription() << "\n\n";
  PrintLines(AttributeTable(object.Get()));
}

void Delete(const std::string& databaseFile, const TObjectChange& change) {
  const TSqliteDatabase database = Open(databaseFile, change);
  const THold<> object = FetchObject(*change.table, change.id);
  const std::string text = object->GetTextDescription();
  Do(databaseFile, Named(change, change.id) + " stays as it was", [&] { object->DeleteObject(); });
  std::cout << Named(change, change.id) << ": " << text << '\n';
  const bool isThere = object->aiProvider()->ExistsInDatabase(change.id) ==
                       TIObjectExistsInDatabaseResult::edDeleted;
  std::cout << (isThere ? "It is deactivated: its row stays, and is passed over from now on.\n"
                        : "Its row is gone.\n");
}

}  // namespace ward
