#include "views/CPhraseEditView.h"

#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Limits.h"
#include "model/Notifications.h"
#include "playback/CSeqSim.h"
#include "playback/PlayStatus.h"
#include "views/CPhraseDrawView.h"
#include "views/CTimeSigCombo.h"
#include "views/ColoredStrings.h"
#include "views/HeaderEdits.h"
#include "views/PatternEdits.h"
#include "views/ShapeIconEngine.h"
#include "views/VariationColors.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QEvent>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace tavrel::views {

namespace {

constexpr int kFullName = 12;  // characters the unit shows of a name
// After a waiting change the name comes back with its first 8 characters in the text colour
// and the rest dimmed, unlike the 12 of a refresh.
constexpr int kCatchUpName = 8;
constexpr std::int32_t kNoPatternTempo = 120;
constexpr int kSelectorColumns = 5;

CPatternMgr& patterns() {
    return Context::current().patterns();
}

std::int32_t clampTempo(std::int32_t tempo) {
    return std::clamp(tempo, std::int32_t{limits::kMinTempo}, std::int32_t{limits::kMaxTempo});
}

// Names are stored space-padded; the padding is not shown, so that typing goes on after the
// name's last character.
QString shownName(const std::string& name) {
    QString text = QString::fromStdString(name);
    while (text.endsWith(' ')) text.chop(1);
    return text;
}

QString kitLabel(std::size_t index, const std::string& name) {
    const QString trimmed = QString::fromStdString(name).trimmed();
    return QString("%1  %2").arg(index + 1).arg(trimmed);
}

QLabel* buddyLabel(const QString& text, QWidget* buddy) {
    auto* label = new QLabel(text);
    label->setBuddy(buddy);
    return label;
}

}  // namespace

CPhraseEditView::CPhraseEditView(CSeqSim* seq, EditHistory& history, QWidget* parent)
    : QWidget(parent),
      mSeq(seq),
      mHistory(history),
      mPauseImage(QIcon::fromTheme("media-playback-start", ShapeIconEngine::play())),
      mPlayImage(QIcon::fromTheme("media-playback-stop", ShapeIconEngine::stop())),
      mNameField(new QLineEdit(this)),
      mKitBox(new QComboBox(this)),
      mTempoField(new QLineEdit(this)),
      mTimeSigSegment(new CTimeSigCombo(history, this)),
      mVariSegment(new QButtonGroup(this)),
      mPlayButton(new QToolButton(this)),
      mLoadButton(new QPushButton(QIcon::fromTheme("document-open"), "&Load MIDI File…", this)),
      mDrawView(new CPhraseDrawView(seq, this)) {
    setObjectName("phraseEditView");
    // A click beside the fields ends typing in them, and the space key plays again.
    setFocusPolicy(Qt::ClickFocus);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(makeFields());
    layout->addLayout(makeButtons());
    mDrawView->setMinimumHeight(fontMetrics().height() * 5);
    layout->addWidget(mDrawView, 1);
    // A kit change is announced apart from the other edits, and the window does not pass it
    // on to the editor: the box follows it here, undo included.
    mKitObserver = Context::current().notifications().addObserver(
        NOTIFY_UPDATE_PARM, [this](const Notification&) { selectKit(); });
    showPlayState();
    update();
}

QLayout* CPhraseEditView::makeFields() {
    mNameField->setObjectName("name");
    mNameField->setMaxLength(kFullName);
    mNameField->setMinimumWidth(fontMetrics().horizontalAdvance(QString(kFullName + 1, 'N')));
    mKitBox->setObjectName("kit");
    mKitBox->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    mKitBox->setMinimumContentsLength(kFullName);
    mTempoField->setObjectName("tempo");
    mTempoField->setValidator(
        new QRegularExpressionValidator(QRegularExpression("[0-9]{0,3}"), mTempoField));
    mTempoField->setAlignment(Qt::AlignRight);
    mTempoField->setFixedWidth(fontMetrics().horizontalAdvance("00000") +
                               2 * fontMetrics().averageCharWidth());
    // A click leaves the keyboard with the window, whose space key plays; Tab still reaches
    // the boxes.
    mKitBox->setFocusPolicy(Qt::TabFocus);
    mTimeSigSegment->setFocusPolicy(Qt::TabFocus);
    for (QLineEdit* field : {mNameField, mTempoField}) {
        connect(field, &QLineEdit::returnPressed, field, &QWidget::clearFocus);
        field->installEventFilter(this);  // Escape
    }
    connect(mNameField, &QLineEdit::editingFinished, this, &CPhraseEditView::onName);
    connect(mTempoField, &QLineEdit::editingFinished, this, &CPhraseEditView::onTempo);
    connect(mKitBox, &QComboBox::activated, this, &CPhraseEditView::comboBoxSelectionDidChange);

    auto* tempo = new QHBoxLayout;
    tempo->addWidget(mTempoField);
    tempo->addWidget(new QLabel("BPM"));
    tempo->addStretch(1);
    auto* grid = new QGridLayout;
    grid->addWidget(buddyLabel("&Name", mNameField), 0, 0);
    grid->addWidget(mNameField, 0, 1);
    grid->addWidget(buddyLabel("&Tempo", mTempoField), 0, 2);
    grid->addLayout(tempo, 0, 3);
    grid->addWidget(buddyLabel("&Kit", mKitBox), 1, 0);
    grid->addWidget(mKitBox, 1, 1);
    grid->addWidget(buddyLabel("Time &signature", mTimeSigSegment), 1, 2);
    grid->addWidget(mTimeSigSegment, 1, 3, Qt::AlignLeft);
    grid->addWidget(new QLabel("Variation"), 2, 0);
    grid->addLayout(makeVariationSelector(), 2, 1, 2, 3);
    grid->setColumnStretch(1, 1);
    return grid;
}

