#include "perlayer/platform/TStringList.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "perlayer/platform/Exception.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

// Order, look-up and duplicates are tested with TTextList, which does that work.

class TStringListTest : public testing::Test {
 protected:
  static std::vector<std::string> Texts(const TStringList& list) {
    std::vector<std::string> texts;
    for (int i = 0; i < list.Count(); ++i) texts.push_back(list.Strings(i));
    return texts;
  }
  std::vector<std::string> Texts() const { return Texts(*list); }
  void Fill(const std::vector<std::string>& texts) {
    list->Clear();
    list->AddStrings(texts);
  }
  // How often OnChange came while the operation ran.
  template <class TOperation>
  int Changes(const TOperation& operation) {
    int changes = 0;
    list->OnChange(TNotifyEvent::From([&](TObject* sender) {
      EXPECT_EQ(sender, list.Get());
      ++changes;
    }));
    operation();
    list->OnChange(nullptr);
    return changes;
  }

  TOwned<TStringList> list = Make<TStringList>();
};

using TTexts = std::vector<std::string>;

TEST_F(TStringListTest, ObjectsAreHandlesThatNeverDangle) {
  auto lasting = Make<TStringList>();
  auto passing = Make<TStringList>();
  list->AddObject("b", passing.Get());
  list->AddObject("a", lasting.Get());
  list->Add("c");
  list->Sorted(true);
  EXPECT_EQ(list->Objects(0), lasting.Get()) << "objects go with their texts";
  EXPECT_EQ(list->IndexOfObject(passing.Get()), 1);
  passing.Reset();
  EXPECT_EQ(list->Objects(1), nullptr);
  EXPECT_FALSE(list->ObjectHandle(1).IsNil()) << "a dead object is told from none";
}

TEST_F(TStringListTest, RefusalsSayWhy) {
  Fill({"b", "a"});
  EXPECT_EQ(Raised([&] { list->Strings(2); }), "List index out of bounds (2)");
  int index;
  EXPECT_EQ(Raised([&] { list->Find("a", index); }), "Operation not allowed on unsorted list");
  list->Sorted(true);
  EXPECT_EQ(Raised([&] { list->Insert(0, "x"); }), "Operation not allowed on sorted list");
  list->Duplicates(TDuplicates::dupError);
  EXPECT_EQ(Raised([&] { list->Add("A"); }), "String list does not allow duplicates");
  EXPECT_EQ(Raised([&] { list->Text("x\ny\nX\n"); }), "String list does not allow duplicates");
  EXPECT_EQ(Texts(), (TTexts{"a", "b"})) << "a setter that raises leaves the list";
  EXPECT_EQ(Raised([&] {
              list->AddStrings({"c", "B", "d"});
            }),
            "String list does not allow duplicates");
  EXPECT_EQ(Texts(), (TTexts{"a", "b", "c"}));
}

TEST_F(TStringListTest, NamesAndValues) {
  Fill({"plain", "Name=Ana", "EMPTY=", "formula=a=b", "šifra=7"});
  EXPECT_EQ(list->Values("NAME"), "Ana");
  EXPECT_EQ(list->IndexOfName("plain"), -1);
  EXPECT_EQ(list->IndexOfName("empty"), 2);
  EXPECT_EQ(list->Names(3), "formula");

  list->Objects(1, list.Get());
  list->Values("name", "Eva");
  list->Values("new", "x");
  list->Values("EMPTY", "");
  list->Values("absent", "");
  EXPECT_EQ(Texts(), (TTexts{"plain", "name=Eva", "formula=a=b", "šifra=7", "new=x"}));
  EXPECT_EQ(list->Objects(1), list.Get());

  list->CaseSensitive(true);
  EXPECT_EQ(list->Values("NAME"), "Eva") << "names have no case";
  list->Sorted(true);
  EXPECT_THROW(list->Values("name", "Iva"), EListError);
  list->Values("added", "1");
  EXPECT_EQ(list->Strings(0), "added=1");
}

TEST_F(TStringListTest, TextReadsEveryLineEnd) {
  list->Text("one\r\ntwo\rthree\n\n\r\nsix");
  EXPECT_EQ(Texts(), (TTexts{"one", "two", "three", "", "", "six"}));
  EXPECT_EQ(list->Text(), "one\r\ntwo\r\nthree\r\n\r\n\r\nsix\r\n");
  list->Text(std::string_view(list->Strings(2)).substr(2));  // a view into the list itself
  EXPECT_EQ(Texts(), TTexts{"ree"});
}

