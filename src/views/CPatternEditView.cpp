#include "views/CPatternEditView.h"

#include "playback/CSeqSim.h"
#include "views/CPhraseEditView.h"
#include "views/CVariationEditBaseView.h"

#include <QFrame>
#include <QScrollArea>
#include <QVBoxLayout>

namespace tavrel::views {

CPatternEditView::CPatternEditView(CSeqSim* seq, EditHistory& history, QWidget* parent)
    : QWidget(parent), mSeq(seq), mPhraseView(new CPhraseEditView(seq, history, this)) {
    setObjectName("patternEditor");
    // The panes scroll when the window is too low for all ten; the header always shows.
    auto* panes = new QWidget;
    panes->setObjectName("variationPanes");
    auto* column = new QVBoxLayout(panes);
    column->setContentsMargins(0, 0, 0, 0);
    for (int vari = 0; vari < static_cast<int>(mVariationViews.size()); ++vari) {
        auto* pane = CVariationEditBaseView::make(vari, seq, history, panes);
        mVariationViews[static_cast<std::size_t>(vari)] = pane;
        column->addWidget(pane);
    }
    column->addStretch(1);
    auto* scroll = new QScrollArea(this);
    scroll->setObjectName("variationScroll");
    scroll->setWidget(panes);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mPhraseView);
    layout->addWidget(scroll, 1);
}

CVariationEditBaseView* CPatternEditView::variationView(int vari) const {
    return vari >= 0 && vari < static_cast<int>(mVariationViews.size())
               ? mVariationViews[static_cast<std::size_t>(vari)]
               : nullptr;
}

void CPatternEditView::update() {
    mPhraseView->update();
    for (CVariationEditBaseView* pane : mVariationViews) pane->update();
}

void CPatternEditView::changeBeat() {
    mPhraseView->changeBeat();
    if (mSeq != nullptr && mSeq->getBook()) {
        mBook = true;
    } else if (mBook) {
        mBook = false;
        for (CVariationEditBaseView* pane : mVariationViews) pane->update();
    }
}

void CPatternEditView::playAlt() {
    mPhraseView->playAlt();
}

void CPatternEditView::stop() {
    mPhraseView->stop();
}

bool CPatternEditView::playing() const {
    return mPhraseView->playing();
}

}  // namespace tavrel::views
