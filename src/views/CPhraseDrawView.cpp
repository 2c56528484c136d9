#include "views/CPhraseDrawView.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Notifications.h"
#include "playback/CSeqSim.h"
#include "playback/PlayStatus.h"
#include "views/PhraseGridPainter.h"
#include "views/VariationColors.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tavrel::views {

namespace {

constexpr int kStripHalfWidth = 6;  // the play line and its marker, with room to spare

std::shared_ptr<const CPtnDataMgr> currentPattern() {
    return Context::exists() ? Context::current().patterns().getCurPattarn() : nullptr;
}

}  // namespace

CPhraseDrawView::CPhraseDrawView(CSeqSim* seq, QWidget* parent) : QWidget(parent), mSeq(seq) {
    setObjectName("phraseDrawView");
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    if (Context::exists()) {
        mObserver = Context::current().notifications().addObserver(NOTIFY_PATTERN_PARM_CHANGED,
                                                                   [this](const Notification&) {
                                                                       mChanged = true;
                                                                       QWidget::update();
                                                                   });
    }
}

QSize CPhraseDrawView::sizeHint() const {
    return {640, 320};
}

QSize CPhraseDrawView::minimumSizeHint() const {
    return {320, 180};
}

void CPhraseDrawView::setNeedsDisplay() {
    if (mChanged || !mGeometryValid) {
        QWidget::update();
        return;
    }
    const std::optional<double> x = playX();
    if (x == mPaintedPlayX) return;
    if (mPaintedPlayX) QWidget::update(playStrip(*mPaintedPlayX));
    if (x) QWidget::update(playStrip(*x));
}

std::optional<double> CPhraseDrawView::playX() const {
    if (mSeq == nullptr || getPlayStatus() != kPlayStatusPlaying || mScene.empty() ||
        !mGeometryValid)
        return std::nullopt;
    return mGeometry.x(mSeq->getTick());
}

QRect CPhraseDrawView::playStrip(double x) const {
    const int left = static_cast<int>(std::floor(x)) - kStripHalfWidth;
    return {left, 0, 2 * kStripHalfWidth + 1, height()};
}

QFont CPhraseDrawView::labelFont() const {
    QFont small = font();
    if (small.pointSizeF() > 0) {
        small.setPointSizeF(small.pointSizeF() * 0.85);
    } else {
        small.setPixelSize(std::max(small.pixelSize() * 85 / 100, 6));
    }
    return small;
}

void CPhraseDrawView::invalidate() {
    mGeometryValid = false;
    mGrid = QPixmap();
    mChanged = true;
    QWidget::update();
}

void CPhraseDrawView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    invalidate();
}

void CPhraseDrawView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    switch (event->type()) {
        case QEvent::PaletteChange:
        case QEvent::FontChange:
        case QEvent::StyleChange:
            invalidate();
            break;
        default:
            break;
    }
}

// Follows the collection: a scene of another pattern, or of other notes, is made anew, and
// nothing of a pattern that has gone is kept.
void CPhraseDrawView::refresh() {
    const auto pattern = currentPattern();
    if (!mScene.showsSameAs(pattern)) {
        mScene = pattern ? PhraseScene(pattern) : PhraseScene();
        mGeometryValid = false;
    }
    if (!mGeometryValid) {
        const QFontMetricsF fm(labelFont());
        double gutter = 0;
        for (int v = 0; v < VariationColors::kCount; ++v)
            gutter = std::max(gutter, fm.horizontalAdvance(VariationColors::name(v)));
        for (const auto& lane : mScene.lanes().lanes())
            gutter = std::max(gutter, fm.horizontalAdvance(lane.name));
        mGeometry =
            PhraseGeometry(size(), fm.height(), gutter + 12,
                           static_cast<int>(mScene.lanes().lanes().size()), mScene.axisTicks());
        mGeometryValid = true;
        mGrid = QPixmap();
    }
    const qreal dpr = devicePixelRatioF();
    if (mGrid.isNull() || mGrid.devicePixelRatio() != dpr)
        mGrid = PhraseGridPainter::paint(mScene, mGeometry, palette(), labelFont(), size(), dpr);
}

