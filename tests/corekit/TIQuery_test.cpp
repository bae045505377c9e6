#include "perlayer/corekit/TIQuery.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

#include "perlayer/corekit/TDataLink.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

class TIQueryTest : public testing::Test {
 protected:
  TIQueryTest() {
    FDatabase.emplace("_QOR", FDirectory.File("test.db"));
    Run("create table T (ID NUMBER, NAME VARCHAR2(5), BORN DATE, NOTES CLOB, PICTURE BLOB)");
    Run("insert into T (ID, NAME, BORN, NOTES) values (1, 'Ana', 45000.25, 'a')");
    Run("insert into T (ID, NAME) values (2, 'Bor')");
    Run("insert into T (ID, NAME) values (3, 'Žiga')");
    FDatabase->Get()->Commit("fixture");
  }

  void Run(std::string_view sql) { FDatabase->Execute(sql); }
  TOwned<TIQuery> Query(std::string_view sql) {
    auto query = Make<TIQuery>();
    query->DatabaseName("_qor");
    query->SQLText(sql);
    return query;
  }
  TOwned<TIQuery> Opened(std::string_view sql) {
    auto query = Query(sql);
    query->Open();
    return query;
  }
  // The values of the first column from the current row on, joined.
  static std::string Rest(TIQuery& query) {
    std::string text;
    for (; !query.Eof(); query.Next()) text += query.Fields(0)->AsString() + " ";
    return text;
  }
  // The words of what `body` raises, without code and statement.
  template <class TBody>
  static std::string Said(TBody body) {
    const std::string message = Raised(body);
    return message.substr(0, message.find(" (code"));
  }

  TTempDir FDirectory;
  std::optional<TSqliteDatabase> FDatabase;
};

TEST_F(TIQueryTest, AChangedTextClosesTheQueryAndParametersKeepTheirValuesByName) {
  const auto query = Query("select ID from T where\r\nID >= :LOW\r\nand ID < :HIGH or ID = :low");
  ASSERT_EQ(query->ParamCount(), 2) << "one for each name, in any case";
  query->ParamByName("high").AsFloat(3);
  query->Params(0).AsString("2");
  query->Params(0).DataType(TFieldType::ftFloat);
  query->Open();
  EXPECT_EQ(Rest(*query), "2 ");

  query->SQL()->Strings(2, "and ID < :TOP and ID < :HIGH and ID >= :Low");
  EXPECT_FALSE(query->Active());
  EXPECT_FALSE(query->Prepared());
  ASSERT_EQ(query->ParamCount(), 3);
  EXPECT_EQ(query->Params(0).AsString(), "2");
  EXPECT_EQ(query->Params(0).DataType(), TFieldType::ftFloat);
  EXPECT_EQ(query->ParamByName("HIGH").Number(), 3);
  EXPECT_EQ(Said([&] { query->Open(); }), "Parameter 'TOP' has no value");
  EXPECT_FALSE(query->Active());
  query->ParamByName("TOP").Clear();
  query->Open();
  EXPECT_TRUE(query->IsEmpty()) << "null is a value, and nothing compares with it";

  // The same lines again are a change too; another name is another session.
  query->SQL()->Strings(1, query->SQL()->Strings(1));
  EXPECT_FALSE(query->Active());
  query->Open();
  query->DatabaseName("OTHER");
  EXPECT_FALSE(query->Active());
  EXPECT_EQ(Said([&] { query->Open(); }), "There is no database named 'OTHER'");
  EXPECT_EQ(query->FindParam("NONE"), nullptr);
  EXPECT_EQ(Said([&] { query->ParamByName("NONE"); }), "Parameter 'NONE' not found");
  EXPECT_EQ(Said([&] { query->Params(3); }), "Parameter index out of bounds (3)");
}

