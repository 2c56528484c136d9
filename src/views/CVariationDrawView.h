// The strip of one variation's pane: the variation's whole phrase as bars, with its played
// window as a coloured rectangle that the user drags by its edges (to resize) or its middle
// (to move), or with the arrow keys. The fills keep their length: they move but never resize.
#pragma once

#include "views/VariationWindow.h"

#include <QRectF>
#include <QWidget>

#include <cstdint>
#include <memory>

namespace tavrel {
class CPhraseData;
class CPtnDataMgr;
class CSeqSim;
}  // namespace tavrel

namespace tavrel::views {

class EditHistory;

class CVariationDrawView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    CVariationDrawView(CSeqSim* seq, EditHistory& history, QWidget* parent = nullptr);

    std::int32_t vari() const { return mVari; }
    void setVari(std::int32_t vari);

    // The bar under `x` (in this view's coordinates); a point beyond either end counts as
    // the bar at that end.
    std::int32_t pointToFrom(double x) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    // Left and Right move the window a bar; with Shift they move its end.
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum Edge : std::int32_t { kIdle = 0, kLeft = 1, kRight = 2, kMiddle = 3 };

    // Takes the phrase to show (while a drag lasts, the one being dragged) and where its
    // window lies.
    void choosePhrase();
    void pickPhrase();
    QRectF windowRect() const;
    // While idle, rebuilds the hit regions from the window as it is now; in every state,
    // sets the cursor for the drag under way or for the region under `pos`.
    void resetCursorRects(QPointF pos);
    void drag(std::int32_t bar);
    // Records the change of the window from `before` as one step of the edit history.
    void record(bool moved, VariationWindow before);
    bool isFill() const;

    CSeqSim* mSeq;
    EditHistory& mHistory;
    std::int32_t mEdgeFlag = kIdle;
    std::shared_ptr<CPhraseData> mPhase;
    std::shared_ptr<CPtnDataMgr> mPattern;  // mPhase's pattern, which keeps it alive
    QRectF mSelectedRect;
    QRectF mEdgeLeft;
    QRectF mEdgeRight;
    QRectF mMidRegion;
    std::int32_t mFromBack = 0;
    std::int32_t mToBack = 0;
    std::int32_t mStart = 0;
    std::int32_t mVari = 0;
};

}  // namespace tavrel::views
