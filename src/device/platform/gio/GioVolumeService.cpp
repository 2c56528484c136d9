#include "device/platform/gio/GioVolumeService.h"

#include <gio/gio.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

// A cancelled eject reports back at once; this only bounds a system that does not.
constexpr std::chrono::seconds kCancelGrace{2};

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

// An eject in flight. GIO may report back after the caller has given up, so the callback
// holds its own share of this.
struct Operation {
    bool eject = false;  // else unmount
    bool done = false;
    bool ok = false;
    std::string error;
};

void operationFinished(GObject* source, GAsyncResult* result, gpointer data) {
    auto* holder = static_cast<std::shared_ptr<Operation>*>(data);
    Operation& op = **holder;
    GError* error = nullptr;
    const gboolean ok =
        op.eject ? g_mount_eject_with_operation_finish(G_MOUNT(source), result, &error)
                 : g_mount_unmount_with_operation_finish(G_MOUNT(source), result, &error);
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
    op->eject = g_mount_can_eject(mount.get()) != FALSE;
    GObjectPtr<GCancellable> cancel(g_cancellable_new());
    auto* holder = new std::shared_ptr<Operation>(op);
    if (op->eject) {
        g_mount_eject_with_operation(mount.get(), G_MOUNT_UNMOUNT_NONE, nullptr, cancel.get(),
                                     operationFinished, holder);
    } else {
        g_mount_unmount_with_operation(mount.get(), G_MOUNT_UNMOUNT_NONE, nullptr, cancel.get(),
                                       operationFinished, holder);
    }
    auto done = [&] { return op->done; };
    runUntil(mSession->context, done, Clock::now() + mEjectTimeout);
    if (!op->done) {
        g_cancellable_cancel(cancel.get());
        runUntil(mSession->context, done, Clock::now() + kCancelGrace);
        error = "the volume at " + normal.string() + " was not released within " +
                std::to_string(mEjectTimeout.count()) + " ms";
        return false;
    }
    if (!op->ok) error = "cannot eject the volume at " + normal.string() + ": " + op->error;
    return op->ok;
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
           "race:libgomp.so.1\n";
}
