// The size of a reply is computed before its line is built, because then the reply is in memory
// twice.

#include "framework/MessageInWork.h"

#include <utility>

#include "AurelProtocols.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "framework/Client.h"
#include "schemas/Answers.h"
#include "wire/JsonRpc.h"
#include "wire/XmlAdapter.h"

bool saysFailure(const Parameter& parameter) {
    if (parameter.name == "Acknowledge") {
        return parameter.type == Parameter::Type::Bool ? !parameter.flag
                                                       : parameter.text.rfind("ERROR", 0) == 0;
    }
    return parameter.name == "Response" && (parameter.text == DASUtilsStrings::FailureResponse ||
                                            Answers::isFailure(parameter.text));
}

bool MessageInWork::decode(std::istream& /*stream*/, Method& method) {
    method = std::move(request);
    return isRead;
}

void MessageInWork::count() {
    if (subject.method != nullptr) {
        Statistics::count(std::exchange(subject, {}), hasFailed, begin);
    }
}

const std::string& MessageInWork::protocol() const {
    return AurelProtocols::SERVICE_JSON;
}

void LineMessage::encode(const Method& reply, std::ostream& /*stream*/) {
    std::size_t size = 0;
    for (const Parameter& parameter : reply.parameters()) {
        size += parameter.text.size();
        hasFailed = hasFailed || saysFailure(parameter);
    }
    if (size > LargeAnswer) {
        takeTurn();
    }
    const std::size_t limit = m_client.longestAnswer();
    m_line = toLine(reply, limit);
    // The failure is the shortest possible answer, so it always fits.
    if (!m_line) {
        logAppUni("das", "./host/Dispatcher", 2, __LINE__,
                  "The answer to %s is a failure: it is longer than %zu bytes",
                  reply.getName().c_str(), limit);
        Method failure(reply.getName());
        hasFailed = true;
        failure.addStringParameter("Response", DASUtilsStrings::FailureResponse, Parameter::out);
        m_line = toLine(failure, limit);
    }
}

void LineMessage::takeTurn() {
    if (!m_answers.owns_lock()) {
        m_answers.lock();
    }
}

void LineMessage::sendAnswer() {
    count();
    if (m_line && isAnswered()) {
        m_client.sendLine(std::move(*m_line));
    }
}

std::optional<std::string> JsonMessage::toLine(const Method& reply, std::size_t limit) const {
    return JsonRpc::answer(reply, id.value_or("null"), limit);
}

const std::string& XmlMessage::protocol() const {
    return AurelProtocols::SERVICE_XML;
}

std::optional<std::string> XmlMessage::toLine(const Method& reply, std::size_t limit) const {
    return XmlAdapter::write(reply, limit);
}
