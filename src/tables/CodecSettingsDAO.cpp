#include "tables/CodecSettingsDAO.h"

#include "ClientUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"

namespace {

using namespace DASUtilsStrings;

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/CodecSettingsDAO";

using Defaults = std::vector<std::string>;

const std::string RankColumn = "CodecRank";
constexpr unsigned int RowsBeforeOpus = 3;
constexpr int DefaultRowCount = 4;

const KeyedTable CodecTable = {
    {CodecSettingsSchema,
     CodecSettingsTableName,
     false,
     false,
     {{"CodecType", "TEXT PRIMARY KEY NOT NULL", ""},
      {RankColumn, columnTypeText, Defaults{"2", "4", "3", "1"}},
      {"CodecAllowed", columnTypeText, Defaults{"true", "false", "true", "true"}},
      {"CodecPacketSize", columnTypeText, "2"}},
     {"0", "1", "2", "3"}},
    {CodecSettingsDAOXmlStartElement, CodecSettingsDAOXmlEndElement,
     CodecSettingsDAOXmlCharacterDataHandler, LogComponent,
     "Parsing a CodecSettingsDAO '%s' request failed."},
    {&WriteRequest, &UpdateRequest, &ReadRequest, &DeleteRequest},
    RankColumn};

PairList rank(unsigned int number) {
    const std::string text = ClientUtils::itos(static_cast<int>(number));
    return {{RankColumn, DASUtils::convertToDBFormat(text)}};
}

}  // namespace

void CodecSettingsDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    KeyedTableDAOXmlStartElement(dao, name, attributes);
}

void CodecSettingsDAOXmlEndElement(void* dao, const char* name) {
    KeyedTableDAOXmlEndElement(dao, name);
}

void CodecSettingsDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    KeyedTableDAOXmlCharacterDataHandler(dao, text, length);
}

CodecSettingsDAO::CodecSettingsDAO(DatabaseAdapter* adapter) : KeyedTableDAO(adapter, CodecTable) {}

CodecSettingsDAO::~CodecSettingsDAO() = default;

int CodecSettingsDAO::insertDefaultRows(unsigned int first) {
    return insertDefaultRowsFrom(first, false);
}

int CodecSettingsDAO::increaseAllOtherRanks(unsigned int count) {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    TransactionGuard transaction(*m_dbAdapter);
    int result = 0;
    // From the last to the first, so that no two rows share a rank on the way.
    for (unsigned int number = count; number > 0; --number) {
        PairList conditions = rank(number);
        PairList newValues = rank(number + 1);
        const int updated = m_dbAdapter->update(m_tableName, conditions, newValues, false);
        result = result != 0 ? result : updated;
    }
    const int ended = transaction.end();
    return result != 0 ? result : ended;
}

void CodecSettingsDAO::checkTable() {
    std::string text;
    getRowCount(text);
    const int count = ClientUtils::stoi(text);
    if (count > DefaultRowCount) {
        DAS_LOG(3, "reset to default codec table");
        if (m_dbAdapter->dropTable(m_tableName) == 0) {
            makeDefaultTable();
        }
    } else if (count == 0) {
        makeDefaultTable();
    } else if (count == static_cast<int>(RowsBeforeOpus)) {
        addOpus();
    }
}

void CodecSettingsDAO::makeDefaultTable() {
    if (DASUtils::mayInsertDefaultRows(*m_dbAdapter, m_tableName, createTable())) {
        // Those that are missing: another process may have been faster.
        (void)insertDefaultRows(true);  // a failed insert is in the log, the request goes on
    }
}

void CodecSettingsDAO::addOpus() {
    if (increaseAllOtherRanks(RowsBeforeOpus) == 0 && insertDefaultRows(RowsBeforeOpus) == 0) {
        DAS_LOG(5, "OPUS codec row added");
    }
}
