// Only the first bytes of an answer are examined. Values in an answer are not escaped, so a search
// for "failure" in all of it could find it in a contact's name.

#include "schemas/Answers.h"

#include "DASUtilsStrings.h"

namespace {

const std::string SchemaStart = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"";
const std::string ReasonStart = "\"><ReasonForMessage>";
const char* const NotAllowed = "<FailureMessage>not allowed</FailureMessage>";
const std::string ReasonEnd = "</ReasonForMessage>";

bool standsAt(const std::string& text, std::size_t position, const std::string& part) {
    return text.compare(position, part.size(), part) == 0;
}

std::string answerOf(const std::string& message, const char* detail) {
    return SchemaStart + Answers::schemaOf(message) + ReasonStart +
           DASUtilsStrings::FailureResponse + ReasonEnd + detail + "</Schema>";
}

}  // namespace

// The service itself uses the first quoted string after "Schema".
std::string Answers::schemaOf(const std::string& message) {
    const std::size_t word = message.find("Schema");
    const std::size_t open = word == std::string::npos ? word : message.find('"', word);
    const std::size_t close = open == std::string::npos ? open : message.find('"', open + 1);
    return close == std::string::npos ? "" : message.substr(open + 1, close - open - 1);
}

std::string Answers::reasonOf(const std::string& message) {
    const std::string begin = "<ReasonForMessage>";
    const std::size_t place = message.find(begin);
    const std::size_t end = place == std::string::npos ? place : message.find(ReasonEnd, place);
    return end == std::string::npos
               ? ""
               : message.substr(place + begin.size(), end - place - begin.size());
}

bool Answers::isFailure(const std::string& answer) {
    if (!standsAt(answer, 0, SchemaStart)) {
        return false;
    }
    const std::size_t reason = answer.find(ReasonStart, SchemaStart.size());
    return reason != std::string::npos && standsAt(answer, reason + ReasonStart.size(),
                                                   DASUtilsStrings::FailureResponse + ReasonEnd);
}

std::string Answers::failureFor(const std::string& message) {
    return answerOf(message, "");
}

std::string Answers::refusalFor(const std::string& message) {
    return answerOf(message, NotAllowed);
}
