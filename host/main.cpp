#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "cli/Command.h"
#include "cli/CommandLine.h"
#include "client/HostOptions.h"
#include "client/ServicePlace.h"
#include "terminal/Complaint.h"

namespace {

/// If the caller has closed a standard descriptor, the next opened file would get its number. So
/// each such descriptor is opened in the wrong direction, and its use fails as before.
void occupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

/// The service reads its paths from the environment. Call this while there is only one thread.
void exportToEnvironment(const HostOptions& options) {
    const std::pair<const char*, const std::optional<std::string>&> places[] = {
        {"DB_PATH", options.db}, {"DAS_ROOT", options.root}};
    for (const auto& [name, value] : places) {
        if (value) {
            setenv(name, value->c_str(), 1);
        }
    }
}

/// How the command uses the data, depending on its arguments.
CommandTable::Data dataOf(const CommandLine& line) {
    using CommandTable::Data;
    const Data data = line.command().data;
    const bool isRead =
        data == Data::Either && !line.arguments().has(line.command().arguments.front().name);
    return isRead || line.arguments().has("--dry-run") ? Data::Read : data;
}

/// Finds the service for a command. False, after a message, if the command can't run there.
bool findService(const CommandLine& line, HostOptions& options) {
    using CommandTable::Data;
    const Data data = dataOf(line);
    if (data == Data::Apart) {
        return true;
    }
    if (data != Data::OfFile && data != Data::OfFiles) {
        ServicePlace::find(options);
    }
    if ((data == Data::OfFile || data == Data::OfFiles) && options.socket) {
        Complaint::report(std::string(line.command().name) + ": the command takes no --socket",
                          "it works on the files themselves: name their folder by --db");
        return false;
    }
    const bool needsDatabase = data == Data::OfFile || (data == Data::Read && !options.socket);
    return !needsDatabase || ServicePlace::hasDatabase(data != Data::OfFile);
}

int runCommandLine(const std::vector<std::string>& words) {
    CommandLine line;
    std::string text;
    if (const auto status = line.parse(words, text)) {
        std::cout << text << std::flush;
        return std::cout.good() ? *status : Complaint::outputFailed();
    }
    HostOptions options = line.options();
    exportToEnvironment(options);
    if (!findService(line, options)) {
        return ExitUsage;
    }
    const auto& action = line.command().action;
    if (const auto* const run = std::get_if<CommandTable::Run>(&action)) {
        return (*run)(options, line.arguments());
    }
    return std::get<CommandTable::Make>(action)()->run(options, line.arguments());
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    // Without this, a write to a closed pipe or socket would end the process; now it returns an
    // error.
    std::signal(SIGPIPE, SIG_IGN);
    // The same for a write beyond the size limit of files.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return runCommandLine({argv + std::min(argc, 1), argv + argc});
    } catch (const std::exception& failure) {
        std::cerr << "das: " << failure.what() << std::endl;
        return ExitFailure;
    }
}