QLayout* CPhraseEditView::makeVariationSelector() {
    auto* grid = new QGridLayout;
    grid->setSpacing(0);
    mVariSegment->setExclusive(true);
    for (std::int32_t vari = 0; vari < VariationColors::kCount; ++vari) {
        auto* segment = new QToolButton(this);
        segment->setObjectName(QString("variSegment%1").arg(vari));
        segment->setText(VariationColors::name(vari));
        segment->setIcon(ShapeIconEngine::swatch(VariationColors::color(vari)));
        segment->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        segment->setCheckable(true);
        segment->setFocusPolicy(Qt::NoFocus);  // the keys 1..9 and A choose variations
        segment->setToolTip(QString("Key %1").arg(vari < 9 ? QString::number(vari + 1) : "A"));
        segment->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        mVariSegment->addButton(segment, vari);
        grid->addWidget(segment, vari / kSelectorColumns, vari % kSelectorColumns);
    }
    connect(mVariSegment, &QButtonGroup::idClicked, this, &CPhraseEditView::onVariSegment);
    connect(mVariSegment, &QButtonGroup::idToggled, this, &CPhraseEditView::markChosenSegment);
    return grid;
}

QLayout* CPhraseEditView::makeButtons() {
    mPlayButton->setObjectName("mPlaySw");
    mPlayButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    mPlayButton->setFocusPolicy(Qt::NoFocus);  // space belongs to the window's shortcut
    mPlayButton->setToolTip("Start or stop the preview (Space)");
    mLoadButton->setObjectName("loadButton");
    mLoadButton->setToolTip("Load a MIDI file as a new pattern");
    connect(mPlayButton, &QToolButton::clicked, this, &CPhraseEditView::onPatternPlay);
    connect(mLoadButton, &QPushButton::clicked, this, &CPhraseEditView::onLoad);
    auto* row = new QHBoxLayout;
    row->addWidget(mPlayButton);
    row->addWidget(mLoadButton);
    row->addStretch(1);
    return row;
}

bool CPhraseEditView::pending() const {
    return mSeq != nullptr && mSeq->getBook();
}

void CPhraseEditView::update() {
    const auto pattern = patterns().getCurPattarn();
    for (QWidget* field :
         std::initializer_list<QWidget*>{mNameField, mKitBox, mTempoField, mTimeSigSegment}) {
        field->setEnabled(pattern != nullptr);
    }
    for (QAbstractButton* segment : mVariSegment->buttons())
        segment->setEnabled(pattern != nullptr);
    showPlayState();
    mLoadButton->setEnabled(patterns().getPtnData().size() <
                            static_cast<std::size_t>(limits::kMaxPatterns));
    if (pattern == nullptr) {
        mNameField->clear();
        mTempoField->setText(QString::number(kNoPatternTempo));
        selectVariation(0);
    } else if (pending()) {
        mBook = true;
    } else {
        mBook = false;
        showName(kFullName);
        showTempo();
        mCurVariBack = patterns().getCurVairationNum();
        selectVariation(mCurVariBack);
    }
    mTimeSigSegment->update();
    mDrawView->setNeedsDisplay();
    fillKits();
    // The field may hold what was typed while a change waits; the clock never gets less than
    // the lowest tempo.
    if (mSeq != nullptr) mSeq->setTempo(clampTempo(mTempoField->text().toInt()));
}

void CPhraseEditView::changeBeat() {
    if (mBook && !pending()) {
        mBook = false;
        if (patterns().getCurPattarn() != nullptr) {
            showName(kCatchUpName);
            selectKit();
            showTempo();
        }
    }
    mDrawView->setNeedsDisplay();
    if (getPlayStatus() == kPlayStatusStopped && mPlaying) playAlt();
    if (mCurVariBack != patterns().getCurVairationNum()) {
        mCurVariBack = patterns().getCurVairationNum();
        selectVariation(mCurVariBack);
    }
}

void CPhraseEditView::playAlt() {
    onPatternPlay();
}

void CPhraseEditView::onPatternPlay() {
    if (mPlaying) {
        stop();
        return;
    }
    if (mSeq == nullptr || patterns().getCurPattarn() == nullptr) return;
    mPlaying = true;
    showPlayState();
    mSeq->play();
}

void CPhraseEditView::stop() {
    mPlaying = false;
    showPlayState();
    if (mSeq != nullptr) mSeq->stop();
}

