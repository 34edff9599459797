#include <algorithm>
#include <charconv>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "DASUtilsStrings.h"
#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "client/HostOptions.h"
#include "client/LocalConnection.h"
#include "client/Session.h"
#include "client/SocketConnection.h"
#include "framework/ServiceHost.h"
#include "schemas/Answers.h"
#include "terminal/Complaint.h"
#include "terminal/NearMisses.h"
#include "terminal/Output.h"
#include "wire/KnownMethods.h"
#include "wire/ParameterText.h"

namespace {

void tell(const std::string& words) {
    std::cerr << "das: " << words << std::endl;
}

bool isWholeNumber(const std::string& text) {
    const std::size_t first = !text.empty() && text[0] == '-' ? 1 : 0;
    return text.size() > first && text.find_first_not_of("0123456789", first) == std::string::npos;
}

/// Adds a parameter of the type that @p value looks like.
void addTyped(Method& method, const std::string& name, const std::string& value) {
    if (value == "true" || value == "false") {
        method.addBoolParameter(name, value == "true", Parameter::in);
    } else if (!isWholeNumber(value)) {
        method.addStringParameter(name, value, Parameter::in);
    } else {
        int number = 0;
        const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
        if (result.ec == std::errc()) {
            method.addIntParameter(name, number, Parameter::in);
        } else {
            tell(name + ": left out, the number has more than 32 bits; " + name + ":=" + value +
                 " is a text");
        }
    }
}

/// Adds what "NAME=VALUE" or "NAME:=VALUE" says. False when it is neither.
bool addParameter(Method& method, const std::string& text) {
    const std::size_t sign = text.find('=');
    const bool isString = sign != std::string::npos && sign > 0 && text[sign - 1] == ':';
    const std::size_t nameSize = isString ? sign - 1 : sign;
    if (sign == std::string::npos || nameSize == 0) {
        return false;
    }
    const std::string name = text.substr(0, nameSize);
    const std::string value = text.substr(sign + 1);
    if (isString) {
        method.addStringParameter(name, value, Parameter::in);
    } else {
        addTyped(method, name, value);
    }
    return true;
}

/// Tells of parameters that the method does not take. The call is made nevertheless: what counts is
/// what the service says.
void tellOfStrangers(const KnownMethods::Entry& known, const Method& method) {
    std::string words = std::string(known.name) + " takes" + (known.in.empty() ? " none" : "");
    std::vector<std::string> names;
    for (const KnownMethods::In& in : known.in) {
        words += " " + KnownMethods::toText(in);
        names.emplace_back(in.name);
    }
    for (const Parameter& parameter : method.parameters()) {
        const auto in = std::find_if(known.in.begin(), known.in.end(),
                                     [&](const auto& one) { return one.name == parameter.name; });
        if (in == known.in.end()) {
            Complaint::tell(parameter.name + ": no such parameter; " + words,
                            NearMisses::question(parameter.name, names));
        } else if (in->type != parameter.type) {
            Complaint::tell(parameter.name + ": a value of another type counts as absent; " +
                            words);
        }
    }
}

std::string plainTextOf(const Parameter& parameter) {
    return textOf(parameter, [](const std::string& text) { return text; });
}

/// Whether an out parameter says that the call was in vain.
bool isRefusal(const Parameter& parameter) {
    const std::string text = plainTextOf(parameter);
    if (parameter.name == "Acknowledge") {
        return text == "false" || text.compare(0, 5, "ERROR") == 0;
    }
    return parameter.name == "Response" &&
           (text == DASUtilsStrings::FailureResponse || Answers::isFailure(text));
}

int print(const Method& answer, Output& output) {
    int status = ExitSuccess;
    for (const Parameter& parameter : answer.parameters()) {
        if (!output.writeLine(parameter.name + "=" + plainTextOf(parameter))) {
            return Complaint::outputFailed();
        }
        status = isRefusal(parameter) ? ExitFailure : status;
    }
    return status;
}

/// "das call": one remote method, its out parameters on standard output. By itself it prints and
/// logs as a contract says, not as it suits people: so it does without a session.
class CallCommand : public SessionCommand {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (!check(arguments)) {
            return ExitUsage;
        }
        return options.socket ? callRunningHost(*options.socket) : callThisProcess();
    }

    bool check(const Arguments& arguments) override {
        const std::string name = arguments.text("METHOD");
        m_known = KnownMethods::find(name);
        if (m_known == nullptr) {
            Complaint::tell(
                name + ": unknown method",
                NearMisses::question(name, KnownMethods::names(), "das call --help lists them"));
            return false;
        }
        m_method.setName(name);
        for (const std::string& parameter : arguments.all("NAME=VALUE")) {
            if (!addParameter(m_method, parameter)) {
                tell(parameter + ": not of the form NAME=VALUE");
                return false;
            }
        }
        tellOfStrangers(*m_known, m_method);
        return true;
    }

    int runIn(Session& session, const Arguments& /*arguments*/) override {
        return call(session.connection(), session.output());
    }

private:
    int callRunningHost(const std::string& socket) const {
        Output output;
        SocketConnection connection;
        std::string error;
        if (!connection.open(socket, error)) {
            tell(error);
            return ExitUsage;
        }
        return call(connection, output);
    }

    int callThisProcess() const {
        ServiceHost host;
        if (!host.start()) {
            return ExitNoLibrary;
        }
        LocalConnection connection(host);
        return call(connection, host.output());
    }

    int call(Connection& connection, Output& output) const {
        Method answer;
        const bool isDone =
            m_known->isOneWay ? connection.callOneWay(m_method) : connection.call(m_method, answer);
        if (!isDone) {
            tell("the host has not answered; it has ended, or it is no host of das");
            return ExitFailure;
        }
        return print(m_known->isOneWay ? Method() : answer, output);
    }

    const KnownMethods::Entry* m_known = nullptr;
    Method m_method;
};

}  // namespace

std::unique_ptr<Command> makeCallCommand() {
    return std::make_unique<CallCommand>();
}
