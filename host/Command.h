#ifndef COMMAND_H
#define COMMAND_H

#include <memory>

namespace CLI {
class App;
}
struct HostOptions;

/// One command of das, such as "request". Each lives in a file of its own and is listed in main.
class Command {
public:
    virtual ~Command() = default;

    /**
     * Adds the command, its arguments and its help to @p app.
     *
     * @return the part of @p app that was parsed when this command was called; owned by @p app
     */
    virtual CLI::App* declare(CLI::App& app) = 0;

    /// Runs the command after the parse. Gives the exit status; what went wrong has been told on
    /// standard error then.
    virtual int run(const HostOptions& options) = 0;
};

std::unique_ptr<Command> makeRequestCommand();
std::unique_ptr<Command> makeCallCommand();
std::unique_ptr<Command> makeServeCommand();
std::unique_ptr<Command> makeWatchCommand();

#endif
