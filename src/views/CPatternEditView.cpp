#include "views/CPatternEditView.h"

#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "views/CPtnEditTableView.h"
#include "views/VariationColors.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tavrel::views {

CPatternEditView::CPatternEditView(CSeqSim* seq, EditHistory& history, QWidget* parent)
    : QWidget(parent),
      mSeq(seq),
      mHistory(history),
      mTitle(new QLabel(this)),
      mDetail(new QLabel(this)),
      mPosition(new QLabel(this)),
      mPlayButton(new QPushButton("Play", this)) {
    setObjectName("patternEditor");
    QFont big = mTitle->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    mTitle->setFont(big);
    mPlayButton->setObjectName("playButton");
    mPlayButton->setFocusPolicy(Qt::NoFocus);  // space belongs to the window's shortcut
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mTitle);
    layout->addWidget(mDetail);
    layout->addWidget(mPosition);
    layout->addWidget(mPlayButton, 0, Qt::AlignLeft);
    layout->addStretch(1);
    connect(mPlayButton, &QPushButton::clicked, this, &CPatternEditView::playAlt);
    update();
}

void CPatternEditView::update() {
    CPatternMgr& patterns = Context::current().patterns();
    const auto pattern = patterns.getCurPattarn();
    mPlayButton->setEnabled(pattern != nullptr && mSeq != nullptr);
    if (pattern == nullptr) {
        mTitle->setText("No pattern");
        mDetail->setText("Load a MIDI file to make one.");
        return;
    }
    const int variation = patterns.getCurVairationNum();
    mTitle->setText(QString::fromStdString(pattern->getName()).trimmed());
    mDetail->setText(QString("%1    Kit: %2    %3 bpm    %4/%5")
                         .arg(VariationColors::name(variation))
                         .arg(CPtnEditTableView::kitName(pattern->getKitNum()))
                         .arg(pattern->getTempo())
                         .arg(pattern->getNume())
                         .arg(pattern->getDeno()));
}

void CPatternEditView::playAlt() {
    if (mPlaying) {
        stop();
        return;
    }
    if (mSeq == nullptr || Context::current().patterns().getCurPattarn() == nullptr) return;
    mSeq->play();
    mPlaying = true;
    showPlayState();
}

void CPatternEditView::stop() {
    if (!mPlaying) return;
    mSeq->stop();
    mPlaying = false;
    showPlayState();
}

void CPatternEditView::changeBeat() {
    if (!mPlaying) return;
    mPosition->setText(QString("bar %1  beat %2").arg(mSeq->getBar() + 1).arg(mSeq->getBeat() + 1));
}

void CPatternEditView::showPlayState() {
    mPlayButton->setText(mPlaying ? "Stop" : "Play");
    if (!mPlaying) mPosition->clear();
}

}  // namespace tavrel::views
