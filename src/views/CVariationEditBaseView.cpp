#include "views/CVariationEditBaseView.h"

namespace tavrel::views {

CVariationEditBaseView::CVariationEditBaseView(std::int32_t vari, CSeqSim* seq,
                                               EditHistory& history, QWidget* parent)
    : QWidget(parent), mVari(vari), mSeq(seq), mHistory(history) {
    setObjectName(QString("variation%1").arg(vari));
}

CVariationEditBaseView* CVariationEditBaseView::make(std::int32_t vari, CSeqSim* seq,
                                                     EditHistory& history, QWidget* parent) {
    return new CVariationEditBaseView(vari, seq, history, parent);
}

void CVariationEditBaseView::update() {
    QWidget::update();
}

}  // namespace tavrel::views
