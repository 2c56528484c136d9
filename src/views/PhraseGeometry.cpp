#include "views/PhraseGeometry.h"

#include <algorithm>

namespace tavrel::views {

namespace {

constexpr int kRows = 10;
constexpr double kRightMargin = 6;
constexpr double kGap = 4;  // between the variations' rows and the lanes
// The rows take at least this share of the height below the ruler.
constexpr double kBandShare = 0.3;
constexpr double kMinRow = 3;
constexpr double kMinLane = 3;

}  // namespace

PhraseGeometry::PhraseGeometry(QSizeF size, double textHeight, double gutter, int laneCount,
                               std::int32_t axisTicks)
    : mGutter(std::min(gutter, size.width() * 0.3)) {
    const double left = mGutter;
    const double width = std::max(size.width() - left - kRightMargin, 1.0);
    const double rulerHeight = textHeight + 6;
    mRuler = QRectF(left, 0, width, rulerHeight);
    const double below = std::max(size.height() - rulerHeight - kGap, 0.0);
    // The lanes need about a line of text each; what they leave goes to the rows, so a pattern
    // of few drums gets rows tall enough for their names.
    const double lanesNeed = laneCount * textHeight * 1.1;
    const double bandSpace = std::max(below * kBandShare, below - lanesNeed);
    mRowHeight = std::clamp(bandSpace / kRows, kMinRow, textHeight + 2);
    mBand = QRectF(left, rulerHeight, width, mRowHeight * kRows);
    const double gridTop = mBand.bottom() + kGap;
    const double gridHeight = std::max(size.height() - gridTop, 0.0);
    if (laneCount > 0) mLaneHeight = std::clamp(gridHeight / laneCount, kMinLane, textHeight * 1.5);
    mGrid = QRectF(left, gridTop, width, std::min(gridHeight, mLaneHeight * laneCount));
    mPixelsPerTick = width / std::max(axisTicks, 1);
}

QRectF PhraseGeometry::row(int vari) const {
    return QRectF(mBand.left(), mBand.top() + vari * mRowHeight, mBand.width(), mRowHeight);
}

QRectF PhraseGeometry::lane(int index) const {
    return QRectF(mGrid.left(), mGrid.top() + index * mLaneHeight, mGrid.width(), mLaneHeight);
}

}  // namespace tavrel::views
