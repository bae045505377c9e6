#include "perlayer/platform/TObject.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_set>
#include <vector>

#include "perlayer/platform/Exception.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

// What the witnesses below did, one word per step, each with the class name as told at that moment.
std::string Story;

// Raises an exception of that text at the step of that name.
std::string RaiseAt;

class TWitness : public TObject {
  TCLASS_WITH_DESTRUCTOR(TWitness, TObject)
 public:
  TWitness() {
    Last = this;
    Step("ctor");
  }
  static inline TWitness* Last = nullptr;
  virtual void Create() { Step("Create"); }
  void BeforeDestruction() override { Step("Before"); }
  void Destroy() override {
    Step("Destroy");
    Inherited::Destroy();
  }
  void FreeInstance() override {
    Step("FreeInstance");
    Inherited::FreeInstance();
  }

 protected:
  ~TWitness() override { Tell("dtor"); }
  void AbandonCreation() override { Step("Abandon"); }

  void Tell(const std::string& step) { Story += step + ":" + ClassName() + " "; }
  void Step(const std::string& step) {
    Tell(step);
    if (RaiseAt.find(step) != std::string::npos) throw EAbort(step);
  }
};

class TYoungWitness : public TWitness {
  TCLASS(TYoungWitness, TWitness)
 public:
  void Create() override {
    Inherited::Create();
    Tell("YoungCreate");
  }
  void Destroy() override {
    Tell("YoungDestroy");
    Inherited::Destroy();
  }
};

class TObjectTest : public testing::Test {
 protected:
  void SetUp() override {
    Story.clear();
    RaiseAt.clear();
  }
};

TEST_F(TObjectTest, ClassNameIsTheMostDerivedAtEveryStep) {
  New<TYoungWitness>()->Free();
  EXPECT_EQ(Story,
            "ctor:TYoungWitness Create:TYoungWitness YoungCreate:TYoungWitness "
            "Before:TYoungWitness YoungDestroy:TYoungWitness Destroy:TYoungWitness "
            "FreeInstance:TYoungWitness dtor:TYoungWitness ");
}

TEST_F(TObjectTest, CreateThatRaisesEndsTheHalfMadeObject) {
  const std::int64_t live = TSlotTable::LiveCount();
  for (const bool byClassRef : {false, true}) {
    Story.clear();
    RaiseAt = "Create";
    const auto create = [&] {
      byClassRef ? TClassRef<TWitness>::Of<TYoungWitness>().New() : New<TYoungWitness>();
    };
    EXPECT_THROW(create(), EAbort);
    EXPECT_EQ(Story,
              "ctor:TYoungWitness Create:TYoungWitness Abandon:TYoungWitness "
              "YoungDestroy:TYoungWitness Destroy:TYoungWitness FreeInstance:TYoungWitness "
              "dtor:TYoungWitness ");
    EXPECT_EQ(TSlotTable::LiveCount(), live);
  }
}

TEST_F(TObjectTest, TheFirstExceptionGoesOnWhenDestroyRaisesToo) {
  RaiseAt = "Create Destroy";
  EXPECT_EQ(Raised([] { New<TWitness>(); }), "Create");
  RaiseAt.clear();
  TWitness::Last->FreeInstance();  // still there: its memory has stayed
}

TEST_F(TObjectTest, FreeThatRaisesLeavesTheObject) {
  TWitness* witness = New<TWitness>();
  const TObjectHandle handle(witness);
  for (const char* step : {"Before", "Destroy"}) {
    RaiseAt = step;
    EXPECT_THROW(witness->Free(), EAbort);
    EXPECT_EQ(handle.Get(), witness);
  }
  RaiseAt.clear();
  witness->Free();
  EXPECT_FALSE(handle.IsAlive());
}

class TNoMemory : public TObject {
  TCLASS(TNoMemory, TObject)
 public:
  static void* operator new(std::size_t) { throw std::bad_alloc(); }
  static void operator delete(void*) {}
};

