// The file commands of the menus: loading from and saving to the unit, exporting and importing
// pattern files through their file dialogs, with the questions and alerts on the way and the
// note on where a replaced file is kept.
#include "AppRig.h"

#include "app/QtAlerts.h"
#include "model/CPtnDataMgr.h"

#include <QStatusBar>

#include <filesystem>

namespace tavrel::test {
namespace {

namespace fs = std::filesystem;

TEST(DesktopFiles, SaveThenLoadFromTheUnitAsksBeforeReplacingPatterns) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid", TAVREL_EXAMPLES_DIR "/fill-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(2));
    patterns().getPtnData()[0]->setTempo(99);
    QTest::keyClick(&rig.window(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(CEditNotify::isEdited());
    // The status bar says once where the file it replaced is kept.
    const QString kept = "The RHYTHM.QL0 it replaced is kept at ";
    const QString note = rig.window().statusBar()->currentMessage();
    ASSERT_TRUE(note.startsWith(kept)) << note.toStdString();
    EXPECT_TRUE(fs::is_regular_file(note.mid(kept.size()).toStdString()));
    patterns().getPtnData()[0]->setTempo(150);

    EXPECT_EQ(alertOf([&] { rig.menus().openFile(); }, "Cancel"), "Load rhythm patterns.");
    EXPECT_EQ(patterns().getPtnData()[0]->getTempo(), 150);
    AlertAnswer load("Load");
    rig.menus().openFile();
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
        const FileChoice choose(file);
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
    const FileChoice choose(file);
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
