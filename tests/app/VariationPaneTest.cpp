// The variation panes as a user works them: typing in the fields, dragging the window's
// edges and middle in the strip, undoing, and the fields waiting for a pending preview change.
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "playback/PreviewRig.h"
#include "views/CVariationDrawView.h"
#include "views/CVariationEditBaseView.h"
#include "views/EditHistory.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QTest>
#include <QUndoStack>

#include <memory>

namespace tavrel::test {
namespace {

using views::CVariationEditBaseView;

class VariationPaneTest : public testing::Test {
protected:
    // A current pattern whose ten variations are `total` bars of 4/4, with variation
    // `vari`'s window at (from, bars), and that variation's pane on screen.
    CVariationEditBaseView& pane(std::int32_t vari, int total, int from, int bars) {
        mPattern = rig.pattern({{0, 36}}, total * 384);
        for (std::int32_t v = 0; v < 10; ++v) {
            PreviewRig::give(*mPattern->getPhraseAtVariation(v), {{0, 36}}, total * 384);
        }
        mVari = vari;
        phrase().setFrom(from);
        phrase().setBars(bars);
        mPane.reset(CVariationEditBaseView::make(vari, rig.seq, history));
        mPane->resize(640, mPane->sizeHint().height());
        mPane->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(mPane.get()));
        history.clear();
        return *mPane;
    }
    CPhraseData& phrase() { return *mPattern->getPhraseAtVariation(mVari); }
    std::pair<int, int> window() { return {phrase().getFrom(), phrase().getBars()}; }
    QWidget& strip() { return *mPane->mDrawView(); }
    // x of a bar's left side (fraction 0) or centre (fraction 0.5) in the strip.
    int x(double bar) { return static_cast<int>(bar * strip().width() / phrase().getTotalBars()); }
    QPoint at(int px) { return {px, strip().height() / 2}; }
    // Presses at `from`, moves in half-bar steps to `to` and releases there.
    void drag(int from, int to) {
        QTest::mousePress(&strip(), Qt::LeftButton, {}, at(from));
        const int step = std::max(1, x(0.5));
        for (int p = from; p != to;) {
            p = from < to ? std::min(to, p + step) : std::max(to, p - step);
            QTest::mouseMove(&strip(), at(p));
        }
        QTest::mouseRelease(&strip(), Qt::LeftButton, {}, at(to));
    }
    void type(QLineEdit* field, const QString& text) {
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, text);
        QTest::keyClick(field, Qt::Key_Return);
    }

    PreviewRig rig;
    views::EditHistory history;
    std::shared_ptr<CPtnDataMgr> mPattern;
    std::unique_ptr<CVariationEditBaseView> mPane;
    std::int32_t mVari = 0;
};

enum class Grab { Left, Right, Middle };

struct DragCase {
    const char* what;
    std::int32_t vari;
    Grab grab;
    double toBar;  // the pointer's last place, in bars
    std::pair<int, int> expected;
    Qt::CursorShape hover;
};

// Eight bars, window at bars 3-5 (from 2, bars 3). Every changed window is one undo step.
TEST_F(VariationPaneTest, DraggingTheWindowFollowsItsEdgeOrMiddleAndUndoesInOneStep) {
    const DragCase cases[] = {
        {"right edge", 1, Grab::Right, 6.5, {2, 5}, Qt::IBeamCursor},
        {"right edge past the end", 1, Grab::Right, 9.0, {2, 6}, Qt::IBeamCursor},
        {"left edge keeps the end, stops at bar 1", 1, Grab::Left, -1.0, {0, 5}, Qt::IBeamCursor},
        {"left edge stops before the end", 1, Grab::Left, 7.5, {4, 1}, Qt::IBeamCursor},
        {"middle", 3, Grab::Middle, 5.5, {4, 3}, Qt::OpenHandCursor},
        {"middle past the end shortens", 3, Grab::Middle, 7.9, {6, 2}, Qt::OpenHandCursor},
        {"middle stops at bar 0", 3, Grab::Middle, -2.0, {0, 3}, Qt::OpenHandCursor},
        {"fill right edge", 2, Grab::Right, 6.5, {2, 3}, Qt::ArrowCursor},
        {"fill left edge moves", 2, Grab::Left, 0.5, {0, 3}, Qt::ArrowCursor},
        {"fill middle", 4, Grab::Middle, 4.5, {3, 3}, Qt::OpenHandCursor},
    };
    for (const DragCase& c : cases) {
        SCOPED_TRACE(c.what);
        pane(c.vari, 8, 2, 3);
        const int grab = c.grab == Grab::Left    ? x(2) + 2
                         : c.grab == Grab::Right ? x(5) - 2
                                                 : x(3.5);
        QTest::mouseMove(&strip(), at(0));  // a move to where the pointer is would be no move
        QTest::mouseMove(&strip(), at(grab));
        EXPECT_EQ(strip().cursor().shape(), c.hover);
        drag(grab, x(c.toBar));
        EXPECT_EQ(window(), c.expected);
        const bool changed = c.expected != std::pair{2, 3};
        ASSERT_EQ(history.stack().count(), changed ? 1 : 0);
        if (!changed) continue;
        history.stack().undo();
        EXPECT_EQ(window(), (std::pair{2, 3}));
        history.stack().redo();
        EXPECT_EQ(window(), c.expected);
    }
}