TEST_F(TObjectTest, ConstructionThatFailsGivesItsSlotBack) {
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_THROW(New<TNoMemory>(), std::bad_alloc);
  RaiseAt = "ctor";
  EXPECT_THROW(New<TWitness>(), EAbort);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

class TUnchained : public TObject {
  TCLASS(TUnchained, TObject)
 public:
  void Destroy() override {}
};

TEST_F(TObjectTest, MisuseIsFatal) {
  EXPECT_DEATH(new TWitness(), "constructed without New");
#ifndef NDEBUG
  EXPECT_DEATH(New<TUnchained>()->Free(), "did not call Inherited::Destroy");
#endif
}

// Nobody's class: three levels, a sibling, an abstract one.
class TAnimal : public TObject {
  TCLASS(TAnimal, TObject)
 public:
  static std::span<const TInterfaceEntry> InterfaceTable() {
    static const TInterfaceEntry entries[] = {{kVoice, [](TObject* o) -> void* { return o; }},
                                              {kLegs, [](TObject* o) -> void* { return o; }}};
    return entries;
  }
  static constexpr TGuid kVoice{1, 2};
  static constexpr TGuid kLegs{1, 3};
  void Create(int legs) { Legs = legs; }
  virtual void Speak() = 0;
  int Legs = 0;
};
class TDog : public TAnimal {
  TCLASS(TDog, TAnimal)
 public:
  static std::span<const TInterfaceEntry> InterfaceTable() {
    static const TInterfaceEntry entries[] = {{kVoice, nullptr}};
    return entries;
  }
  void Speak() override {}
};
class TPuppy : public TDog {
  TCLASS(TPuppy, TDog)
};
class TCat : public TAnimal {
  TCLASS(TCat, TAnimal)
 public:
  void Speak() override {}
};

TEST_F(TObjectTest, ClassesKnowTheirLine) {
  EXPECT_TRUE(TPuppy::ClassInfo().InheritsFrom(TAnimal::ClassInfo()));
  EXPECT_TRUE(TPuppy::ClassInfo().InheritsFrom(TPuppy::ClassInfo()));
  EXPECT_FALSE(TCat::ClassInfo().InheritsFrom(TDog::ClassInfo()));
  EXPECT_EQ(TPuppy::ClassInfo().FindInterface(TAnimal::kVoice)->cast, nullptr) << "the nearest";
  EXPECT_NE(TPuppy::ClassInfo().FindInterface(TAnimal::kLegs)->cast, nullptr);
  EXPECT_EQ(TPuppy::ClassInfo().FindInterface({9, 9}), nullptr);
}

TEST_F(TObjectTest, CastsFollowTheRunTimeClass) {
  auto puppy = Make<TPuppy>(4);
  TObject* object = puppy.Get();
  EXPECT_EQ(As<TDog>(object), puppy.Get());
  EXPECT_EQ(As<TCat>(object), nullptr);
  EXPECT_EQ(Raised([&] { Cast<TCat>(object); }), "Invalid class typecast: TPuppy is no TCat");
  EXPECT_EQ(Raised([&] { Cast<TCat>(nullptr); }), "Invalid class typecast: nil is no TCat");
}

TEST_F(TObjectTest, ClassRefMakesObjectsOfARunTimeClass) {
  TOwned<TAnimal> animal(TClassRef<TAnimal>(TCat::ClassInfo()).New(4));
  EXPECT_EQ(animal->ClassName(), "TCat");
  EXPECT_EQ(animal->Legs, 4);
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_THROW(TClassRef<TAnimal>(TAnimal::ClassInfo()).New(4), EAbstractError);
  EXPECT_THROW(TClassRef<TDog>{TCat::ClassInfo()}, EInvalidCast);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

class TAsksItself : public TObject {
  TCLASS(TAsksItself, TObject)
 public:
  void Destroy() override {
    const TObjectHandle self(this);
    EXPECT_EQ(self.Get(), this) << "alive until the root's Destroy";
    Inherited::Destroy();
    EXPECT_EQ(self.Get(), nullptr) << "a shell is no object any more";
    EXPECT_EQ(self.Class(), nullptr);
    EXPECT_EQ(self, TObjectHandle(this)) << "but it still has its identity";
  }
};

TEST_F(TObjectTest, HandlesGoStaleWithTheDestruction) {
  auto object = Make<TAsksItself>();
  const TObjectHandle handle(object.Get());
  const TAlive alive(object.Get());
  EXPECT_EQ(handle.Get(), object.Get());
  EXPECT_EQ(handle.Class(), &TAsksItself::ClassInfo());
  EXPECT_TRUE(alive);
  object.Reset();
  EXPECT_FALSE(handle.IsAlive() || alive || handle.IsNil());
}

// Slots are reused, identities are not. The numbers go well past a batch and a chunk of the table.
TEST_F(TObjectTest, NoHandleEverComesTrueAgain) {
  std::mt19937 random(20240229);
  std::vector<TObjectHandle> handles;
  std::unordered_set<std::uint64_t> values, slots;
  for (const int count : {5000, 40, 5000}) {
    std::vector<TOwned<TCat>> living;
    for (int i = 0; i < count; ++i) {
      living.push_back(Make<TCat>(4));
      handles.emplace_back(living.back().Get());
      EXPECT_TRUE(values.insert(handles.back().Value()).second) << "an identity given twice";
      slots.insert(handles.back().Value() >> 32);
      std::swap(living[random() % living.size()], living.back());
      if (i % 3 == 0) living.pop_back();
    }
    for (const auto& cat : living) ASSERT_EQ(TObjectHandle(cat.Get()).Get(), cat.Get());
    living.clear();
    for (const TObjectHandle& handle : handles) ASSERT_FALSE(handle.IsAlive());
  }
  EXPECT_LT(slots.size() * 2, values.size()) << "free slots are taken again";
}

TEST(TryFinally, TheEndingRunsInAnyCaseAndItsExceptionWins) {
  int endings = 0;
  const auto end = [&] { ++endings; };
  const auto raise = [&] {
    ++endings;
    throw EConvertError("ending");
  };
  const auto fail = []() -> int { throw EAbort("body"); };
  EXPECT_EQ(TryFinally([] { return 7; }, end), 7);
  EXPECT_THROW(TryFinally(fail, end), EAbort);
  EXPECT_THROW(TryFinally([] { return 7; }, raise), EConvertError);
  EXPECT_THROW(TryFinally(fail, raise), EConvertError);
  EXPECT_THROW(TryFinally([&] { fail(); }, end), EAbort);
  EXPECT_EQ(endings, 5);
}

}  // namespace
}  // namespace perlayer
