// Delivers named notifications synchronously, on the posting thread, to the callbacks
// registered for that name. An observer stays registered for as long as it keeps its token.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

struct PatternChange;

struct Notification {
    std::string_view name;
    const void* object = nullptr;  // the poster: a pattern, a variation, the collection, ...
    // What changed, for the collection's own notifications; null for the others. Valid while
    // the observers are being called.
    const PatternChange* change = nullptr;
};

class NotificationCenter {
public:
    using Callback = std::function<void(const Notification&)>;

    // Unregisters its observer when destroyed; survives the centre going first.
    class Token {
    public:
        Token() = default;
        Token(Token&&) noexcept = default;
        Token& operator=(Token&& other) noexcept;
        Token(const Token&) = delete;
        Token& operator=(const Token&) = delete;
        ~Token();
        void reset();

    private:
        friend class NotificationCenter;
        struct State;
        Token(std::weak_ptr<State> state, std::uint64_t id) : mState(std::move(state)), mId(id) {}
        std::weak_ptr<State> mState;
        std::uint64_t mId = 0;
    };

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    [[nodiscard]] Token addObserver(std::string_view name, Callback callback);
    // Observers added or removed by a callback take effect from the next post.
    void post(std::string_view name, const void* object,
              const PatternChange* change = nullptr) const;

private:
    std::shared_ptr<Token::State> mState;
};

}  // namespace tavrel