// A run goes on with the values that it was opened with, whatever becomes of the parameters.
TEST_F(TIQueryTest, AParameterChangedInAnOpenQueryWaitsForTheNextOpening) {
  const auto query = Query("select NAME from T where NAME || '' <> :N");
  for (const bool longText : {false, true}) {
    query->Params(0).AsString(longText ? std::string(1000, 'x') : "Bor");
    query->Open();
    query->Params(0).AsString(longText ? "Bor" : std::string(2000, 'y'));
    EXPECT_EQ(Rest(*query), longText ? "Ana Bor Žiga " : "Ana Žiga ");
    query->Close();
  }
  query->Open();
  EXPECT_EQ(Rest(*query), "Ana Žiga ");
}

TEST_F(TIQueryTest, AClosedQueryRefusesAndFieldsLiveAsLongAsItIsOpen) {
  const auto query = Query("select ID from T order by ID");
  for (const auto& operation :
       {+[](TIQuery& q) { q.Next(); }, +[](TIQuery& q) { q.First(); },
        +[](TIQuery& q) { q.Last(); }, +[](TIQuery& q) { (void)q.Eof(); },
        +[](TIQuery& q) { q.GetBookmark(); }, +[](TIQuery& q) { q.Refresh(); }}) {
    EXPECT_EQ(Said([&] { operation(*query); }),
              "Cannot perform this operation on a closed data set");
  }
  query->Open();
  EXPECT_EQ(Rest(*query), "1 2 3 ");
  EXPECT_EQ(query->Fields(0)->AsString(), "") << "behind the last row there are no values";
  TField* const field = query->Fields(0);
  query->First();
  EXPECT_EQ(query->Fields(0), field);
  query->Close();
  EXPECT_EQ(query->FieldCount(), 0) << "fields made by opening go with closing";
}

// Writes, Commit and Rollback of the session in the midst of a run, kept and not: it gives the rows
// as they were when it began.
TEST_F(TIQueryTest, ARunGoesOnUnchangedAcrossTransactions) {
  for (const bool kept : {false, true}) {
    const auto query = Opened("select ID, NAME from T where ID <= 3 order by ID");
    const auto link = Make<TDataLink>();
    if (kept) link->DataSet(query.Get());
    const TBookmark first = query->GetBookmark();
    Run("update T set NAME = 'x'");
    query->Next();
    EXPECT_EQ(query->Fields(1)->AsString(), "Bor");
    FDatabase->Get()->Rollback("test");
    Run("delete from T");
    query->Next();
    EXPECT_EQ(query->Fields(1)->AsString(), "Žiga");
    FDatabase->Get()->Commit("test");
    query->Next();
    EXPECT_TRUE(query->Eof());
    if (kept) {
      query->Prior();
      EXPECT_EQ(query->Fields(1)->AsString(), "Bor") << "kept, although it is gone";
      query->GotoBookmark(first);
      EXPECT_EQ(query->Fields(1)->AsString(), "Ana");
      query->Refresh();
    } else {
      query->First();
    }
    EXPECT_TRUE(query->IsEmpty());
    Run("insert into T (ID, NAME) values (1, 'Ana')");
    Run("insert into T (ID, NAME) values (2, 'Bor')");
    Run("insert into T (ID, NAME) values (3, 'Žiga')");
    FDatabase->Get()->Commit("test");
  }
}

// What was passed before anybody wanted to go back is read anew, up to the row where keeping began;
// that one and all behind it stay as they were.
TEST_F(TIQueryTest, GoingBackReadsThePassedRowsAndKeepsTheOthers) {
  for (int i = 4; i <= 8; ++i) Run(Format("insert into T (ID, NAME) values (%d, 'n')", i));
  for (const char* change :
       {"update T set NAME = NAME", "delete from T where ID = 1", "delete from T where ID > 5",
        "insert into T (ID) values (0.5)", "delete from T"}) {
    SCOPED_TRACE(change);
    FDatabase->Get()->Commit("test");
    const auto query = Opened("select ID from T order by ID");
    query->MoveBy(4);
    Run(change);
    query->Prior();
    const std::string before = Said([&] {
      while (!query->Bof()) query->Prior();
    });
    EXPECT_EQ(before, "");
    const auto expected = Query("select ID from T where ID < 5 order by ID");
    expected->Open();
    const std::string passed = Rest(*expected);
    query->First();
    EXPECT_EQ(query->RecNo(), 1);
    EXPECT_EQ(Rest(*query), passed + "5 6 7 8 ");
    FDatabase->Get()->Rollback("test");
  }
}

