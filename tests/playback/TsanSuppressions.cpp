// FluidSynth loads a SoundFont's samples on OpenMP threads. libgomp synchronises them with its
// own futex barriers, which ThreadSanitizer cannot see unless libgomp itself is built for it,
// so its allocations look like races. Only the sanitiser reads this; other builds ignore it.
// Programs that link the GIO volume back end carry the same lines there instead.
extern "C" const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)

extern "C" const char* __tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "called_from_lib:libgomp.so.1\nrace:libgomp.so.1\n";
}
