#include "views/CPhraseDrawView.h"

namespace tavrel::views {

CPhraseDrawView::CPhraseDrawView(CSeqSim* seq, QWidget* parent) : QWidget(parent), mSeq(seq) {
    setObjectName("phraseDrawView");
}

}  // namespace tavrel::views