void CPhraseDrawView::paintEvent(QPaintEvent* event) {
    QPainter p(this);
    if (QRegion(rect()).subtracted(event->region()).isEmpty()) mChanged = false;
    refresh();
    if (mScene.empty()) {
        p.fillRect(rect(), palette().color(QPalette::Base));
        paintHint(p, rect(), tr("No pattern. Load a MIDI file and its drums show here."));
        mPaintedPlayX.reset();
        return;
    }
    const QRect r = event->rect();
    const qreal dpr = mGrid.devicePixelRatio();
    p.drawPixmap(QPointF(r.topLeft()), mGrid,
                 QRectF(QPointF(r.topLeft()) * dpr, QSizeF(r.size()) * dpr));
    if (mScene.lanes().lanes().empty()) {
        const QRectF below(mGeometry.band().left(), mGeometry.band().bottom(),
                           mGeometry.band().width(), height() - mGeometry.band().bottom());
        paintHint(p, below, tr("No notes"));
    }
    paintWindows(p);
    mPaintedPlayX = playX();
    if (mPaintedPlayX) paintPlayLine(p, *mPaintedPlayX);
}

void CPhraseDrawView::paintWindows(QPainter& p) const {
    const auto pattern = currentPattern();
    if (!pattern) return;
    const int current = pattern->getCurVairationNum();
    for (int v = 0; v < VariationColors::kCount; ++v) {
        const auto phrase = pattern->getPhraseAtVariation(v);
        if (!phrase) continue;
        const auto [from, end] = PhraseScene::window(*phrase);
        const QRectF row = mGeometry.row(v);
        const QRectF window(mGeometry.x(from), row.top() + 1, mGeometry.width(end - from),
                            row.height() - 2);
        if (v == current) {
            paintCurrentWindow(p, v, window);
        } else {
            p.fillRect(window, VariationColors::color(v));
        }
    }
}

// The current variation's window stands out: its name highlighted, its colour nearly solid,
// its edges drawn down through the lanes, and the lanes outside it faded.
void CPhraseDrawView::paintCurrentWindow(QPainter& p, int vari, const QRectF& window) const {
    const PhraseGeometry& g = mGeometry;
    const QRectF row = g.row(vari);
    QColor colour = VariationColors::color(vari);
    colour.setAlphaF(0.85F);
    p.fillRect(window, colour);
    p.fillRect(QRectF(0, row.top(), g.gutter() - 2, row.height()),
               palette().color(QPalette::Highlight));
    if (const auto font = PhraseGridPainter::fitFont(labelFont(), row.height())) {
        p.setFont(*font);
        p.setPen(palette().color(QPalette::HighlightedText));
        p.drawText(QRectF(4, row.top(), g.gutter() - 8, row.height()),
                   Qt::AlignVCenter | Qt::AlignLeft, VariationColors::name(vari));
    }
    const QRectF grid = g.grid();
    QColor veil = palette().color(QPalette::Base);
    veil.setAlphaF(0.6F);
    p.fillRect(QRectF(grid.left(), grid.top(), window.left() - grid.left(), grid.height()), veil);
    p.fillRect(QRectF(window.right(), grid.top(), grid.right() - window.right(), grid.height()),
               veil);
    colour.setAlphaF(0.08F);
    p.fillRect(QRectF(window.left(), grid.top(), window.width(), grid.height()), colour);
    colour.setAlphaF(1.0F);
    const QColor edge = PhraseGridPainter::blend(colour, palette().color(QPalette::Text), 0.3);
    p.fillRect(QRectF(window.left(), row.top(), 1, grid.bottom() - row.top()), edge);
    p.fillRect(QRectF(window.right() - 1, row.top(), 1, grid.bottom() - row.top()), edge);
}

void CPhraseDrawView::paintPlayLine(QPainter& p, double x) const {
    const QColor colour = palette().color(QPalette::Highlight);
    p.fillRect(QRectF(x - 1, 0, 2, height()), colour);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    const double tip = mGeometry.ruler().height() * 0.5;
    const QPointF marker[] = {{x - 5, 0}, {x + 5, 0}, {x, tip}};
    p.drawPolygon(marker, 3);
}

void CPhraseDrawView::paintHint(QPainter& p, const QRectF& area, const QString& text) const {
    p.setFont(font());
    p.setPen(palette().color(QPalette::PlaceholderText));
    p.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, text);
}

}  // namespace tavrel::views
