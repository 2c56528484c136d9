// The pattern header driven through its own widgets: what the fields store, the time
// signature re-fitting the variations and undone, kit changes reaching the preview's output,
// refreshes held while the preview has a change waiting, and the empty header.
#include "AppRig.h"

#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "playback/CSeqSim.h"
#include "playback/PreviewNoteOutput.h"
#include "views/CPatternEditView.h"
#include "views/CPhraseEditView.h"
#include "views/CTimeSigCombo.h"
#include "views/ColoredStrings.h"
#include "views/EditHistory.h"

#include <QAbstractItemView>
#include <QButtonGroup>
#include <QComboBox>
#include <QToolButton>
#include <QUndoStack>

namespace tavrel::test {
namespace {

std::shared_ptr<CPtnDataMgr> current() {
    return Context::current().patterns().getCurPattarn();
}

// Chooses item `index` in the box's list with the mouse, as a user does.
void choose(QComboBox* box, int index) {
    box->showPopup();
    QAbstractItemView* list = box->view();
    ASSERT_TRUE(waitUntil([&] { return list->isVisible(); }));
    list->scrollTo(list->model()->index(index, 0));
    const QRect item = list->visualRect(list->model()->index(index, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      {list->viewport()->width() / 2, item.center().y()});
    ASSERT_TRUE(waitUntil([&] { return !list->isVisible(); }));
}

struct Window {
    std::int32_t from, bars, nume, deno;
    bool operator==(const Window&) const = default;
};

std::vector<Window> windows(const CPtnDataMgr& pattern) {
    std::vector<Window> all;
    for (int i = 0; i < kVariationCount; ++i) {
        const auto v = pattern.getPhraseAtVariation(i);
        all.push_back({v->getFrom(), v->getBars(), v->getNume(), v->getDeno()});
    }
    return all;
}

class ProgramChanges : public PreviewNoteOutput {
public:
    void noteOn(std::int32_t, std::int32_t) override {}
    void programChange(std::int32_t program) override { programs.push_back(program); }
    void allOff() override {}
    std::vector<std::int32_t> programs;
};

// The window with one pattern loaded, its header and its edit history.
class HeaderEditor : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(rig.waitLoaded(1)); }

