// The picture of a pattern, painted offscreen: its lanes, the play line where the sequencer
// stands, and nothing left of a pattern that has gone.
#include "playback/PreviewRig.h"
#include "views/CPhraseDrawView.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QScreen>
#include <QTest>

#include <optional>

namespace tavrel::test {
namespace {

class PhraseDrawViewTest : public testing::Test {
protected:
    PhraseDrawViewTest() : view(std::make_unique<views::CPhraseDrawView>(rig.seq)) {
        view->resize(600, 300);
    }
    ~PhraseDrawViewTest() override { rig.seq->stop(); }

    std::vector<std::pair<QString, int>> lanes() const {
        std::vector<std::pair<QString, int>> out;
        for (const auto& lane : view->scene().lanes().lanes())
            out.emplace_back(lane.name, lane.hits);
        return out;
    }
    // The x of every column of `image` whose pixel on row `y` has the highlight colour.
    std::vector<int> highlighted(const QImage& image, int y) const {
        const QRgb mark = view->palette().color(QPalette::Highlight).rgb();
        std::vector<int> xs;
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == mark) xs.push_back(x);
        }
        return xs;
    }

    PreviewRig rig;
    std::unique_ptr<views::CPhraseDrawView> view;
};

TEST_F(PhraseDrawViewTest, LanesStackLikeAScoreWithTheShownVariationsHits) {
    const std::vector<Note> notes = {{0, 36},   {0, 42},   {48, 42},  {96, 38},
                                     {96, 42},  {144, 42}, {192, 36}, {192, 49},
                                     {240, 45}, {288, 38}, {288, 90}, {336, 81}};
    auto p = rig.pattern(notes, 384);
    // A key only another variation plays gets a lane without hits.
    PreviewRig::give(*p->getPhraseAtVariation(3), {{0, 56}}, 384);
    view->grab();
    const std::vector<std::pair<QString, int>> expected = {
        {"Note 90", 1},       {"Open Triangle", 1}, {"Cowbell", 0},        {"Crash Cymbal 1", 1},
        {"Closed Hi-Hat", 4}, {"Low Tom", 1},       {"Acoustic Snare", 2}, {"Bass Drum 1", 2},
    };
    EXPECT_EQ(lanes(), expected);
    EXPECT_EQ(view->scene().lanes().hits().size(), 12U);

    // Showing variation 3 keeps the lanes and counts its hits instead.
    p->setCurVariationNum(3);
    view->grab();
    ASSERT_EQ(lanes().size(), expected.size());
    EXPECT_EQ(lanes()[2], std::make_pair(QString("Cowbell"), 1));
    EXPECT_EQ(lanes()[7], std::make_pair(QString("Bass Drum 1"), 0));
}

TEST_F(PhraseDrawViewTest, PlayLineFollowsTheSequencerOnScreen) {
    rig.pattern({{0, 36}, {384, 38}, {768, 36}, {1152, 38}}, 1536);  // four bars of 4/4
    view->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    const int y = view->height() - 10;  // across the lanes
    // Where the line is on screen after the sequencer has moved `ticks` on. Between two
    // moves the view repaints only the strips the line leaves and enters, so a strip left
    // unpainted shows as a second line.
    auto lineAfter = [&](int ticks) -> std::optional<int> {
        rig.seq->comeTick(ticks);
        view->setNeedsDisplay();
        QTest::qWait(0);
        const auto line = highlighted(view->screen()->grabWindow(view->winId()).toImage(), y);
        if (line.empty()) return std::nullopt;
        EXPECT_LE(line.back() - line.front(), 3) << "one line, not two";
        return line.front();
    };
    view->grab();
    EXPECT_FALSE(lineAfter(0)) << "stopped";
    rig.seq->play();
    const auto start = lineAfter(0);
    const auto bar2 = lineAfter(384);
    const auto bar3 = lineAfter(384);
    ASSERT_TRUE(start && bar2 && bar3);
    EXPECT_NEAR(*bar3, *view->playX(), 2);  // drawn where the view's own axis puts the tick
    const int barWidth = *bar2 - *start;
    EXPECT_GT(barWidth, view->width() / 8);  // four bars fill most of the width
    EXPECT_NEAR(*bar3 - *bar2, barWidth, 1);
    EXPECT_LE(*start + 4 * barWidth, view->width());
    rig.seq->stop();
    EXPECT_FALSE(lineAfter(0)) << "stopped again";
}

TEST_F(PhraseDrawViewTest, NothingOfARemovedPatternIsDrawn) {
    auto kept = rig.pattern({{0, 56}}, 384);
    std::weak_ptr<CPtnDataMgr> removed = rig.pattern({{0, 36}, {96, 38}}, 384);
    view->grab();
    EXPECT_EQ(lanes().size(), 2U);

    rig.context.patterns().removePatternData();  // the current one, without a paint in between
    view->grab();
    EXPECT_TRUE(removed.expired());
    EXPECT_EQ(lanes(), (std::vector<std::pair<QString, int>>{{"Cowbell", 1}}));

    // With no pattern left, no ruler, name or lane of the last one: the top line is bare.
    rig.context.patterns().removePatternData();
    const QImage empty = view->grab().toImage();
    EXPECT_TRUE(view->scene().empty());
    const QRgb base = view->palette().color(QPalette::Base).rgb();
    for (int x = 0; x < empty.width(); ++x) ASSERT_EQ(empty.pixel(x, 2), base) << x;
}

}  // namespace
}  // namespace tavrel::test
