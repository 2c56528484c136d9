// The menu commands and the window's own controls: enablement, keys, delete, Apply and Apply
// All writing the unit's files, quitting with and without edits, bad command lines, and the MIDI
// port boxes with the built-in synthesizer and the settings file they keep their choice in.
#include "AppRig.h"

#include "app/CMidiDeviceComboBox.h"
#include "app/QtAlerts.h"
#include "app/StoredPorts.h"
#include "app/SynthOutput.h"
#include "device/MidiLib.h"
#include "files/CXMLFile.h"
#include "model/CPtnDataMgr.h"
#include "playback/CSeqSim.h"
#include "playback/DrumSynth.h"
#include "playback/LiveSynth.h"
#include "views/CPatternEditView.h"
#include "views/CPtnEditTableView.h"

#include <QFile>
#include <QLabel>
#include <QSettings>
#include <QStatusBar>

namespace tavrel::test {
namespace {

TEST(DesktopCommands, EnablementFollowsThePatternCount) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(1));
    auto* remove = rig.window().findChild<QPushButton*>("mDelButton");
    EXPECT_FALSE(remove->isEnabled());
    while (patterns().getPtnData().size() < 50) patterns().addPatternData();
    EXPECT_FALSE(rig.menus().getMenuOfSmfLoad()->isEnabled());
    EXPECT_TRUE(remove->isEnabled());

    rig.window().mPtnEditTableView()->selectRow(49);
    EXPECT_EQ(alertOf([&] { QTest::mouseClick(remove, Qt::LeftButton); }, "Cancel"),
              "Delete rhythm patterns.");
    EXPECT_EQ(patterns().getPtnData().size(), 50u);
    alertOf([&] { QTest::mouseClick(remove, Qt::LeftButton); }, "Delete");
    EXPECT_EQ(patterns().getPtnData().size(), 49u);
    EXPECT_TRUE(rig.menus().getMenuOfSmfLoad()->isEnabled());
}

TEST(DesktopCommands, VariationAndPlayKeys) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid"});
    ASSERT_TRUE(waitUntil([&] { return rig.loaded() && patterns().getCurPattarn() != nullptr; }));
    auto* list = rig.window().mPtnEditTableView();
    list->setFocus();
    struct Case {
        QString text;
        Qt::KeyboardModifiers modifiers;
        int variation;  // after the key
    } cases[] = {
        {"9", Qt::NoModifier, 8}, {"A", Qt::NoModifier, 9},    {"1", Qt::NoModifier, 0},
        {"a", Qt::NoModifier, 0}, {"A", Qt::ShiftModifier, 0}, {"5", Qt::ControlModifier, 0},
    };
    for (const Case& c : cases) {
        QKeyEvent press(QEvent::KeyPress, 0, c.modifiers, c.text);
        QApplication::sendEvent(list, &press);
        EXPECT_EQ(patterns().getCurVairationNum(), c.variation) << c.text.toStdString();
    }
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_TRUE(rig.window().mPtnEditVeiw()->playing());
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_FALSE(rig.window().mPtnEditVeiw()->playing());
}

TEST(DesktopCommands, ApplyAllWritesEveryMemoryAndApplyTheChosenOneOrSaysTheUnitIsGone) {
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid", TAVREL_EXAMPLES_DIR "/fill-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(2));
    patterns().getPtnData()[0]->setKitNum(7);
    patterns().getPtnData()[1]->setTempo(141);
    ASSERT_TRUE(CEditNotify::isEdited());

    rig.menus().getMenuOfApplyAll()->trigger();
    QDialog* dialog = rig.dialog("CApplyAllVC");
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->findChild<QLabel*>("Label")->text(), "Now Working... (0%)");
    ASSERT_TRUE(waitUntil([&] { return rig.dialog("CApplyAllVC") == nullptr; }));

    EXPECT_FALSE(CEditNotify::isEdited());
    EXPECT_TRUE(std::filesystem::exists(rig.dataFolder() / "RHYTHM.QL0"));
    const CXMLFile written;
    for (int m : {0, 17, 49}) {
        EXPECT_EQ(written.getKitFromMem(m, 350), 7) << m;
        EXPECT_EQ(written.getTempoFromMem(m, 351), 1410) << m;
    }
    EXPECT_TRUE(rig.session().alerts().shown().isEmpty());

    const auto apply = [&] {
        rig.click("CApplyVC", "execButton");
        ASSERT_TRUE(waitUntil([&] { return rig.dialog("CApplyVC") == nullptr; }));
    };
    std::filesystem::remove(rig.dataFolder() / "RHYTHM.QL0");
    rig.menus().getMenuOfApply()->trigger();
    rig.dialog("CApplyVC")->findChild<QComboBox*>("mComboBox")->setCurrentIndex(2);
    apply();
    EXPECT_EQ(rig.window().windowTitle(), "Tavrel [3]");
    EXPECT_TRUE(std::filesystem::exists(rig.dataFolder() / "RHYTHM.QL0"));

    // The worker's alert is shown on the UI thread and answered before the dialog closes.
    rig.menus().getMenuOfApply()->trigger();
    rig.unit().unplug();
    EXPECT_EQ(alertOf(apply), "Device not connected.");
}

