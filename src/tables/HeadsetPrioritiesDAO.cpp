// Headsets and their ranks. All of it is the common frame of keyed tables, except the log line for
// a table that can't be created: people search the log for it.

#include "tables/HeadsetPrioritiesDAO.h"

#include "Log.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;

const std::string RankColumn = "Rank";

const KeyedTable HeadsetTable = {
    {HeadsetPrioritiesSchema,
     HeadsetPrioritiesTableName,
     false,
     false,
     {{"Type", "TEXT PRIMARY KEY NOT NULL", ""},
      {RankColumn, columnTypeText, std::vector<std::string>{"3", "2", "1"}},
      {"Allowed", columnTypeText, "true"}},
     {"0", "1", "2"}},
    {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement, KeyedTableDAOXmlCharacterDataHandler,
     "DataAccessService", "Parsing a HeadsetPrioritiesDAO '%s' request failed."},
    {&WriteRequest, &UpdateRequest, &ReadRequest, &DeleteRequest},
    RankColumn};

}  // namespace

HeadsetPrioritiesDAO::HeadsetPrioritiesDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, HeadsetTable) {}

DASUtils::TableState HeadsetPrioritiesDAO::checkTable() {
    const DASUtils::TableState state = KeyedTableDAO::checkTable();
    if (state == DASUtils::TableState::Unknown) {
        DAS_LOG(2, "Cannot create HeadsetPriorities table");
    } else if (state == DASUtils::TableState::NotFilled) {
        DAS_LOG(2, "Cannot insert default rows to HeadsetPriorities table");
    }
    return state;
}
