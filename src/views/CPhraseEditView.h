// The header of the pattern editor: the current pattern's name, kit, tempo and time
// signature, the choice of the current variation, the preview's play button, the button that
// loads a MIDI file as a new pattern, and the picture of the whole pattern. Name, kit, tempo
// and signature edits are steps of the edit history.
//
// While the preview has an edit waiting for its change point, a refresh leaves name and tempo
// as they are, so that the header never runs ahead of what is heard; the 0.1 s watch brings
// them up to date once the change has been made.
#pragma once

#include "model/NotificationCenter.h"

#include <QIcon>
#include <QPointer>
#include <QWidget>

#include <cstdint>

class QAbstractButton;
class QButtonGroup;
class QComboBox;
class QFileDialog;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class CPhraseDrawView;
class CTimeSigCombo;
class EditHistory;

class CPhraseEditView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    CPhraseEditView(CSeqSim* seq, EditHistory& history, QWidget* parent = nullptr);

    // Shows the current pattern afresh, or an empty header without one.
    void update();
    // From the 0.1 s watch: catches up after a waiting change, moves the play position, and
    // follows a preview that stopped or a variation chosen elsewhere.
    void changeBeat();
    // The play button: starts the preview, or stops it while it plays.
    void playAlt();
    void stop();
    bool playing() const { return mPlaying; }

    QLineEdit* name() const { return mNameField; }
    QComboBox* kit() const { return mKitBox; }
    QLineEdit* tempo() const { return mTempoField; }
    QToolButton* mPlaySw() const { return mPlayButton; }
    QButtonGroup* variSegment() const { return mVariSegment; }
    CTimeSigCombo* timeSigSegment() const { return mTimeSigSegment; }
    CPhraseDrawView* drawView() const { return mDrawView; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLayout* makeFields();
    QLayout* makeVariationSelector();
    QLayout* makeButtons();

    void onName();
    void comboBoxSelectionDidChange(int index);
    void onTempo();
    void onPatternPlay();
    void onVariSegment(int vari);
    void onLoad();

    // The name, coloured after the first `length` characters.
    void showName(qsizetype length);
    void showTempo();
    void fillKits();
    void selectKit();
    void selectVariation(std::int32_t vari);
    void markChosenSegment();
    void showPlayState();
    bool pending() const;

    CSeqSim* mSeq;
    EditHistory& mHistory;
    QIcon mPauseImage;  // the play picture, shown while stopped
    QIcon mPlayImage;   // the stop picture, shown while playing
    bool mPlaying = false;
    bool mBook = false;
    std::int32_t mCurVariBack = -1;
    QLineEdit* mNameField;
    QComboBox* mKitBox;
    QLineEdit* mTempoField;
    CTimeSigCombo* mTimeSigSegment;
    QButtonGroup* mVariSegment;
    QToolButton* mPlayButton;
    QPushButton* mLoadButton;
    CPhraseDrawView* mDrawView;
    QPointer<QFileDialog> mLoadDialog;
    NotificationCenter::Token mKitObserver;
};

}  // namespace tavrel::views
