// Runs the link's blocking steps one at a time on a device thread of its own, so the thread
// that starts them (a desktop's UI thread, the CLI's main loop) never waits on the unit. A
// step waits and reads on the device thread; what it read for the model (kit names, the
// pattern file, pattern 0 made current) is applied on the caller's thread, through the
// poster, just before its Done runs there. While a step runs, busy() is true and nothing else
// may send to the unit: a watch reads the link's state (CConnectionMgr's getters, getHeld)
// and asks nothing.
//
// Alerts a step raises come on the device thread, which waits until they are answered; so a
// front end that shows them on the caller's thread must not destroy the runner from inside an
// alert's wait. The runner must go before the link it runs; a Done still queued when the
// runner goes is dropped. A cancel that comes after the step's end was posted ends nothing.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace tavrel {

class CConnectionMgr;

class LinkRunner {  // runs the link's steps one at a time on one device thread
public:
    using Poster =
        std::function<void(std::function<void()>)>;  // posts to the thread that starts steps
    enum class Step {
        EditorOn,      // setEditorMode
        EditorOff,     // editorOff
        AskOccupied,   // getOccupied; Outcome::ok is true when an editor holds the unit
        Mount,         // the mount branch of the mount toggle: editor mode if not held, mountQl,
                       // 1 s, getKitName, the pattern file read
        Unmount,       // the unmount branch: editorOff
        KitNames,      // getKitName (kit list applied on the caller's thread before Done)
        LoadSequence,  // the load sequence of CLoadExec::exec
        Storage,       // editor mode if not held, mountQl, the volume awaited: the unit's files
                       // ready to be written; nothing is read
    };
    struct Outcome {
        Step step;
        bool ok = false;  // the step's own result
        bool cancelled = false;
        std::string reason;  // !ok and the link showed no alert of its own: the system's text a
                             // front end shows ("Unit not connected.", ...); empty otherwise
    };
    using Done = std::function<void(const Outcome&)>;
    LinkRunner(CConnectionMgr& link, Poster postToCaller);
    ~LinkRunner();  // cancels what runs, joins the device thread
    LinkRunner(const LinkRunner&) = delete;
    LinkRunner& operator=(const LinkRunner&) = delete;
    bool start(Step step, Done done);  // false, and no callback, while another step runs
    void cancel();                     // the running step's wait ends at once; the unit is left as
                                       // that step's failure would leave it; its Done still comes,
                                       // with cancelled set
    bool busy() const;                 // any thread

private:
    struct Impl;
    std::unique_ptr<Impl> mImpl;
};

}  // namespace tavrel