// The second row cannot be read: to_date fails on it.
TEST_F(TIQueryTest, ARowThatCannotBeReadEndsTheRun) {
  Run("update T set NAME = '1.1.' where ID <> 2");
  const auto query = Opened("select ID, to_date(NAME || '2000', 'dd.mm.yyyy') from T where ID < 4");
  EXPECT_THROW(query->Next(), EDatabaseError);
  EXPECT_TRUE(query->Eof());
  EXPECT_NO_THROW(query->Next());
  EXPECT_EQ(query->Fields(0)->AsString(), "") << "no row, no values";
  query->Prior();
  for (int i = 0; i < 2; ++i) {
    EXPECT_THROW(query->Next(), EDatabaseError) << "where rows are kept, it is told each time";
    EXPECT_EQ(query->Fields(0)->AsString(), "1");
  }
  query->Close();
  query->Open();
  EXPECT_THROW(query->Last(), EDatabaseError);
  EXPECT_EQ(query->Fields(0)->AsString(), "1");
  Run("update T set NAME = '2.2.' where ID = 2");
  query->Refresh();
  EXPECT_EQ(Rest(*query), "1 2 3 ");
}

TEST_F(TIQueryTest, QueriesOfOneTextRunSideBySide) {
  const std::string sql = "select ID from T where ID > :N order by ID";
  const auto outer = Query(sql);
  outer->Params(0).AsFloat(0);
  std::string seen;
  for (outer->Open(); !outer->Eof(); outer->Next()) {
    seen += outer->Fields(0)->AsString() + "(";
    auto inner = Make<TIQuery>();
    inner->AssignSQL(*outer);
    EXPECT_EQ(inner->Statement(), outer->Statement()) << "one parse";
    EXPECT_FALSE(inner->Params(0).Kind() != TIParam::TKind::unbound) << "values are not copied";
    inner->Params(0).AsFloat(outer->Fields(0)->AsFloat());
    for (inner->Open(); !inner->Eof(); inner->Next()) {
      auto innermost = Query(sql);
      innermost->Params(0).AsFloat(inner->Fields(0)->AsFloat());
      innermost->Open();
      seen += inner->Fields(0)->AsString() + ":" + Rest(*innermost);
    }
    seen += ")";
  }
  EXPECT_EQ(seen, "1(2:3 3:)2(3:)3()");
}

TEST_F(TIQueryTest, TheDatabaseMayGoWhileQueriesAreOpen) {
  Run("delete from T where ID = 3");
  const auto reading = Opened("select NAME from T order by ID");
  const auto same = Opened("select NAME from T order by ID");
  const auto prepared = Query("update T set NAME = NAME");
  prepared->Prepare();
  reading->Next();
  EXPECT_EQ(reading->Fields(0)->AsString(), "Bor");
  FDatabase.reset();
  EXPECT_FALSE(reading->Active());
  EXPECT_FALSE(prepared->Prepared());
  EXPECT_EQ(Said([&] { reading->Next(); }), "Cannot perform this operation on a closed data set");
  EXPECT_EQ(Said([&] { prepared->ExecSQL(); }), "There is no database named '_qor'");
  FDatabase.emplace("_QOR", FDirectory.File("test.db"));
  reading->Open();
  EXPECT_EQ(Rest(*reading), "Ana Bor Žiga ") << "what had not been committed was rolled back";
}

