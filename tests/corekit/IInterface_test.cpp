#include "perlayer/corekit/IInterface.h"

#include <gtest/gtest.h>

namespace perlayer {
namespace {

class INamed : public IInterface {
 public:
  static constexpr TGuid IID = "{6F3C0C1E-98A4-4B7F-9C36-0D8A1F1B5E21}"_guid;
  virtual int Number() const = 0;

 protected:
  ~INamed() = default;
};

class IOther : public IInterface {
 public:
  static constexpr TGuid IID = "{6f3c0c1e-98a4-4b7f-9c36-0d8a1f1b5e22}"_guid;

 protected:
  ~IOther() = default;
};

class TCounted : public TObject, public INamed {
  TCLASS(TCounted, TObject)
 public:
  static std::span<const TInterfaceEntry> InterfaceTable() {
    static constexpr TInterfaceEntry kTable[] = {InterfaceEntry<TCounted, INamed>()};
    return kTable;
  }

  HResult QueryInterface(const TGuid& iid, void** object) override {
    const HResult result = FindInterface(this, iid, object);
    if (result == S_OK) _AddRef();
    return result;
  }
  int _AddRef() override { return ++FCount; }
  int _Release() override { return --FCount; }
  int Number() const override { return FNumber; }

  int FCount = 0;
  int FNumber = 42;
};

class TDerived : public TCounted {
  TCLASS(TDerived, TCounted)
};

TEST(IInterface, AnObjectAnswersWhatItsClassOrAnAncestorOffers) {
  static_assert(INamed::IID.high == 0x6F3C0C1E98A44B7F && INamed::IID.low == 0x9C360D8A1F1B5E21);
  static_assert(E_NOINTERFACE == -2147467262);
  const auto object = Make<TDerived>();
  void* found = nullptr;
  EXPECT_EQ(object->QueryInterface(INamed::IID, &found), S_OK);
  ASSERT_NE(found, nullptr);
  EXPECT_NE(found, object.Get()) << "the interface stands at an offset of its own";
  EXPECT_EQ(static_cast<INamed*>(found)->Number(), 42);
  EXPECT_EQ(object->FCount, 1);

  EXPECT_EQ(object->QueryInterface(IOther::IID, &found), E_NOINTERFACE);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(object->FCount, 1);
  EXPECT_EQ(FindInterface<INamed>(object.Get()), static_cast<INamed*>(object.Get()));
  EXPECT_EQ(FindInterface<INamed>(nullptr), nullptr);
}

}  // namespace
}  // namespace perlayer
