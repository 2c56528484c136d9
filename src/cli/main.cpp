// tavrel-cli: the pattern tools and the unit without the desktop program.
#include "cli/BackupsCommand.h"
#include "cli/Command.h"
#include "cli/ConvertCommand.h"
#include "cli/ListCommand.h"
#include "cli/MemoryCommand.h"
#include "cli/PreviewCommand.h"
#include "cli/RenderCommand.h"
#include "cli/SmfCommand.h"
#include "cli/UnitCommand.h"
#include "model/Context.h"
#include "model/Log.h"

#include <iostream>
#include <string_view>

namespace {

struct Entry {
    std::string_view name;
    int (*run)(const tavrel::cli::Args&, tavrel::cli::CommandIo);
    const char* (*usage)();
    std::string_view about;
};

constexpr Entry kCommands[] = {
    {"smf", &tavrel::cli::SmfCommand::run, &tavrel::cli::SmfCommand::usage,
     "show what the MIDI file reader makes of a file"},
    {"convert", &tavrel::cli::ConvertCommand::run, &tavrel::cli::ConvertCommand::usage,
     "turn MIDI files into a pattern file, one pattern each"},
    {"list", &tavrel::cli::ListCommand::run, &tavrel::cli::ListCommand::usage,
     "show every pattern of a pattern file"},
    {"memory", &tavrel::cli::MemoryCommand::run, &tavrel::cli::MemoryCommand::usage,
     "show kit and tempo of the user patterns in the unit's 50 memories"},
    {"unit", &tavrel::cli::UnitCommand::run, &tavrel::cli::UnitCommand::usage,
     "talk to the unit: its state, load its kits and patterns, pull or push its pattern file"},
    {"backups", &tavrel::cli::BackupsCommand::run, &tavrel::cli::BackupsCommand::usage,
     "show the kept copies of replaced files, newest first; `unit push COPY` restores one"},
    {"preview", &tavrel::cli::PreviewCommand::run, &tavrel::cli::PreviewCommand::usage,
     "play a variation of a MIDI file through a MIDI output or the built-in synthesizer, until "
     "its time is up or Ctrl-C"},
    {"render", &tavrel::cli::RenderCommand::run, &tavrel::cli::RenderCommand::usage,
     "render a variation's window through the built-in synthesizer into a WAV file"},
};

void printUsage(std::ostream& out) {
    out << "usage: tavrel-cli [-v] COMMAND [ARGS]\n"
        << "  -v  also print the step-by-step log (files, device) on stderr\n"
        << "  --version  show the version\n";
    for (const Entry& e : kCommands) out << "  " << e.usage() << "\n      " << e.about << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    // The step log is for diagnosing; a command reports its own outcome in one line.
    if (argc >= 2 &&
        (std::string_view(argv[1]) == "-v" || std::string_view(argv[1]) == "--verbose")) {
        ++argv;
        --argc;
    } else {
        tavrel::Log::setSink([](std::string_view, std::string_view) {});
    }
    if (argc < 2) {
        printUsage(std::cerr);
        return tavrel::cli::kExitUsage;
    }
    const std::string_view name = argv[1];
    if (name == "-h" || name == "--help" || name == "help") {
        printUsage(std::cout);
        return tavrel::cli::kExitOk;
    }
    if (name == "--version") {
        std::cout << "tavrel-cli " TAVREL_VERSION "\n";
        return tavrel::cli::kExitOk;
    }
    for (const Entry& e : kCommands) {
        if (e.name == name) {
            tavrel::Context context;
            return e.run(tavrel::cli::Args(argv + 2, argv + argc), {std::cout, std::cerr});
        }
    }
    std::cerr << "tavrel-cli: unknown command '" << name << "'\n";
    printUsage(std::cerr);
    return tavrel::cli::kExitUsage;
}
