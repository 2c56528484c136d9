// Base of every test that needs the kernel's ALSA sequencer. Where there is none the test is
// skipped, unless TAVREL_REQUIRE_ALSA is set (as inside the test guest): there a missing
// sequencer means the guest is broken, and the test fails instead of passing quietly.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace tavrel::test {

inline bool haveSequencer() {
    return std::filesystem::exists("/dev/snd/seq");
}

class SequencerTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (haveSequencer()) return;
        if (std::getenv("TAVREL_REQUIRE_ALSA") != nullptr) {
            FAIL() << "TAVREL_REQUIRE_ALSA is set but /dev/snd/seq is missing";
        }
        GTEST_SKIP() << "no ALSA sequencer on this computer (/dev/snd/seq is missing); "
                        "./dev test runs these tests in a guest that has one";
    }
};

}  // namespace tavrel::test
