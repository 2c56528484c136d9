// The variation panes as a user works them: typing in the fields, dragging the window's
// edges and middle in the strip, undoing, and the fields waiting for a pending preview change.
// Then the picture of a pattern, painted offscreen: its lanes, the play line where the
// sequencer stands, and nothing left of a pattern that has gone.
#include "AppRig.h"

#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "playback/PreviewRig.h"
#include "views/CPhraseDrawView.h"
#include "views/CVariationDrawView.h"
#include "views/CVariationEditBaseView.h"
#include "views/EditHistory.h"

#include <QImage>
#include <QScreen>
#include <QUndoStack>

#include <optional>

namespace tavrel::test {
namespace {

using views::CVariationEditBaseView;
using Window = std::pair<int, int>;  // from, bars

class VariationPaneTest : public testing::Test {
protected:
    // A current pattern whose current variation `vari` is `total` bars of 4/4, with `start` as
    // its window and its pane on screen.
    CVariationEditBaseView& pane(std::int32_t vari, int total, Window start = {2, 3}) {
        mPattern = rig.pattern({{0, 36}}, total * 384, 120, vari);
        mVari = vari;
        phrase().setFrom(start.first);
        phrase().setBars(start.second);
        mPane.reset(CVariationEditBaseView::make(vari, rig.seq, history));
        mPane->resize(640, mPane->sizeHint().height());
        mPane->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(mPane.get()));
        history.clear();
        return *mPane;
    }
    CPhraseData& phrase() { return *mPattern->getPhraseAtVariation(mVari); }
    Window window() { return {phrase().getFrom(), phrase().getBars()}; }
    QWidget& strip() { return *mPane->mDrawView(); }
    int x(double bar) { return static_cast<int>(bar * strip().width() / phrase().getTotalBars()); }
    QPoint at(int px) { return {px, strip().height() / 2}; }
    // Presses at `from`, moves there in half-bar steps to `to` and releases.
    void drag(int from, int to) {
        QTest::mousePress(&strip(), Qt::LeftButton, {}, at(from));
        const int step = std::max(1, x(0.5));
        for (int p = from; p != to;) {
            p = from < to ? std::min(to, p + step) : std::max(to, p - step);
            QTest::mouseMove(&strip(), at(p));
        }
        QTest::mouseRelease(&strip(), Qt::LeftButton, {}, at(to));
    }
    // A changed window is one step of the history, which undo and redo walk; no change, none.
    void expectOneStep(Window before, Window after) {
        ASSERT_EQ(history.stack().count(), before == after ? 0 : 1);
        if (before == after) return;
        history.stack().undo();
        EXPECT_EQ(window(), before);
        history.stack().redo();
        EXPECT_EQ(window(), after);
    }

