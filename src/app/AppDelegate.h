// The application's menu commands: load the patterns from the unit, save them to it, apply
// them (with kit and tempo) to the unit's memories, load a MIDI file as a new pattern, import
// and export pattern files, mount or unmount the unit's storage, the MIDI ports, About and
// quit. It owns the six menu items whose enabled state the window and the connection dialogs
// switch.
#pragma once

#include <QKeySequence>
#include <QObject>
#include <QString>

#include <vector>

class QAction;
class QKeySequence;
class QMenu;

namespace tavrel {
struct WriteReport;
}

namespace tavrel::app {

class AppSession;
class CPtnEditViewController;
class MidiSettingsDialog;

class AppDelegate : public QObject {
    Q_OBJECT
public:
    explicit AppDelegate(AppSession& session);

    // Builds the menus into the window's menu bar; the window is also where dialogs open.
    void installMenus(CPtnEditViewController& window);

    QAction* getMenuOfMount() const { return mMenuOfMount; }
    QAction* getMenuOfSmfLoad() const { return mMenuOfSmfLoad; }
    QAction* getMenuOfImport() const { return mMenuOfImport; }
    QAction* getMenuOfExport() const { return mMenuOfExport; }
    QAction* getMenuOfApply() const { return mMenuOfApply; }
    QAction* getMenuOfApplyAll() const { return mMenuOfApplyAll; }
    // The six items above, as bits for setMenusEnabled.
    enum Menu : unsigned {
        kSmfLoad = 1,
        kImport = 2,
        kExport = 4,
        kApply = 8,
        kApplyAll = 16,
        kMount = 32,
        // What needs the unit's storage and its patterns loaded.
        kUnitWork = kSmfLoad | kImport | kApply | kApplyAll,
        kAll = kUnitWork | kExport | kMount,
    };
    void setMenusEnabled(unsigned menus, bool enabled);

    // Loads a MIDI file as a new pattern, as the load command does after its file dialog.
    void loadSmfFile(const QString& path);
    // The export file dialog and the export.
    void dataExport();

public slots:
    void openFile();
    void saveFile();
    void apply();
    void applyAll();
    void loadSMF();
    void importData();
    void exportData();
    void onMount();
    void onQuit();
    void showMidiSettings();
    void showAbout();

private:
    void installEditMenu(CPtnEditViewController& window);
    QAction* add(QMenu* menu, const QString& text, void (AppDelegate::*slot)(),
                 const QKeySequence& keys = {});
    void stopPreview();
    void showWriteNote(const std::vector<WriteReport>& reports);
    QString chooseFile(const QString& title, const QString& filter, bool save);

    AppSession& mSession;
    CPtnEditViewController* mWindow = nullptr;
    MidiSettingsDialog* mMidiSettings = nullptr;
    QAction* mMenuOfMount = nullptr;
    QAction* mMenuOfSmfLoad = nullptr;
    QAction* mMenuOfImport = nullptr;
    QAction* mMenuOfExport = nullptr;
    QAction* mMenuOfApply = nullptr;
    QAction* mMenuOfApplyAll = nullptr;
};

}  // namespace tavrel::app
