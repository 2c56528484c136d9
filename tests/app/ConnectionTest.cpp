// Start-up, the load sequence and the connection dialogs, each raised once per episode and
// closed when its condition ends; the unit's pattern file loaded and saved, and pattern files
// exported and imported, with the questions, alerts and notes on the way. All through the real
// window and dialogs.
#include "AppRig.h"

#include "app/QtAlerts.h"
#include "model/CPtnDataMgr.h"
#include "views/CPatternEditView.h"
#include "views/CPtnEditTableView.h"

#include <QLabel>
#include <QStatusBar>

#include <filesystem>

namespace tavrel::test {
namespace {

namespace fs = std::filesystem;

TEST(DesktopConnection, StartUpLoadsTheUnitAndTheMidiFilesNamed) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid", TAVREL_EXAMPLES_DIR "/fill-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(2));
    EXPECT_TRUE(rig.unit().editorMode());
    EXPECT_TRUE(rig.unit().mounted());
    EXPECT_EQ(rig.window().windowTitle(), "Tavrel [1]");
    EXPECT_EQ(rig.window().findChild<QLabel*>("unitStatus")->text(),
              "QL-900 connected, storage mounted");
    const QAbstractItemModel* list = rig.window().mPtnEditTableView()->model();
    EXPECT_EQ(list->rowCount(), 2);
    EXPECT_EQ(list->index(0, 0).data(), "rock-4-4");
    EXPECT_EQ(list->index(0, 1).data(), "Studio Rock");  // the unit's first kit
    for (QAction* a : {rig.menus().getMenuOfSmfLoad(), rig.menus().getMenuOfImport(),
                       rig.menus().getMenuOfExport(), rig.menus().getMenuOfApply(),
                       rig.menus().getMenuOfApplyAll(), rig.menus().getMenuOfMount()}) {
        EXPECT_TRUE(a->isEnabled()) << a->text().toStdString();
    }
    EXPECT_TRUE(rig.menus().getMenuOfMount()->isChecked());
    EXPECT_TRUE(rig.window().findChild<QPushButton*>("mDelButton")->isEnabled());
}

TEST(DesktopConnection, UnpluggedWhilePlayingStopsAndAsksOnceThenLoadsWhenBack) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(1));
    QTest::keyClick(&rig.window(), Qt::Key_Space);
    ASSERT_TRUE(rig.window().mPtnEditVeiw()->playing());
    QSignalSpy shown(&rig.window(), &app::CPtnEditViewController::settled);

    rig.unit().unplug();
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("NoConnectVC") != nullptr; }));
    EXPECT_FALSE(rig.window().mPtnEditVeiw()->playing());
    rig.watchTicks(5);
    EXPECT_EQ(shown.count(), 1);
    // The one pattern can be saved from here; nothing that needs the unit can be started.
    EXPECT_TRUE(rig.dialog("NoConnectVC")->findChild<QPushButton*>("exportButton")->isVisible());
    EXPECT_TRUE(rig.menus().getMenuOfExport()->isEnabled());
    EXPECT_FALSE(rig.menus().getMenuOfSmfLoad()->isEnabled());
    EXPECT_EQ(rig.window().findChild<QLabel*>("unitStatus")->text(), "No unit connected");

    ASSERT_TRUE(rig.unit().plugIn());
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("NoConnectVC") == nullptr && rig.loaded(); }));
    EXPECT_TRUE(rig.unit().mounted());
    EXPECT_TRUE(rig.menus().getMenuOfSmfLoad()->isEnabled());
}

TEST(DesktopConnection, UnmountingShowsTheUnmountDialogOnceAndMountLoadsAgain) {
    AppRig rig;
    ASSERT_TRUE(rig.waitLoaded());
    QSignalSpy shown(&rig.window(), &app::CPtnEditViewController::settled);
    rig.menus().getMenuOfMount()->trigger();
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("ConnectVC") != nullptr; }));
    EXPECT_EQ(rig.dialog("ConnectVC")->findChild<QLabel*>("message")->text(),
              "Now disconnecting...");
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("ShowUnmountVC") != nullptr; }));
    EXPECT_FALSE(rig.unit().mounted());
    EXPECT_FALSE(rig.unit().editorMode());
    rig.watchTicks(5);
    EXPECT_EQ(shown.count(), 1);
    EXPECT_FALSE(rig.menus().getMenuOfMount()->isChecked());
    EXPECT_FALSE(rig.menus().getMenuOfSmfLoad()->isEnabled());
    EXPECT_FALSE(rig.menus().getMenuOfApplyAll()->isEnabled());

    rig.click("ShowUnmountVC", "mountButton");
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("ShowUnmountVC") == nullptr && rig.loaded(); }));
    EXPECT_TRUE(rig.unit().mounted());
    EXPECT_TRUE(rig.menus().getMenuOfMount()->isChecked());
    EXPECT_TRUE(rig.menus().getMenuOfApplyAll()->isEnabled());
}

