// Where the parts of a pattern's picture go at a given size: the name gutter on the left, the
// bar ruler on top, one thin row per variation under it, the drum lanes below, and the time
// axis from the phrase's start (left) to its end (right) that they all share.
#pragma once

#include <QRectF>

#include <cstdint>

namespace tavrel::views {

class PhraseGeometry {
public:
    PhraseGeometry() = default;
    // `textHeight`: the height of a label line; `gutter`: the width of the longest label.
    PhraseGeometry(QSizeF size, double textHeight, double gutter, int laneCount,
                   std::int32_t axisTicks);

    QRectF ruler() const { return mRuler; }
    // The variations' rows and the lanes, right of the gutter.
    QRectF band() const { return mBand; }
    QRectF grid() const { return mGrid; }
    double gutter() const { return mGutter; }
    double rowHeight() const { return mRowHeight; }
    double laneHeight() const { return mLaneHeight; }
    QRectF row(int vari) const;
    QRectF lane(int index) const;
    // The x of a tick, and the width of `ticks`.
    double x(double tick) const { return mBand.left() + tick * mPixelsPerTick; }
    double width(double ticks) const { return ticks * mPixelsPerTick; }

private:
    QRectF mRuler;
    QRectF mBand;
    QRectF mGrid;
    double mGutter = 0;
    double mRowHeight = 0;
    double mLaneHeight = 0;
    double mPixelsPerTick = 0;
};

}  // namespace tavrel::views
