// Alerts for tests: records every text shown and answers questions from a script.
#pragma once

#include "model/Alerts.h"

#include <deque>
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
        shown.push_back({message, informative, {}});
    }
    bool ask(const std::string& message, const std::string& informative,
             const std::string& confirmButton) override {
        shown.push_back({message, informative, confirmButton});
        if (answers.empty()) return defaultAnswer;
        const bool a = answers.front();
        answers.pop_front();
        return a;
    }

    std::vector<Shown> shown;
    std::deque<bool> answers;   // consumed in order by ask()
    bool defaultAnswer = true;  // once the script runs out
};

}  // namespace tavrel::test
