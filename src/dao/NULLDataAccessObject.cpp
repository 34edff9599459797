// The object for an unknown schema, so that callers need no special case: its answer is a failure,
// and its operations do nothing.

#include "dao/NULLDataAccessObject.h"

NULLDataAccessObject::NULLDataAccessObject(const std::string& schema) : m_schema(schema) {
    m_responseReason = DASUtilsStrings::FailureResponse;
}

NULLDataAccessObject::~NULLDataAccessObject() = default;

void NULLDataAccessObject::handleRequest(const char*, int) {}

std::string NULLDataAccessObject::schemaName() {
    return m_schema;
}

std::string NULLDataAccessObject::responseData() {
    return {};
}

int NULLDataAccessObject::createTable() {
    return 0;
}

int NULLDataAccessObject::writeRequest() {
    return 0;
}

int NULLDataAccessObject::readRequest() {
    return 0;
}
