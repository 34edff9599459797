// Two tables in one class. The root element of a request chooses between them, once: elements
// inside it may have the same name.

#include "tables/CertificateMgmtDAO.h"

namespace {

using namespace DASUtilsStrings;

const std::string ReadAllRequest = "readall_request";
const std::string ReadAllResponse = "readall_response";
const std::string SchemaElement = "Schema";

KeyedTable certificateTable(const std::string& schema, const std::string& table,
                            const std::vector<std::string>& columns) {
    KeyedTable keyed = {
        {schema, table, false, false, {{IdTagName, "TEXT PRIMARY KEY NOT NULL", ""}}, {}, {}, true},
        {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement,
         KeyedTableDAOXmlCharacterDataHandler, "DataAccessService",
         "Parsing a CertificateMgmtDAO '%s' request failed."},
        {&WriteRequest, &UpdateRequest, &ReadRequest, &DeleteRequest, &ReadAllRequest}};
    for (const std::string& column : columns) {
        keyed.layout.columns.emplace_back(column, columnTypeText, std::string());
    }
    return keyed;
}

const KeyedTable Certificates =
    certificateTable(CertificatesSchema, CertificatesTableName,
                     {"CertificateType", "CertificateName", "FileName", "Issuer", "ValidUntil"});
const KeyedTable CertificateKeys = certificateTable(CertificateKeysSchema, CertificateKeysTableName,
                                                    {"CertificateId", "KeyType", "FileName"});

const KeyedTable& tableOf(const std::string& schema) {
    return schema == CertificateKeysSchema ? CertificateKeys : Certificates;
}

}  // namespace

const DataAccessObject::Operation<CertificateMgmtDAO> CertificateMgmtDAO::ReadAll[1] = {
    {&ReadAllRequest, &CertificateMgmtDAO::readAllRequest, &ReadAllResponse}};

CertificateMgmtDAO::CertificateMgmtDAO(DatabaseAdapter* adapter)
    : CertificateMgmtDAO(adapter, CertificatesSchema) {}

CertificateMgmtDAO::CertificateMgmtDAO(DatabaseAdapter* adapter, const std::string& schema)
    : KeyedTableDAO(adapter, tableOf(schema)) {}

void CertificateMgmtDAO::startElement(const char* name, const char** attributes) {
    // The first one is the root, by which the request was routed to this class. A later element of
    // this name has no meaning.
    if (name == SchemaElement && !m_isTableNamed) {
        m_isTableNamed = true;
        useTable(tableOf(firstAttribute(attributes)));
    }
    KeyedTableDAO::startElement(name, attributes);
}

void CertificateMgmtDAO::serve() {
    if (m_reason == ReadAllRequest) {
        dispatch(*this, ReadAll);
    } else {
        KeyedTableDAO::serve();
    }
}

int CertificateMgmtDAO::readAllRequest() {
    return readRows({});
}

std::string CertificateMgmtDAO::responseData() {
    const std::string reason = m_responseReason;
    if (reason == ReadAllResponse) {
        // The answer has its rows in the same form as that of a read.
        m_responseReason = ReadResponse;
    }
    std::string data = KeyedTableDAO::responseData();
    m_responseReason = reason;
    return data;
}
