#include "perlayer/reclaim/TIPerLayerStatistics.h"

#include <gtest/gtest.h>

#include "support/ManualClock.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using enum TIPerLayerStatisticsStartTimingType;

class TIPerLayerStatisticsTest : public testing::Test {
 protected:
  void Time(std::int64_t milliseconds) {
    PerLayerStatistics()->StartTiming(ttOpen);
    FClock->Advance(milliseconds);
    PerLayerStatistics()->StopTiming();
  }
  TManualClock* const FClock = InstallManualClock(45000.5);
};

TEST_F(TIPerLayerStatisticsTest, TimingsAreWeighedAsTheMonitorsKnowThem) {
  const TIPerLayerStatistics* statistics = PerLayerStatistics();
  Time(62003);  // 1 minute, 2 seconds, 3 milliseconds
  EXPECT_EQ(statistics->aiMaxFindTime(), 3 + 200 + 6000);
  Time(7);
  EXPECT_EQ(statistics->aiMaxFindTime(), 6203) << "the longest stays";
  EXPECT_EQ(statistics->aiAverageFindTime(), (10 + 200 + 6000) / 2.0);
  Time(3600000 + 5);
  EXPECT_EQ(statistics->aiMaxFindTime(), 5) << "hours are lost";
}

TEST_F(TIPerLayerStatisticsTest, ATimingMayRunPastMidnightAndItsEndIsNotedWhenTheWorkFails) {
  FClock->Advance(12 * 3600000 - 4);
  EXPECT_THROW(PerLayerStatistics()->Timed(ttSave,
                                           [&] {
                                             FClock->Advance(9);
                                             throw Exception("not saved");
                                           }),
               Exception);
  EXPECT_EQ(PerLayerStatistics()->aiMaxFindTime(), 9);
  EXPECT_EQ(PerLayerStatistics()->Timed(ttOpen, [] { return 17; }), 17);
}

TEST_F(TIPerLayerStatisticsTest, EventsAreFiredWhileTheyAreOn) {
  std::string trace;
  TIPerLayerStatistics* statistics = PerLayerStatistics();
  statistics->aiOnStartTransfer(TIPerLayerStatisticsStartEvent::From(
      [&](TObject* sender, TIPerLayerStatisticsStartTimingType type) {
        trace += sender->ClassName() + std::to_string(static_cast<int>(type)) + " ";
      }));
  statistics->aiOnStopTransfer(TNotifyEvent::From([&](TObject*) { trace += "stop "; }));
  statistics->aiOnRefChangedEvent(TIPerLayerRefereceCountChangedNotifyEvent::From(
      [&](TPlBaseObject*, TIReferenceEventType type, TObject*) {
        trace += "ref" + std::to_string(static_cast<int>(type)) + " ";
      }));
  const auto all = [&] {
    trace.clear();
    statistics->StartTiming(ttDictionary);
    statistics->StopTiming();
    statistics->ReferenceEvent(nullptr, TIReferenceEventType::reRelease, nullptr);
    return trace;
  };
  EXPECT_EQ(all(), "TIPerLayerStatistics2 stop ref2 ");
  statistics->aiEnableEvents(false);
  EXPECT_EQ(all(), "");
}

std::string Finals;
class TFinal : public TObject {
  TCLASS(TFinal, TObject)
 public:
  void One(TObject* Sender) { Finals += "1" + Sender->ClassName() + " "; }
  void Two(TObject*) {
    Finals += "2 ";
    throw Exception("cannot end");
  }
  void Three(TObject*) { Finals += "3 "; }
};

TEST_F(TIPerLayerStatisticsTest, FinalEventsRunOnceForEachCodeAndOneThatFailsStopsNone) {
  Finals.clear();
  const auto a = Make<TFinal>();
  const auto b = Make<TFinal>();
  TIPerLayerStatistics* statistics = PerLayerStatistics();
  statistics->ExecuteFinalizeEvents();
  statistics->AddFinalizeEvent(TNotifyEvent::Bind<&TFinal::One>(a.Get()));
  statistics->AddFinalizeEvent(TNotifyEvent::Bind<&TFinal::Two>(a.Get()));
  statistics->AddFinalizeEvent(TNotifyEvent::Bind<&TFinal::One>(b.Get()));  // the same code
  statistics->AddFinalizeEvent(TNotifyEvent::Bind<&TFinal::Three>(b.Get()));
  statistics->ExecuteFinalizeEvents();
  EXPECT_EQ(Finals, "1TIPerLayerStatistics 2 3 ");
  EXPECT_TRUE(Logged("cannot end"));
}

TEST_F(TIPerLayerStatisticsTest, AnEventOfAListMayFreeTheList) {
  auto* list = New<TNotifyEventList>();
  int run = 0;
  list->AddEvent(TNotifyEvent::From([&](TObject*) {
    ++run;
    list->Free();
  }));
  list->AddEvent(TNotifyEvent::From([&](TObject*) { ++run, ++run; }));
  list->Execute(nullptr);
  EXPECT_EQ(run, 1);
}

}  // namespace
}  // namespace perlayer
