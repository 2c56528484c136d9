// The process-wide objects, created once in start-up order and reached through current().
// A test makes its own Context in a scope and gets fresh objects; the one before it comes
// back when it ends. Contexts are made and ended on one thread, the model's: worker threads
// (device, drain, sequencer) read current() and must never see it swapped under them by a
// context made elsewhere, so making one on another thread while one exists ends the program.
#pragma once

#include <memory>
#include <thread>
#include <typeindex>
#include <utility>
#include <vector>

namespace tavrel {

class NotificationCenter;
class CKitMgr;
class CPatternMgr;

class Context {
public:
    Context();
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    // The innermost living Context; there must be one.
    static Context& current();
    static bool exists();

    NotificationCenter& notifications() { return *mNotifications; }
    CKitMgr& kits() { return *mKits; }
    CPatternMgr& patterns() { return *mPatterns; }

    // The unsaved-edits mark; CEditNotify owns its meaning.
    bool& editedMark() { return mEdited; }

    // Objects of the layers above the model (sequencer, MIDI transport, device link, ...) are
    // installed by whoever starts the program, in start-up order, and destroyed in reverse.
    // `Also` names interfaces the object is found by as well, so that a lower layer can reach
    // it without knowing its class (the files layer finds the unit's storage this way).
    template <class T, class... Also>
    T& install(std::unique_ptr<T> object) {
        T* raw = object.get();
        std::shared_ptr<void> owner(std::move(object));
        mInstalled.push_back({typeid(T), owner, raw});
        (mInstalled.push_back({typeid(Also), nullptr, static_cast<Also*>(raw)}), ...);
        return *raw;
    }
    // The most recently installed object of type T, or null.
    template <class T>
    T* find() const {
        for (auto it = mInstalled.rbegin(); it != mInstalled.rend(); ++it) {
            if (it->type == typeid(T)) return static_cast<T*>(it->object);
        }
        return nullptr;
    }

private:
    Context* mPrevious = nullptr;
    std::thread::id mThread = std::this_thread::get_id();
    bool mEdited = false;
    std::unique_ptr<NotificationCenter> mNotifications;
    std::unique_ptr<CKitMgr> mKits;
    std::unique_ptr<CPatternMgr> mPatterns;
    struct Installed {
        std::type_index type;
        std::shared_ptr<void> owner;  // null for an interface entry of an object owned above
        void* object;
    };
    std::vector<Installed> mInstalled;
};

}  // namespace tavrel