    PreviewRig rig;
    views::EditHistory history;
    std::shared_ptr<CPtnDataMgr> mPattern;
    std::unique_ptr<CVariationEditBaseView> mPane;
    std::int32_t mVari = 0;
};

TEST_F(VariationPaneTest, DraggingAnEdgeOrTheMiddleMovesTheWindowAsOneStep) {
    enum Grab { Left, Right, Middle };
    const struct {
        const char* what;
        std::int32_t vari;
        int total;
        Window start;
        Grab grab;
        double toBar;  // the pointer's last place
        Window expected;
        Qt::CursorShape hover;
    } cases[] = {
        {"right edge", 1, 8, {2, 3}, Right, 6.5, {2, 5}, Qt::IBeamCursor},
        {"left edge to bar 1 keeps the end", 1, 8, {2, 3}, Left, -1.0, {0, 5}, Qt::IBeamCursor},
        {"left edge stops before the end", 1, 8, {2, 3}, Left, 7.5, {4, 1}, Qt::IBeamCursor},
        {"middle", 3, 8, {2, 3}, Middle, 5.5, {4, 3}, Qt::OpenHandCursor},
        {"middle past the end shortens", 3, 8, {2, 3}, Middle, 7.9, {6, 2}, Qt::OpenHandCursor},
        {"middle stops at bar 1", 3, 8, {2, 3}, Middle, -2.0, {0, 3}, Qt::OpenHandCursor},
        {"fill right edge", 2, 8, {2, 3}, Right, 6.5, {2, 3}, Qt::ArrowCursor},
        {"fill left edge moves", 2, 8, {2, 3}, Left, 0.5, {0, 3}, Qt::ArrowCursor},
        {"fill middle", 4, 8, {2, 3}, Middle, 4.5, {3, 3}, Qt::OpenHandCursor},
        {"one bar played whole", 1, 1, {0, 1}, Middle, 0.9, {0, 1}, Qt::ArrowCursor},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        pane(c.vari, c.total, c.start);
        const auto [from, bars] = c.start;
        const int grab = c.grab == Left    ? x(from) + 2
                         : c.grab == Right ? x(from + bars) - 2
                                           : x(from + bars / 2.0);
        QTest::mouseMove(&strip(), at(grab + 1));  // a move to where the pointer is is none
        QTest::mouseMove(&strip(), at(grab));
        EXPECT_EQ(strip().cursor().shape(), c.hover);
        drag(grab, x(c.toBar));
        EXPECT_EQ(window(), c.expected);
        expectOneStep(c.start, c.expected);
    }
}

TEST_F(VariationPaneTest, ArrowKeysMoveTheWindowOrWithShiftItsEnd) {
    const struct {
        std::int32_t vari;
        Window start;
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        Window expected;
    } cases[] = {
        {1, {2, 3}, Qt::Key_Left, {}, {1, 3}},
        {1, {5, 3}, Qt::Key_Right, {}, {6, 2}},
        {1, {2, 3}, Qt::Key_Right, Qt::ShiftModifier, {2, 4}},
        {2, {2, 3}, Qt::Key_Right, Qt::ShiftModifier, {2, 3}},
        {1, {2, 3}, Qt::Key_Right, Qt::ControlModifier, {2, 3}},
    };
    for (const auto& c : cases) {
        pane(c.vari, 8, c.start);
        QTest::keyClick(&strip(), c.key, c.modifiers);
        EXPECT_EQ(window(), c.expected) << c.vari << " " << c.key << " " << c.modifiers;
        expectOneStep(c.start, c.expected);
    }
}

TEST_F(VariationPaneTest, TypedNumbersAreKeptInsideThePhraseAndShownAsKept) {
    const struct {
        const char* what;
        bool from;
        const char* typed;
        Window expected;
        const char* shown;
    } cases[] = {
        {"from counts from 1", true, "5", {4, 3}, "5"},
        {"from 0 is bar 1", true, "0", {0, 3}, "1"},
        {"from past the end is refused", true, "9", {2, 3}, "3"},
        {"from near the end cuts the length", true, "8", {7, 1}, "8"},
        {"bars past the end are cut", false, "20", {2, 6}, "6"},
        {"bars 0 is 1", false, "0", {2, 1}, "1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QLineEdit* field = c.from ? pane(5, 8).mFrom() : pane(5, 8).mBars();
        type(field, c.typed);
        EXPECT_EQ(window(), c.expected);
        EXPECT_EQ(field->text(), c.shown);
        EXPECT_TRUE(strip().hasFocus());
        expectOneStep({2, 3}, c.expected);
    }
}

TEST_F(VariationPaneTest, FieldsHoldWhileAChangeWaitsForTheNextBar) {
    CVariationEditBaseView& p = pane(0, 8, {0, 4});
    rig.seq->play();
    rig.tick();
    phrase().setBars(2);  // while playing: waits for the next bar
    ASSERT_TRUE(rig.seq->getBook());
    p.update();
    EXPECT_EQ(p.mBars()->text(), "4");
    EXPECT_TRUE(p.book());
    for (int i = 0; i < 384 && rig.seq->getBook(); ++i) rig.tick();
    ASSERT_FALSE(rig.seq->getBook());
    p.update();
    EXPECT_EQ(p.mBars()->text(), "2");
    EXPECT_FALSE(p.book());
    rig.seq->stop();
}

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
    const QRgb mark = view->palette().color(QPalette::Highlight).rgb();
    // Where the line is on screen after the sequencer has moved `ticks` on. Between two
    // moves the view repaints only the strips the line leaves and enters, so a strip left
    // unpainted shows as a second line.
    auto lineAfter = [&](int ticks) -> std::optional<int> {
        rig.seq->comeTick(ticks);
        view->setNeedsDisplay();
        QTest::qWait(0);
        const QImage shot = view->screen()->grabWindow(view->winId()).toImage();
        std::vector<int> line;  // the columns in the highlight colour
        for (int x = 0; x < shot.width(); ++x) {
            if (shot.pixel(x, y) == mark) line.push_back(x);
        }
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
