// Methods that the host answers itself, because the service knows neither its clients nor its log.
// A method has a row in wire/Methods.cpp, by which the access rules have already checked the call,
// and a function here.

#include "framework/HostMethods.h"

#include <algorithm>
#include <iterator>

#include "DASChangeListenerIfc.h"
#include "Executable.h"
#include "Log.h"
#include "framework/Client.h"
#include "framework/HostFramework.h"
#include "framework/TextTransfer.h"

namespace {

constexpr int LevelOfFailures = 2;

void addStatusListener(const HostCall& call, Method& /*answer*/) {
    call.framework.addStatusListener(HostFramework::senderOf(*call.client, call.protocol));
}

void addLogListener(const HostCall& call, Method& /*answer*/) {
    int level = LevelOfFailures;
    (void)call.request.getIntParameter("Level", level);  // this parameter is optional
    call.framework.logRelay().add(call.client, *call.framework.adapterOf(call.protocol), level);
}

void addChangeListener(const HostCall& call, Method& /*answer*/) {
    auto* const source = dynamic_cast<DASChangeSourceIfc*>(&call.service);
    if (source == nullptr) {
        logAppUni("das", "./host/HostMethods", 2, __LINE__,
                  "Client %s does not hear of changes: the service library does not report them",
                  call.client->name().c_str());
        return;
    }
    std::string schemas;
    (void)call.request.getStringParameter("Schemas", schemas);  // this parameter is optional
    call.framework.changeRelay().add(call.client, *call.framework.adapterOf(call.protocol), schemas,
                                     *source);
}

void tellLastFailures(const HostCall& call, Method& answer) {
    const FailureWords& failures = call.client->lastFailures();
    answer.addStringParameter("Words", failures.text(), Parameter::out);
    answer.addBoolParameter("HasFailed", failures.hasFailed(), Parameter::out);
}

void tellStatistics(const HostCall& call, Method& answer) {
    answer.addStringParameter(
        "Statistics", call.framework.statistics().json(call.framework.listeners()), Parameter::out);
}

/// Handles a call and adds the out parameters to its answer.
using Function = void (*)(const HostCall& call, Method& answer);

const std::pair<const char*, Function> Functions[] = {
    {"AddStatusListener", addStatusListener}, {"AddLogListener", addLogListener},
    {"AddChangeListener", addChangeListener}, {"LastFailures", tellLastFailures},
    {"ImportText", TextTransfer::importText}, {"ExportText", TextTransfer::exportText},
    {"Statistics", tellStatistics},
};

}  // namespace

std::optional<Method> HostMethods::answer(const HostCall& call) {
    const std::string& name = call.request.getName();
    const auto* const found = std::find_if(std::begin(Functions), std::end(Functions),
                                           [&](const auto& each) { return name == each.first; });
    if (found == std::end(Functions)) {
        return std::nullopt;
    }
    Method answer(name);
    found->second(call, answer);
    return answer;
}
