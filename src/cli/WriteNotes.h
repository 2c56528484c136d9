// How the command-line tool tells what a file write did, without -v: on stderr, one line for
// the reason a write failed, and after a success one line each for the replaced file's backup
// (where it is kept, or why none was) and for anything unusual.
#pragma once

#include "cli/RecordedAlerts.h"
#include "files/WriteReport.h"

#include <ostream>

namespace tavrel::cli {

class WriteNotes {
public:
    static void failure(const WriteReport& report, std::ostream& err);
    static void success(const WriteReport& report, std::ostream& err);
    // After UnitSession::store failed: the reason, when it was the pattern file's write that
    // failed (and not a step before it, which gave its own alert).
    static void afterStore(const RecordedAlerts& alerts, std::ostream& err);
};

}  // namespace tavrel::cli
