#include "perlayer/reclaim/TIPerLayerSettings.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TClassMapBuilder.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {
namespace {

using enum TIProviderOptimization;

TEST(TIPerLayerSettings, ParametersAreReadOnceAndComparedAsTheyStand) {
  EXPECT_FALSE(PerLayerSettings()->aiUseInternalSubGraphOptimization());
  for (const auto& [graph, limited] : {std::pair("TRUE", "True"), std::pair("true", "TRUE")}) {
    ISystemParameters().SetParamValue("GraphOptimization", graph);
    ISystemParameters().SetParamValue("LIMITEDONE2MANY", limited);
    const auto settings = Make<TIPerLayerSettings>();
    EXPECT_EQ(settings->aiUseInternalSubGraphOptimization(), std::string("TRUE") == graph);
    EXPECT_EQ(settings->aiLimitedOne2ManyRelation(), std::string("TRUE") == limited);
  }
  ISystemParameters().SetParamValue("GRAPHOPTIMIZATION", "TRUE");
  EXPECT_FALSE(PerLayerSettings()->aiUseInternalSubGraphOptimization()) << "made before";
}

// --- providers and objects of a transaction ---

std::string Trace;

class TpoThing : public TplPerObject {
  TCLASS(TpoThing, TplPerObject)
 public:
  void DoOnCommit() override { Do("c"); }
  void DoOnRollback() override { Do("r"); }
  void SaveData() override {
    Trace += "s" + name + " ";
    FModified = false;
  }
  void DiposeNewlyCreatedMe() override { Do("d"); }
  void Modified(bool modified) { FModified = modified; }

  std::string name;
  TNotifyEvent onDo;

 private:
  void Do(const char* what) {
    Trace += what + name + " ";
    if (onDo) onDo(this);
  }
};

class TplThing : public TplProvider {
  TCLASS(TplThing, TplProvider)
 public:
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoThing>(this, ARetainer);
  }
  void DoCommit() override { Trace += "C "; }
  void DoRollback() override { Trace += "R "; }
};

class TIPerLayerSettingsObjects : public testing::Test {
 protected:
  TIPerLayerSettingsObjects() {
    Trace.clear();
    FMap = AddClassMap(TClassMapBuilder("things")
                           .Query("quThing")
                           .Sql("select ID\nfrom OMRA.THING\nwhere\nID = :ID")
                           .Float("ID")
                           .Build());
    FProvider = New<TplThing>(nullptr, FMap);
    for (int i = 0; i < 3; ++i) {
      FThings[i] = New<TpoThing>(FProvider, FMap);
      FThings[i]->name = std::to_string(i);
      FTouched->Add(FThings[i]);
    }
  }
  ~TIPerLayerSettingsObjects() override {
    for (TpoThing* thing : FThings) {
      if (thing != nullptr) thing->Release(FMap);
    }
  }
  std::string Commit() {
    Trace.clear();
    PerLayerSettings()->OnCommit(FTouched.Get());
    return Trace;
  }

  TcmpClassMap* FMap;
  TplThing* FProvider;
  TpoThing* FThings[3];
  TOwned<TList> FTouched = Make<TList>();
};

TEST_F(TIPerLayerSettingsObjects, ACommitAsksEverybodyAndSavesWhatIsStillModified) {
  FThings[0]->Modified(true);
  FThings[2]->Modified(true);
  FThings[2]->onDo = TNotifyEvent::From([&](TObject*) { FThings[2]->Modified(false); });
  EXPECT_EQ(Commit(), "C c0 s0 c1 c2 ");
  Trace.clear();
  PerLayerSettings()->OnRollback(FTouched.Get());
  EXPECT_EQ(Trace, "R r0 r1 r2 ");
}

TEST_F(TIPerLayerSettingsObjects, ACommitSurvivesWhatObjectsDoToEachOther) {
  auto* late = New<TpoThing>(FProvider, FMap);
  late->name = "late";
  FThings[0]->onDo = TNotifyEvent::From([&](TObject*) {
    FTouched->Add(late);
    std::exchange(FThings[1], nullptr)->Release(FMap);
  });
  EXPECT_EQ(Commit(), "C c0 c2 ") << "who comes late is not asked, who has gone neither";
  FThings[0]->onDo = TNotifyEvent::From([&](TObject*) {
    FThings[0]->Modified(true);
    FTouched->Clear();
    std::exchange(FThings[0], nullptr)->Release(FMap);
  });
  EXPECT_EQ(Commit(), "C c0 ");
  late->Release(FMap);
}

TEST_F(TIPerLayerSettingsObjects, NewObjectsOfACacheAreDisposedOfOnce) {
  for (TpoThing* thing : FThings) PerLayerSettings()->AddNewlyCreatedCachableObject(thing);
  std::exchange(FThings[1], nullptr)->Release(FMap);
  PerLayerSettings()->DiposeNewlyCreatedCachableObjects();
  PerLayerSettings()->DiposeNewlyCreatedCachableObjects();
  EXPECT_EQ(Trace, "d0 d2 ");
}

TEST_F(TIPerLayerSettingsObjects, AChangedOptimizationReachesEveryProvider) {
  EXPECT_EQ(FProvider->GetOptimizationSet(), TIProviderOptimizationSet{poSQLModify});
  FProvider->SetOptimizationSet({});
  PerLayerSettings()->aiOptimization({poSQLModify});
  EXPECT_TRUE(FProvider->GetOptimizationSet().empty()) << "no change, nothing is given";
  PerLayerSettings()->aiOptimization({poSQLInsert, poSQLModify});
  EXPECT_EQ(FProvider->GetOptimizationSet().mask(), 3u);
}

}  // namespace
}  // namespace perlayer
