// The pattern editor's place in the main window. For now it shows the current pattern and
// variation and starts and stops the preview; the header editor, the ten range panes and the
// drawing of the pattern take this place.
#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class EditHistory;

class CPatternEditView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    CPatternEditView(CSeqSim* seq, EditHistory& history, QWidget* parent = nullptr);

    // Shows the current pattern afresh.
    void update();
    // Starts the preview, or stops it while it plays.
    void playAlt();
    void stop();
    bool playing() const { return mPlaying; }
    // From the 0.1 s watch: the play position.
    void changeBeat();

private:
    void showPlayState();

    CSeqSim* mSeq;
    EditHistory& mHistory;
    bool mPlaying = false;
    QLabel* mTitle;
    QLabel* mDetail;
    QLabel* mPosition;
    QPushButton* mPlayButton;
};

}  // namespace tavrel::views
