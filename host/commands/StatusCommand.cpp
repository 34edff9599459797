// "das status": what a running host has done.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/Command.h"
#include "cli/HostCommands.h"
#include "cli/SheetPrinter.h"
#include "client/SocketConnection.h"
#include "terminal/Sheet.h"

namespace {

using Json = nlohmann::ordered_json;

const char* const Prometheus = "prometheus";

/// The figures for each kind of call, in the output for Prometheus.
const std::pair<const char*, const char*> CallFigures[] = {
    {"count", "_total"},
    {"failures", "_failures_total"},
    {"us", "_microseconds_total"},
    {"us_max", "_microseconds_max"},
};

/// A row for each figure, named by its path in the JSON document.
void addRows(Sheet& sheet, const std::string& path, const Json& value) {
    if (!value.is_object()) {
        sheet.rows.push_back({path, value.dump()});
        return;
    }
    for (const auto& [name, inner] : value.items()) {
        addRows(sheet, path.empty() ? name : path + "." + name, inner);
    }
}

/// The lines that Prometheus needs before the values of a figure: its help and its type, which
/// follows from the name.
std::string headOf(const std::string& name, const std::string& help) {
    const bool isCounter = name.size() > 6 && name.compare(name.size() - 6, 6, "_total") == 0;
    return "# HELP " + name + " " + help + "\n# TYPE " + name +
           (isCounter ? " counter\n" : " gauge\n");
}

/// Figures of calls by their labels. Those of requests have two labels: schema and reason.
std::string callsFor(const Json& calls, bool areRequests) {
    std::string text;
    for (const auto& [figure, suffix] : CallFigures) {
        const std::string name = std::string(areRequests ? "das_requests" : "das_methods") + suffix;
        text += headOf(name, areRequests ? "Requests by schema and reason." : "Calls by method.");
        for (const auto& [outer, inner] : calls.items()) {
            if (!areRequests) {
                text += name + "{method=\"" + outer + "\"} " + inner.at(figure).dump() + "\n";
                continue;
            }
            for (const auto& [reason, figures] : inner.items()) {
                text += name + "{schema=\"" + outer + "\",reason=\"" + reason + "\"} " +
                        figures.at(figure).dump() + "\n";
            }
        }
    }
    return text;
}

std::string prometheusOf(const Json& figures) {
    std::string text;
    for (const auto& [name, value] : figures.items()) {
        if (name == "requests" || name == "methods") {
            text += callsFor(value, name == "requests");
            continue;
        }
        Sheet sheet;
        addRows(sheet, name, value);
        for (const auto& row : sheet.rows) {
            std::string metric = "das_" + row[0];
            std::replace(metric.begin(), metric.end(), '.', '_');
            const std::string number = row[1] == "true" ? "1" : row[1] == "false" ? "0" : row[1];
            text += headOf(metric, "The figure " + row[0] + " of the host.") + metric + " " +
                    number + "\n";
        }
    }
    return text;
}

int print(const Json& figures, const std::string& text, const Arguments& arguments) {
    Output output;
    const std::string format = arguments.text("--output");
    if (format == Prometheus || format == "json") {
        return output.print(format == "json" ? figures.dump(2) + "\n" : prometheusOf(figures));
    }
    Sheet sheet{{"Figure", "Value"}, {}};
    addRows(sheet, "", figures);
    return SheetPrinter(arguments, output).print(sheet, text);
}

}  // namespace

int runStatus(const HostOptions& options, const Arguments& arguments) {
    if (arguments.text("--output") != Prometheus && !SheetPrinter::check(arguments)) {
        return ExitUsage;
    }
    SocketConnection connection;
    if (const int status = HostCommands::open("status", options, connection)) {
        return status;
    }
    Method answer;
    if (!connection.call(Method("Statistics"), answer)) {
        return HostCommands::reportSilence();
    }
    std::string text;
    const bool isAnswered = answer.getStringParameter("Statistics", text);
    const Json figures = Json::parse(text, nullptr, false);
    if (!isAnswered || !figures.is_object()) {
        Complaint::report("status: " + FailureWords::ofRefusal("listen for *").text());
        return ExitFailure;
    }
    return print(figures, text, arguments);
}
