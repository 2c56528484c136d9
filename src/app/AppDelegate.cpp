#include "app/AppDelegate.h"

#include "app/AppSession.h"
#include "app/CApplyAllVC.h"
#include "app/CApplyVC.h"
#include "app/CPtnEditViewController.h"
#include "app/ConnectVC.h"
#include "app/MidiSettingsDialog.h"
#include "app/QtAlerts.h"
#include "app/WriteNote.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"
#include "files/CFileDataMgr.h"
#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"
#include "playback/CSeqSim.h"
#include "views/EditHistory.h"
#include "views/PatternEdits.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QUndoStack>

#include <filesystem>

namespace tavrel::app {

AppDelegate::AppDelegate(AppSession& session) : mSession(session) {
    setObjectName("appDelegate");
}

QAction* AppDelegate::add(QMenu* menu, const QString& text, void (AppDelegate::*slot)(),
                          const QKeySequence& keys) {
    QAction* action = menu->addAction(text, this, slot);
    action->setShortcut(keys);
    return action;
}

void AppDelegate::installMenus(CPtnEditViewController& window) {
    mWindow = &window;
    QMenuBar* bar = window.menuBar();
    QMenu* file = bar->addMenu("&File");
    mMenuOfSmfLoad = add(file, "Load &MIDI File...", &AppDelegate::loadSMF, QKeySequence::Open);
    file->addSeparator();
    mMenuOfImport =
        add(file, "&Import Patterns...", &AppDelegate::importData, Qt::CTRL | Qt::Key_I);
    mMenuOfExport =
        add(file, "&Export Patterns...", &AppDelegate::exportData, Qt::CTRL | Qt::Key_E);
    file->addSeparator();
    add(file, "&Quit", &AppDelegate::onQuit, QKeySequence(Qt::CTRL | Qt::Key_Q));

    installEditMenu(window);

    QMenu* unit = bar->addMenu("&Unit");
    add(unit, "&Load Patterns from Unit", &AppDelegate::openFile);
    add(unit, "&Save Patterns to Unit", &AppDelegate::saveFile, QKeySequence::Save);
    unit->addSeparator();
    mMenuOfApply = add(unit, "&Apply...", &AppDelegate::apply);
    mMenuOfApplyAll = add(unit, "Apply to All &Memories", &AppDelegate::applyAll);
    unit->addSeparator();
    mMenuOfMount = add(unit, "Storage &Mounted", &AppDelegate::onMount);
    mMenuOfMount->setCheckable(true);
    unit->addSeparator();
    add(unit, "MIDI &Ports...", &AppDelegate::showMidiSettings);

    QMenu* help = bar->addMenu("&Help");
    add(help, "&About Tavrel", &AppDelegate::showAbout);

    for (QAction* a : {mMenuOfMount, mMenuOfSmfLoad, mMenuOfImport, mMenuOfExport, mMenuOfApply,
                       mMenuOfApplyAll}) {
        a->setObjectName(a->text().remove('&').remove("...").simplified());
    }
    mMidiSettings = new MidiSettingsDialog(mSession, &window);
    connect(mMidiSettings, &MidiSettingsDialog::previewOutputChanged, &window,
            [&window](const QString& note) { window.showNote(note.toStdString()); });
    window.showNote(mMidiSettings->previewNote().toStdString());
    // The check mark follows the unit's storage as it was when the program started.
    const CConnectionMgr* link = mSession.link();
    mMenuOfMount->setChecked(link != nullptr && link->getMount() != 0);
    CEditNotify::clr();
}

void AppDelegate::installEditMenu(CPtnEditViewController& window) {
    QMenu* edit = window.menuBar()->addMenu("&Edit");
    QUndoStack& stack = window.editHistory().stack();
    QAction* undo = stack.createUndoAction(edit, "&Undo");
    undo->setObjectName("Undo");
    undo->setShortcut(QKeySequence::Undo);
    QAction* redo = stack.createRedoAction(edit, "&Redo");
    redo->setObjectName("Redo");
    // Ctrl+Shift+Z is the common redo key on Linux desktops, Ctrl+Y the one many users bring.
    redo->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    edit->addAction(undo);
    edit->addAction(redo);
}

void AppDelegate::setMenusEnabled(unsigned menus, bool enabled) {
    const std::pair<Menu, QAction*> items[] = {
        {kSmfLoad, mMenuOfSmfLoad}, {kImport, mMenuOfImport},     {kExport, mMenuOfExport},
        {kApply, mMenuOfApply},     {kApplyAll, mMenuOfApplyAll}, {kMount, mMenuOfMount},
    };
    for (const auto& [bit, action] : items) {
        if ((menus & bit) != 0) action->setEnabled(enabled);
    }
}

void AppDelegate::stopPreview() {
    if (mWindow != nullptr) mWindow->stopPreview();
}

QString AppDelegate::chooseFile(const QString& title, const QString& filter, bool save) {
    QFileDialog dialog(mWindow, title, {}, filter);
    dialog.setObjectName("fileDialog");
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    if (save) dialog.setDefaultSuffix("QL0");
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().constFirst();
}

void AppDelegate::openFile() {
    stopPreview();
    Alerts& alerts = mSession.alerts();
    if (!CFileDataMgr::IsVolumeExist()) {
        alerts.alert("Unit not connected.");
    } else if (!CFileDataMgr::IsDataFileExist()) {
        alerts.alert("User Pattern file not found.");
    } else if (Context::current().patterns().getPtnData().empty() ||
               alerts.ask("Load rhythm patterns.", "Are you sure?", "Load")) {
        if (!CFileDataMgr::loadData()) alerts.alert("User Pattern file format is wrong.");
        mWindow->editHistory().clear();
    }
}

void AppDelegate::saveFile() {
    stopPreview();
    if (!CFileDataMgr::IsVolumeExist()) {
        mSession.alerts().alert("Unit not connected.");
    } else if (!CFileDataMgr::saveData()) {
        mSession.alerts().alert("User Pattern file cannot be created.");
    } else {
        showWriteNote({CFileDataMgr::lastWriteReport()});
    }
}

void AppDelegate::apply() {
    stopPreview();
    auto* dialog = new CApplyVC(mSession, *mWindow);
    dialog->open();
}

// Runs the Apply All dialog's work at once, with its progress, so that the 50 memories are
// written on a worker and the window keeps drawing.
void AppDelegate::applyAll() {
    stopPreview();
    auto* dialog = new CApplyAllVC(mSession, *mWindow);
    dialog->open();
    dialog->onApplyAll();
}

void AppDelegate::loadSMF() {
    stopPreview();
    if (!CFileDataMgr::IsVolumeExist()) {
        mSession.alerts().alert("Unit not connected.");
        return;
    }
    const QString path = chooseFile("Load MIDI File", "MIDI files (*.mid *.MID)", false);
    if (!path.isEmpty()) loadSmfFile(path);
}

void AppDelegate::loadSmfFile(const QString& path) {
    if (!CFileDataMgr::IsVolumeExist()) {
        mSession.alerts().alert("Unit not connected.");
        return;
    }
    views::PatternEdits::loadMidiFile(mWindow->editHistory(), path.toStdString());
    CEditNotify::clr();
}

void AppDelegate::importData() {
    stopPreview();
    const QString path = chooseFile("Import Patterns", "Pattern files (*.QL0 *.ql0)", false);
    if (path.isEmpty()) return;
    // A file that could not be read leaves the collection, and so its history, as it was.
    if (CFileDataMgr::importData(path.toStdString())) mWindow->editHistory().clear();
    CEditNotify::clr();
}

void AppDelegate::exportData() {
    stopPreview();
    dataExport();
}

void AppDelegate::dataExport() {
    const QString path = chooseFile("Export Patterns", "Pattern files (*.QL0 *.ql0)", true);
    if (path.isEmpty()) return;
    const std::filesystem::path target = path.toStdString();
    const bool written = CFileDataMgr::exportData(target);
    CEditNotify::clr();
    // No patterns write no file, so the last report would be another write's.
    const WriteReport report = CFileDataMgr::lastWriteReport();
    if (report.target.filename() != target.filename()) return;
    if (!written) {
        mWindow->showNote(QString("%1 could not be written: %2")
                              .arg(path, QString::fromStdString(report.error))
                              .toStdString());
        return;
    }
    showWriteNote({report});
}

void AppDelegate::showWriteNote(const std::vector<WriteReport>& reports) {
    if (mWindow != nullptr) mWindow->showNote(WriteNote::describe(reports).toStdString());
}

void AppDelegate::onMount() {
    // The toggle's check mark must not change before the step says how it went.
    mMenuOfMount->setChecked(!mMenuOfMount->isChecked());
    if (mSession.steps() == nullptr || mSession.steps()->busy()) return;
    auto* dialog = new ConnectVC(mSession, *mWindow);
    dialog->open();
}

void AppDelegate::onQuit() {
    stopPreview();
    if (mWindow != nullptr) mWindow->close();
}

void AppDelegate::showMidiSettings() {
    mMidiSettings->open();
}

void AppDelegate::showAbout() {
    QMessageBox::about(mWindow, "About Tavrel",
                       QString("<b>Tavrel %1</b><p>Turns MIDI drum files into the user rhythm "
                               "patterns of a QL-900 or QL-414XE3, and keeps the unit's 50 "
                               "patterns.</p>")
                           .arg(QApplication::applicationVersion()));
}

}  // namespace tavrel::app