TEST_F(TIQueryTest, FieldsAreMadeFromColumnsOrBoundToThemByName) {
  const auto query = Opened("select ID, NAME, ID + 1 as ID, NAME as ID_1, BORN from T order by 1");
  std::string names;
  for (int i = 0; i < query->FieldCount(); ++i) {
    names += query->Fields(i)->FieldName() + "=" + query->Fields(i)->AsString() + ";";
    EXPECT_EQ(query->Fields(i)->FieldNo(), i + 1);
  }
  EXPECT_EQ(names, "ID=1;NAME=Ana;ID_1=2;ID_1_1=Ana;BORN=15.03.2023 06:00:00;");
  EXPECT_EQ(query->FieldByName("born")->DataType(), TFieldType::ftDateTime);
  EXPECT_EQ(Said([&] { query->FieldByName("NONE"); }), "TIQuery: Field 'NONE' not found");
  EXPECT_EQ(Said([&] { query->Fields(5); }), "Field index out of bounds (5)");

  const auto persistent = Query("select NAME, ID, BORN from T order by ID");
  TField* calculated = NewField(persistent.Get(), TFieldType::ftFloat, "AGE", 0);
  calculated->Calculated(true);
  TField* id = NewField(persistent.Get(), TFieldType::ftInteger, "id", 0);
  TField* name = NewField(persistent.Get(), TFieldType::ftString, "Name", 60);
  TField* none = NewField(persistent.Get(), TFieldType::ftMemo, "NONE", 0);
  EXPECT_EQ(Said([&] { NewField(persistent.Get(), TFieldType::ftFloat, "NAME", 0); }),
            "Duplicate field name 'NAME'");
  EXPECT_EQ(calculated->FieldNo(), 0);
  EXPECT_EQ(id->FieldNo(), 1) << "calculated fields are not counted";
  for (int round = 0; round < 2; ++round) {
    persistent->Open();
    EXPECT_EQ(persistent->FieldCount(), 4);
    EXPECT_EQ(id->AsString() + name->AsString(), "1Ana");
    EXPECT_EQ(Said([&] { none->AsString(); }), "Field 'NONE' is no column of the query");
    EXPECT_EQ(Said([&] { none->IsNull(); }), "Field 'NONE' is no column of the query");
    EXPECT_EQ(Said([&] { NewField(persistent.Get(), TFieldType::ftFloat, "X", 0); }),
              "Fields cannot be added to an open data set");
    if (round == 0) persistent->SQLText("select BORN, ID, NAME from T order by ID");
  }
  calculated->Free();  // the others move up while the query is open
  EXPECT_EQ(id->AsString() + name->AsString(), "1Ana");
}

TEST_F(TIQueryTest, ATextIsCutToItsFieldWithoutSplittingACharacter) {
  const std::string text = "aščž€𝄞đ日本é";
  const auto query = Query("select '" + text + text + text + "' as A from dual");
  for (int size = 1; size <= 12; ++size) {
    TField* field = NewField(query.Get(), TFieldType::ftString, "A", size);
    query->Open();
    const std::string cut = field->AsString();
    EXPECT_LE(cut.size(), 4u * static_cast<unsigned>(size));
    EXPECT_GE(cut.size() + 3,
              std::min<std::size_t>(4u * static_cast<unsigned>(size), 3 * text.size()));
    EXPECT_EQ((text + text + text).substr(0, cut.size()), cut);
    EXPECT_EQ(CutToBytes(cut, cut.size()), cut);
    std::vector<char> buffer(static_cast<std::size_t>(field->DataSize()), 'x');
    EXPECT_TRUE(query->GetFieldData(field, buffer.data()));
    EXPECT_EQ(buffer[cut.size()], '\0');
    query->Close();
    field->Free();
  }
}

TEST_F(TIQueryTest, EventsMayOpenCloseRefuseAndFree) {
  auto query = Query("select ID from T");
  query->BeforeOpen(TNotifyEvent::From([](TObject*) { throw EAbort("not now"); }));
  EXPECT_THROW(query->Open(), EAbort);
  EXPECT_FALSE(query->Active());
  int opened = 0;
  query->BeforeOpen(TNotifyEvent::From([&](TObject* sender) {
    query->BeforeOpen(nullptr);
    static_cast<TIQuery*>(sender)->Open();
  }));
  query->AfterOpen(TNotifyEvent::From([&](TObject*) { ++opened; }));
  query->Open();
  EXPECT_EQ(opened, 1);
  query->Close();
  query->AfterOpen(
      TNotifyEvent::From([](TObject* sender) { static_cast<TIQuery*>(sender)->Close(); }));
  query->Open();
  EXPECT_FALSE(query->Active());
  query->AfterOpen(TNotifyEvent::From([&](TObject*) { query.Reset(); }));
  query->Open();
  EXPECT_FALSE(query);
  query = Opened("select ID from T");
  query->BeforeClose(TNotifyEvent::From([](TObject*) { throw EAbort("not now"); }));
  EXPECT_THROW(query->Close(), EAbort);
  EXPECT_TRUE(query->Active());
  query->SQLText("select NAME from T");
  EXPECT_FALSE(query->Active()) << "another statement is nothing that an event can forbid";
  query->BeforeOpen(TNotifyEvent::From([&](TObject*) { query.Reset(); }));
  query->Open();
  EXPECT_FALSE(query);
}

