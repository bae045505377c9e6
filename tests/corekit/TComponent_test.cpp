#include "perlayer/corekit/TComponent.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TIFieldInfo.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TdmIBaseModule.h"
#include "perlayer/platform/Exception.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

std::string Trace;

class TNoted : public TComponent {
  TCLASS(TNoted, TComponent)
 public:
  void Create(TComponent* AOwner, std::string_view name) {
    TComponent::Create(AOwner);
    Name(name);
  }
  void Destroy() override {
    Trace += Name() + " ";
    if (companion != nullptr) companion->Free();
    TComponent::Destroy();
  }
  TNoted* companion = nullptr;  // goes with this one
};

class TComponentTest : public testing::Test {
 protected:
  TComponentTest() { Trace.clear(); }
};

TEST_F(TComponentTest, OwnedComponentsGoLastMadeFirstAndMayGoEarlier) {
  auto owner = Make<TNoted>(nullptr, "owner");
  auto* a = New<TNoted>(owner.Get(), "a");
  auto* b = New<TNoted>(owner.Get(), "b");
  New<TNoted>(a, "inner");
  auto* c = New<TNoted>(owner.Get(), "c");
  auto* d = New<TNoted>(owner.Get(), "d");
  d->companion = a;  // frees a sibling on its way
  b->Free();
  EXPECT_EQ(owner->ComponentCount(), 3);
  EXPECT_EQ(owner->Components(1), c);
  EXPECT_EQ(Raised([&] { owner->Components(3); }), "Component index out of bounds (3)");
  owner.Reset();
  EXPECT_EQ(Trace, "b owner d a inner c ");
}

TEST_F(TComponentTest, NamesAreIdentifiersAndUniqueInTheirOwnerInAnyCase) {
  auto owner = Make<TNoted>(nullptr, "owner");
  auto* patient = New<TNoted>(owner.Get(), "quPatient");
  EXPECT_EQ(owner->FindComponent("QUPATIENT"), patient);
  for (const char* name : {"", "1a", "a b", "a-b", "žiga", "a\n"}) {
    EXPECT_THROW(patient->Name(name), EComponentError) << name;
  }
  EXPECT_EQ(Raised([&] { New<TNoted>(owner.Get(), "QUpatient"); }),
            "A component named QUpatient already exists");
  EXPECT_EQ(owner->ComponentCount(), 1) << "the refused one has left";
  auto* other = New<TNoted>(owner.Get(), "usPatient_2");
  EXPECT_THROW(other->Name("quPatient"), EComponentError);
  patient->Name("quOther");
  EXPECT_EQ(owner->FindComponent("QUOTHER"), patient);
  other->Name("quPatient");
  EXPECT_EQ(owner->FindComponent("quPatient"), other);
  other->Free();
  EXPECT_EQ(owner->FindComponent("quPatient"), nullptr);
  New<TComponent>(owner.Get());
  EXPECT_EQ(owner->FindComponent(""), nullptr) << "a component without a name is not found by none";
}

class TTestModule : public TdmIBaseModule {
  TCLASS(TTestModule, TdmIBaseModule)
 public:
  static inline bool Fail = false;

 protected:
  void InternalLoadComponents() override {
    OnModuleCreate(TNotifyEvent::Bind<&TTestModule::Created>(this));
    OnModuleDestroy(TNotifyEvent::Bind<&TTestModule::Destroyed>(this));
    New<TNoted>(this, "loaded");
    if (Fail) throw Exception("no components");
  }

 private:
  void Created(TObject* Sender) { Trace += "create " + std::to_string(Sender == this) + " "; }
  void Destroyed(TObject*) { Trace += "destroy " + std::to_string(ComponentCount()) + " "; }
};

TEST_F(TComponentTest, HandlersOfAModuleRunWhileItsComponentsAreThere) {
  TTestModule::Fail = false;
  Make<TTestModule>().Reset();
  EXPECT_EQ(Trace, "create 1 destroy 1 loaded ");
  Trace.clear();
  TTestModule::Fail = true;
  EXPECT_EQ(Raised([] { New<TTestModule>(nullptr); }), "no components");
  EXPECT_EQ(Trace, "loaded ") << "what was never created is not told its end";
}

TEST_F(TComponentTest, AFieldsLabelAndValidationStringStayInAgreement) {
  const auto query = Make<TIQuery>();
  TField* field = NewField(query.Get(), TFieldType::ftString, "SEX", 1);
  const auto info = Make<TIFieldInfo>();
  EXPECT_THROW(info->Info(), EAssertionFailed);
  info->Field(field);
  info->SetInfoString("MS\tSpol\t1\t*\tSPO\t\t \t");
  EXPECT_TRUE(field->Required());
  info->SetDisplayLabel("Spol\tbolnika");
  EXPECT_EQ(field->DisplayLabel(), "Spol\tbolnika");
  EXPECT_EQ(field->ValidString(), "MS\tSpol bolnika\t1\t*\tSPO\t\t \t");
  EXPECT_THROW(info->SetInfoString("S\tStarost\tmany\t \tSTA"), EConvertError);
  EXPECT_EQ(field->ValidString(), "MS\tSpol bolnika\t1\t*\tSPO\t\t \t") << "all or nothing";
}

}  // namespace
}  // namespace perlayer
