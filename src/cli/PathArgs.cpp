#include "cli/PathArgs.h"

namespace tavrel::cli {

std::optional<PathArgs> PathArgs::parse(const Args& args, CommandIo io, const char* usage,
                                        const char* what) {
    PathArgs parsed;
    for (const std::string& a : args) {
        if (a == "--json") {
            parsed.json = true;
        } else if (a.starts_with("-") || !parsed.path.empty()) {
            io.err << "tavrel-cli: unexpected argument '" << a << "'; usage: tavrel-cli " << usage
                   << '\n';
            return std::nullopt;
        } else {
            parsed.path = a;
        }
    }
    if (parsed.path.empty()) {
        io.err << "tavrel-cli: no " << what << " given; usage: tavrel-cli " << usage << '\n';
        return std::nullopt;
    }
    return parsed;
}

}  // namespace tavrel::cli