// Buffers, cursor and statement are in use then: nothing can take them away.
TEST_F(TIQueryTest, WhileARowIsFilteredOrCalculatedItsStatementStays) {
  const auto query = Query("select ID from T order by ID");
  const auto other = Query("select 1 from dual");
  NewField(query.Get(), TFieldType::ftInteger, "ID", 0);
  NewField(query.Get(), TFieldType::ftInteger, "CALC", 0)->Calculated(true);
  query->Open();
  int looks = 0;
  const auto link = Make<TDataLink>();
  const auto attempt = [&] {
    ++looks;
    const std::string text = query->SQLText();
    for (const std::function<void()>& change : std::initializer_list<std::function<void()>>{
             [&] { query->SQL()->Add("-- more"); }, [&] { query->SQLText("select 2 from dual"); },
             [&] { query->AssignSQL(*other); }, [&] { query->DatabaseName("OTHER"); },
             [&] { FDatabase->Get()->Destroy(); }}) {
      EXPECT_EQ(Said(change),
                "A statement cannot be changed while one of its rows is filtered or calculated");
    }
    EXPECT_NE(Said([&] { query->ExecSQL(); }), "");
    query->ReleaseStatement();
    EXPECT_TRUE(query->Prepared());
    EXPECT_EQ(query->SQLText(), text);
    if (!link->Active()) return;
    EXPECT_NE(Said([&] { link->BufferCount(9); }), "");
    link->BufferCount(1);
  };
  query->OnCalcFields(TNotifyEvent::From([&](TObject*) {
    attempt();
    query->FieldByName("CALC")->AsFloat(query->FieldByName("ID")->AsFloat() * 2);
  }));
  EXPECT_EQ(query->FieldByName("CALC")->AsInteger(), 2) << "also set while rows are read directly";
  link->BufferCount(3);
  link->DataSet(query.Get());
  query->OnFilterRecord(TFilterRecordEvent::From([&](TDataSet* data, bool& accept) {
    attempt();
    accept = data->FieldByName("ID")->AsInteger() != 2;
  }));
  const TBookmark first = query->GetBookmark();
  query->Filtered(true);
  EXPECT_GE(looks, 6);
  EXPECT_EQ(Rest(*query), "1 3 ");
  link->BufferCount(2);
  EXPECT_EQ(link->RecordCount(), 2);
  query->GotoBookmark(first);
  EXPECT_EQ(query->FieldByName("CALC")->AsInteger(), 2);
  query->SQLText("select ID from T where ID = 3");
  EXPECT_FALSE(query->Active()) << "between rows it can be changed";
  query->Open();
  EXPECT_EQ(Rest(*query), "3 ");
}

