#include "playback/ManualClockSource.h"
#include "playback/TickClock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tavrel {
namespace {

// Tick k of a cycle started at step 1 is due at step 1 + floor(625 k / tempo): a tick lasts
// 625 / tempo ms, and the steps are whole milliseconds.
std::int64_t dueStep(std::int64_t k, std::int64_t tempo) {
    return 1 + 625 * k / tempo;
}

// A clock at 120 from step 0, polled a whole millisecond at a time.
class TickClockTest : public ::testing::Test {
protected:
    TickClockTest() {
        clock.tickClockSetTempo(120);
        clock.tickClockStart();
    }
    // Moves the wall clock on and polls, as the clock thread does after a wake.
    void poll(std::int64_t micros) {
        source.advance(micros);
        clock.tickClockPoll();
    }
    void pollEachMs(int ms) {
        for (int i = 0; i < ms; ++i) {
            poll(1000);
            ++step;
        }
    }

    test::ManualClockSource source;
    std::int64_t step = 0;  // whole milliseconds polled so far
    std::vector<std::int64_t> tickSteps;
    TickClock clock{source, [this] { tickSteps.push_back(step + 1); }};
};

TEST_F(TickClockTest, TicksFallOnThresholdsCountedFromTheCycleStart) {
    for (const std::int64_t tempo : {40, 97, 120, 350}) {
        test::ManualClockSource fresh;
        std::int64_t at = 0;
        std::vector<std::int64_t> steps;
        TickClock c{fresh, [&] { steps.push_back(at); }};
        EXPECT_TRUE(c.tickClockSetTempo(static_cast<std::uint32_t>(tempo)));
        c.tickClockStart();
        for (at = 1; at <= 1251; ++at) {  // two whole cycles and the tick that starts a third
            fresh.advance(1000);
            c.tickClockPoll();
        }
        std::vector<std::int64_t> expected;
        for (std::int64_t k = 0; dueStep(k, tempo) <= 1251; ++k)
            expected.push_back(dueStep(k, tempo));
        EXPECT_EQ(steps, expected) << "tempo " << tempo;
    }
}

TEST_F(TickClockTest, ALatePollStepsEveryMissedMillisecondAndKeepsTheRest) {
    poll(7600);  // steps 1..7: ticks at 1 and 6
    EXPECT_EQ(clock.tickClockTakePending(), 2u);
    poll(400);   // the carried 0.6 ms and these 0.4 make step 8
    poll(2999);  // steps 9 and 10: the tick at 11 is 1 us away
    EXPECT_EQ(clock.tickClockTakePending(), 0u);
    poll(1);
    EXPECT_EQ(clock.tickClockTakePending(), 1u);

    // A minute of irregular, mostly late polls ends on the same tick count as a perfect
    // millisecond grid would: nothing drifts.
    const std::int64_t lengths[] = {2700, 13300, 900, 1000, 4100, 31};
    std::int64_t elapsed = 11'000;
    std::int64_t ticks = 3;
    for (int i = 0; elapsed < 60'000'000; ++i) {
        const std::int64_t l = lengths[i % 6];
        poll(l);
        elapsed += l;
        ticks += clock.tickClockTakePending();
    }
    std::int64_t due = 0;
    while (dueStep(due, 120) <= elapsed / 1000) ++due;
    EXPECT_EQ(ticks, due);
}

TEST_F(TickClockTest, ANewTempoRestartsTheCycleAtTheNextTick) {
    pollEachMs(52);  // ticks at 1, 6, 11, ..., 47, 53 due next
    ASSERT_EQ(tickSteps.size(), 10u);
    EXPECT_TRUE(clock.tickClockSetTempo(60));
    EXPECT_TRUE(clock.tickClockSetTempo(60)) << "still pending until the next tick";
    tickSteps.clear();
    pollEachMs(1000);
    ASSERT_FALSE(tickSteps.empty());
    EXPECT_EQ(tickSteps.front(), dueStep(10, 120)) << "the tick already due keeps its time";
    for (std::size_t j = 0; j < tickSteps.size(); ++j) {
        EXPECT_EQ(tickSteps[j], tickSteps.front() + 625 * static_cast<std::int64_t>(j) / 60);
    }
    EXPECT_FALSE(clock.tickClockSetTempo(60));
}

TEST_F(TickClockTest, AStoppedClockNeitherTicksNorCatchesUpThePause) {
    pollEachMs(8);  // ticks at 1 and 6; the next at 11
    clock.tickClockStop();
    EXPECT_FALSE(clock.running());
    tickSteps.clear();
    pollEachMs(500);
    EXPECT_TRUE(tickSteps.empty());

    clock.tickClockStart();
    step = 0;
    pollEachMs(10);
    // The counters kept their place: 3 steps to the tick that was next when it stopped.
    EXPECT_EQ(tickSteps, (std::vector<std::int64_t>{3, 8}));

    clock.tickClockReset(true);
    EXPECT_EQ(clock.tempo(), 120u);
    tickSteps.clear();
    step = 0;
    pollEachMs(7);
    EXPECT_EQ(tickSteps, (std::vector<std::int64_t>{1, 6})) << "a reset starts the cycle afresh";
}

}  // namespace
}  // namespace tavrel
