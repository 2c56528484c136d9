#include "views/CTimeSigCombo.h"

#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "views/HeaderEdits.h"

#include <array>

namespace tavrel::views {

namespace {

struct TimeSig {
    std::int32_t nume;
    std::int32_t deno;
};

constexpr std::array<TimeSig, 17> kTimeSigs = {{
    {2, 4},
    {3, 4},
    {4, 4},
    {5, 4},
    {6, 4},
    {7, 4},
    {5, 8},
    {6, 8},
    {7, 8},
    {8, 8},
    {9, 8},
    {10, 8},
    {11, 8},
    {12, 8},
    {13, 8},
    {14, 8},
    {15, 8},
}};
constexpr int kVisibleItems = 8;

QString text(std::int32_t nume, std::int32_t deno) {
    return QString("%1/%2").arg(nume).arg(deno);
}

}  // namespace

CTimeSigCombo::CTimeSigCombo(EditHistory& history, QWidget* parent)
    : QComboBox(parent), mHistory(history) {
    setObjectName("timeSigSegment");
    for (const TimeSig& sig : kTimeSigs) addItem(text(sig.nume, sig.deno));
    setMaxVisibleItems(kVisibleItems);
    // A scrolling list of that many rather than the style's menu over the box, which shows
    // them all.
    setStyleSheet("combobox-popup: 0;");
    // Only a choice of the user's: a refresh selects without signalling.
    connect(this, &QComboBox::activated, this, &CTimeSigCombo::comboBoxSelectionDidChange);
}

void CTimeSigCombo::update() {
    const auto pattern = Context::current().patterns().getCurPattarn();
    const QSignalBlocker quiet(this);
    setCurrentIndex(pattern ? findText(text(pattern->getNume(), pattern->getDeno())) : -1);
}

void CTimeSigCombo::comboBoxSelectionDidChange(int index) {
    const auto pattern = Context::current().patterns().getCurPattarn();
    if (!pattern || index < 0 || index >= static_cast<int>(kTimeSigs.size())) return;
    const TimeSig& sig = kTimeSigs[static_cast<std::size_t>(index)];
    HeaderEdits::setTimeSignature(mHistory, pattern, sig.nume, sig.deno);
}

}  // namespace tavrel::views