TEST_F(TIQueryTest, BookmarksAndNumbersOfRowsReadDirectlyTakeNoBuffer) {
  const auto query = Opened("select ID from T order by ID");
  query->Next();
  const TBookmark second = query->GetBookmark();
  EXPECT_EQ(query->RecNo(), 2);
  EXPECT_EQ(Rest(*query), "2 3 ");
  EXPECT_EQ(query->Fields(0)->AsString(), "") << "as behind the last of rows read directly";
  query->GotoBookmark(second);
  EXPECT_EQ(query->Fields(0)->AsString(), "2");
  // A parameter asked for by an event of closing is one of the statement that still runs.
  query->SQLText("select ID from T where ID < :A");
  query->Params(0).AsFloat(3);
  query->Open();
  std::string name;
  query->BeforeClose(TNotifyEvent::From([&](TObject*) { name = query->Params(0).Name(); }));
  query->SQLText("select ID from T where ID < :B");
  EXPECT_EQ(name, "A");
  EXPECT_EQ(query->Params(0).Name(), "B");
  query->Params(0).AsFloat(2);
  query->Open();
  query->BeforeClose(TNotifyEvent::From([](TObject*) { throw EAbort("not now"); }));
  EXPECT_THROW(query->ExecSQL(), EAbort);
}

TEST_F(TIQueryTest, ExecutingTellsTheRowsThatChanged) {
  const auto query = Query("update T set NAME = :N where ID > :I");
  query->ParamByName("N").AsString("");
  query->ParamByName("I").AsString("1");
  EXPECT_EQ(query->ExecSQL(), 2);
  EXPECT_TRUE(Opened("select ID from T where NAME is not null and ID > 1")->IsEmpty());
  query->ParamByName("I").AsFloat(17);
  EXPECT_EQ(query->ExecSQL(), 0);
  query->SQLText("insert into T (ID, PICTURE) values (:I, :P)");
  const std::string bytes("\0\xff\x01", 3);
  query->ParamByName("P").AsBlob(bytes);
  EXPECT_EQ(query->ExecSQL(), 1);
  const auto stored = Opened("select PICTURE from T where ID = 17");
  EXPECT_EQ(stored->Fields(0)->AsString(), bytes);
  EXPECT_EQ(stored->Fields(0)->DataType(), TFieldType::ftBlob);

  query->SQLText("update NOTHING set A = 1");
  try {
    query->ExecSQL();
    FAIL();
  } catch (const EDatabaseError& e) {
    EXPECT_NE(e.Statement().find("update NOTHING set A = 1"), std::string::npos);
  }
  query->SQLText("");
  EXPECT_THROW(query->Open(), EDatabaseError) << "an empty statement cannot be said";
}

TEST(TIParam, KeepsWhatItWasGiven) {
  TIParam param("N");
  EXPECT_TRUE(param.IsNull());
  EXPECT_EQ(param.Kind(), TIParam::TKind::unbound);
  param.AsString("abcdef");
  param.AsString(std::string_view(param.Text()).substr(2));
  EXPECT_EQ(param.AsString(), "cdef");
  param.AsFloat(0.1);
  EXPECT_EQ(param.AsString(), "0.1");
  param.AsString("");
  EXPECT_EQ(param.Kind(), TIParam::TKind::null) << "an empty text is no value";
  param.AsBlob("");
  EXPECT_FALSE(param.IsNull());
  param.Clear();
  EXPECT_EQ(param.AsString(), "");
}

// --- fields over values ---

TEST_F(TIQueryTest, ParametersTakeWhatIsReturnedIntoThem) {
  const auto query = Query(
      "begin\nupdate T set PICTURE = empty_blob(), BORN = BORN + 1 where ID = :ID "
      "returning PICTURE, BORN, NAME, NOTES into :PICTURE, :BORN, :NAME, :N;\n"
      "update T set NAME = :NAME where ID = 2; end;");
  query->ParamByName("ID").AsString("1");
  EXPECT_EQ(query->ExecSQL(), 2);
  EXPECT_EQ(query->ParamByName("PICTURE").Kind(), TIParam::TKind::blob);
  EXPECT_EQ(query->ParamByName("BORN").Number(), 45001.25);
  EXPECT_EQ(query->ParamByName("NAME").AsString(), "Ana");
  EXPECT_EQ(Opened("select count(*) from T where NAME = 'Ana'")->Fields(0)->AsFloat(), 2);
  query->ParamByName("ID").AsFloat(99);  // and without a row they take nothing
  EXPECT_EQ(query->ExecSQL(), 1);
  for (const char* name : {"PICTURE", "BORN", "NAME", "N"}) {
    EXPECT_EQ(query->ParamByName(name).Kind(), TIParam::TKind::null) << name;
  }
  const auto unbound = Query("delete from T where ID = :ID returning ID into :X");
  EXPECT_EQ(Said([&] { unbound->ExecSQL(); }), "Parameter 'ID' has no value");
}

