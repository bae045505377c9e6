// Filters by text cases (filters.cases), and random ones against an evaluator that reads the text
// anew for each object. A case needs no compiler:
//
//   NAME = 'X'   => true        for the object that the lines before describe
//   NAME = 'X    -! a part of the message
//
// "@ NAME=X; BORN=1.2.1990" describes the object of the cases behind it, "@ nil" is none.

#include "perlayer/list/TListFilter.h"

#include <fstream>
#include <functional>

#include "perlayer/list/TFilterCode.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"
#include "support/NaiveFilter.h"

namespace perlayer {
namespace {

// Reads in its own way, and notes what it is asked for.
class TpoWatched : public TpoPatient {
  TCLASS(TpoWatched, TpoPatient)
 public:
  std::string GetAttrValue(const std::string& AName) override {
    Read += AName + " ";
    return TpoPatient::GetAttrValue(AName);
  }
  std::string Read;
};

// Does something while DESCRIPTION is asked for; writes to itself unless told otherwise.
class TpoMeddler : public TpoPatient {
  TCLASS(TpoMeddler, TpoPatient)
 public:
  std::string GetCalcAttrValue(const std::string&) override {
    Act();
    return "X";  // the object may have gone
  }
  std::function<void()> Act = [this] { Store().SetAttrValue("NAME", std::string(99, 'n')); };
};

class TFilters : public THospital {
 protected:
  template <class T>
  T* NewPatient(const std::vector<std::pair<std::string, std::string>>& values) {
    auto* patient = New<T>(FPatients, FForm.Get());
    patient->Store().InitData();
    for (const auto& [name, value] : values) patient->Store().SetAttrValue(name, value);
    return patient;
  }
  std::string Answer(TplPerObject* object, const std::string& filter) {
    bool answer = false;
    const std::string message = Raised([&] { answer = FFilter.Evaluate(object, filter); });
    return !message.empty() ? message : answer ? "true" : "false";
  }

  TListFilter FFilter;
};

TEST_F(TFilters, AnswerAsTheTextCasesSay) {
  std::ifstream file(PERLAYER_TESTS_DIR "/list/filters.cases");
  TplPerObject* object = nullptr;
  int cases = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    SCOPED_TRACE(line);
    if (line[0] == '@') {
      if (object != nullptr) object->Release(FForm.Get());
      object = nullptr;
      if (line == "@ nil") continue;
      std::vector<std::pair<std::string, std::string>> values;
      for (const std::string& part : SplitText(line.substr(2), ";")) {
        const std::size_t equals = part.find('=');
        values.emplace_back(Trim(part.substr(0, equals)), part.substr(equals + 1));
      }
      object = NewPatient<TpoPatient>(values);
      continue;
    }
    const std::size_t mark = std::max(line.rfind("=> ") + 1, line.rfind("-! ") + 1);
    ASSERT_GT(mark, 0u);
    const std::string filter(TrimRight(line.substr(0, mark - 1)));
    const std::string expected = line.substr(mark + 2);
    const std::string answer = Answer(object, filter);
    if (line[mark - 1] == '=') {
      EXPECT_EQ(answer, expected);
    } else {
      EXPECT_NE(answer.find("Napačen filter: " + filter + "! (podrobnosti: "), answer.npos)
          << answer;
      EXPECT_NE(answer.find(expected), answer.npos) << answer;
    }
    ++cases;
  }
  EXPECT_GT(cases, 60);
  if (object != nullptr) object->Release(FForm.Get());
}

// Writes filters by the grammar, with words that do not belong there strewn in.
class TWriter {
 public:
  explicit TWriter(std::mt19937& random) : FRandom(random) {}
  std::string Relation(int depth) {
    static const char* const kOperators[] = {"=",  "IS", "LIKE", "<>",   "<=",  "<",
                                             ">=", ">",  "is",   "like", "< >", "'IS'"};
    std::string text = Additive(depth);
    if (Below(3) != 0) text += Stray() + Pick(kOperators) + " " + Additive(depth);
    return text;
  }

 private:
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(FRandom); }
  template <std::size_t N>
  std::string Pick(const char* const (&words)[N]) {
    return words[Below(static_cast<int>(N))];
  }
  std::string Stray() {
    static const char* const kStrays[] = {"NOT", ")", "(", "'", "=",
                                          "AND", "7", "-", ",", "BETWEEN"};
    return Below(40) == 0 ? " " + Pick(kStrays) + " " : " ";
  }
  std::string Additive(int depth) {
    static const char* const kOperators[] = {"OR", "+", "or"};
    std::string text = Conjunction(depth);
    while (Below(5) == 0) text += Stray() + Pick(kOperators) + Stray() + Conjunction(depth);
    return text;
  }
  std::string Conjunction(int depth) {
    std::string text = Factor(depth);
    while (Below(4) == 0) text += Stray() + "AND" + Stray() + Factor(depth);
    return text;
  }
  std::string Factor(int depth) {
    static const char* const kValues[] = {
        "NAME",    "WEIGHT", "VISITS", "BORN",       "NOTES",   "DESCRIPTION",
        "MISSING", "name",   "NULL",   "null",       "'X'",     "'70'",
        "''",      "'%n%'",  "'a%b%'", "'1.2.1990'", "'it''s'", "70",
        "-5",      "70.5",   "7e1",    "0",          "1",       "99999999999999999999",
        "Č",       "SEX",    "'True'", "32905",      "#",       "BORN BETWEEN 1 AND 2"};
    const int kind = depth == 0 ? 9 : Below(12);
    if (kind < 3) return "(" + Relation(depth - 1) + ")";
    if (kind == 3) return "NOT " + Factor(depth - 1);
    if (kind == 4) {
      return "TO_DATE(" + Relation(depth - 1) + ", " + Relation(depth - 1) + ")";
    }
    return Pick(kValues);
  }

