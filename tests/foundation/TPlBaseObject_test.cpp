#include "perlayer/foundation/TPlBaseObject.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "perlayer/corekit/ILog.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TINotifiedObjectList.h"
#include "perlayer/foundation/TplDomainObject.h"
#include "perlayer/platform/TDelegate.h"
#include "support/Raised.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// Counts what happens to it; stays at zero references while it is kept.
class TCounted : public TPlBaseObject {
  TCLASS(TCounted, TPlBaseObject)
 public:
  static inline int Destroyed = 0;

  void Destroy() override {
    ++Destroyed;
    TPlBaseObject::Destroy();
  }
  void RefCountIsZero() override {
    if (!keep) TPlBaseObject::RefCountIsZero();
  }
  void DoNotifyAction(TplDomainObject*, TIBaseObjectAction, TObject*,
                      TINotifiedObjectList*) override {
    ++notified;
    if (onNotify) onNotify(this);
  }
  void LogNotifyDetails(std::string_view which) override {
    if (onDetails) onDetails(this);
    ILog(which);
  }
  bool Notifying() const { return FNotifying; }

  bool keep = false;
  int notified = 0;
  TNotifyEvent onNotify;
  TNotifyEvent onDetails;
};

class TPlBaseObjectTest : public testing::Test {
 protected:
  TPlBaseObjectTest() { TCounted::Destroyed = 0; }
  static void Notify(TCounted* object) {
    object->CallNotifyAction(nullptr, TIBaseObjectAction::paModified, nullptr);
  }
};

TEST_F(TPlBaseObjectTest, TheLastReleaseFreesAndNothingElseDoes) {
  auto* object = New<TCounted>(nullptr, nullptr);
  EXPECT_EQ(object->AddRef(nullptr), 2);
  EXPECT_EQ(Raised([&] { object->Free(); }), "Wrong call do destruction. RefCount>0");
  object->Release(nullptr);
  EXPECT_EQ(TCounted::Destroyed, 0);
  object->keep = true;
  object->Release(nullptr);
  EXPECT_EQ(object->RefCount(), 0) << "a class may hold the object back";
  EXPECT_EQ(Raised([&] { object->Release(nullptr); }),
            "Attempting to release allready freed object of class TCounted.");
  EXPECT_EQ(object->RefCount(), 0);
  object->keep = false;
  object->AddRef(nullptr);
  object->Release(nullptr);
  EXPECT_EQ(TCounted::Destroyed, 1);
}

TEST_F(TPlBaseObjectTest, AnInterfaceReferenceIsAHolder) {
  auto* object = New<TCounted>(nullptr, nullptr);
  void* found = object;
  EXPECT_EQ(object->QueryInterface("{11111111-2222-3333-4444-555555555555}"_guid, &found),
            E_NOINTERFACE);
  EXPECT_EQ(found, nullptr);
  ASSERT_EQ(object->QueryInterface(IInterface::IID, &found), S_OK);
  auto* reference = static_cast<IInterface*>(found);
  EXPECT_EQ(reference->_AddRef(), 3);
  EXPECT_EQ(reference->_Release(), 2);
  object->Release(nullptr);
  EXPECT_EQ(reference->_Release(), 0) << "told by a reference that has ended the object";
  EXPECT_EQ(TCounted::Destroyed, 1);
}

TEST_F(TPlBaseObjectTest, BothSwitchesMustBeOnForANotification) {
  auto* object = New<TCounted>(nullptr, nullptr);
  for (const bool process : {false, true}) {
    for (const bool own : {false, true}) {
      aiNotificationsEnabled(process);
      object->aiDoNotify(own);
      object->notified = 0;
      Notify(object);
      EXPECT_EQ(object->notified, process && own ? 1 : 0);
      EXPECT_EQ(object->GetDoNotify(), process && own);
    }
  }
  object->Release(nullptr);
}

TEST_F(TPlBaseObjectTest, ANotificationThatReentersIsDropped) {
  auto* object = New<TCounted>(nullptr, nullptr);
  object->onNotify = TNotifyEvent::From([&](TObject*) { Notify(object); });
  Notify(object);
  EXPECT_EQ(object->notified, 1);
  Notify(object);
  EXPECT_EQ(object->notified, 2) << "the guard is down again";
  object->Release(nullptr);
}

// Whatever a listener throws is told in the log and goes no further, even when telling fails; only
// the refusal of a lock passes.
TEST_F(TPlBaseObjectTest, OnlyTheRefusalOfALockPasses) {
  auto* object = New<TCounted>(nullptr, nullptr);
  object->onNotify = TNotifyEvent::From([](TObject*) { throw std::runtime_error("broken"); });
  Notify(object);
  EXPECT_TRUE(Logged("broken while notifying TCounted from nil"));
  EXPECT_TRUE(Logged("List 1"));
  EXPECT_EQ(TestLog().Flushes(), 1);

  for (const bool standard : {true, false}) {
    object->onDetails = TNotifyEvent::From([standard](TObject*) {
      if (!standard) throw 7;
      throw Exception("no details");
    });
    EXPECT_NO_THROW(Notify(object));
    EXPECT_FALSE(object->Notifying());
  }
  EXPECT_TRUE(Logged("no details"));
  object->onNotify = TNotifyEvent::From([](TObject*) { throw 7; });
  EXPECT_NO_THROW(Notify(object));
  object->onNotify = TNotifyEvent::From([](TObject*) { throw ELockException("locked"); });
  EXPECT_THROW(Notify(object), ELockException);
  EXPECT_FALSE(object->Notifying());
  object->Release(nullptr);
}

TEST_F(TPlBaseObjectTest, AListenerMayEndTheObjectThatIsNotified) {
  for (const int failure : {0, 1, 2}) {
    auto* object = New<TCounted>(nullptr, nullptr);
    object->onNotify = TNotifyEvent::From([&](TObject*) {
      object->Release(nullptr);
      if (failure == 1) throw Exception("gone");
      if (failure == 2) throw ELockException("gone");
    });
    try {
      Notify(object);
      EXPECT_NE(failure, 2);
    } catch (const ELockException&) {
      EXPECT_EQ(failure, 2);
    }
  }
  EXPECT_EQ(TCounted::Destroyed, 3);
  EXPECT_TRUE(Logged("gone while notifying TCounted from nil"));
}

}  // namespace
}  // namespace perlayer
