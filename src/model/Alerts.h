// How the core tells the user something or asks a question. The desktop program shows modal
// dialogs, the command-line tool prints to stderr and answers from its flags, tests script
// the answers and record the texts.
#pragma once

#include <string>

namespace tavrel {

class Alerts {
public:
    virtual ~Alerts() = default;
    // A plain message with an "OK" button.
    virtual void alert(const std::string& message, const std::string& informative = {}) = 0;
    // A question with a confirming button and "Cancel"; true when the user confirmed.
    virtual bool ask(const std::string& message, const std::string& informative,
                     const std::string& confirmButton) = 0;
};

}  // namespace tavrel
