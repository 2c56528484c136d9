// The status bar's one line after the program replaced files: where each replaced file's
// backup is kept or why none could be kept, and any caveat on a write that succeeded.
#pragma once

#include "files/WriteReport.h"

#include <QString>

#include <vector>

namespace tavrel::app {

class WriteNote {
public:
    // Empty when nothing was replaced and nothing unusual happened.
    static QString describe(const std::vector<WriteReport>& reports);
};

}  // namespace tavrel::app
