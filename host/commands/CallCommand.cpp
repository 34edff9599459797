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
#include "client/Connection.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "schemas/Answers.h"
#include "terminal/Complaint.h"
#include "terminal/NearMisses.h"
#include "terminal/Output.h"
#include "wire/Methods.h"
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
void tellOfStrangers(const Methods::Row& known, const Method& method) {
    const std::vector<Methods::Value> taken = known.of(Parameter::in);
    std::string words = std::string(known.name) + " takes" + (taken.empty() ? " none" : "");
    std::vector<std::string> names;
    for (const Methods::Value& in : taken) {
        words += " " + Methods::toText(in);
        names.emplace_back(in.name);
    }
    for (const Parameter& parameter : method.parameters()) {
        const auto in = std::find_if(taken.begin(), taken.end(),
                                     [&](const auto& one) { return one.name == parameter.name; });
        if (in == taken.end()) {
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
/// logs as a contract says, not as it suits people.
class CallCommand : public SessionCommand {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (!check(arguments)) {
            return ExitUsage;
        }
        int status = ExitUsage;
        const auto session = Session::open(options, status, Session::Manner::Plain);
        return session == nullptr ? status : runIn(*session, arguments);
    }

    bool check(const Arguments& arguments) override {
        const std::string name = arguments.text("METHOD");
        m_known = Methods::find(name);
        if (m_known == nullptr) {
            Complaint::tell(
                name + ": unknown method",
                NearMisses::question(name, Methods::names(), "das call --help lists them"));
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
    int call(Connection& connection, Output& output) const {
        Method answer;
        const bool isOneWay = m_known->kind == Methods::Kind::OneWay;
        const bool isDone =
            isOneWay ? connection.callOneWay(m_method) : connection.call(m_method, answer);
        if (!isDone) {
            tell("the host has not answered; it has ended, or it is no host of das");
            return ExitFailure;
        }
        return print(isOneWay ? Method() : answer, output);
    }

    const Methods::Row* m_known = nullptr;
    Method m_method;
};

}  // namespace

std::unique_ptr<Command> makeCallCommand() {
    return std::make_unique<CallCommand>();
}
