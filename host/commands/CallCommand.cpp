// "das call": one remote method, with its out parameters on standard output. Programs rely on its
// exact output and log, so both have their full form by default.

#include <algorithm>
#include <charconv>
#include <set>

#include "cli/Command.h"
#include "cli/HostCommands.h"
#include "cli/RowArguments.h"
#include "client/Connection.h"
#include "framework/MessageInWork.h"
#include "terminal/NearMisses.h"
#include "terminal/Question.h"
#include "wire/Methods.h"
#include "wire/ParameterText.h"

namespace {

/// A description of the parameters of @p method.
std::string takenBy(const Methods::Row& method) {
    const std::vector<Methods::Value> taken = method.of(Parameter::in);
    std::string words = std::string(method.name) + " takes" + (taken.empty() ? " none" : "");
    for (const Methods::Value& in : taken) {
        words += " " + Methods::toText(in);
    }
    return words;
}

/// Adds a parameter whose type depends on the form of @p value.
void addTyped(Method& method, const std::string& name, const std::string& value) {
    if (value == "true" || value == "false") {
        method.addBoolParameter(name, value == "true", Parameter::in);
    } else if (!RowArguments::isNumber(value)) {
        method.addStringParameter(name, value, Parameter::in);
    } else {
        int number = 0;
        const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
        if (result.ec == std::errc()) {
            method.addIntParameter(name, number, Parameter::in);
        } else {
            Complaint::report(name + ": left out, since the number has more than 32 bits",
                              name + ":=" + value + " is a string");
        }
    }
}

/// Adds the parameter "NAME=VALUE" or "NAME:=VALUE". False if it has neither form.
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

/// A parameter that is given twice, of which the service would use the first one; blank if there is
/// no such parameter.
std::string doubledName(const Method& method) {
    std::set<std::string> names;
    for (const Parameter& parameter : method.parameters()) {
        if (!names.insert(parameter.name).second) {
            return parameter.name;
        }
    }
    return "";
}

/// Reports parameters that the method does not have. The call is made nevertheless, since the
/// service decides.
void reportStrangers(const Methods::Row& known, const Method& method) {
    const std::vector<Methods::Value> taken = known.of(Parameter::in);
    const std::string words = takenBy(known);
    std::vector<std::string> names;
    for (const Methods::Value& in : taken) {
        names.emplace_back(in.name);
    }
    for (const Parameter& parameter : method.parameters()) {
        const auto in = std::find_if(taken.begin(), taken.end(),
                                     [&](const auto& one) { return one.name == parameter.name; });
        if (in == taken.end()) {
            Complaint::report(parameter.name + ": no such parameter; " + words,
                              NearMisses::question(parameter.name, names));
        } else if (in->type != parameter.type) {
            Complaint::report(parameter.name + ": a value of another type counts as absent; " +
                              words);
        }
    }
}

/// Whether all required parameters are given; missing ones are reported.
bool checkMissing(const Methods::Row& known, const Method& method) {
    std::string missing;
    for (const Methods::Value& in : known.of(Parameter::in)) {
        const auto& given = method.parameters();
        const bool isGiven =
            std::any_of(given.begin(), given.end(),
                        [&](const Parameter& parameter) { return parameter.name == in.name; });
        if (in.isAlways && !isGiven) {
            missing += " " + Methods::toText(in);
        }
    }
    if (!missing.empty()) {
        Complaint::report(std::string("call ") + known.name + ": missing:" + missing,
                          "das call --help lists the parameters of each method");
    }
    return missing.empty();
}

int print(const Method& answer, Output& output) {
    int status = ExitSuccess;
    for (const Parameter& parameter : answer.parameters()) {
        const std::string value = textOf(parameter, [](const std::string& text) { return text; });
        if (!output.writeLine(parameter.name + "=" + value)) {
            return Complaint::outputFailed();
        }
        status = saysFailure(parameter) ? ExitFailure : status;
    }
    return status;
}

class CallCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override {
        const std::string name = arguments.text("METHOD");
        m_known = Methods::find(name);
        if (m_known == nullptr) {
            Complaint::report(
                name + ": unknown method",
                NearMisses::question(name, Methods::names(), "das call --help lists them"));
            return false;
        }
        m_method.setName(name);
        for (const std::string& parameter : arguments.all("NAME=VALUE")) {
            if (!addParameter(m_method, parameter)) {
                Complaint::report(parameter + ": not of the form NAME=VALUE", takenBy(*m_known));
                return false;
            }
        }
        if (const std::string twice = doubledName(m_method); !twice.empty()) {
            Complaint::report("call " + name + ": " + twice + " is given twice",
                              "give each parameter one value");
            return false;
        }
        reportStrangers(*m_known, m_method);
        return checkMissing(*m_known, m_method);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        const std::string name = m_known->name;
        const bool isReset = name == "factoryReset" || name == "invokeACMSFactoryReset";
        if (isReset && !arguments.has("--yes") &&
            !Question::mayGoOn("Remove all data of the telephone?")) {
            return ExitFailure;
        }
        return call(session);
    }

protected:
    Session::Manner manner() const override { return Session::Manner::Plain; }

private:
    int call(Session& session) const {
        Method answer;
        Connection& connection = session.connection();
        const bool isOneWay = m_known->kind == Methods::Kind::OneWay;
        const bool isDone =
            isOneWay ? connection.callOneWay(m_method) : connection.call(m_method, answer);
        if (!isDone) {
            return HostCommands::reportSilence();
        }
        const int status = isOneWay ? ExitSuccess : print(answer, session.output());
        const bool mayBeRefused = isOneWay || status == ExitFailure;
        return mayBeRefused && session.reportRefusal("call " + m_method.getName()) ? ExitFailure
                                                                                   : status;
    }

    const Methods::Row* m_known = nullptr;
    Method m_method;
};

}  // namespace

std::unique_ptr<SessionCommand> makeCallCommand() {
    return std::make_unique<CallCommand>();
}