TEST_F(VariationPaneTest, WhileDraggingTheHandIsClosedAndTheWindowDrawnFollows) {
    pane(1, 8, 2, 3);
    const auto filled = [this](double bar) {
        const QImage image = strip().grab().toImage();
        const QPoint p = at(x(bar)) * image.devicePixelRatio();
        return image.pixelColor(p) != strip().palette().color(QPalette::Base);
    };
    EXPECT_FALSE(filled(5.5));
    QTest::mousePress(&strip(), Qt::LeftButton, {}, at(x(3.5)));
    EXPECT_EQ(strip().cursor().shape(), Qt::ClosedHandCursor);
    QTest::mouseMove(&strip(), at(x(4.5)));
    QTest::mouseMove(&strip(), at(x(5.5)));
    EXPECT_TRUE(filled(5.5));
    EXPECT_FALSE(filled(2.5));
    QTest::mouseRelease(&strip(), Qt::LeftButton, {}, at(x(5.5)));
    EXPECT_EQ(strip().cursor().shape(), Qt::OpenHandCursor);
    history.stack().undo();
    QTest::mouseClick(&strip(), Qt::LeftButton, {}, at(x(3.5)));
    EXPECT_EQ(history.stack().count(), 1);  // a click is no edit
}

TEST_F(VariationPaneTest, AOneBarPhrasePlayedWholeHasNothingToDrag) {
    pane(1, 1, 0, 1);
    for (const int p : {1, x(0.5), strip().width() - 2}) {
        QTest::mouseMove(&strip(), at(p));
        EXPECT_EQ(strip().cursor().shape(), Qt::ArrowCursor);
        drag(p, p < x(0.5) ? strip().width() - 2 : 1);
    }
    EXPECT_EQ(window(), (std::pair{0, 1}));
    EXPECT_EQ(history.stack().count(), 0);
}

struct FieldCase {
    const char* what;
    bool from;
    const char* typed;
    std::pair<int, int> expected;
    const char* shown;
};

// Eight bars, window from 2, bars 3.
TEST_F(VariationPaneTest, TypedNumbersAreKeptInsideThePhraseAndShownAsKept) {
    const FieldCase cases[] = {
        {"from counts from 1", true, "5", {4, 3}, "5"},
        {"from 0 is bar 1", true, "0", {0, 3}, "1"},
        {"from past the end is refused", true, "9", {2, 3}, "3"},
        {"from near the end cuts the length", true, "8", {7, 1}, "8"},
        {"bars", false, "4", {2, 4}, "4"},
        {"bars past the end are cut", false, "20", {2, 6}, "6"},
        {"bars 0 is 1", false, "0", {2, 1}, "1"},
    };
    for (const FieldCase& c : cases) {
        SCOPED_TRACE(c.what);
        CVariationEditBaseView& p = pane(5, 8, 2, 3);
        QLineEdit* field = c.from ? p.mFrom() : p.mBars();
        type(field, c.typed);
        EXPECT_EQ(window(), c.expected);
        EXPECT_EQ(field->text(), c.shown);
        EXPECT_TRUE(strip().hasFocus());
        const bool changed = c.expected != std::pair{2, 3};
        ASSERT_EQ(history.stack().count(), changed ? 1 : 0);
        if (!changed) continue;
        history.stack().undo();
        EXPECT_EQ(window(), (std::pair{2, 3}));
    }
}

TEST_F(VariationPaneTest, FieldsHoldWhileAChangeWaitsForTheNextBar) {
    CVariationEditBaseView& p = pane(0, 8, 0, 4);
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

}  // namespace
}  // namespace tavrel::test