TEST(DesktopCommands, QuittingAsksOnlyWithUnsavedEditsAndLetsTheUnitGo) {
    AppRig rig;
    ASSERT_TRUE(rig.waitLoaded());
    patterns().addPatternData();
    ASSERT_TRUE(CEditNotify::isEdited());
    EXPECT_EQ(alertOf([&] { rig.menus().onQuit(); }, "Cancel"), "Quit Tavrel.");
    EXPECT_TRUE(rig.window().isVisible());
    EXPECT_TRUE(rig.unit().editorMode());

    CEditNotify::clr();
    rig.show();
    QTest::keyClick(&rig.window(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_FALSE(rig.window().isVisible());
    ASSERT_TRUE(waitUntil([&] { return !rig.unit().editorMode(); }));
    EXPECT_FALSE(rig.unit().mounted());
}

// What the program is started with is read before anything opens; a bad line is refused with
// a reason, never half taken. (--held is a switch of the simulated unit, so it needs one.)
TEST(DesktopCommands, BadCommandLinesAreRefusedWithAReason) {
    const QStringList bad[] = {{"--held"},
                               {"--simulate=QL-1"},
                               {"--simulate", "--slow"},
                               {"--screenshot"},
                               {"--frobnicate"}};
    for (const QStringList& args : bad) {
        QString error;
        EXPECT_FALSE(app::AppOptions::parse(args, error)) << args.join(' ').toStdString();
        EXPECT_FALSE(error.isEmpty()) << args.join(' ').toStdString();
    }
}

TEST(DesktopCommands, MidiPortBoxesRememberTheIndexChosen) {
    AppRig rig({}, false);
    QSettings().remove("MIDI_OUT");
    QSettings().setValue("MIDI_IN", 5);  // more than there are: nothing selected
    MidiLib& midi = *rig.session().midi();
    midi.searchDevice();
    ASSERT_GE(midi.getOutputPortList().size(), 1u);
    {
        app::CMidiDeviceComboBox in("MIDI_IN", &midi);
        app::CMidiDeviceComboBox out("MIDI_OUT", &midi);
        EXPECT_EQ(in.currentIndex(), -1);
        EXPECT_EQ(out.currentIndex(), -1);
        EXPECT_EQ(out.itemText(0),
                  QString::fromStdString(MidiLib::getDeviceName(midi.getOutputPortList()[0])));
        out.setCurrentIndex(0);
        emit out.activated(0);
    }
    EXPECT_EQ(QSettings().value("MIDI_OUT").toInt(), 0);
    const app::CMidiDeviceComboBox again("MIDI_OUT", &midi);
    EXPECT_EQ(again.currentIndex(), 0);
}

// The synthesizer is chosen in the dialog's output box, hears the pattern's kit and is chosen
// again at the next start; a port brings the preview back to MIDI.
TEST(DesktopCommands, BuiltInSynthesizerIsAnOutputBesideThePorts) {
    QSettings().remove("MIDI_OUT");
    AppRig rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid"});
    ASSERT_TRUE(rig.waitLoaded(1));
    auto* out = rig.window().findChild<app::CMidiDeviceComboBox*>("MIDI_OUT");
    ASSERT_NE(out, nullptr);
    const int synthEntry = out->count() - 1;
    EXPECT_TRUE(out->itemText(synthEntry).startsWith(LiveSynth::kOutputName));
    app::SynthOutput& synth = rig.session().synthOutput();
    if (const QString why = synth.unavailableReason(); !why.isEmpty()) {
        EXPECT_TRUE(out->itemText(synthEntry).contains(why));
        GTEST_SKIP() << "the built-in synthesizer cannot be chosen: " << why.toStdString();
    }
    PreviewOutputSelector& selector = rig.session().sequencer()->previewOutput();
    EXPECT_TRUE(selector.usesMidi()) << "the simulated unit plays the preview by default";

    out->setCurrentIndex(synthEntry);
    emit out->activated(synthEntry);
    ASSERT_FALSE(selector.usesMidi());
    EXPECT_EQ(QSettings().value("MIDI_OUT").toString(), LiveSynth::kOutputName);
    const auto* driver = rig.window().findChild<QLabel*>("synthDriver");
    EXPECT_TRUE(driver->text().endsWith(synth.describe()) && !synth.describe().isEmpty());
    EXPECT_EQ(rig.window().statusBar()->currentMessage(), driver->text());

    std::string error;
    auto reference = DrumSynth::open(*DrumSynth::defaultSoundFont(), LiveSynth::kSampleRate, error);
    ASSERT_NE(reference, nullptr) << error;
    reference->programChange(40);
    patterns().getCurPattarn()->setKitNum(40);
    rig.window().changePtnData();
    EXPECT_EQ(synth.synth()->kitProgram(), reference->kitProgram());
    QTest::keyClick(&rig.window(), Qt::Key_Space);
    EXPECT_TRUE(rig.window().mPtnEditVeiw()->playing());
    QTest::keyClick(&rig.window(), Qt::Key_Space);

    const app::CMidiDeviceComboBox nextStart(rig.session().midi(), synth, false);
    EXPECT_EQ(nextStart.currentIndex(), nextStart.count() - 1);
    out->setCurrentIndex(0);
    emit out->activated(0);
    EXPECT_TRUE(selector.usesMidi());
    EXPECT_EQ(QSettings().value("MIDI_OUT").toInt(), 0);
    EXPECT_TRUE(driver->isHidden());
    QSettings().remove("MIDI_OUT");
}

using app::StoredPorts;
using Kind = StoredPorts::Choice::Kind;

TEST(StoredPorts, OnlyAnIndexOrTheSynthesizerIsAChoiceAndTheFirstMakesItsFolder) {
    const struct {
        const char* text = nullptr;
        StoredPorts::Choice choice;
    } cases[] = {
        {"[General]\nMIDI_IN=2\n", {Kind::Port, 2}},
        {"MIDI_IN = 0 \r\n[Window]\nMIDI_IN=4\n", {Kind::Port, 0}},
        {"[General]\nMIDI_IN=Synth\n", {Kind::Synth}},
        {"[General]\nMIDI_IN=\"Synth\"\n", {Kind::Synth}},
        {"[General]\nMIDI_IN=-1\n", {}},
        {"[General]\nMIDI_IN=abc\n", {}},
        {"[General]\nMIDI_IN=99999999999\n", {}},
        {"[General]\nMIDI_IN=@Variant(\\0\\0\\0\\0\tJ\\0\\0\\0\\0\\0\\0\\x35)\n", {}},
        {"[General]\nmidi_in=3\n;MIDI_IN=3\n", {}},
        {"[Other]\nMIDI_IN=3\n", {}},
        {"", {}},
    };
    const QTemporaryDir folder;
    for (const auto& c : cases) {
        QFile file(folder.filePath("ports.conf"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(c.text);
        file.close();
        const StoredPorts ports(file.fileName(), "Synth");
        EXPECT_EQ(ports.read("MIDI_IN"), c.choice) << c.text;
    }
    // On a new installation the settings folder does not exist before the first choice.
    StoredPorts fresh(folder.filePath("new/tavrel.conf"), "Synth");
    ASSERT_TRUE(fresh.storePort("MIDI_OUT", 0));
    EXPECT_EQ(fresh.read("MIDI_OUT"), (StoredPorts::Choice{Kind::Port, 0}));
}

}  // namespace
}  // namespace tavrel::test
