// What the sequencer plays and where it stands in it. The sequencer keeps two: the block it
// plays and the block an edit made, applied at the next change point.
#pragma once

#include "model/StepRecord.h"

#include <cstdint>
#include <memory>

namespace tavrel {

class CPtnDataMgr;
class CPhraseData;

struct StorePrm {
    // Strong references: the sequencer thread goes on reading these while the main thread
    // deletes the pattern or gives the variation new notes.
    std::shared_ptr<CPtnDataMgr> pattern;
    std::shared_ptr<CPhraseData> phrase;
    SharedStepRecords seqData;
    std::int32_t variNum = -1;
    std::int32_t seqDataCount = 0;
    std::int32_t tempo = 120;  // quarter notes a minute
    std::int32_t kit = 0;
    std::int32_t from = 0;  // first bar of the window, from 0
    std::int32_t bars = 1;
    std::int32_t numerator = 4;
    std::int32_t denominator = 4;
    std::int32_t tickPerBeat = 96;  // 384 / denominator: 96 ticks a quarter note always
    // The phrase's length in bars as the model counted it when this block was filled, so
    // that the sequencer thread never reads the model, which only the main thread touches.
    std::int32_t totalBars = 0;

    // Position, counted in ticks from the start of the phrase.
    std::int32_t count = 0;       // index of the next step record to play
    std::int32_t endTickNum = 0;  // tick at which the window loops
    std::int32_t curTick = 0;     // the tick being played
    std::int32_t lapseTick = 0;   // ticks to wait before the record at `count` is due
    std::int32_t startTick = 0;   // curTick, lapseTick and count at the window's start
    std::int32_t startLapseTick = 0;
    std::int32_t startCount = 0;
};

}  // namespace tavrel
