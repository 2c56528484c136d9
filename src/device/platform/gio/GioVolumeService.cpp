#include "device/platform/gio/GioVolumeService.h"

#include <gio/gio.h>

#include "model/Log.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

// A cancelled eject reports back at once; this only bounds a system that does not.
constexpr std::chrono::seconds kCancelGrace{2};
// A desktop's automounter mounts a new medium within a fraction of a second; a volume left
// without a mount for longer is nobody's to mount but ours.
constexpr std::chrono::milliseconds kAutomountGrace{700};
// Mounting checks the file system first, which takes a while on a large card.
constexpr std::chrono::seconds kMountTimeout{20};

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

// GIO delivers change events and the ends of asynchronous calls in the context that is the
// thread's default when they start, so every use of GIO here happens inside one of these.
class ContextPush {
public:
    explicit ContextPush(GMainContext* context) : mContext(context) {
        g_main_context_push_thread_default(mContext);
    }
    ~ContextPush() { g_main_context_pop_thread_default(mContext); }
    ContextPush(const ContextPush&) = delete;
    ContextPush& operator=(const ContextPush&) = delete;

private:
    GMainContext* mContext;
};

std::optional<fs::path> rootPath(GMount* mount) {
    GObjectPtr<GFile> root(g_mount_get_root(mount));
    char* path = root ? g_file_get_path(root.get()) : nullptr;
    if (path == nullptr) return std::nullopt;
    fs::path result = VolumeService::normalPath(path);
    g_free(path);
    return result;
}

// An eject, unmount or mount in flight. GIO may report back after the caller has given up,
// so the callback holds its own share of this.
struct Operation {
    enum class Kind { Eject, Unmount, Mount } kind = Kind::Unmount;
    bool done = false;
    bool ok = false;
    std::string error;
};

void operationFinished(GObject* source, GAsyncResult* result, gpointer data) {
    auto* holder = static_cast<std::shared_ptr<Operation>*>(data);
    Operation& op = **holder;
    GError* error = nullptr;
    gboolean ok = FALSE;
    switch (op.kind) {
        case Operation::Kind::Eject:
            ok = g_mount_eject_with_operation_finish(G_MOUNT(source), result, &error);
            break;
        case Operation::Kind::Unmount:
            ok = g_mount_unmount_with_operation_finish(G_MOUNT(source), result, &error);
            break;
        case Operation::Kind::Mount:
            ok = g_volume_mount_finish(G_VOLUME(source), result, &error);
            break;
    }
    op.ok = ok != FALSE;
    if (error != nullptr) {
        op.error = error->message;  // umount's own words end in a line break
        while (!op.error.empty() && g_ascii_isspace(op.error.back())) op.error.pop_back();
        g_error_free(error);
    }
    op.done = true;
    delete holder;
}

gboolean wakeOnly(gpointer) {
    return G_SOURCE_REMOVE;
}

// Runs `context` until `done` holds or `deadline` passes. A timer source ends the last
// blocking iteration at the deadline.
template <class Done>
void runUntil(GMainContext* context, Done done, Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    GSource* timer = g_timeout_source_new(static_cast<guint>(std::max<long long>(0, left.count())));
    g_source_set_callback(timer, wakeOnly, nullptr, nullptr);
    g_source_attach(timer, context);
    while (!done() && Clock::now() < deadline) g_main_context_iteration(context, TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);
}

// Starts `op` on `object` (a mount, or a volume to mount) and runs `context` until it ends
// or `timeout` passes; then cancels it and gives it a moment to report. True when it ended.
bool runOperation(GMainContext* context, gpointer object, const std::shared_ptr<Operation>& op,
                  std::chrono::milliseconds timeout) {
    GObjectPtr<GCancellable> cancel(g_cancellable_new());
    auto* holder = new std::shared_ptr<Operation>(op);
    switch (op->kind) {
        case Operation::Kind::Eject:
            g_mount_eject_with_operation(G_MOUNT(object), G_MOUNT_UNMOUNT_NONE, nullptr,
                                         cancel.get(), operationFinished, holder);
            break;
        case Operation::Kind::Unmount:
            g_mount_unmount_with_operation(G_MOUNT(object), G_MOUNT_UNMOUNT_NONE, nullptr,
                                           cancel.get(), operationFinished, holder);
            break;
        case Operation::Kind::Mount:
            // No mount operation: nothing is asked of the user (an encrypted medium fails).
            g_volume_mount(G_VOLUME(object), G_MOUNT_MOUNT_NONE, nullptr, cancel.get(),
                           operationFinished, holder);
            break;
    }
    auto done = [&] { return op->done; };
    runUntil(context, done, Clock::now() + timeout);
    if (op->done) return true;
    g_cancellable_cancel(cancel.get());
    runUntil(context, done, Clock::now() + kCancelGrace);
    return false;
}