TEST_F(TStringListTest, DelimitedTextTraps) {
  struct TCase {
    const char* text;
    TTexts loose, strict;
  };
  const TCase cases[] = {
      {"", {}, {}},
      {" a , b ", {"a", "b"}, {" a ", " b "}},
      {"a,", {"a", ""}, {"a", ""}},
      {"a, ", {"a", ""}, {"a", " "}},
      {R"("say ""no""")", {R"(say "no")"}, {R"(say "no")"}},
      {R"("a"b)", {"a", "b"}, {"a", "b"}},
      {R"(a"b c")", {R"(a"b)", R"(c")"}, {R"(a"b c")"}},
      {R"("open, end)", {"open, end"}, {"open, end"}},
  };
  for (const TCase& each : cases) {
    SCOPED_TRACE(each.text);
    list->StrictDelimiter(false);
    list->DelimitedText(each.text);
    EXPECT_EQ(Texts(), each.loose);
    list->StrictDelimiter(true);
    list->DelimitedText(each.text);
    EXPECT_EQ(Texts(), each.strict);
    list->CommaText(each.text);
    EXPECT_EQ(Texts(), each.loose) << "a comma text splits at blanks whatever the settings";
  }
  list->StrictDelimiter(false);
  list->Delimiter(' ');
  list->DelimitedText("  one   two ");
  EXPECT_EQ(Texts(), (TTexts{"one", "two"}));

  Fill({"plain", "two words", "", "čas", R"(a"b)", "x,y", "tab\t"});
  EXPECT_EQ(list->CommaText(), "plain,\"two words\",,čas,\"a\"\"b\",\"x,y\",\"tab\t\"");
  list->Delimiter(';');
  list->QuoteChar('\'');
  EXPECT_EQ(list->DelimitedText(), "plain;'two words';;čas;a\"b;x,y;'tab\t'");
  list->QuoteChar(0);
  EXPECT_EQ(list->DelimitedText(), "plain;two words;;čas;a\"b;x,y;tab\t");
  Fill({""});
  EXPECT_EQ(list->CommaText(), R"("")");
}

// Whatever bytes the items hold, what is written reads back; and whatever bytes are read, reading
// ends in items that are written and read the same.
TEST_F(TStringListTest, DelimitedTextRoundTripFuzz) {
  const std::string alphabet = std::string("ab,;\"' \t\r\n\x01\x7f=\xc4\x8d\xff") + '\0';
  for (unsigned seed = 1; seed <= 3000 && !HasFailure(); ++seed) {
    std::mt19937 random(seed);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const auto anyText = [&](std::size_t longest) {
      std::string text(below(longest + 1), ' ');
      for (char& c : text) c = alphabet[below(alphabet.size())];
      return text;
    };
    SCOPED_TRACE("seed " + std::to_string(seed));
    list->Delimiter(",; \t"[below(4)]);
    list->QuoteChar("\"'"[below(2)]);
    list->StrictDelimiter(below(2) == 0);

    TTexts items(below(5));
    for (std::string& item : items) item = anyText(4);
    Fill(items);
    list->DelimitedText(list->DelimitedText());
    EXPECT_EQ(Texts(), items);
    list->CommaText(list->CommaText());
    EXPECT_EQ(Texts(), items);

    list->DelimitedText(anyText(20));
    const TTexts read = Texts();
    list->DelimitedText(list->DelimitedText());
    EXPECT_EQ(Texts(), read);
  }
}

TEST_F(TStringListTest, AssignAndAddStrings) {
  auto object = Make<TStringList>();
  auto other = Make<TStringList>();
  other->Sorted(true);
  other->Duplicates(TDuplicates::dupAccept);
  other->CaseSensitive(true);
  other->Delimiter('|');
  other->AddObject("b", object.Get());
  other->Add("B");
  list->Assign(*other);
  EXPECT_TRUE(list->Equals(*other));
  EXPECT_TRUE(list->Sorted() && list->CaseSensitive());
  EXPECT_EQ(list->DelimitedText(), "B|b");
  EXPECT_EQ(list->Objects(1), object.Get());
  list->AddStrings(*list);
  EXPECT_EQ(Texts(), (TTexts{"B", "B", "b", "b"}));
  EXPECT_EQ(list->Objects(3), object.Get());
  EXPECT_FALSE(list->Equals(*other));
}

TEST_F(TStringListTest, OnChangeFollowsEveryChangeAndNothingElse) {
  const std::function<void()> changes[] = {
      [&] { list->Add("b"); },        [&] { list->Insert(0, "c"); },
      [&] { list->Strings(0, "d"); }, [&] { list->Objects(0, list.Get()); },
      [&] { list->Exchange(0, 1); },  [&] { list->Move(0, 1); },
      [&] { list->Sorted(true); },    [&] { list->CaseSensitive(true); },
      [&] { list->Delete(0); },       [&] { list->CommaText("x,y,z"); },
  };
  for (const auto& change : changes) EXPECT_EQ(Changes(change), 1) << &change - changes;
  EXPECT_EQ(Changes([&] {
              list->Add("x");  // there already
              list->Sorted(true);
              list->Sort();
              list->Sorted(false);
              list->CaseSensitive(false);
              list->Values("absent", "");
              EXPECT_THROW(list->Delete(3), EListError);
              list->BeginUpdate();
              list->EndUpdate();
            }),
            0);
  EXPECT_EQ(Changes([&] {
              list->BeginUpdate();
              list->BeginUpdate();
              list->Sort();
              list->EndUpdate();
              list->Clear();
              list->EndUpdate();
              list->Clear();
            }),
            1);
  EXPECT_THROW(list->EndUpdate(), EAssertionFailed);
}

TEST_F(TStringListTest, OnChangeMayChangeOrFreeTheListOrRaise) {
  list->OnChange(TNotifyEvent::From([&](TObject*) {
    if (list->Count() < 3) list->Insert(0, "echo");
  }));
  EXPECT_EQ(list->Add("x"), 0) << "the index at which the text was put";
  EXPECT_EQ(Texts(), (TTexts{"echo", "echo", "x"}));

  list->OnChange(TNotifyEvent::From([](TObject*) { throw EAbort("seen"); }));
  EXPECT_THROW(list->AddStrings({"y", "z"}), EAbort);
  EXPECT_EQ(list->Count(), 5) << "the change stays made";

  const auto freeing = TNotifyEvent::From([&](TObject*) { list.Reset(); });
  const std::function<void()> operations[] = {
      [&] { list->Add("x"); },
      [&] { list->Text("x\ny"); },
      [&] { list->Values("first", ""); },
      [&] { list->Sort(); },
      [&] {
        list->BeginUpdate();
        list->Delete(0);
        list->EndUpdate();
      },
  };
  for (const auto& operation : operations) {
    list = Make<TStringList>();
    Fill({"first=1", "second=2"});
    list->OnChange(freeing);
    operation();
    EXPECT_FALSE(list);
  }
}

}  // namespace
}  // namespace perlayer
