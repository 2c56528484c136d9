#include "cli/ListCommand.h"

#include "cli/JsonWriter.h"
#include "cli/PathArgs.h"
#include "cli/PatternReport.h"
#include "files/CFileDataMgr.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"

#include <string>

namespace tavrel::cli {

int ListCommand::run(const Args& args, CommandIo io) {
    const auto parsed = PathArgs::parse(args, io, usage(), "file");
    if (!parsed) return kExitUsage;
    const std::string& path = parsed->path;
    const bool json = parsed->json;
    // A collection of its own, whoever runs the command.
    Context context;
    std::string warning;
    if (!CFileDataMgr::importData(path, &warning)) {
        io.err << "tavrel-cli: " << path << ": not a pattern file (unreadable, shorter than "
               << "2,009,212 bytes, or not starting with PTN_0000)\n";
        return kExitFailed;
    }
    if (!warning.empty()) io.err << "tavrel-cli: " << path << ": warning: " << warning << '\n';
    const auto& patterns = context.patterns().getPtnData();
    if (json) {
        JsonWriter writer(io.out);
        writer.beginObject().key("patterns");
        PatternReport::writeJson(writer, patterns);
        writer.endObject();
        io.out << '\n';
    } else {
        PatternReport::printText(patterns, io.out);
    }
    return kExitOk;
}

}  // namespace tavrel::cli
