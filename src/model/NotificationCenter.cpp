#include "model/NotificationCenter.h"

#include <algorithm>

namespace tavrel {

struct NotificationCenter::Token::State {
    struct Entry {
        std::uint64_t id;
        std::string name;
        std::shared_ptr<const Callback> callback;
    };
    std::mutex mutex;
    std::vector<Entry> entries;
    std::uint64_t nextId = 1;
};

NotificationCenter::Token& NotificationCenter::Token::operator=(Token&& other) noexcept {
    if (this != &other) {
        reset();
        mState = std::move(other.mState);
        mId = other.mId;
        other.mId = 0;
    }
    return *this;
}

NotificationCenter::Token::~Token() {
    reset();
}

void NotificationCenter::Token::reset() {
    if (auto state = mState.lock()) {
        std::lock_guard lock(state->mutex);
        std::erase_if(state->entries, [this](const State::Entry& e) { return e.id == mId; });
    }
    mState.reset();
    mId = 0;
}

NotificationCenter::NotificationCenter() : mState(std::make_shared<Token::State>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name,
                                                          Callback callback) {
    std::lock_guard lock(mState->mutex);
    const std::uint64_t id = mState->nextId++;
    mState->entries.push_back(
        {id, std::string(name), std::make_shared<const Callback>(std::move(callback))});
    return Token(mState, id);
}

void NotificationCenter::post(std::string_view name, const void* object,
                              const PatternChange* change) const {
    // Callbacks run outside the lock so that they may post, observe or unregister themselves.
    std::vector<std::shared_ptr<const Callback>> due;
    {
        std::lock_guard lock(mState->mutex);
        for (const auto& e : mState->entries) {
            if (e.name == name) due.push_back(e.callback);
        }
    }
    const Notification n{name, object, change};
    for (const auto& cb : due) (*cb)(n);
}

}  // namespace tavrel
