#include "views/CVariationEditBaseView.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "views/CVariationDrawView.h"
#include "views/CVariationEditViews.h"
#include "views/VariationColors.h"
#include "views/VariationWindow.h"

#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>

#include <array>

namespace tavrel::views {

namespace {

constexpr int kMaxBars = 9999;
constexpr int kShownDigits = 3;  // a phrase of a thousand bars is rare; its start scrolls

std::shared_ptr<CPtnDataMgr> currentPattern() {
    return Context::current().patterns().getCurPattarn();
}

// The same width in every pane, so that the ten fields and strips line up.
int widestName(const QFontMetrics& metrics) {
    int widest = 0;
    for (std::int32_t v = 0; v < VariationColors::kCount; ++v) {
        widest = std::max(widest, metrics.horizontalAdvance(VariationColors::name(v)));
    }
    return widest;
}

QLineEdit* numberField(const char* name, const QString& tip, QWidget* parent) {
    auto* field = new QLineEdit(parent);
    field->setObjectName(name);
    field->setToolTip(tip);
    field->setValidator(new QIntValidator(0, kMaxBars, field));
    field->setAlignment(Qt::AlignRight);
    const QFontMetrics metrics = field->fontMetrics();
    field->setFixedWidth(metrics.horizontalAdvance(QString(kShownDigits, '0')) +
                         metrics.averageCharWidth() * 2);
    return field;
}

QLabel* caption(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

template <class Pane>
CVariationEditBaseView* create(CSeqSim* seq, EditHistory& history, QWidget* parent) {
    return new Pane(seq, history, parent);
}

using Maker = CVariationEditBaseView* (*)(CSeqSim*, EditHistory&, QWidget*);
constexpr std::array<Maker, VariationColors::kCount> kMakers = {
    &create<CVariationEditIntroView>,      &create<CVariationEditVerseView>,
    &create<CVariationEditVerseFillView>,  &create<CVariationEditChorusView>,
    &create<CVariationEditChorusFillView>, &create<CVariationEditCView>,
    &create<CVariationEditCFillView>,      &create<CVariationEditDView>,
    &create<CVariationEditDFillView>,      &create<CVariationEditEndingView>,
};

}  // namespace

CVariationEditBaseView::CVariationEditBaseView(std::int32_t vari, CSeqSim* seq,
                                               EditHistory& history, QWidget* parent)
    : QWidget(parent),
      mFromField(numberField("from", "First bar of the window that plays", this)),
      mBarsField(numberField("bars", "Length of the window that plays, in bars", this)),
      mDraw(new CVariationDrawView(seq, history, this)),
      mVari(vari),
      mSeq(seq),
      mHistory(history) {
    setObjectName(QString("variation%1").arg(vari));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    mDraw->setVari(vari);
    mFromField->setAccessibleName(VariationColors::name(vari) + " from");
    mBarsField->setAccessibleName(VariationColors::name(vari) + " bars");
    auto* name = new QLabel(VariationColors::name(vari), this);
    name->setObjectName("name");
    name->setFixedWidth(widestName(name->fontMetrics()) + name->fontMetrics().averageCharWidth());
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 1, 0, 1);
    layout->addWidget(name);
    layout->addWidget(caption("from", this));
    layout->addWidget(mFromField);
    layout->addWidget(caption("bars", this));
    layout->addWidget(mBarsField);
    layout->addWidget(mDraw, 1);
    mDraw->setFixedHeight(mFromField->sizeHint().height());
    connect(mFromField, &QLineEdit::editingFinished, this, [this] { commit(Field::From); });
    connect(mBarsField, &QLineEdit::editingFinished, this, [this] { commit(Field::Bars); });
    update();
}

CVariationEditBaseView::~CVariationEditBaseView() {
    // A field that has the focus finishes its editing as it goes, after this pane is gone.
    mFromField->disconnect(this);
    mBarsField->disconnect(this);
}

CVariationEditBaseView* CVariationEditBaseView::make(std::int32_t vari, CSeqSim* seq,
                                                     EditHistory& history, QWidget* parent) {
    if (vari < 0 || vari >= VariationColors::kCount) {
        return new CVariationEditBaseView(vari, seq, history, parent);
    }
    return kMakers[static_cast<std::size_t>(vari)](seq, history, parent);
}

void CVariationEditBaseView::update() {
    if (mSeq != nullptr && mSeq->getBook()) {
        mBook = true;
        return;
    }
    mBook = false;
    const auto pattern = currentPattern();
    const auto phrase = pattern ? pattern->getPhraseAtVariation(mVari) : nullptr;
    const auto show = [&phrase](QLineEdit* field, std::int32_t value) {
        field->setEnabled(phrase != nullptr);
        // What the user is typing stays until they finish it.
        if (field->hasFocus() && field->isModified()) return;
        field->setText(phrase ? QString::number(value) : QString());
    };
    show(mFromField, phrase ? phrase->getFrom() + 1 : 0);
    show(mBarsField, phrase ? phrase->getBars() : 0);
    mDraw->update();
}

void CVariationEditBaseView::commit(Field field) {
    QLineEdit* edit = field == Field::From ? mFromField : mBarsField;
    // Leaving a field that was not typed in is no edit.
    if (!edit->isModified()) return;
    edit->setModified(false);
    const auto pattern = currentPattern();
    const auto phrase = pattern ? pattern->getPhraseAtVariation(mVari) : nullptr;
    if (!phrase) return;
    std::int32_t value = edit->text().toInt();
    if (value < 1) {
        value = 1;
        edit->setText("1");
    }
    const VariationWindow before = VariationWindow::of(*phrase);
    // The phrase keeps the window inside itself: a start past its end is refused and a
    // length is cut where it would run past.
    if (field == Field::From) {
        phrase->setFrom(value - 1);
    } else {
        phrase->setBars(value);
    }
    const QString what = field == Field::From ? "Start" : "Length";
    recordWindowChange(mHistory, QString("Change %1 %2").arg(VariationColors::name(mVari), what),
                       pattern, mVari, before);
    edit->setText(
        QString::number(field == Field::From ? phrase->getFrom() + 1 : phrase->getBars()));
    mDraw->setFocus();
}

}  // namespace tavrel::views
