// The keys that send something. Rows are only ever updated: the table has a row for each key from
// the start, so a missing row belongs to no key.

#include "tables/StimulusKeySettingsDAO.h"

#include "dao/KeyIds.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

using namespace DASUtilsStrings;

// The busy lamp columns of a default row are blank, those of a re-initialised user are not: kept on
// purpose, so that the two can be distinguished.
const StimulusKeySettingsDAO::Column StimulusKeySettingsDAO::Columns[22] = {
    {"StimulusKeyFeatureCode", &columnTypeText, "", ""},
    {"StimulusKeyDTMFSequence", &columnTypeText, "", ""},
    {"StimulusKeyLEDControlURI", &columnTypeText, "", ""},
    {"BusyLampFieldAudible", &columnTypeText, "", "false"},
    {"BusyLampFieldPopup", &columnTypeText, "", "false"},
    {"SendUrlProtocol", &columnTypeInteger, "0", "0"},
    {"SendUrlAddress", &columnTypeText, "", ""},
    {"SendUrlPort", &columnTypeText, "", ""},
    {"SendUrlPath", &columnTypeText, "", ""},
    {"SendUrlQuery", &columnTypeText, "", ""},
    {"SendUrlMethod", &columnTypeInteger, "0", "0"},
    {"SendUrlUserId", &columnTypeText, "", ""},
    {"SendUrlPasswd", &columnTypeText, "", ""},
    {"SendUrlPrimaryCert", &columnTypeInteger, "0", "0"},
    {"StimulusKeyState", &columnTypeInteger, "0", "0"},
    {"SendUrlPushSupport", &columnTypeText, "", ""},
    {"SendUrlSymbolicName", &columnTypeText, "", ""},
    {"SendUrlPasswdEnc", &columnTypeText, "", ""},
    {"XsiCallCenterName", &columnTypeText, "", ""},
    {"AicsAcdOnly", &columnTypeText, "", ""},
    {"XsiCallCenterRelatedLine", &columnTypeText, "", ""},
    {"BlfSipLineAction", &columnTypeInteger, "1", "1"},
};

namespace {

/// More keys than in other tables, because the fixed keys can send something, too.
const std::vector<KeyIds::Range> KeyRanges = {
    {30, 30},   {31, 31},   {32, 32},   {38, 38},   {39, 39},   {100, 115}, {200, 215},  {300, 317},
    {400, 417}, {500, 517}, {600, 617}, {700, 717}, {800, 817}, {900, 917}, {1000, 1017}};

constexpr RequestParser Parser = {
    StimulusKeySettingsDAOXmlStartElement, StimulusKeySettingsDAOXmlEndElement,
    StimulusKeySettingsDAOXmlCharacterDataHandler, "DataAccessService",
    "Parsing a StimulusKeySettingsDAO '%s' request failed."};

DataAccessObject& self(void* dao) {
    return *static_cast<DataAccessObject*>(dao);
}

}  // namespace

void StimulusKeySettingsDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    self(dao).XmlStartElement(name, attributes);
}

void StimulusKeySettingsDAOXmlEndElement(void* dao, const char* name) {
    self(dao).XmlEndElement(name);
}

void StimulusKeySettingsDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    self(dao).XmlCharacterDataHandler(text, length);
}

const std::shared_ptr<const TableLayout>& StimulusKeySettingsDAO::layoutOfTable() {
    static const auto layout = [] {
        auto made = std::make_shared<TableLayout>(TableLayout::ofKeys(
            StimulusKeySettingsSchema, StimulusKeySettingsTableName, KeyIds::texts(KeyRanges)));
        for (const Column& column : Columns) {
            made->columns.emplace_back(column.name, *column.type, column.defaultText);
        }
        return std::shared_ptr<const TableLayout>(made);
    }();
    return layout;
}

StimulusKeySettingsDAO::StimulusKeySettingsDAO() : StimulusKeySettingsDAO(nullptr) {}

StimulusKeySettingsDAO::StimulusKeySettingsDAO(DatabaseAdapter* adapter)
    : DataAccessObject(adapter, layoutOfTable()) {}

void StimulusKeySettingsDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<StimulusKeySettingsDAO> operations[] = {
        {&UpdateRequest, &StimulusKeySettingsDAO::updateRequest, &UpdateResponse},
        {&ReadRequest, &StimulusKeySettingsDAO::readRequest, &ReadResponse}};
    m_rowsToWrite.clear();
    m_rowId.clear();
    if (!parseRequest(text, length, Parser)) {
        return;
    }
    const DASUtils::TableState state =
        DASUtils::makeTableWithoutRows(*this, *m_dbAdapter, m_tableName);
    (void)settleUser();  // without a user's name no row is found
    if (mayServe(state)) {
        dispatch(*this, operations);
    }
}

int StimulusKeySettingsDAO::createTable() {
    PairList pairs = namesAndTypes();
    return createTable2(m_tableName, pairs) ? 0 : 1;
}

int StimulusKeySettingsDAO::initialiseMobilityUserData(const std::string& context) {
    PairList conditions = {{UserContextTagName, DASUtils::escapeAndQuote(context)}};
    PairList newValues;
    for (const Column& column : Columns) {
        newValues.emplace_back(column.name, DASUtils::convertToDBFormat(column.initialisedTo));
    }
    return m_dbAdapter->update(m_tableName, conditions, newValues, false);
}

int StimulusKeySettingsDAO::updateRequest() {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    if (m_rowsToWrite.empty()) {
        const bool isEmpty = m_rowId.empty() && m_newValues.empty();
        return isEmpty ? 0 : updateRow({m_rowId, m_newValues});
    }
    if (m_rowsToWrite.size() == 1) {
        return updateRow(m_rowsToWrite.front());
    }
    int firstFailure = 0;
    return forEachEntry(m_rowsToWrite.size(), [&](std::size_t i) {
        const int updated = updateRow(m_rowsToWrite[i]);
        return firstFailure = firstFailure != 0 ? firstFailure : updated;
    });
}

int StimulusKeySettingsDAO::updateRow(const DASUtils::RowData& row) {
    if (!DASUtils::isIdentifier(row.identifier)) {
        return 1;
    }
    PairList conditions = {{UserContextTagName, DASUtils::convertToDBFormat(m_responseUser)},
                           {IdTagName, row.identifier}};
    PairList newValues = row.newValues;
    const int result = m_dbAdapter->update(m_tableName, conditions, newValues, false);
    ChangeScope::noteNumber(*m_dbAdapter, row.identifier, m_responseUser);
    return result;
}

int StimulusKeySettingsDAO::getRowCount(std::string& count) {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    return DASUtils::getRowCount(*m_dbAdapter, m_tableName, count);
}
