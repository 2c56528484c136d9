#include "playback/PlayStatus.h"
#include "playback/PreviewRig.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavrel {
namespace {

using test::Note;
using test::noteOns;
using test::PreviewRig;
using test::TickOut;
using test::windowNotes;

template <typename T>
std::vector<T> operator+(std::vector<T> a, const std::vector<T>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A note every `step` ticks from 0 up to `end`, numbered from `first`.
std::vector<Note> every(int step, int end, int first) {
    std::vector<Note> notes;
    for (int t = 0, i = 0; t < end; t += step, ++i) notes.push_back({t, first + i});
    return notes;
}

TEST(CSeqSim, PlaysEachNoteOnItsTickAndLoopsTheWindowOneTickShort) {
    PreviewRig rig;
    // Two notes on one tick go out in list order; a note on the window's last tick (767 of
    // a two-bar window) is never played.
    const std::vector<Note> notes{{0, 36},   {0, 38},   {96, 42},  {200, 46},
                                  {383, 49}, {500, 51}, {766, 40}, {767, 57}};
    rig.pattern(notes, 768, 350);
    rig.seq->play();
    EXPECT_EQ(getPlayStatus(), kPlayStatusPlaying);
    EXPECT_EQ(noteOns(rig.ticks(1600)), windowNotes(notes, 0, 767, 0, 1600));
    rig.seq->stop();
    EXPECT_EQ(getPlayStatus(), kPlayStatusStopped);

    // Stopped, an edit moves the cursor to the new window's start.
    rig.context.patterns().getCurPhrase()->setFrom(1);
    EXPECT_EQ(rig.seq->getStartTick(), 384);
    EXPECT_EQ(rig.seq->getTick(), 384);
    EXPECT_EQ(rig.seq->getBar(), 1);
    rig.sentSince();
    rig.seq->play();
    EXPECT_EQ(noteOns(rig.ticks(800)), windowNotes(notes, 384, 383, 384, 800));
}

TEST(CSeqSim, PhrasesWithoutNotesPlaySilenceAndStillLoop) {
    PreviewRig rig;
    rig.pattern({}, 0, 350);                                 // the end marker alone
    rig.context.patterns().addPatternData()->setTempo(350);  // notes never given
    for (const int row : {0, 1}) {
        rig.context.patterns().setCurPatternNum(row);
        rig.seq->play();
        for (const TickOut& t : rig.ticks(200)) {
            EXPECT_TRUE(t.all.empty()) << "row " << row;
            EXPECT_EQ(rig.seq->getTick(), rig.seq->getStartTick()) << "row " << row;
        }
        rig.seq->stop();
    }
}

TEST(CSeqSim, AWindowPastThePhraseLoopsAtThePhrasesEnd) {
    PreviewRig rig;
    // Five beats of 4/4 make two bars; in 2/4 the window grows to four bars, but the phrase
    // counts only three, so the window loops after 3 * 192 ticks, one short.
    const std::vector<Note> notes{{0, 36}, {96, 38}, {240, 42}, {470, 46}};
    auto pattern = rig.pattern(notes, 480, 350);
    pattern->setNume(2);
    pattern->renewPhraseNumerator();
    rig.seq->play();
    EXPECT_EQ(noteOns(rig.ticks(1200)), windowNotes(notes, 0, 575, 0, 1200));
}

TEST(CSeqSim, SixEightCountsBeatsOfFortyEightTicksAndQuarterNotesOfTempo) {
    PreviewRig rig;
    const auto notes = every(48, 768, 30);
    auto pattern = rig.pattern(notes, 768, 120);
    pattern->setNume(6);
    pattern->setDeno(8);
    pattern->renewPhraseNumerator();  // two bars of 6/8: 576 ticks
    rig.seq->play();
    EXPECT_EQ(rig.seq->getTickPerBeat(), 48);
    EXPECT_EQ(rig.seq->getBeatPerBar(), 6);
    std::vector<TickOut> ticks;
    for (int i = 0; i < 700; ++i) {
        ticks.push_back(rig.tick());
        const int tick = rig.seq->getTick();
        ASSERT_EQ(rig.seq->getBar(), tick / 48 / 6) << "tick " << tick;
        ASSERT_EQ(rig.seq->getBeat(), tick / 48 % 6) << "tick " << tick;
    }
    EXPECT_EQ(noteOns(ticks), windowNotes(notes, 0, 575, 0, 700));
    EXPECT_EQ(ticks[96].ms - ticks[0].ms, 500) << "a quarter note at 120 whatever the beat";
}

TEST(CSeqSim, ANewTempoTakesEffectOnTheNextTickWithoutMovingThePosition) {
    PreviewRig rig;
    const auto notes = every(24, 768, 40);
    auto pattern = rig.pattern(notes, 768, 120);
    rig.seq->play();
    auto ticks = rig.ticks(50);
    pattern->setTempo(240);
    EXPECT_TRUE(rig.seq->getBook());
    ticks = ticks + rig.ticks(400);
    EXPECT_FALSE(rig.seq->getBook());
    EXPECT_EQ(rig.seq->getTempo(), 240);
    EXPECT_EQ(noteOns(ticks), windowNotes(notes, 0, 767, 0, 450));

    // The tick after the edit hands the tempo to the clock; the one after it, still due on
    // the old grid at 1 + 625 * 51 / 120 ms, starts the new cycle.
    EXPECT_EQ(ticks[51].ms, 1 + 625 * 51 / 120);
    for (int j = 0; 51 + j < 450; ++j) {
        ASSERT_EQ(ticks[51 + j].ms, ticks[51].ms + 625 * j / 240) << "tick " << 51 + j;
    }
}

// New notes for the playing variation: a fill takes them at the next beat, at the same beat
// of its window; any other variation at the next bar, from its window's start.
TEST(CSeqSim, NewNotesComeInAtTheNextBeatForAFillAndAtTheNextBarOtherwise) {
    const auto before = every(24, 768, 30);  // two bars
    const auto after = every(24, 384, 80);   // one bar
    struct Case {
        int variation, editAt, playOn;
        std::vector<std::vector<int>> want;
    };
    const std::vector<Case> cases = {
        // Positions 500..574 still play the old notes. The next beat is beat 6 of the old
        // window, beat 2 of the new one-bar window: it starts at tick 192, one tick early, as
        // the change is taken on the tick before the beat.
        {2, 500, 675, windowNotes(before, 0, 767, 0, 575) + windowNotes(after, 0, 383, 192, 600)},
        // The tick that would play 383 starts the new window from its first bar instead.
        {1, 130, 753, windowNotes(before, 0, 767, 0, 383) + windowNotes(after, 0, 383, 0, 500)},
    };
    for (const Case& c : cases) {
        PreviewRig rig;
        auto pattern = rig.pattern(before, 768, 350, c.variation);
        rig.seq->play();
        auto ticks = rig.ticks(c.editAt);
        PreviewRig::give(*pattern->getCurPhrase(), after, 384);
        EXPECT_TRUE(rig.seq->getBook());
        ticks = ticks + rig.ticks(c.playOn);
        EXPECT_EQ(noteOns(ticks), c.want) << "variation " << c.variation;
        EXPECT_FALSE(rig.seq->getBook());
    }
}

TEST(CSeqSim, AFillChosenWhileAVersePlaysComesInAtTheNextBeatAndTheVerseAtTheBar) {
    PreviewRig rig;
    const auto verse = every(24, 768, 30);
    const auto fill = every(24, 384, 80);
    auto pattern = rig.pattern(verse, 768, 350, 1);
    PreviewRig::give(*pattern->getPhraseAtVariation(2), fill, 384);
    rig.seq->play();
    auto ticks = rig.ticks(500);
    rig.context.patterns().setCurVariationNum(2);
    ticks = ticks + rig.ticks(100);  // to position 216 of the fill
    rig.context.patterns().setCurVariationNum(1);
    ticks = ticks + rig.ticks(400);
    // Beat 6 of the verse's window is beat 2 of the one-bar fill. The fill's loop point is
    // the first change point for the verse after that.
    EXPECT_EQ(noteOns(ticks), windowNotes(verse, 0, 767, 0, 575) +
                                  windowNotes(fill, 0, 383, 192, 191) +
                                  windowNotes(verse, 0, 767, 0, 234));
}

TEST(CSeqSim, TheKitGoesOutOnlyWhenAChangeIsTakenAtABarNotAtTheLoopPoint) {
    PreviewRig rig;
    const auto notes = every(24, 768, 30);
    auto pattern = rig.pattern(notes, 768, 350);
    const auto programsWhenEditedAt = [&](int position, int kit) {
        rig.seq->play();  // not sending the kit
        auto ticks = rig.ticks(position);
        pattern->setKitNum(kit);  // not an edit by itself
        EXPECT_FALSE(rig.seq->getBook());
        pattern->setTempo(350);  // the next edit takes the kit along
        EXPECT_TRUE(rig.seq->getBook());
        ticks = ticks + rig.ticks(1000);
        std::vector<std::pair<int, int>> programs;
        for (int i = 0; i < static_cast<int>(ticks.size()); ++i) {
            for (const int p : ticks[i].programs) programs.push_back({i, p});
        }
        EXPECT_FALSE(rig.seq->getBook());
        rig.seq->stop();
        return programs;
    };
    // In the first bar, the change waits for the bar line and sends the kit there.
    EXPECT_EQ(programsWhenEditedAt(100, 5), (std::vector<std::pair<int, int>>{{383, 5}}));
    // In the last bar, the loop point comes first: taken, but not sent.
    EXPECT_TRUE(programsWhenEditedAt(500, 9).empty());
}

TEST(CSeqSim, StoppingAfterThreeHundredNotesEndsTheLast256OnceEach) {
    PreviewRig rig;
    std::vector<Note> notes;
    for (int i = 0; i < 300; ++i) notes.push_back({i, 20 + i % 100});
    rig.pattern(notes, 384, 350);
    rig.seq->play();
    // Ticks 0..299 are due by millisecond 1 + 625 * 299 / 350 = 534, tick 300 at 536. They
    // are raised in one late wake, and the stop comes before the sequencer has played them.
    rig.lateWake(534);
    rig.seq->stop();
    const TickOut stopped = rig.sentSince();
    EXPECT_EQ(stopped.noteOns.size(), 300u) << "ticks raised before the stop are played";
    // The ring of 256 slots holds notes 256..299 in slots 0..43 and notes 44..255 after
    // them, and is ended slot by slot, after the last note started.
    std::vector<test::Bytes> expected;
    for (int slot = 0; slot < 256; ++slot) {
        const int started = slot < 44 ? 256 + slot : slot;
        expected.push_back({0x89, static_cast<std::uint8_t>(20 + started % 100), 0x40});
    }
    ASSERT_EQ(stopped.all.size(), 556u);
    EXPECT_EQ(std::vector<test::Bytes>(stopped.all.begin() + 300, stopped.all.end()), expected);
}

}  // namespace
}  // namespace tavrel
