#include "perlayer/provider/TcmpClassMap.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/platform/TSlotTable.h"
#include "perlayer/provider/TILocalizeDisplayLabel.h"
#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

TClassMapBuilder OneQuery(std::string_view sql) {
  TClassMapBuilder builder("one");
  builder.Query("quFoo").Sql(sql).Float("ID");
  return builder;
}

TEST(TcmpClassMap, FindsQueriesInAnyCase) {
  const auto map = Make<TcmpClassMap>(OneQuery("select ID").Build());
  EXPECT_EQ(map->GetQuery("QUFOO")->Name(), "quFoo");
  EXPECT_EQ(Raised([&] { map->GetQuery("quBar"); }), "No query for quBar");
  // Whatever is found first by its name must be a query.
  const auto other =
      Make<TcmpClassMap>(TClassMapBuilder("two").Update("usFoo").Insert("insert").Build());
  EXPECT_THROW(other->GetQuery("USFOO"), EInvalidCast);
}

TEST(TcmpClassMap, EmptiesCommentLinesAndKeepsTheirNumbers) {
  const auto map = Make<TcmpClassMap>(
      OneQuery("select ID\n  -- the table\nfrom T -- stays\n\t--\nwhere\n-ID = :ID").Build());
  const auto lines = [&] {
    const TStringList* sql = map->GetQuery("quFoo")->SQL();
    std::vector<std::string> result;
    for (int i = 0; i < sql->Count(); ++i) result.push_back(sql->Strings(i));
    return result;
  };
  const std::vector<std::string> expected = {"select ID", "",      "from T -- stays",
                                             "",          "where", "-ID = :ID"};
  EXPECT_EQ(lines(), expected);
  // A comment that comes later goes with the next look-up.
  map->GetQuery("quFoo")->SQL()->Strings(4, "-- where");
  EXPECT_EQ(lines()[4], "");
}

TEST(TcmpClassMap, UpdateSqlOfAQueryIsThatOfItsNameAndItsSuffixes) {
  const auto map = Make<TcmpClassMap>(TClassMapBuilder("one")
                                          .Update("usFoo_2")
                                          .Insert("2")
                                          .Update("usFooBar")
                                          .Insert("no")
                                          .Update("usFoo")
                                          .Insert("1")
                                          .Update("usfoo_3")
                                          .Insert("no")
                                          .Update("usFoo_X")
                                          .Delete("X")
                                          .Build());
  const auto names = [&](const char* query) {
    const TOwned<TList> list(map->GetUpdateSQLList(query));
    std::string result;
    for (TObject* item : *list) result += Cast<TIUpdateSQL>(item)->Name() + " ";
    return result;
  };
  EXPECT_EQ(names("quFoo"), "usFoo_2 usFoo usFoo_X ");
  EXPECT_EQ(names("QUFoo"), "usFoo_2 usFoo usFoo_X ");  // the first two characters do not count
  EXPECT_EQ(names("qufoo"), "usfoo_3 ");
  EXPECT_EQ(names("q"), "");
}

TEST(TcmpClassMap, FieldsAreWhatTheMapDeclares) {
  const auto map = Make<TcmpClassMap>(HospitalMap());
  TIQuery* query = map->GetQuery("quPatient");
  EXPECT_EQ(query->Caption(), "Bolnik");
  EXPECT_EQ(query->DatabaseName(), "_QOR");
  EXPECT_EQ(query->FieldByName("sex")->ValidString(), "MS\tSpol\t3\t \tSPO\t\t \t");
  EXPECT_TRUE(query->FieldByName("NAME")->Required());
  EXPECT_EQ(query->FieldByName("ACTIVE")->DisplayLabel(), "ACTIVE");
}

TEST(TcmpClassMap, FaultyDefinitionLeavesNothing) {
  AddClassMap(HospitalMap());
  const auto* loaded = TILocalizeDisplayLabel::Instance();
  const int maps = loaded->LoadedClassMaps().Count();
  const std::int64_t live = TSlotTable::LiveCount();
  TClassMapDefinition definition = HospitalMap();
  definition.queries[1].fields[0].name = "no name";
  EXPECT_THROW(AddClassMap(definition), EClassMapError);
  EXPECT_THROW(LoadClassMap("/no/such.classmap"), Exception);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  EXPECT_EQ(loaded->LoadedClassMaps().Count(), maps);
}

// A map that declares itself, and whose handler fails.
class TFaultyMap : public TcmpClassMap {
  TCLASS(TFaultyMap, TcmpClassMap)
 protected:
  TClassMapDefinition Define() override { return HospitalMap(); }
  void dmIBaseModuleCreate(TObject* Sender) override {
    TcmpClassMap::dmIBaseModuleCreate(Sender);
    throw Exception("the handler failed");
  }
};

TEST(TcmpClassMap, FailingCreateHandlerTakesTheMapBack) {
  TILocalizeDisplayLabel::Instance();
  AddClassMap(HospitalMap());
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_EQ(Raised([] { New<TFaultyMap>(); }), "the handler failed");
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  EXPECT_EQ(TILocalizeDisplayLabel::Instance()->LoadedClassMaps().Count(), 1);
}

}  // namespace
}  // namespace perlayer
