#include "views/CVariationDrawView.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "views/VariationColors.h"
#include "views/VariationWindow.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tavrel::views {

namespace {

constexpr double kEdgeWidth = 10.0;
constexpr double kNarrowEdgeWidth = 2.0;  // when a wide edge would cover the small window
constexpr double kNarrowShare = 0.3;

// Lines one device pixel wide (two at 200 %), on whole device pixels, so they stay sharp at
// any scale.
class PixelPen {
public:
    explicit PixelPen(double dpr) : mDpr(dpr), mDevice(std::max(1.0, std::round(dpr))) {}
    double width() const { return mDevice / mDpr; }
    // The centre of a line whose left (or top) side is at `x`.
    double at(double x) const { return (std::floor(x * mDpr) + mDevice / 2) / mDpr; }
    QRectF inside(const QRectF& r) const {
        const double half = width() / 2;
        return QRectF(QPointF(at(r.left()), at(r.top())),
                      QPointF(at(r.right()) - 2 * half, at(r.bottom()) - 2 * half));
    }

private:
    double mDpr;
    double mDevice;
};

}  // namespace

CVariationDrawView::CVariationDrawView(CSeqSim* seq, EditHistory& history, QWidget* parent)
    : QWidget(parent), mSeq(seq), mHistory(history) {
    setObjectName("drawView");
    setMouseTracking(true);  // the cursor follows the region under the pointer
    setFocusPolicy(Qt::ClickFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void CVariationDrawView::setVari(std::int32_t vari) {
    mVari = vari;
    setAccessibleName(VariationColors::name(vari) + " window");
    setToolTip(isFill() ? "Drag the window or press Left and Right to move it"
                        : "Drag the window's edges to resize it and its middle to move it; "
                          "Left and Right move it, with Shift they move its end");
    QWidget::update();
}

QSize CVariationDrawView::sizeHint() const {
    return {240, fontMetrics().height() + 6};
}

QSize CVariationDrawView::minimumSizeHint() const {
    return {60, fontMetrics().height() + 6};
}

std::int32_t CVariationDrawView::pointToFrom(double x) const {
    const std::int32_t total = mPhase ? mPhase->getTotalBars() : 0;
    if (total <= 0 || width() <= 0) return 0;
    const auto bar = static_cast<std::int32_t>(total * x / width());
    return std::clamp(bar, 0, total - 1);
}

bool CVariationDrawView::isFill() const {
    return VariationColors::isFill(mVari);
}

void CVariationDrawView::choosePhrase() {
    if (mEdgeFlag == kIdle) pickPhrase();
    mSelectedRect = windowRect();
}

void CVariationDrawView::pickPhrase() {
    mPattern = Context::current().patterns().getCurPattarn();
    mPhase = mPattern ? mPattern->getPhraseAtVariation(mVari) : nullptr;
    // The pane of the playing variation shows what plays, which may still be another
    // pattern's until a pending change takes effect.
    if (mPattern && mSeq != nullptr && mSeq->getVariNum() == mVari) {
        auto pattern = mSeq->getPattern();
        auto phrase = mSeq->getPhase();
        if (pattern && phrase) {
            mPattern = std::move(pattern);
            mPhase = std::move(phrase);
        }
    }
}

QRectF CVariationDrawView::windowRect() const {
    const std::int32_t total = mPhase ? mPhase->getTotalBars() : 0;
    if (total <= 0) return {};
    const double barWidth = static_cast<double>(width()) / total;
    return {mPhase->getFrom() * barWidth, 0, mPhase->getBars() * barWidth,
            static_cast<double>(height())};
}

void CVariationDrawView::paintEvent(QPaintEvent* /*event*/) {
    choosePhrase();
    QPainter painter(this);
    const QPalette& colors = palette();
    const PixelPen pixel(devicePixelRatioF());
    painter.fillRect(rect(), colors.color(QPalette::Base));
    QPen frame(colors.color(hasFocus() ? QPalette::Highlight : QPalette::Text), pixel.width());
    frame.setJoinStyle(Qt::MiterJoin);
    const QRectF bounds = pixel.inside(QRectF(rect()));
    const std::int32_t total = mPhase ? mPhase->getTotalBars() : 0;
    if (total > 0) {
        QColor barLine = colors.color(QPalette::Text);
        barLine.setAlphaF(0.45F);
        QPen dashed(barLine, pixel.width());
        dashed.setDashPattern({1.0, 2.0});
        painter.setPen(dashed);
        for (std::int32_t i = 1; i < total; ++i) {
            const double x = pixel.at(static_cast<double>(i) * width() / total);
            painter.drawLine(QPointF(x, 0), QPointF(x, height() - 1));
        }
        if (mSelectedRect.width() > 0) {
            const QRectF window = pixel.inside(mSelectedRect);
            painter.fillRect(mSelectedRect, VariationColors::color(mVari));
            painter.setPen(QPen(colors.color(QPalette::Text), pixel.width()));
            painter.drawRect(window);
        }
    }
    painter.setPen(frame);
    painter.drawRect(bounds);
}

void CVariationDrawView::resetCursorRects(QPointF pos) {
    if (mEdgeFlag == kLeft || mEdgeFlag == kRight) {
        if (isFill()) {
            unsetCursor();
        } else {
            setCursor(Qt::IBeamCursor);
        }
        return;
    }
    if (mEdgeFlag == kMiddle) {
        setCursor(Qt::ClosedHandCursor);
        return;
    }
    choosePhrase();
    mEdgeLeft = mEdgeRight = mMidRegion = QRectF();
    const std::int32_t total = mPhase ? mPhase->getTotalBars() : 0;
    const std::int32_t from = mPhase ? mPhase->getFrom() : 0;
    const std::int32_t bars = mPhase ? mPhase->getBars() : 0;
    // A one-bar phrase played whole has nothing to move or resize.
    if (total > 0 && !(total == 1 && bars == 1)) {
        const QRectF& r = mSelectedRect;
        const double w = kEdgeWidth > kNarrowShare * r.width() ? kNarrowEdgeWidth : kEdgeWidth;
        if (bars > 1 || from >= 1) mEdgeLeft = QRectF(r.left(), r.top(), w, r.height());
        if (bars > 1 || from + bars < total) {
            mEdgeRight = QRectF(r.right() - w, r.top(), w, r.height());
        }
        if (bars < total && r.width() > 2 * w) mMidRegion = r.adjusted(w, 0, -w, 0);
    }
    if (!isFill() && (mEdgeLeft.contains(pos) || mEdgeRight.contains(pos))) {
        setCursor(Qt::IBeamCursor);
    } else if (mMidRegion.contains(pos)) {
        setCursor(Qt::OpenHandCursor);
    } else {
        unsetCursor();
    }
}

void CVariationDrawView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    mEdgeFlag = kIdle;
    const QPointF pos = event->position();
    resetCursorRects(pos);
    if (mEdgeLeft.contains(pos)) {
        mEdgeFlag = kLeft;
    } else if (mEdgeRight.contains(pos)) {
        mEdgeFlag = kRight;
    } else if (mMidRegion.contains(pos)) {
        mEdgeFlag = kMiddle;
        mStart = pointToFrom(pos.x());
    }
    if (mEdgeFlag == kIdle) return;
    mFromBack = mPhase->getFrom();
    mToBack = mFromBack + mPhase->getBars();
    resetCursorRects(pos);
}

void CVariationDrawView::mouseMoveEvent(QMouseEvent* event) {
    if (mEdgeFlag == kIdle) {
        resetCursorRects(event->position());
    } else if ((event->buttons() & Qt::LeftButton) != 0) {
        drag(pointToFrom(event->position().x()));
    }
}

void CVariationDrawView::drag(std::int32_t bar) {
    CPhraseData& phrase = *mPhase;
    const std::int32_t from = phrase.getFrom();
    const std::int32_t bars = phrase.getBars();
    // Only real changes reach the phrase: a pointer moving inside one bar edits nothing.
    switch (mEdgeFlag) {
        case kRight:
            if (bar < mFromBack || isFill()) break;
            if (bar + 1 - mFromBack != bars) phrase.setBars(bar + 1 - mFromBack);
            break;
        case kLeft:
            if (bar >= mToBack) break;
            if (bar != from) phrase.setFrom(bar);
            // A fill's start moves and its length stays; other windows keep their end.
            if (!isFill() && phrase.getBars() != mToBack - bar) phrase.setBars(mToBack - bar);
            break;
        case kMiddle: {
            // Later starts are kept inside the phrase by the phrase itself, which shortens
            // the window at the end; earlier ones stop at the first bar.
            const std::int32_t d = mStart - bar;
            if (d != 0 && from >= d) phrase.setFrom(from - d);
            mStart = bar;
            break;
        }
        default:
            return;
    }
    QWidget::update();
}

void CVariationDrawView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || mEdgeFlag == kIdle) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    const bool moved = mEdgeFlag == kMiddle || isFill();
    mEdgeFlag = kIdle;
    record(moved, {mFromBack, mToBack - mFromBack});
    resetCursorRects(event->position());
}