  std::mt19937& FRandom;
};

class TFilterModel : public TFilters, public testing::WithParamInterface<unsigned> {};

TEST_P(TFilterModel, AnswersAndFailsLikeTheNaiveEvaluator) {
  std::mt19937 random(GetParam());
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  const std::vector<std::string> texts = {
      "", "X", "xnx", "70", "Ščuka", "True", std::string(300, 'b')};
  const std::vector<std::string> numbers = {"", "0", "70", "70.5", "-5", "abc"};
  const std::vector<std::string> dates = {"", "1.2.1990", "31.12.2022 10:00:00", "abc", "1.1.100"};
  const auto any = [&](const std::vector<std::string>& from) {
    return from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
  };
  TNaiveFilter naive;
  int failed = 0, accepted = 0;
  const int steps = ModelSteps(1500);
  for (int i = 0; i < steps; ++i) {
    const std::string filter = TWriter(random).Relation(3);
    SCOPED_TRACE(filter);
    const std::vector<std::pair<std::string, std::string>> values = {
        {"NAME", any(texts)}, {"SEX", any(texts)},  {"WEIGHT", any(numbers)},
        {"VISITS", "7"},      {"BORN", any(dates)}, {"NOTES", any(texts)}};
    const int kind = below(4);
    std::string found[2], read[2];
    for (const bool compiled : {false, true}) {
      TplPerObject* object = kind == 0 ? nullptr
                             : kind == 1
                                 ? static_cast<TplPerObject*>(NewPatient<TpoWatched>(values))
                             : kind == 2 ? NewPatient<TpoMeddler>(values)
                                         : NewPatient<TpoPatient>(values);
      if (auto* watched = As<TpoWatched>(object)) watched->Read.clear();
      if (compiled) {
        found[1] = Answer(object, filter);
      } else {
        bool answer = false;
        const std::string message = Raised([&] { answer = naive.Evaluate(object, filter); });
        found[0] = !message.empty() ? message : answer ? "true" : "false";
      }
      if (auto* watched = As<TpoWatched>(object)) read[compiled] = watched->Read;
      if (object != nullptr) object->Release(FForm.Get());
    }
    ASSERT_EQ(found[1], found[0]);
    ASSERT_EQ(read[1], read[0]);
    failed += found[0].starts_with("Na");
    accepted += found[0] == "true";
  }
  EXPECT_GT(failed, steps / 10);
  EXPECT_GT(accepted, steps / 50);
}
INSTANTIATE_TEST_SUITE_P(Seeds, TFilterModel, testing::Range(1u, 4u));

TEST_F(TFilters, StandObjectsThatFilterOrGoWhileTheyAreAsked) {
  auto* object = NewPatient<TpoMeddler>({{"NAME", "X"}});
  object->Act = [&] { EXPECT_EQ(Answer(nullptr, "1 = 2"), "false"); };
  EXPECT_EQ(Answer(object, "(DESCRIPTION = 'X') AND (NAME = 'X')"), "true");
  object->Act = [&] { object->Release(FForm.Get()); };
  EXPECT_EQ(Answer(object, "(DESCRIPTION = 'X') AND (NAME = 'X')"),
            "Napačen filter: (DESCRIPTION = 'X') AND (NAME = 'X')! (podrobnosti: predmeta, ki ga "
            "filter presoja, ni več)");
}

TEST_F(TFilters, ReadByWhatClassesAndSettingsAreAtThatMoment) {
  AddEncounter(5, "V", "1");
  TplPerObject* const encounter = FEncounters->GetObject(FForm.Get(), "5", true);
  auto* const patient = NewPatient<TpoPatient>({{"ACTIVE", "0"}});
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Answer(patient, "ACTIVE = '1'") + Answer(encounter, "ACTIVE = '1'"), "falsetrue");
  }
  const std::string filter = "(LATER = '') AND (TO_DATE('1.2.1990', 1 + 1) = 32905)";
  EXPECT_NE(Answer(patient, filter).find("LATER"), std::string::npos);
  FPatients->GetMetaData()->AddCalcAttribute("LATER", "Pozneje", TFieldType::ftString, 9, "");
  EXPECT_EQ(Answer(patient, filter), "true");
  FormatSettings().ShortDateFormat = "mm.dd.yyyy";
  EXPECT_EQ(Answer(patient, filter), "false");
  for (TplPerObject* object : {encounter, static_cast<TplPerObject*>(patient)}) {
    object->Release(FForm.Get());
  }
}

TEST_F(TFilters, NestAsDeeplyAsAnybodyWrites) {
  const int depth = 200000;
  std::string filter;
  for (int i = 0; i < depth; ++i) filter += i % 2 == 0 ? "(" : "NOT ";
  filter += "1 = 1" + std::string(depth / 2, ')');
  EXPECT_EQ(Answer(nullptr, filter), "true");
  EXPECT_NE(Answer(nullptr, filter + ")").find("konec filtra"), std::string::npos);
  std::string names;
  for (int i = 0; i < depth / 4; ++i) names += "A" + std::to_string(i) + " + ";
  EXPECT_NE(Answer(nullptr, names + "1").find("as Boolean"), std::string::npos);
}

}  // namespace
}  // namespace perlayer
