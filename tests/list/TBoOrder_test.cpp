#include "perlayer/list/TBoOrder.h"

#include "perlayer/list/QuickSort.h"
#include "perlayer/platform/TCollation.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"
#include "support/PlainSort.h"

namespace perlayer {
namespace {

class TpoCounted : public TpoPatient {
  TCLASS(TpoCounted, TpoPatient)
 public:
  std::string GetAttrValue(const std::string& AName) override {
    ++Reads[AName];
    if (auto act = std::exchange(Act, nullptr)) act();
    return TpoPatient::GetAttrValue(AName);
  }
  std::map<std::string, int> Reads;
  std::function<void()> Act;
};

// The order by its definition: term by term, everything read anew.
int PlainCompare(TplPerObject* a, TplPerObject* b,
                 const std::vector<std::pair<std::string, bool>>& terms) {
  for (const auto& [name, descending] : terms) {
    const auto value = [&name = name](TplPerObject* object) {
      return object == nullptr ? Variant::Null() : object->GetAttrValueAsVariant(name);
    };
    const int order = AnsiCompareVariant(value(a), value(b));
    if (order != 0) return (order < 0) != descending ? -1 : 1;
  }
  return 0;
}

class TOrders : public THospital {
 protected:
  ~TOrders() override {
    for (const TObjectHandle& object : FObjects) {
      if (auto* living = object.GetAs<TplPerObject>()) living->Release(FForm.Get());
    }
  }
  template <class T = TpoPatient>
  T* Add(const std::vector<std::pair<std::string, std::string>>& values) {
    auto* patient = New<T>(FPatients, FForm.Get());
    FObjects.emplace_back(patient);
    patient->Store().InitData();
    for (const auto& [name, value] : values) patient->Store().SetAttrValue(name, value);
    return patient;
  }
  std::vector<TplPerObject*> Sorted(const std::string& order) {
    std::vector<TplPerObject*> sorted;
    for (const TObjectHandle& object : TBoOrder(order).Sorted(FObjects)) {
      sorted.push_back(object.GetAs<TplPerObject>());
    }
    return sorted;
  }
  std::string Names(const std::string& order) {
    std::string names;
    for (TplPerObject* object : Sorted(order)) {
      names += (object == nullptr ? "nil" : object->GetAttrValue("NAME")) + " ";
    }
    return names;
  }

