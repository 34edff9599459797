// The table of codecs grew by one row. The next request, not the upgrade, brings a stored table to
// four rows; it also rebuilds a table that has more rows than it may have.

#include "tables/CodecSettingsDAO.h"

#include "ClientUtils.h"
#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;

using Defaults = std::vector<std::string>;

const std::string RankColumn = "CodecRank";
const std::string OpusType = "3";
constexpr int RowsBeforeOpus = 3;
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
     {"0", "1", "2", OpusType}},
    {CodecSettingsDAOXmlStartElement, CodecSettingsDAOXmlEndElement,
     CodecSettingsDAOXmlCharacterDataHandler, "DataAccessService",
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

int CodecSettingsDAO::insertDefaultRows(unsigned int first) {
    return insertDefaultRowsFrom(first, false);
}

int CodecSettingsDAO::increaseAllOtherRanks(unsigned int count) {
    TransactionGuard transaction(*m_dbAdapter);
    const int result = moveRanks(count);
    const int ended = transaction.end();
    return result != 0 ? result : ended;
}

int CodecSettingsDAO::moveRanks(unsigned int count) {
    int result = 0;
    // From last to first, so that no two rows share a rank in between.
    for (unsigned int number = count; number > 0; --number) {
        PairList conditions = rank(number);
        PairList newValues = rank(number + 1);
        const int updated = m_dbAdapter->update(m_tableName, conditions, newValues, false);
        result = result != 0 ? result : updated;
    }
    return result;
}

DASUtils::TableState CodecSettingsDAO::checkTable() {
    PairList all;
    std::string text;
    bool isCounted = m_dbAdapter->countRows(m_tableName, all, text) == 0;
    int count = ClientUtils::stoi(text);
    if (count > DefaultRowCount) {
        DAS_LOG(3, "reset to default codec table");
        isCounted = m_dbAdapter->dropTable(m_tableName) == 0;
        count = isCounted ? 0 : count;
    }
    if (count == 0) {
        return DASUtils::makeTable(*this, *m_dbAdapter, m_tableName, isCounted);
    }
    if (count == RowsBeforeOpus && lacksOpus()) {
        addOpus();
    }
    return DASUtils::TableState::Ready;
}

bool CodecSettingsDAO::lacksOpus() {
    const std::string opus = DASUtils::convertToDBFormat(OpusType);
    return ClientUtils::stoi(DASUtils::countOf(*m_dbAdapter, m_tableName)) == RowsBeforeOpus &&
           DASUtils::countOf(*m_dbAdapter, m_tableName, {{columns().front().name, opus}}) == "0";
}

void CodecSettingsDAO::addOpus() {
    // All or nothing: if only the ranks moved, each request would move them again. Another process
    // may have done this meanwhile, so it is checked once more inside the transaction.
    const auto add = [this] {
        return lacksOpus() && moveRanks(RowsBeforeOpus) == 0 &&
               insertRowsFrom(RowsBeforeOpus, false) == 0;
    };
    if (runWholeOrNot(*m_dbAdapter, add, TransactionGuard::Locks::AtOnce)) {
        DAS_LOG(5, "OPUS codec row added");
    }
}