void CVariationDrawView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    const bool resize = event->modifiers() == Qt::ShiftModifier;
    if (mEdgeFlag != kIdle || (key != Qt::Key_Left && key != Qt::Key_Right) ||
        (event->modifiers() != Qt::NoModifier && !resize) || (resize && isFill())) {
        QWidget::keyPressEvent(event);  // the window's keys (variations, play) pass on
        return;
    }
    choosePhrase();
    if (!mPhase) return;
    const std::int32_t total = mPhase->getTotalBars();
    const VariationWindow before = VariationWindow::of(*mPhase);
    const std::int32_t step = key == Qt::Key_Left ? -1 : 1;
    // A window stays inside the phrase and at least a bar long; a move to the right may
    // shorten it at the end, as dragging does.
    if (resize) {
        const std::int32_t bars = before.bars + step;
        if (bars >= 1 && before.from + bars <= total) mPhase->setBars(bars);
    } else {
        const std::int32_t from = before.from + step;
        if (from >= 0 && from < total) mPhase->setFrom(from);
    }
    record(!resize, before);
}

void CVariationDrawView::record(bool moved, VariationWindow before) {
    recordWindowChange(
        mHistory,
        QString(moved ? "Move %1 Window" : "Resize %1 Window").arg(VariationColors::name(mVari)),
        mPattern, mVari, before);
    QWidget::update();
}

}  // namespace tavrel::views
