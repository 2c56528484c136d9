// GLib locks with bare futexes, which ThreadSanitizer cannot see, and GLib itself is not built
// with the sanitizer; memory that GLib's worker thread hands to ours therefore looks
// unsynchronised. Reports that pass through GLib's libraries are dropped; races in our own
// code still show. Read by ThreadSanitizer at start-up, ignored in other builds.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libglib-2.0.so\n"
           "race:libgobject-2.0.so\n"
           "race:libgio-2.0.so\n";
}
