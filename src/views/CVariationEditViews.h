// The panes of the ten variations, one class each, told apart only by their number.
#pragma once

#include "views/CVariationEditBaseView.h"

namespace tavrel::views {

template <std::int32_t Vari>
class CVariationEditViewOf : public CVariationEditBaseView {
public:
    explicit CVariationEditViewOf(CSeqSim* seq, EditHistory& history, QWidget* parent = nullptr)
        : CVariationEditBaseView(Vari, seq, history, parent) {}
};

// clang-format off
class CVariationEditIntroView : public CVariationEditViewOf<0> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditVerseView : public CVariationEditViewOf<1> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditVerseFillView : public CVariationEditViewOf<2> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditChorusView : public CVariationEditViewOf<3> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditChorusFillView : public CVariationEditViewOf<4> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditCView : public CVariationEditViewOf<5> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditCFillView : public CVariationEditViewOf<6> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditDView : public CVariationEditViewOf<7> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditDFillView : public CVariationEditViewOf<8> { using CVariationEditViewOf::CVariationEditViewOf; };
class CVariationEditEndingView : public CVariationEditViewOf<9> { using CVariationEditViewOf::CVariationEditViewOf; };
// clang-format on

}  // namespace tavrel::views