TEST(DesktopConnection, HeldByAnotherEditorWaitsForConnectOnAFreeUnit) {
    AppRig rig({"--held"});
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("OccupitedVC") != nullptr; }));
    EXPECT_FALSE(rig.unit().editorMode());
    EXPECT_FALSE(rig.menus().getMenuOfImport()->isEnabled());
    EXPECT_FALSE(rig.menus().getMenuOfMount()->isChecked());

    rig.click("OccupitedVC", "connectButton");  // still held: the dialog stays
    ASSERT_TRUE(waitUntil([&] { return !rig.session().steps()->busy(); }));
    rig.watchTicks(2);
    ASSERT_NE(rig.dialog("OccupitedVC"), nullptr);

    rig.unit().faults().heldByOtherEditor = false;
    rig.click("OccupitedVC", "connectButton");
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("OccupitedVC") == nullptr && rig.loaded(); }));
    EXPECT_TRUE(rig.unit().editorMode());
    EXPECT_TRUE(rig.menus().getMenuOfImport()->isEnabled());
}

// Waits out the unit's 10 s mount limit once.
TEST(DesktopConnection, AStorageThatNeverCameIsMountedAgainFromTheUnmountDialog) {
    AppRig rig({"--never-mount"});
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("ShowUnmountVC") != nullptr; }, 30000));
    EXPECT_TRUE(rig.session().alerts().shown().isEmpty());
    EXPECT_EQ(rig.dialog("OccupitedVC"), nullptr);  // held by this program, not another
    EXPECT_EQ(rig.window().statusBar()->currentMessage(), "Unit storage not found.");

    rig.unit().faults().neverMount = false;
    rig.click("ShowUnmountVC", "mountButton");
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("ShowUnmountVC") == nullptr && rig.loaded(); }));
    EXPECT_TRUE(rig.unit().mounted());
}

TEST(DesktopFiles, SaveThenLoadFromTheUnitAsksBeforeReplacingPatterns) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid", TAVREL_EXAMPLES_DIR "/fill-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(2));
    patterns().getPtnData()[0]->setTempo(99);
    QTest::keyClick(&rig.window(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(CEditNotify::isEdited());
    const QString kept = "The RHYTHM.QL0 it replaced is kept at ";
    const QString note = rig.window().statusBar()->currentMessage();
    ASSERT_TRUE(note.startsWith(kept)) << note.toStdString();
    EXPECT_TRUE(fs::is_regular_file(note.mid(kept.size()).toStdString()));
    patterns().getPtnData()[0]->setTempo(150);

    EXPECT_EQ(alertOf([&] { rig.menus().openFile(); }, "Cancel"), "Load rhythm patterns.");
    EXPECT_EQ(patterns().getPtnData()[0]->getTempo(), 150);
    EXPECT_EQ(alertOf([&] { rig.menus().openFile(); }, "Load"), "Load rhythm patterns.");
    ASSERT_EQ(patterns().getPtnData().size(), 2u);
    EXPECT_EQ(patterns().getPtnData()[0]->getTempo(), 99);

    // With no patterns the file is read without a question.
    patterns().clearAllPtnData();
    rig.menus().openFile();
    EXPECT_EQ(patterns().getPtnData().size(), 2u);
    EXPECT_TRUE(rig.session().alerts().shown() ==
                QStringList({"Load rhythm patterns.", "Load rhythm patterns."}));
}

TEST(DesktopFiles, LoadingFromTheUnitSaysWhenItsFileOrTheUnitIsMissing) {
    AppRig rig;
    ASSERT_TRUE(rig.waitLoaded());
    fs::remove(rig.dataFolder() / "RHYTHM.QL0");
    EXPECT_EQ(alertOf([&] { rig.menus().openFile(); }), "User Pattern file not found.");
    rig.unit().unplug();
    EXPECT_EQ(alertOf([&] { rig.menus().openFile(); }), "Unit not connected.");
}

// Started without a unit and without patterns, the program cannot load a MIDI file, has nothing
// to export, takes patterns in by import, and its Quit button ends it.
TEST(DesktopFiles, WithoutAUnitPatternsComeOnlyByImportAndQuitClosesAll) {
    const QTemporaryDir folder;
    const QString file = folder.filePath("backup.QL0");
    {
        AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid", TAVREL_EXAMPLES_DIR "/fill-4-4.mid"});
        ASSERT_TRUE(rig.waitLoaded(2));
        const auto choose = fileChoice(file);
        QTest::keyClick(&rig.window(), Qt::Key_E, Qt::ControlModifier);
        ASSERT_TRUE(fs::exists(file.toStdString()));
    }
    AppRig rig({}, false);
    rig.unit().unplug();
    rig.show();
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("NoConnectVC") != nullptr; }));
    EXPECT_FALSE(rig.dialog("NoConnectVC")->findChild<QPushButton*>("exportButton")->isVisible());
    EXPECT_FALSE(rig.menus().getMenuOfExport()->isEnabled());
    EXPECT_EQ(alertOf([&] { rig.menus().loadSmfFile(TAVREL_EXAMPLES_DIR "/rock-4-4.mid"); }),
              "Unit not connected.");
    EXPECT_TRUE(patterns().getPtnData().empty());

    rig.menus().getMenuOfImport()->setEnabled(true);  // the dialog's own rules are tested apart
    const auto choose = fileChoice(file);
    rig.menus().importData();
    ASSERT_EQ(patterns().getPtnData().size(), 2u);
    EXPECT_EQ(QString::fromStdString(patterns().getPtnData()[1]->getName()).trimmed(), "fill-4-4");
    EXPECT_TRUE(rig.menus().getMenuOfExport()->isEnabled());

    rig.click("NoConnectVC", "quitButton");
    EXPECT_EQ(rig.dialog("NoConnectVC"), nullptr);
    EXPECT_FALSE(rig.window().isVisible());
}

}  // namespace
}  // namespace tavrel::test
