#include "views/HeaderEdits.h"

#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "playback/CSeqSim.h"
#include "views/EditHistory.h"

#include <array>

namespace tavrel::views::HeaderEdits {

namespace {

bool isCurrent(const Pattern& pattern) {
    return Context::current().patterns().getCurPattarn() == pattern;
}

// A variation's window and the signature it is counted in.
struct Window {
    std::int32_t from = 0;
    std::int32_t bars = 0;
    std::int32_t nume = 4;
    std::int32_t deno = 4;
};

struct Signature {
    std::int32_t nume = 4;
    std::int32_t deno = 4;
    std::array<Window, kVariationCount> windows;
};

Signature signatureOf(const CPtnDataMgr& pattern) {
    Signature sig{pattern.getNume(), pattern.getDeno(), {}};
    for (int i = 0; i < kVariationCount; ++i) {
        const auto v = pattern.getPhraseAtVariation(i);
        sig.windows[static_cast<std::size_t>(i)] = {v->getFrom(), v->getBars(), v->getNume(),
                                                    v->getDeno()};
    }
    return sig;
}

// One change notification for the whole pattern, as re-fitting it posts by itself.
class SignatureBatch {
public:
    explicit SignatureBatch(const CPtnDataMgr& pattern) : mBatch(Context::current().patterns()) {
        PatternChange change{PatternChange::Kind::Parameter, PatternChange::Field::TimeSignature};
        change.pattern = Context::current().patterns().rowOf(&pattern);
        mBatch.setSummary(change);
    }

private:
    CPatternMgr::Batch mBatch;
};

void refit(CPtnDataMgr& pattern, std::int32_t nume, std::int32_t deno) {
    const SignatureBatch batch(pattern);
    pattern.setNume(nume);
    pattern.setDeno(deno);
    pattern.renewPhraseNumerator();
}

void restore(CPtnDataMgr& pattern, const Signature& sig) {
    const SignatureBatch batch(pattern);
    pattern.setNume(sig.nume);
    pattern.setDeno(sig.deno);
    for (int i = 0; i < kVariationCount; ++i) {
        const auto v = pattern.getPhraseAtVariation(i);
        if (v->getTotalTicks() == 0) continue;  // re-fitting left an empty variation alone
        const Window& w = sig.windows[static_cast<std::size_t>(i)];
        // Counting the notes in the old signature gives back the old total bars, which the
        // window is clamped to.
        v->renewPhraseNumerator(w.nume, w.deno);
        v->setFrom(w.from);
        v->setBars(w.bars);
    }
}

}  // namespace

void rename(EditHistory& history, const Pattern& pattern, const std::string& name) {
    const std::string old = pattern->getName();
    if (name == old) return;
    history.record(
        "Rename Pattern", [pattern, name] { pattern->setName(name); },
        [pattern, old] { pattern->setName(old); });
}

void setKit(EditHistory& history, const Pattern& pattern, std::int32_t kit, CSeqSim* seq) {
    const std::int32_t old = pattern->getKitNum();
    if (kit == old) return;
    const auto choose = [pattern, seq](std::int32_t k) {
        pattern->setKitNum(k);
        // The unit takes the program number as one byte.
        if (seq != nullptr && isCurrent(pattern)) {
            seq->previewOutput().programChange(static_cast<std::int8_t>(k & 0xFF));
        }
    };
    history.record(
        "Change Kit", [choose, kit] { choose(kit); }, [choose, old] { choose(old); });
}

void setTempo(EditHistory& history, const Pattern& pattern, std::int32_t tempo, CSeqSim* seq) {
    const std::int32_t old = pattern->getTempo();
    if (tempo == old) return;
    const auto apply = [pattern, seq](std::int32_t t) {
        pattern->setTempo(t);
        if (seq != nullptr && isCurrent(pattern)) seq->setTempo(t);
    };
    history.record(
        "Change Tempo", [apply, tempo] { apply(tempo); }, [apply, old] { apply(old); });
}

void setTimeSignature(EditHistory& history, const Pattern& pattern, std::int32_t nume,
                      std::int32_t deno) {
    if (nume == pattern->getNume() && deno == pattern->getDeno()) return;
    const Signature old = signatureOf(*pattern);
    history.record(
        "Change Time Signature", [pattern, nume, deno] { refit(*pattern, nume, deno); },
        [pattern, old] { restore(*pattern, old); });
}

}  // namespace tavrel::views::HeaderEdits