  std::vector<TObjectHandle> FObjects;
};

class TOrderModel : public TOrders, public testing::WithParamInterface<unsigned> {};

TEST_P(TOrderModel, PutsEqualObjectsWhereThePlainSortPutsThem) {
  std::mt19937 random(GetParam());
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const std::vector<std::string> names = {
      "",      "Novak",          "novak",          "Nóvak",
      "Čeh",   "Novak-Kranjc",   "Novak-Kranjec",  "Novak-Žagar",
      "Žagar", "Novak-Kranjc 1", "Novak-Kranjc 2", "žagar"};
  const std::vector<std::string> numbers = {"", "0", "-1.5", "70", "1e9", "-1e9", "70.25"};
  const std::vector<std::string> dates = {"", "1.1.1899", "1.2.1990", "1.2.1990 10:00:00", "x"};
  const char* const attributes[] = {"NAME", "WEIGHT", "BORN", "VISITS", "NOTES", "DESCRIPTION"};
  for (int round = 0; round < ModelSteps(12); ++round) {
    for (const TObjectHandle& object : FObjects) {
      if (auto* living = object.GetAs<TplPerObject>()) living->Release(FForm.Get());
    }
    FObjects.clear();
    const std::size_t count = 1 + below(round % 3 == 0 ? 4 : 150);
    const std::size_t variety = 1 + below(names.size());
    for (std::size_t i = 0; i < count; ++i) {
      if (below(30) == 0) {
        FObjects.emplace_back();
        continue;
      }
      Add({{"NAME", names[below(variety)]},
           {"WEIGHT", numbers[below(numbers.size())]},
           {"BORN", dates[below(dates.size())]},
           {"VISITS", std::to_string(below(9))},
           {"NOTES", names[below(3)]}});
    }
    std::vector<std::pair<std::string, bool>> terms;
    std::string order;
    for (std::size_t i = 0, n = 1 + below(3); i < n; ++i) {
      const bool descending = below(2) == 0;
      terms.emplace_back(attributes[below(std::size(attributes))], descending);
      order += std::string(i == 0          ? ""
                           : below(2) == 0 ? ","
                                           : " , ") +
               (descending ? "-" : "") + terms.back().first;
    }
    SCOPED_TRACE(order);
    std::vector<TplPerObject*> expected;
    for (const TObjectHandle& object : FObjects) expected.push_back(object.GetAs<TplPerObject>());
    TplPerObject* const first = expected.front();
    TplPerObject* const last = expected.back();
    PlainQuickSort(expected,
                   [&](TplPerObject* a, TplPerObject* b) { return PlainCompare(a, b, terms); });
    ASSERT_EQ(Sorted(order), expected);
    EXPECT_EQ(CompareByOrder(first, last, order), PlainCompare(first, last, terms));
  }
}
INSTANTIATE_TEST_SUITE_P(Seeds, TOrderModel, testing::Range(1u, 4u));

TEST_F(TOrders, ReadEachValueOnceAndOnlyWhereItDecides) {
  auto* a = Add<TpoCounted>({{"NAME", "A"}, {"NOTES", "2"}});
  auto* b = Add<TpoCounted>({{"NAME", "B"}, {"NOTES", "1"}});
  auto* c = Add<TpoCounted>({{"NAME", "C"}, {"NOTES", "0"}});
  EXPECT_EQ(Sorted("NAME,NOTES"), (std::vector<TplPerObject*>{a, b, c}));
  for (TpoCounted* object : {a, b, c}) EXPECT_EQ(object->Reads["NAME"], 1);
  EXPECT_EQ(b->Reads["NOTES"], 1) << "it was compared to itself";
  a->Reads.clear();
  EXPECT_LT(CompareByOrder(a, b, "NAME,NOTES"), 0);
  EXPECT_EQ(a->Reads["NOTES"], 0);
  EXPECT_EQ(Raised([&] { Sorted("-NAME,MISSING"); }),
            "CalcAttributes: Provider TplPatient: Attribute MISSING found.");
  EXPECT_EQ(Raised([&] { Sorted("-NAME,@MISSING"); }),
            "TboDataSet: Field 'MISSING' not found (code 0)");
}

TEST_F(TOrders, StandObjectsThatGoWhileTheyAreRead) {
  Add<TpoCounted>({{"NAME", "B"}});
  auto* meddler = Add<TpoCounted>({{"NAME", "A"}});
  auto* going = Add<TpoCounted>({{"NAME", "C"}});
  meddler->Act = [&] { going->Release(FForm.Get()); };
  EXPECT_EQ(Names("NAME"), "nil A B ");
}

TEST_F(TOrders, ByCodeListsTakeTheirTextsWhereTheAttributeIsACode) {
  for (const char* sql :
       {"create table OMRA.SIFRANTI (NAME varchar2(30), TABLE_NAME varchar2(30), LIST_FIELD "
        "varchar2(30), CODE_FIELD varchar2(30), SHORT_FIELD varchar2(30), DESC_FIELD varchar2(30), "
        "PARAMS_FIELD varchar2(30), ACTIVE_FIELD varchar2(30), TRASHOLD number(3), START_ORDER "
        "varchar2(30))",
        "create table OMRA.WARDS (ID varchar2(5), CODE varchar2(5), NAZIV varchar2(30))",
        "insert into OMRA.SIFRANTI values ('WARD', 'WARDS', null, 'ID', 'CODE', 'NAZIV', null, "
        "null, 3, null)",
        "insert into OMRA.WARDS values ('1', 'B', 'Čakalnica')",
        "insert into OMRA.WARDS values ('2', 'A', 'Žile')",
        "insert into OMRA.WARDS values ('3', 'C', 'Cepljenje')"}) {
    Execute(sql);
  }
  for (const char* code : {"1", "2", "3"}) {
    Add({{"NAME", code}, {"SEX", code}, {"WEIGHT", std::string("1") + code}});
  }
  Add({{"NAME", "9"}, {"SEX", "9"}});
  TField* const sex = FMap->GetQuery("quPatient")->FieldByName("SEX");
  const std::string validString = sex->ValidString();
  EXPECT_EQ(Names("@SEX"), "1 2 3 9 ") << "of a shared list no text is taken";
  sex->ValidString(ValidInfo2ValidString({"S", "Oddelek", 3, false, "WARD"}));
  EXPECT_EQ(Names("@SEX"), "9 3 1 2 ");
  EXPECT_EQ(Names("-@SEX"), "2 1 3 9 ");
  EXPECT_EQ(Names("-§SEX"), "3 1 2 9 ");
  EXPECT_EQ(Names("@§SEX"), "9 2 1 3 ");
  EXPECT_EQ(Names("@WEIGHT"), "9 1 2 3 ");
  EXPECT_EQ(Raised([&] { Names("@-SEX"); }), "TboDataSet: Field '-SEX' not found (code 0)");
  sex->ValidString(validString);
}

TEST(QuickSort, StaysInItsPartAndComesToAnEndWhateverTheComparisonSays) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    std::vector<int> items(2 + random() % 60);
    for (std::size_t i = 0; i < items.size(); ++i) items[i] = static_cast<int>(i);
    const std::vector<int> before = items;
    // Around the part stands nothing that it may compare.
    QuickSort(std::span(items).subspan(1, items.size() - 2), [&](int a, int b) {
      EXPECT_TRUE(std::min(a, b) > 0 && std::max(a, b) < before.back());
      return round % 3 == 0 ? -1 : round % 3 == 1 ? 1 : static_cast<int>(random() % 3) - 1;
    });
    std::sort(items.begin(), items.end());
    ASSERT_EQ(items, before);
  }
  // Equal items are exchanged as well.
  std::vector<int> equal = {1, 2, 3, 4, 5};
  QuickSort(std::span(equal), [](int, int) { return 0; });
  EXPECT_EQ(equal, (std::vector<int>{4, 5, 3, 1, 2}));
}

}  // namespace
}  // namespace perlayer