void CPhraseEditView::showPlayState() {
    mPlayButton->setIcon(mPlaying ? mPlayImage : mPauseImage);
    mPlayButton->setText(mPlaying ? "Stop" : "Play");
    // Stopping stays possible whatever happened to the pattern that plays.
    mPlayButton->setEnabled(mSeq != nullptr && (mPlaying || patterns().getCurPattarn() != nullptr));
}

void CPhraseEditView::onName() {
    const auto pattern = patterns().getCurPattarn();
    if (pattern == nullptr) return;
    const QString typed = mNameField->text().left(kFullName);
    if (typed == shownName(pattern->getName())) return;  // the padding alone differs
    HeaderEdits::rename(mHistory, pattern, typed.toStdString());
}

void CPhraseEditView::comboBoxSelectionDidChange(int index) {
    const auto pattern = patterns().getCurPattarn();
    if (pattern == nullptr || index < 0) return;
    HeaderEdits::setKit(mHistory, pattern, index, mSeq);
}

void CPhraseEditView::onTempo() {
    const auto pattern = patterns().getCurPattarn();
    if (pattern == nullptr) return;
    const std::int32_t tempo = clampTempo(mTempoField->text().toInt());
    // An unchanged tempo posts nothing, so no refresh would put the clamped value back.
    if (tempo == pattern->getTempo() && !pending()) showTempo();
    HeaderEdits::setTempo(mHistory, pattern, tempo, mSeq);
}

void CPhraseEditView::onVariSegment(int vari) {
    if (patterns().getCurPattarn() == nullptr) return;
    patterns().setCurVariationNum(vari);
    mCurVariBack = patterns().getCurVairationNum();
}

void CPhraseEditView::onLoad() {
    if (mLoadDialog != nullptr) {
        mLoadDialog->raise();
        mLoadDialog->activateWindow();
        return;
    }
    // Modeless: the editor stays usable while the user looks for the file.
    auto* dialog = new QFileDialog(window(), "Load MIDI File", {}, "MIDI files (*.mid)");
    dialog->setObjectName("fileDialog");
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        PatternEdits::loadMidiFile(mHistory, path.toStdString());
        Context::current().notifications().post(NOTIFY_PATTERN_PARM_CHANGED, this);
    });
    mLoadDialog = dialog;
    dialog->show();
}

void CPhraseEditView::showName(qsizetype length) {
    const auto pattern = patterns().getCurPattarn();
    const QPalette& palette = mNameField->palette();
    ColoredStrings(shownName(pattern->getName()), palette.color(QPalette::Text),
                   palette.color(QPalette::PlaceholderText), length)
        .showIn(*mNameField);
}

void CPhraseEditView::showTempo() {
    mTempoField->setText(QString::number(patterns().getCurPattarn()->getTempo()));
}

void CPhraseEditView::fillKits() {
    const QSignalBlocker quiet(mKitBox);
    mKitBox->clear();
    const auto& names = Context::current().kits().getKitArray();
    for (std::size_t i = 0; i < names.size(); ++i) mKitBox->addItem(kitLabel(i, names[i]));
    selectKit();
}

void CPhraseEditView::selectKit() {
    const auto pattern = patterns().getCurPattarn();
    const QSignalBlocker quiet(mKitBox);
    const bool listed = pattern != nullptr && pattern->getKitNum() < mKitBox->count();
    mKitBox->setCurrentIndex(listed ? pattern->getKitNum() : -1);
}

void CPhraseEditView::selectVariation(std::int32_t vari) {
    if (QAbstractButton* segment = mVariSegment->button(vari)) segment->setChecked(true);
}

// The chosen segment in the selection colour: a pressed-in button alone is hard to tell from
// the others, in a dark palette above all.
void CPhraseEditView::markChosenSegment() {
    QPalette chosen = palette();
    chosen.setColor(QPalette::Button, chosen.color(QPalette::Highlight));
    chosen.setColor(QPalette::ButtonText, chosen.color(QPalette::HighlightedText));
    for (QAbstractButton* segment : mVariSegment->buttons()) {
        segment->setPalette(segment->isChecked() ? chosen : QPalette());  // else the editor's
    }
}

void CPhraseEditView::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    // A waiting change that has been made is shown at once rather than at the next watch;
    // not from inside the paint, which must not change widgets.
    if (mBook && !pending())
        QMetaObject::invokeMethod(
            this, [this] { update(); }, Qt::QueuedConnection);
}

// Escape in a field takes back what was typed and leaves the field.
bool CPhraseEditView::eventFilter(QObject* watched, QEvent* event) {
    const bool escape = event->type() == QEvent::KeyPress &&
                        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape;
    if (!escape || patterns().getCurPattarn() == nullptr)
        return QWidget::eventFilter(watched, event);
    if (watched == mNameField) showName(kFullName);
    if (watched == mTempoField) showTempo();
    static_cast<QWidget*>(watched)->clearFocus();
    return true;
}

void CPhraseEditView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    // The name's and the chosen segment's colours come from the palette.
    markChosenSegment();
    if (patterns().getCurPattarn() != nullptr && !mBook) showName(kFullName);
}

}  // namespace tavrel::views
