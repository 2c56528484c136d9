// Collects the log's lines while it lives, instead of printing them.
#pragma once

#include "model/Log.h"

#include <mutex>
#include <string>
#include <vector>

namespace tavrel::test {

class LogCapture {
public:
    LogCapture() {
        Log::setSink([this](std::string_view category, std::string_view text) {
            std::lock_guard lock(mLock);
            mLines.push_back(std::string(category) + ": " + std::string(text));
        });
    }
    ~LogCapture() { Log::setSink({}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() {
        std::lock_guard lock(mLock);
        return mLines;
    }
    // Lines that contain `text`.
    int count(const std::string& text) {
        int n = 0;
        for (const auto& line : lines()) n += line.find(text) != std::string::npos ? 1 : 0;
        return n;
    }

private:
    std::mutex mLock;
    std::vector<std::string> mLines;
};

}  // namespace tavrel::test
