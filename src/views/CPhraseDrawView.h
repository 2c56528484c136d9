// The picture of the current pattern: its ten variations with their windows over a bar ruler,
// a drum lane for every key the pattern plays with the hits of the current variation, and
// the play position while the preview plays.
//
// What changes only with the pattern's notes is kept in a pixmap at the widget's size and
// pixel ratio; a paint copies it and draws the windows and the play line over it, so a paint
// during a drag or playback costs little. Between edits, setNeedsDisplay repaints only the
// strips the play line leaves and enters.
#pragma once

#include "model/NotificationCenter.h"
#include "views/PhraseGeometry.h"
#include "views/PhraseScene.h"

#include <QPixmap>
#include <QWidget>

#include <optional>

namespace tavrel {
class CSeqSim;
}

namespace tavrel::views {

class CPhraseDrawView : public QWidget {
    Q_OBJECT
public:
    // `seq` may be null (no preview).
    explicit CPhraseDrawView(CSeqSim* seq, QWidget* parent = nullptr);

    // Draws afresh at the next paint: everything after a change of the pattern, else only
    // where the play position was and is now.
    void setNeedsDisplay();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    // What the last paint pictured.
    const PhraseScene& scene() const { return mScene; }
    // Where the play line belongs now; none while the preview is stopped.
    std::optional<double> playX() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // Names and bar numbers are set a little smaller than the window's text.
    QFont labelFont() const;
    void invalidate();
    void refresh();
    void paintWindows(QPainter& p) const;
    void paintCurrentWindow(QPainter& p, int vari, const QRectF& window) const;
    void paintPlayLine(QPainter& p, double x) const;
    void paintHint(QPainter& p, const QRectF& area, const QString& text) const;
    QRect playStrip(double x) const;

    CSeqSim* mSeq;
    PhraseScene mScene;
    PhraseGeometry mGeometry;
    bool mGeometryValid = false;
    QPixmap mGrid;  // null when it must be painted anew
    // The pattern changed since the last full paint.
    bool mChanged = true;
    std::optional<double> mPaintedPlayX;
    NotificationCenter::Token mObserver;
};

}  // namespace tavrel::views
