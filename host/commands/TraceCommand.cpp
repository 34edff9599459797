// "das trace": the log of a running host, as it comes.

#include <cstdlib>

#include "Log.h"
#include "cli/Command.h"
#include "cli/HostCommands.h"
#include "cli/RowArguments.h"
#include "client/SocketConnection.h"
#include "terminal/TerminalText.h"

namespace {

constexpr std::size_t AllLevels = 6;

struct Colour {
    int highestLevel;
    const char* code;
};
/// Failures are red, SQL and lock errors yellow, information has no colour, detail is dim.
const Colour Colours[] = {{2, "\x1b[31m"}, {3, "\x1b[33m"}, {5, ""}};
const char* const ColourOfDetail = "\x1b[2m";

std::string coloured(const std::string& line, int level) {
    const char* code = ColourOfDetail;
    for (auto each = std::rbegin(Colours); each != std::rend(Colours); ++each) {
        code = level <= each->highestLevel ? each->code : code;
    }
    return *code == 0 ? line : code + line + "\x1b[0m";
}

/// The line for the entry in @p heard; no value if it contains no entry.
std::optional<std::string> lineOf(const Method& heard, bool isColoured) {
    Log::Entry entry;
    if (heard.getName() != "Log" || !heard.getIntParameter("level", entry.level) ||
        !heard.getStringParameter("component", entry.component) ||
        !heard.getStringParameter("source", entry.source) ||
        !heard.getIntParameter("line", entry.line) ||
        !heard.getStringParameter("message", entry.message)) {
        return std::nullopt;
    }
    const std::string line = TerminalText::visible(Log::toLine(entry));
    return isColoured ? coloured(line, entry.level) : line;
}

}  // namespace

int runTrace(const HostOptions& options, const Arguments& arguments) {
    std::size_t level = AllLevels;
    if (!RowArguments::readNumber(arguments, "--level", level)) {
        return ExitUsage;
    }
    Output output;
    SocketConnection connection;
    if (const int status = HostCommands::open("trace", options, connection)) {
        return status;
    }
    Method request("AddLogListener");
    request.addIntParameter("Level", static_cast<int>(level), Parameter::in);
    const bool isColoured = output.mayColour() && !arguments.has("--plain");
    return HostCommands::listen(
        connection, {{request}}, "tracing", output,
        [isColoured](const Method& heard) { return lineOf(heard, isColoured); });
}
