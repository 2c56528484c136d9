// The picture of the current pattern: its ten variations with their windows and the hits of
// its notes, with the play position while the preview plays.
#pragma once

#include <QWidget>

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class CPhraseDrawView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    explicit CPhraseDrawView(CSeqSim* seq, QWidget* parent = nullptr);

    // Draws afresh at the next paint.
    void setNeedsDisplay() { QWidget::update(); }

private:
    CSeqSim* mSeq;
};

}  // namespace tavrel::views
