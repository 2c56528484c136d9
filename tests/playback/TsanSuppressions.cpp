// FluidSynth loads a SoundFont's samples on OpenMP threads. libgomp synchronises them with its
// own futex barriers, which ThreadSanitizer cannot see unless libgomp itself is built for it,
// so its allocations look like races. Only the sanitiser reads this; other builds ignore it.
// Weak: where the GIO volume back end is linked in, its list (which has the same lines) wins.
extern "C" const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)

extern "C" [[gnu::weak]] const char* __tsan_default_suppressions() {  // NOLINT
    return "called_from_lib:libgomp.so.1\nrace:libgomp.so.1\n";
}
