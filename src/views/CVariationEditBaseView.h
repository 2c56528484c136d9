// One variation's pane of the pattern editor: its name, its "from" (counted from 1) and
// "bars" fields, and the strip of bars with the played window, which the user drags.
#pragma once

#include <QWidget>

#include <cstdint>

class QLabel;
class QLineEdit;

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class CVariationDrawView;
class EditHistory;

class CVariationEditBaseView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    CVariationEditBaseView(std::int32_t vari, CSeqSim* seq, EditHistory& history,
                           QWidget* parent = nullptr);
    ~CVariationEditBaseView() override;

    // The pane of variation `vari` (0 Intro .. 9 Ending), of its own class
    // (CVariationEditIntroView .. CVariationEditEndingView).
    static CVariationEditBaseView* make(std::int32_t vari, CSeqSim* seq, EditHistory& history,
                                        QWidget* parent = nullptr);

    std::int32_t vari() const { return mVari; }
    // Shows the current pattern's window of this variation afresh, unless the preview has a
    // change waiting for its moment: then the fields keep showing what plays until it lands.
    void update();

    QLineEdit* mFrom() const { return mFromField; }
    QLineEdit* mBars() const { return mBarsField; }
    CVariationDrawView* mDrawView() const { return mDraw; }
    bool book() const { return mBook; }

private:
    enum class Field { From, Bars };
    void commit(Field field);

    bool mBook = false;
    QLineEdit* mFromField;
    QLineEdit* mBarsField;
    CVariationDrawView* mDraw;
    std::int32_t mVari;
    CSeqSim* mSeq;
    EditHistory& mHistory;
};

}  // namespace tavrel::views
