// The process-wide objects, created once in start-up order and reached through current().
// A test makes its own Context in a scope and gets fresh objects; the one before it comes
// back when it ends.
#pragma once

#include <memory>
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
    template <class T>
    T& install(std::unique_ptr<T> object) {
        T& ref = *object;
        mInstalled.push_back({typeid(T), std::shared_ptr<void>(std::move(object))});
        return ref;
    }
    template <class T>
    T* find() const {
        for (const auto& [type, ptr] : mInstalled) {
            if (type == typeid(T)) return static_cast<T*>(ptr.get());
        }
        return nullptr;
    }

private:
    Context* mPrevious = nullptr;
    bool mEdited = false;
    std::unique_ptr<NotificationCenter> mNotifications;
    std::unique_ptr<CKitMgr> mKits;
    std::unique_ptr<CPatternMgr> mPatterns;
    std::vector<std::pair<std::type_index, std::shared_ptr<void>>> mInstalled;
};

}  // namespace tavrel