    ProgramChanges sent;  // outlives the rig, which stops the preview on its way out
    AppRig rig{{TAVREL_EXAMPLES_DIR "/rock-4-4.mid"}};
    views::CPhraseEditView& view = *rig.window().mPtnEditVeiw()->phraseView();
    QUndoStack& history = rig.window().editHistory().stack();
};

TEST_F(HeaderEditor, FieldsStoreWhatTheUnitTakesAndUndoOneStepPerEdit) {
    type(view.name(), "ABC DEFGHIJKLMN");
    EXPECT_EQ(view.name()->text(), "ABC DEFGHIJK");
    EXPECT_EQ(current()->getName(), "ABC DEFGHIJK");
    EXPECT_FALSE(view.playing()) << "a space typed into the name is no play key";
    view.name()->setFocus();
    QTest::mouseClick(&view, Qt::LeftButton, {}, {1, 1});  // beside the fields
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_TRUE(view.playing());
    view.stop();
    EXPECT_EQ(history.count(), 1) << "one step for the whole name, none per key";
    history.undo();
    EXPECT_EQ(current()->getName(), "rock-4-4    ");
    EXPECT_EQ(view.name()->text(), "rock-4-4");
    history.redo();
    EXPECT_EQ(view.name()->text(), "ABC DEFGHIJK");

    const struct {
        const char* typed;
        std::int32_t stored;
    } tempos[] = {{"20", 40}, {"400", 350}, {"41", 41}, {"", 40}};
    for (const auto& c : tempos) {
        type(view.tempo(), c.typed);
        EXPECT_EQ(current()->getTempo(), c.stored) << c.typed;
        EXPECT_EQ(rig.session().sequencer()->getTempo(), c.stored) << c.typed;
        EXPECT_EQ(view.tempo()->text(), QString::number(c.stored)) << c.typed;
    }
    // 20 -> 40, 400 -> 350, 41; the empty field gives 40 again, a step of its own.
    EXPECT_EQ(history.count(), 5);
    history.undo();
    EXPECT_EQ(current()->getTempo(), 41);
    view.tempo()->setFocus();
    QTest::keyClicks(view.tempo(), "9");
    QTest::keyClick(view.tempo(), Qt::Key_Escape);  // takes the typing back
    EXPECT_EQ(view.tempo()->text(), "41");
    EXPECT_TRUE(history.canRedo()) << "no new step";
}

TEST_F(HeaderEditor, TimeSignatureRefitsEveryVariationAndUndoPutsTheWindowsBack) {
    views::CTimeSigCombo* box = view.timeSigSegment();
    ASSERT_EQ(box->count(), 17);
    EXPECT_EQ(box->currentText(), "4/4");
    current()->getPhraseAtVariation(1)->setFrom(1);  // a window the re-fit must move
    const auto before = windows(*current());

    choose(box, box->findText("7/8"));
    EXPECT_EQ(current()->getNume(), 7);
    EXPECT_EQ(current()->getDeno(), 8);
    const auto after = windows(*current());
    for (int i = 0; i < kVariationCount; ++i) {
        EXPECT_EQ(after[i].nume, 7) << i;
        if (i % 2 == 0 && i > 0 && i < 9) {
            EXPECT_EQ(after[i].bars, 1) << "fill " << i;
        }
    }
    EXPECT_NE(after, before);

    history.undo();
    EXPECT_EQ(windows(*current()), before);
    EXPECT_EQ(box->currentText(), "4/4");
    history.redo();
    EXPECT_EQ(windows(*current()), after);
    EXPECT_EQ(box->currentText(), "7/8");

    current()->setNume(16);  // not a signature of the list
    EXPECT_EQ(box->currentIndex(), -1);
}

TEST_F(HeaderEditor, AKitChangeSendsOneProgramChangeAndTheSameKitNone) {
    QComboBox* kits = view.kit();
    ASSERT_GE(kits->count(), 3);
    rig.session().sequencer()->previewOutput().useOutput(sent);

    choose(kits, 2);
    EXPECT_EQ(current()->getKitNum(), 2);
    EXPECT_EQ(sent.programs, std::vector<std::int32_t>{2});
    choose(kits, 2);
    EXPECT_EQ(sent.programs.size(), 1u);
    history.undo();
    EXPECT_EQ(kits->currentIndex(), 0);
    EXPECT_EQ(sent.programs, (std::vector<std::int32_t>{2, 0}));
}

TEST_F(HeaderEditor, AWaitingChangeHoldsTheFieldsAndThePlayButtonFollowsTheStop) {
    CSeqSim& seq = *rig.session().sequencer();
    current()->setTempo(350);  // a bar goes by in 0.7 s
    QTest::mouseClick(view.mPlaySw(), Qt::LeftButton);
    ASSERT_TRUE(view.playing());

    current()->getCurPhrase()->setBars(1);  // waits for the next bar
    ASSERT_TRUE(seq.getBook());
    current()->setName("WAITING");
    EXPECT_EQ(view.name()->text(), "rock-4-4");
    ASSERT_TRUE(waitUntil([&] { return !seq.getBook(); }));
    rig.watchTicks(1);
    EXPECT_EQ(view.name()->text(), "WAITING");

    seq.stop();  // as when the unit goes away
    rig.watchTicks(1);
    EXPECT_FALSE(view.playing());
    EXPECT_EQ(view.mPlaySw()->text(), "Play");
}

TEST(HeaderEditorWithoutAPattern, IsEmptyUntilTheLoadButtonBringsOne) {
    AppRig rig;
    ASSERT_TRUE(rig.waitLoaded(0));
    views::CPhraseEditView& view = *rig.window().mPtnEditVeiw()->phraseView();
    EXPECT_EQ(view.name()->text(), "");
    EXPECT_EQ(view.tempo()->text(), "120");
    EXPECT_EQ(view.variSegment()->checkedId(), 0);
    EXPECT_FALSE(view.name()->isEnabled());
    QTest::mouseClick(view.mPlaySw(), Qt::LeftButton);
    EXPECT_FALSE(view.playing());

    const auto choose = fileChoice(TAVREL_EXAMPLES_DIR "/rock-4-4.mid");
    QTest::mouseClick(view.findChild<QPushButton*>("loadButton"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([] { return current() != nullptr; }));
    EXPECT_EQ(view.name()->text(), "rock-4-4");
    EXPECT_TRUE(view.name()->isEnabled());
}

// The name field shows in one colour the characters the unit displays, the rest in another.
TEST(ColouredStrings, NamesSplitWhereAsked) {
    const QColor one(Qt::black), two(Qt::gray);
    const struct {
        QString name;
        std::vector<std::pair<int, QColor>> runs;  // lengths and colours in order
    } cases[] = {
        {"ABCDEFGHIJ", {{8, one}, {2, two}}},
        {"ABCDEFGH", {{8, one}}},
        {"ABC", {{3, one}}},
    };
    for (const auto& c : cases) {
        const views::ColoredStrings coloured(c.name, one, two, 8);
        std::vector<std::pair<int, QColor>> runs;
        int next = 0;
        for (const auto& range : coloured.attributedString().formats) {
            EXPECT_EQ(range.start, next) << c.name.toStdString();
            next += range.length;
            runs.emplace_back(range.length, range.format.foreground().color());
        }
        EXPECT_EQ(runs, c.runs) << c.name.toStdString();
    }
}

}  // namespace
}  // namespace tavrel::test
