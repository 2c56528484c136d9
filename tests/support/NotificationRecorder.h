// Records every notification of the given names, in order, for assertions.
#pragma once

#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"

#include <string>
#include <utility>
#include <vector>

namespace tavrel::test {

class NotificationRecorder {
public:
    explicit NotificationRecorder(std::vector<std::string_view> names = {
                                      NOTIFY_PATTERN_PARM_CHANGED, NOTIFY_UPDATE_PARM,
                                      NOTIFY_PARAM_CHANGED_MARK, NOTIFY_MIDI_CONNECT,
                                      NOTIFY_QUIT}) {
        for (auto n : names) {
            mTokens.push_back(Context::current().notifications().addObserver(
                n, [this](const Notification& x) { mSeen.emplace_back(x.name, x.object); }));
        }
    }

    // Number of posts of `name`, optionally only those carrying `object`.
    int count(std::string_view name, const void* object = nullptr) const {
        int c = 0;
        for (const auto& [n, o] : mSeen) {
            if (n == name && (object == nullptr || o == object)) ++c;
        }
        return c;
    }
    int total() const { return static_cast<int>(mSeen.size()); }
    void clear() { mSeen.clear(); }

private:
    std::vector<NotificationCenter::Token> mTokens;
    std::vector<std::pair<std::string, const void*>> mSeen;
};

}  // namespace tavrel::test