// A name for a volume that stays the same while it is plugged in: its device node.
std::string volumeKey(GVolume* volume) {
    char* device = g_volume_get_identifier(volume, G_VOLUME_IDENTIFIER_KIND_UNIX_DEVICE);
    char* name = device != nullptr ? device : g_volume_get_name(volume);
    std::string key = name != nullptr ? name : "";
    g_free(name);
    return key;
}

// Removable media that can be mounted and have no mount: what an automounter would mount.
bool waitsForMount(GVolume* volume) {
    GObjectPtr<GMount> mount(g_volume_get_mount(volume));
    if (mount || !g_volume_can_mount(volume)) return false;
    GObjectPtr<GDrive> drive(g_volume_get_drive(volume));
    return drive && (g_drive_is_removable(drive.get()) || g_drive_is_media_removable(drive.get()));
}

// Mounts `volume` and keeps it mounted when its root holds `holding`; unmounts it again when
// it does not, as the medium is someone else's.
bool mountHolding(GMainContext* context, GVolume* volume, const std::string& key,
                  const fs::path& holding, std::chrono::milliseconds releaseTimeout) {
    auto op = std::make_shared<Operation>();
    op->kind = Operation::Kind::Mount;
    if (!runOperation(context, volume, op, kMountTimeout) || !op->ok) {
        Log::linef("device", "mount %s: %s", key.c_str(),
                   op->done ? op->error.c_str() : "no answer in time");
        return false;
    }
    // The new mount reaches the volume as an event of its own, around the mount's answer.
    GObjectPtr<GMount> mount;
    auto mounted = [&] {
        mount.reset(g_volume_get_mount(volume));
        return mount != nullptr;
    };
    runUntil(context, mounted, Clock::now() + kCancelGrace);
    const std::optional<fs::path> root = mount ? rootPath(mount.get()) : std::nullopt;
    std::error_code ec;
    if (root && fs::exists(*root / holding, ec)) {
        Log::linef("device", "mounted %s at %s", key.c_str(), root->c_str());
        return true;
    }
    if (mount) {
        auto release = std::make_shared<Operation>();
        release->kind = Operation::Kind::Unmount;
        runOperation(context, mount.get(), release, releaseTimeout);
    }
    return false;
}

struct VisibleMount {
    fs::path root;
    GObjectPtr<GMount> mount;
};

// The mounts a file manager shows, sorted by root. GIO's volume monitor hears of mount changes
// only through the process's default main context, which a program without a GLib main loop
// never runs, so one kept between calls would go stale. Made afresh for each call it reads
// the mount table anew; that costs about 0.15 ms without the desktop's volume daemons.
std::vector<VisibleMount> visibleMounts() {
    GObjectPtr<GVolumeMonitor> monitor(g_volume_monitor_get());
    GList* mounts = g_volume_monitor_get_mounts(monitor.get());
    std::vector<VisibleMount> visible;
    for (GList* item = mounts; item != nullptr; item = item->next) {
        GObjectPtr<GMount> mount(G_MOUNT(item->data));  // takes the list's reference
        if (g_mount_is_shadowed(mount.get())) continue;
        if (std::optional<fs::path> root = rootPath(mount.get())) {
            visible.push_back({std::move(*root), std::move(mount)});
        }
    }
    g_list_free(mounts);
    std::sort(visible.begin(), visible.end(),
              [](const VisibleMount& a, const VisibleMount& b) { return a.root < b.root; });
    return visible;
}

}  // namespace

// GIO's volume monitor is one per process and not to be used from two threads at once, so
// all instances share one lock, and with it one context for the ends of their ejects.
class GioVolumeService::Session {
public:
    static std::shared_ptr<Session> shared() {
        static std::mutex lock;
        static std::weak_ptr<Session> current;
        std::lock_guard guard(lock);
        std::shared_ptr<Session> session = current.lock();
        if (!session) {
            session = std::make_shared<Session>();
            current = session;
        }
        return session;
    }

    // The volumes waiting for a mount: when each was first seen so, and those tried since.
    // A volume leaves both once it is gone or mounted, so a medium plugged in again is new.
    void noteWaiting(const std::set<std::string>& waiting) {
        const auto now = Clock::now();
        std::erase_if(firstSeen, [&](const auto& seen) { return !waiting.contains(seen.first); });
        std::erase_if(tried, [&](const std::string& key) { return !waiting.contains(key); });
        for (const std::string& key : waiting) firstSeen.try_emplace(key, now);
    }
    bool due(const std::string& key) const {
        const auto seen = firstSeen.find(key);
        return !tried.contains(key) && seen != firstSeen.end() &&
               Clock::now() - seen->second >= kAutomountGrace;
    }

