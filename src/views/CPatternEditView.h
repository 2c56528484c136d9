// The pattern editor on the right of the main window: the header editor above the ten
// variations' range panes. It passes the window's refreshes on to them; while the preview
// has an edit waiting for its change point the panes keep what they show, and they are
// brought up to date once the change has been made.
#pragma once

#include <QWidget>

#include <array>

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class CPhraseEditView;
class CVariationEditBaseView;
class EditHistory;

class CPatternEditView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    CPatternEditView(CSeqSim* seq, EditHistory& history, QWidget* parent = nullptr);

    // Shows the current pattern afresh: the header, then the panes in variation order.
    void update();
    // Starts the preview, or stops it while it plays.
    void playAlt();
    void stop();
    bool playing() const;
    // From the 0.1 s watch: the play position, and the panes once a waiting change is made.
    void changeBeat();

    CPhraseEditView* phraseView() const { return mPhraseView; }
    // Variation 0 Intro .. 9 Ending.
    CVariationEditBaseView* variationView(int vari) const;

private:
    CSeqSim* mSeq;
    CPhraseEditView* mPhraseView;
    std::array<CVariationEditBaseView*, 10> mVariationViews{};
    bool mBook = false;
};

}  // namespace tavrel::views
