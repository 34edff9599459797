#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "Command.h"
#include "HostOptions.h"

namespace {

using Maker = std::unique_ptr<Command> (*)();

/// Every command of das, in the order of the help text.
const Maker Commands[] = {makeRequestCommand, makeCallCommand, makeServeCommand, makeWatchCommand};

/// A descriptor that the caller left closed would be given to the next file that is opened. It is
/// opened in the wrong direction, so that its use fails as before.
void occupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void declareOptions(CLI::App& app, HostOptions& options) {
    app.add_option("--db", options.db, "Directory of phone.db (DB_PATH)")->type_name("DIR");
    app.add_option("--root", options.root, "Root of the telephone's files (DAS_ROOT)")
        ->type_name("DIR");
    app.add_option("--socket", options.socket, "Socket of a running host")->type_name("PATH");
    app.set_version_flag("--version", "das " DAS_VERSION, "Print the version and end");
}

/// The service reads its places from the environment. Called while there is one thread.
void exportToEnvironment(const HostOptions& options) {
    const std::pair<const char*, const std::optional<std::string>&> places[] = {
        {"DB_PATH", options.db}, {"DAS_ROOT", options.root}};
    for (const auto& [name, value] : places) {
        if (value) {
            setenv(name, value->c_str(), 1);
        }
    }
}

int runCommandLine(int argc, char** argv) {
    CLI::App app("The host of the telephone's data access service.", "das");
    app.require_subcommand(1);
    app.fallthrough();
    HostOptions options;
    declareOptions(app, options);
    std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>> commands;
    for (const Maker make : Commands) {
        auto command = make();
        CLI::App* const parsed = command->declare(app);
        commands.emplace_back(parsed, std::move(command));
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitSuccess : ExitUsage;
    }
    exportToEnvironment(options);
    for (const auto& [parsed, command] : commands) {
        if (parsed->parsed()) {
            return command->run(options);
        }
    }
    return ExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    // An answer that nobody reads any more is an error of that write, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return runCommandLine(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << "das: " << failure.what() << std::endl;
        return ExitFailure;
    }
}