TEST_F(TIQueryTest, FieldsReadTheirTypesAndNullsAreNothing) {
  const auto query = Opened("select NAME, ID, BORN, NOTES, PICTURE from T order by ID");
  EXPECT_EQ(query->Fields(1)->AsVariant(), Variant(1.0));
  EXPECT_EQ(query->Fields(2)->AsVariant(), Variant::Date(45000.25));
  EXPECT_EQ(query->Fields(3)->AsVariant(), Variant("a"));
  EXPECT_EQ(query->Fields(1)->AsInteger(), 1);
  EXPECT_TRUE(query->Fields(3)->IsBlob());
  EXPECT_EQ(query->Fields(0)->Size(), 5);
  EXPECT_EQ(Said([&] { query->Fields(3)->AsFloat(); }),
            "Cannot access field NOTES of class TMemoField as type Float");
  query->Next();
  for (int i = 2; i < 5; ++i) {
    const TField* field = query->Fields(i);
    EXPECT_TRUE(field->IsNull());
    EXPECT_EQ(field->AsString(), "");
    EXPECT_TRUE(field->AsVariant().IsNull());
  }
  EXPECT_EQ(query->Fields(2)->AsDateTime(), 0.0);
  const std::string message = "Field NAME belongs to a data set that cannot be written";
  EXPECT_EQ(Said([&] { query->Fields(0)->AsString("x"); }), message);
  EXPECT_EQ(Said([&] { query->Fields(0)->Clear(); }), message);
  query->Fields(0)->ReadOnly(true);
  query->Fields(0)->DisplayLabel("Ime");
  EXPECT_EQ(Said([&] { query->Fields(0)->AsString("x"); }), "Field Ime cannot be modified");
  query->Fields(0)->EditText("Bo");
  EXPECT_EQ(query->Fields(0)->EditText(), "Bo");
  query->Fields(0)->EndEdit();
  EXPECT_EQ(query->Fields(0)->EditText(), "Bor");
}

TEST_F(TIQueryTest, AValueThatDoesNotConvertNamesItsField) {
  const auto query = Query("select NAME as F from T where ID = 1");
  const auto reads = [&](TFieldType type, auto read) {
    query->Close();
    if (query->FieldCount() > 0) query->Fields(0)->Free();
    TField* field = NewField(query.Get(), type, "F", type == TFieldType::ftString ? 9 : 0);
    query->Open();
    return Said([&] { read(field); });
  };
  using enum TFieldType;
  for (const TFieldType type : {ftString, ftInteger, ftFloat}) {
    EXPECT_NE(reads(type, [](TField* f) { f->AsFloat(); }).find("Field F"), std::string::npos);
    EXPECT_NE(reads(type, [](TField* f) { f->AsInteger(); }).find("Field F"), std::string::npos);
  }
  for (const TFieldType type : {ftString, ftDateTime}) {
    EXPECT_NE(reads(type, [](TField* f) { f->AsDateTime(); }).find("Field F"), std::string::npos);
  }
  Run("update T set NAME = '12'");
  EXPECT_EQ(reads(ftString, [](TField* f) { EXPECT_EQ(f->AsFloat() + f->AsInteger(), 24); }), "");
  EXPECT_EQ(reads(ftInteger, [](TField* f) { EXPECT_EQ(f->AsInteger(), 12); }), "");
  query->SQLText("select 1.6 as F from dual");
  EXPECT_EQ(reads(ftInteger, [](TField* f) { EXPECT_EQ(f->AsInteger(), 2); }), "");
  query->SQLText("select 3000000000 as F from dual");
  EXPECT_NE(reads(ftInteger, [](TField* f) { f->AsInteger(); }).find("Field F"), std::string::npos)
      << "a number beyond the type is no value of it";
}

}  // namespace
}  // namespace perlayer
