// Alerts for tests: records every text shown and answers questions from a script. Alerts may
// come from the link's device thread; read `shown` once the step has ended (its end is posted
// through a locked queue), or through texts() at any time.
#pragma once

#include "model/Alerts.h"

#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace tavrel::test {

class ScriptedAlerts : public Alerts {
public:
    struct Shown {
        std::string message;
        std::string informative;
        std::string confirmButton;  // empty for a plain alert
    };

    void alert(const std::string& message, const std::string& informative = {}) override {
        std::lock_guard lock(mLock);
        shown.push_back({message, informative, {}});
    }
    bool ask(const std::string& message, const std::string& informative,
             const std::string& confirmButton) override {
        std::lock_guard lock(mLock);
        shown.push_back({message, informative, confirmButton});
        if (answers.empty()) return defaultAnswer;
        const bool a = answers.front();
        answers.pop_front();
        return a;
    }

    // The messages shown so far.
    std::vector<std::string> texts() const {
        std::lock_guard lock(mLock);
        std::vector<std::string> out;
        for (const auto& s : shown) out.push_back(s.message);
        return out;
    }

    std::vector<Shown> shown;
    std::deque<bool> answers;   // consumed in order by ask()
    bool defaultAnswer = true;  // once the script runs out

private:
    mutable std::mutex mLock;
};

}  // namespace tavrel::test
