#include "app/CPtnEditViewController.h"

#include "app/AppDelegate.h"
#include "app/AppSession.h"
#include "app/LoadVC.h"
#include "app/NoConnectVC.h"
#include "app/OccupitedVC.h"
#include "app/QtAlerts.h"
#include "app/ShowUnmountVC.h"
#include "device/CConnectionMgr.h"
#include "device/LinkRunner.h"
#include "files/CXMLFile.h"
#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Notifications.h"
#include "playback/CSeqSim.h"
#include "views/CPatternEditView.h"
#include "views/CPtnEditTableView.h"
#include "views/EditHistory.h"
#include "views/PatternEdits.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

namespace tavrel::app {

namespace {
constexpr int kWatchMs = 100;
constexpr std::size_t kMaxPatterns = 50;
constexpr int kNoteMs = 10000;
}  // namespace

CPtnEditViewController::CPtnEditViewController(AppSession& session, AppDelegate& delegate)
    : mSession(session),
      mAppDelegate(delegate),
      mHistory(new views::EditHistory(this)),
      mSplitView(new QSplitter(this)),
      mTableView(new views::CPtnEditTableView(*mHistory, mSplitView)),
      mEditView(new views::CPatternEditView(session.sequencer(), *mHistory, mSplitView)),
      mDelButton(new QPushButton("Delete", this)),
      mProblem(new QLabel(session.problem(), this)),
      mStatus(new QLabel(this)),
      mTimer(new QTimer(this)) {
    setObjectName("mainWindow");
    setWindowTitle("Tavrel");
    mSplitView->setObjectName("splitView");
    mSplitView->addWidget(mTableView);
    mSplitView->addWidget(mEditView);
    mSplitView->setStretchFactor(1, 1);
    mSplitView->setSizes({400, 760});
    mDelButton->setObjectName("mDelButton");
    mDelButton->setEnabled(false);
    mProblem->setObjectName("problem");
    mProblem->setWordWrap(true);
    mProblem->setVisible(!session.problem().isEmpty());
    mStatus->setObjectName("unitStatus");
    statusBar()->addWidget(mStatus, 1);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(mProblem);
    layout->addWidget(mSplitView, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(mDelButton);
    buttons->addStretch(1);
    layout->addLayout(buttons);
    setCentralWidget(central);
    resize(1180, 800);

    QObject::connect(mDelButton, &QPushButton::clicked, this, &CPtnEditViewController::onRemoveSw);
    QObject::connect(mTimer, &QTimer::timeout, this, &CPtnEditViewController::changeBeat);
    mTableView->installEventFilter(this);
    mEditView->installEventFilter(this);

    if (CSeqSim* seq = session.sequencer()) seq->setup();
    // The model changes on this thread only: the device thread's readings are applied here too.
    auto& center = Context::current().notifications();
    mChangeObserver = center.addObserver(NOTIFY_PATTERN_PARM_CHANGED,
                                         [this](const Notification&) { changePtnData(); });
    delegate.installMenus(*this);
}

CPtnEditViewController::~CPtnEditViewController() {
    mTimer->stop();
    stopPreview();
}

void CPtnEditViewController::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (mAppeared) return;
    mAppeared = true;
    if (CConnectionMgr* link = mSession.link()) link->reviseMidiDevice();
    mDelButton->setEnabled(Context::current().patterns().getPtnData().size() >= 2);
    // After the window is on screen, so that a dialog opens over it.
    QTimer::singleShot(0, this, &CPtnEditViewController::viewDidAppear);
}

void CPtnEditViewController::viewDidAppear() {
    mAppDelegate.setMenusEnabled(AppDelegate::kAll, false);
    if (mSession.link() == nullptr) {
        // No unit can come; the pattern files still can.
        mAppDelegate.getMenuOfImport()->setEnabled(true);
        mAppDelegate.getMenuOfExport()->setEnabled(true);
    }
    mNoConnectViewFlag = false;
    mUnmountViewFlag = false;
    connect();
    showStatus();
    mTimer->start(kWatchMs);
}

void CPtnEditViewController::connect() {
    CConnectionMgr* link = mSession.link();
    if (link == nullptr) {
        emit settled();
        return;
    }
    if (!link->getConnected()) {
        mNoConnectViewFlag = true;
        performSegue("ShowConnect");
        return;
    }
    // Whether another editor holds the unit is the unit's answer, which the device thread
    // waits for.
    mSession.steps()->start(LinkRunner::Step::AskOccupied,
                            [this](const LinkRunner::Outcome&) { continueConnect(); });
}

void CPtnEditViewController::continueConnect() {
    const CConnectionMgr& link = *mSession.link();
    if (!link.getConnected()) {
        mNoConnectViewFlag = true;
        performSegue("ShowConnect");
    } else if (mSession.link()->getHeld().value_or(false)) {
        mOccupitViewFlag = true;
        performSegue("ShowOccupited");
    } else if (link.getEditorMode() != 0 && link.getMount() == 0) {
        performSegue("ShowUnmount");
    } else if (link.getEditorMode() == 0) {
        performSegue("ShowLoading");
    } else {
        emit settled();
    }
}

void CPtnEditViewController::performSegue(const QString& identifier) {
    if (openDialog(identifier) != nullptr) return;
    QDialog* dialog = nullptr;
    if (identifier == "ShowConnect") {
        dialog = new NoConnectVC(mSession, *this);
    } else if (identifier == "ShowOccupited") {
        dialog = new OccupitedVC(mSession, *this);
    } else if (identifier == "ShowUnmount") {
        dialog = new ShowUnmountVC(mSession, *this);
    } else if (identifier == "ShowLoading") {
        dialog = new LoadVC(mSession, *this);
    } else {
        return;
    }
    mDialogs[identifier] = dialog;
    dialog->open();
    if (identifier != "ShowLoading") emit settled();
}

QDialog* CPtnEditViewController::openDialog(const QString& identifier) const {
    const QPointer<QDialog> dialog = mDialogs.value(identifier);
    return dialog != nullptr && dialog->isVisible() ? dialog.data() : nullptr;
}

bool CPtnEditViewController::episode(bool state, bool& flag, const char* segue) {
    if (state) {
        flag = false;
    } else if (!flag) {
        flag = true;
        performSegue(segue);
    }
    return state;
}

bool CPtnEditViewController::checkMidiConnect() {
    return episode(mSession.link()->getConnected(), mNoConnectViewFlag, "ShowConnect");
}

bool CPtnEditViewController::checkOccupited() {
    // The watch never asks the unit: it reads the last answer the device thread got. The unit
    // counts this program as an editor too, so only a unit held outside editor mode is
    // another's.
    const CConnectionMgr& link = *mSession.link();
    const bool held = link.getHeld().value_or(false) && link.getEditorMode() == 0;
    return !episode(!held, mOccupitViewFlag, "ShowOccupited");
}

bool CPtnEditViewController::checkDiskMount() {
    return episode(mSession.link()->getMount() != 0, mUnmountViewFlag, "ShowUnmount");
}

void CPtnEditViewController::changeBeat() {
    showStatus();
    emit watchTicked();
    if (mSession.link() == nullptr) return;
    // A step under way, or a dialog taking the user through one, owns the link until it ends.
    const bool dialogUp =
        std::any_of(mDialogs.cbegin(), mDialogs.cend(),
                    [](const QPointer<QDialog>& d) { return d && d->isVisible(); });
    if (mSession.steps()->busy() || dialogUp) {
        endEpisodesSeenOver();
        if (!mSession.link()->getConnected()) mEditView->stop();
        return;
    }
    if (!checkMidiConnect()) {
        mEditView->stop();
        return;
    }
    if (!checkDiskMount()) {
        mEditView->stop();
        checkOccupited();
        return;
    }
    mEditView->changeBeat();
}

// A condition that ended while a step or dialog had the link still ends its episode, so that
// it is shown again when it comes back: the unit unplugged again while it loads after the
// not-connected dialog closed.
void CPtnEditViewController::endEpisodesSeenOver() {
    const CConnectionMgr& link = *mSession.link();
    if (link.getConnected()) mNoConnectViewFlag = false;
    if (link.getMount() != 0) mUnmountViewFlag = false;
}

void CPtnEditViewController::changePtnData() {
    CPatternMgr& patterns = Context::current().patterns();
    if (!patterns.getActive()) return;
    mAppDelegate.setMenusEnabled(AppDelegate::kAll, true);
    mAppDelegate.getMenuOfMount()->setChecked(true);
    mEditView->update();
    const std::size_t count = patterns.getPtnData().size();
    mAppDelegate.getMenuOfSmfLoad()->setEnabled(count < kMaxPatterns);
    if (const auto pattern = patterns.getCurPattarn(); pattern && mSession.sequencer()) {
        // Through the preview's output, so that the kit reaches the synthesizer when chosen.
        mSession.sequencer()->previewOutput().programChange(
            static_cast<std::int8_t>(pattern->getKitNum() & 0xFF));
    }
    mDelButton->setEnabled(count >= 2);
    curNumber = mSession.settings() != nullptr ? mSession.settings()->getCurrentNumber() : 0;
    setWindowTitle(QString("Tavrel [%1]").arg(curNumber + 1));
}

void CPtnEditViewController::showNote(const std::string& text) {
    if (!text.empty()) statusBar()->showMessage(QString::fromStdString(text), kNoteMs);
}

void CPtnEditViewController::loadSequenceEnded(const std::string& failure) {
    showNote(failure);
    if (mSession.link() != nullptr && mSession.link()->isVolumeExist()) {
        mSession.rereadSettings();
    }
    // What was just read is what the unit holds: nothing to save yet, nothing to undo.
    if (Context::current().patterns().getActive()) {
        CEditNotify::clr();
        mHistory->clear();
    }
    // The list follows the collection by itself, but the kit names changed without a word.
    mTableView->reloadData();
    changePtnData();
    showStatus();
    const QStringList files = std::exchange(mPendingMidiFiles, {});
    for (const QString& path : files) mAppDelegate.loadSmfFile(path);
    // The files named at start come in with the unit's patterns: editing starts after them.
    if (!files.isEmpty()) mHistory->clear();
    // Otherwise the watch opens a dialog next, which settles the window.
    if (mSession.link()->getMount() != 0) emit settled();
}

void CPtnEditViewController::stopPreview() {
    mEditView->stop();
}

void CPtnEditViewController::onRemoveSw() {
    if (!mSession.alerts().ask("Delete rhythm patterns.", "Are you sure?", "Delete")) return;
    stopPreview();
    views::PatternEdits::removePatterns(*mHistory, mTableView->selectedRowIndexes());
}

bool CPtnEditViewController::keyDown(QKeyEvent* event) {
    if (event->modifiers() != Qt::NoModifier) {
        return false;
    }
    const QString text = event->text();
    if (text.size() != 1) return false;
    const QChar c = text.front();
    if (c >= '1' && c <= '9') {
        Context::current().patterns().setCurVariationNum(c.digitValue() - 1);
    } else if (c == 'A') {  // upper case only, and without Shift: Caps Lock
        Context::current().patterns().setCurVariationNum(9);
    } else if (c == ' ') {
        mEditView->playAlt();
    } else {
        return false;
    }
    return true;
}

void CPtnEditViewController::keyPressEvent(QKeyEvent* event) {
    if (!keyDown(event)) QMainWindow::keyPressEvent(event);
}

// The list would take digits and letters for its own search, and space for selection.
bool CPtnEditViewController::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && keyDown(static_cast<QKeyEvent*>(event))) return true;
    return QMainWindow::eventFilter(watched, event);
}

