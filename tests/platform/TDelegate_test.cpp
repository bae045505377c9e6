#include "perlayer/platform/TDelegate.h"

#include <gtest/gtest.h>

#include <string>

#include "perlayer/platform/TObject.h"

namespace perlayer {
namespace {

class TListener : public TObject {
  TCLASS(TListener, TObject)
 public:
  int Double(int value) { return 2 * value; }
  int Twice(int value) { return 2 * value; }  // the same machine code as Double
  virtual int Answer(int value) { return value; }
};
class TLoudListener : public TListener {
  TCLASS(TLoudListener, TListener)
 public:
  int Answer(int value) override { return 100 * value; }
};

using TEvent = TDelegate<int(int)>;
int Negate(int value) { return -value; }
int Square(int value) { return value * value; }

TEST(TDelegate, IdentityIsCodeAndObject) {
  auto a = Make<TListener>();
  auto b = Make<TListener>();
  const auto event = TEvent::Bind<&TListener::Double>(a.Get());
  EXPECT_NE(event, TEvent::Bind<&TListener::Double>(b.Get()));
  EXPECT_TRUE(event.SameCode(TEvent::Bind<&TListener::Double>(b.Get())));
  EXPECT_NE(event, TEvent::Bind<&TListener::Twice>(a.Get())) << "alike is not the same";
  EXPECT_EQ(event(4), 8);
  EXPECT_NE(TEvent::Bind<&Negate>(), TEvent::Bind<&Square>());

  const auto makeCallable = [](int add) { return TEvent::From([add](int v) { return v + add; }); };
  const auto one = makeCallable(1);
  EXPECT_NE(one, makeCallable(1));
  EXPECT_TRUE(one.SameCode(makeCallable(2)));
}

TEST(TDelegate, TheOverridingClassIsPartOfAVirtualIdentity) {
  auto quiet = Make<TListener>();
  auto loud = Make<TLoudListener>();
  TListener* base = loud.Get();
  const auto quietEvent = TEvent::BindVirtual<&TListener::Answer>(quiet.Get());
  const auto loudEvent = TEvent::BindVirtual<&TListener::Answer>(base);
  EXPECT_FALSE(quietEvent.SameCode(loudEvent));
  EXPECT_EQ(TEvent::Bind<&TLoudListener::Double>(loud.Get()),
            TEvent::Bind<&TListener::Double>(base))
      << "inherited code is the same code";
  EXPECT_EQ(quietEvent(3), 3);
  EXPECT_EQ(loudEvent(3), 300);
}

TEST(TDelegate, CallsWhatWasBound) {
  EXPECT_EQ(TEvent::Bind<&Negate>()(4), -4);
  TDelegate<void(std::string&, std::string &&)> edit;
  edit = decltype(edit)::From([](std::string& a, std::string&& b) { a = std::move(b); });
  std::string text;
  edit(text, "moved");
  EXPECT_EQ(text, "moved");
}

TEST(TDelegate, AHandlerMayClearTheEventThatCallsIt) {
  auto event = std::make_unique<TEvent>();
  const std::string state = "a state that is too long to stand inside the callable";
  *event = TEvent::From([&event, state](int value) {
    event.reset();
    return value + static_cast<int>(state.size());  // the callable must still be there
  });
  EXPECT_EQ((*event)(1), 1 + static_cast<int>(state.size()));
  EXPECT_EQ(event, nullptr);
}

}  // namespace
}  // namespace perlayer
