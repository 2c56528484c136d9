// One variation's pane of the pattern editor: its "from" and "bars" fields and the strip of
// bars with the played window, which the user drags.
#pragma once

#include <QWidget>

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class EditHistory;

class CVariationEditBaseView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    CVariationEditBaseView(std::int32_t vari, CSeqSim* seq, EditHistory& history,
                           QWidget* parent = nullptr);

    // The pane of variation `vari` (0 Intro .. 9 Ending).
    static CVariationEditBaseView* make(std::int32_t vari, CSeqSim* seq, EditHistory& history,
                                        QWidget* parent = nullptr);

    std::int32_t vari() const { return mVari; }
    // Shows the current pattern's window of this variation afresh.
    void update();

private:
    std::int32_t mVari;
    CSeqSim* mSeq;
    EditHistory& mHistory;
};

}  // namespace tavrel::views