bool CPtnEditViewController::windowShouldClose() {
    return !CEditNotify::isEdited() ||
           mSession.alerts().ask("Quit Tavrel.", "Are you sure?", "Quit");
}

void CPtnEditViewController::closeEvent(QCloseEvent* event) {
    if (mQuitting) {
        event->accept();
        return;
    }
    if (!windowShouldClose()) {
        event->ignore();
        return;
    }
    mQuitting = true;
    Context::current().notifications().post(NOTIFY_QUIT, this);
    stopPreview();
    mTimer->stop();
    event->accept();
    // Leaving editor mode also gives the storage back to the unit.
    CConnectionMgr* link = mSession.link();
    if (link != nullptr && link->getConnected() && link->getEditorMode() != 0 &&
        mSession.steps()->start(LinkRunner::Step::EditorOff,
                                [this](const LinkRunner::Outcome&) { quitNow(); })) {
        return;
    }
    quitNow();
}

void CPtnEditViewController::quitNow() {
    mSession.alerts().closeDown();
    QApplication::quit();
}

void CPtnEditViewController::showStatus() {
    QString text;
    const CConnectionMgr* link = mSession.link();
    if (link == nullptr) {
        text = "No unit can be reached";
    } else if (!link->getConnected()) {
        text = "No unit connected";
    } else {
        text = QString("%1 connected, storage %2")
                   .arg(mSession.unitName(), link->getMount() != 0 ? "mounted" : "not mounted");
    }
    if (mStatus->text() != text) mStatus->setText(text);
}

}  // namespace tavrel::app