    Session() : context(g_main_context_new()) {}
    ~Session() { g_main_context_unref(context); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Delivers what arrived since the last call, such as the late end of a cancelled eject.
    void drain() {
        while (g_main_context_iteration(context, FALSE)) {
        }
    }

    std::mutex lock;  // a context runs on one thread at a time
    GMainContext* context;
    std::map<std::string, Clock::time_point> firstSeen;
    std::set<std::string> tried;
};

GioVolumeService::GioVolumeService(std::chrono::milliseconds ejectTimeout)
    : mSession(Session::shared()), mEjectTimeout(ejectTimeout) {}

GioVolumeService::~GioVolumeService() = default;

std::vector<fs::path> GioVolumeService::volumes() {
    std::vector<fs::path> roots;
    std::lock_guard guard(mSession->lock);
    ContextPush push(mSession->context);
    mSession->drain();
    for (VisibleMount& visible : visibleMounts()) {
        if (roots.empty() || roots.back() != visible.root) roots.push_back(visible.root);
    }
    return roots;
}

bool GioVolumeService::exists(const fs::path& path) {
    std::error_code ec;
    return fs::exists(path, ec);
}

bool GioVolumeService::unmountAndEject(const fs::path& root, std::string& error) {
    const fs::path normal = normalPath(root);
    std::lock_guard guard(mSession->lock);
    ContextPush push(mSession->context);
    mSession->drain();
    GObjectPtr<GMount> mount;
    for (VisibleMount& visible : visibleMounts()) {
        if (visible.root == normal) mount = std::move(visible.mount);
    }
    if (!mount || (!g_mount_can_eject(mount.get()) && !g_mount_can_unmount(mount.get()))) {
        error = mount ? "the volume at " + normal.string() + " cannot be unmounted"
                      : "no volume is mounted at " + normal.string();
        return false;
    }

    auto op = std::make_shared<Operation>();
    op->kind =
        g_mount_can_eject(mount.get()) != FALSE ? Operation::Kind::Eject : Operation::Kind::Unmount;
    if (!runOperation(mSession->context, mount.get(), op, mEjectTimeout)) {
        error = "the volume at " + normal.string() + " was not released within " +
                std::to_string(mEjectTimeout.count()) + " ms";
        return false;
    }
    if (!op->ok) error = "cannot eject the volume at " + normal.string() + ": " + op->error;
    return op->ok;
}

bool GioVolumeService::mountUnmounted(const fs::path& holding) {
    std::lock_guard guard(mSession->lock);
    ContextPush push(mSession->context);
    mSession->drain();
    GObjectPtr<GVolumeMonitor> monitor(g_volume_monitor_get());
    GList* listed = g_volume_monitor_get_volumes(monitor.get());
    std::vector<std::pair<std::string, GObjectPtr<GVolume>>> waiting;
    for (GList* item = listed; item != nullptr; item = item->next) {
        GObjectPtr<GVolume> volume(G_VOLUME(item->data));  // takes the list's reference
        if (waitsForMount(volume.get()))
            waiting.emplace_back(volumeKey(volume.get()), std::move(volume));
    }
    g_list_free(listed);
    std::set<std::string> keys;
    for (const auto& [key, volume] : waiting) keys.insert(key);
    mSession->noteWaiting(keys);

    for (auto& [key, volume] : waiting) {
        if (!mSession->due(key)) continue;
        mSession->tried.insert(key);
        if (mountHolding(mSession->context, volume.get(), key, holding, mEjectTimeout)) {
            return true;
        }
    }
    return false;
}

}  // namespace tavrel

// GLib locks with bare futexes, which ThreadSanitizer cannot see, and GLib itself is not built
// with the sanitizer; memory that GLib's worker thread hands to ours therefore looks
// unsynchronised. Reports that pass through GLib's libraries are dropped; races in our own
// code still show. It lives here so that every program using this back end carries it; it is
// read by ThreadSanitizer at start-up and ignored in other builds.
extern "C" const char* __tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "race:libglib-2.0.so\n"
           "race:libgobject-2.0.so\n"
           "race:libgio-2.0.so\n"
           // FluidSynth loads SoundFont samples on libgomp's threads, which sync by futex too.
           "called_from_lib:libgomp.so.1\n"
           "race:libgomp.so.1\n"
           // Qt is not built with the sanitizer either: its thread pool (large images are
           // converted on it while the window paints) and queued calls hand memory over
           // through synchronisation the sanitizer cannot see.
           "race:libQt6Core.so.6\n"
           "race:libQt6Gui.so.6\n"
           "race:libQt6Widgets.so.6\n";
}
