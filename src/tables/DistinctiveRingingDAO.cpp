#include "tables/DistinctiveRingingDAO.h"

#include "dao/KeyIds.h"

namespace {

using namespace DASUtilsStrings;

const KeyedTable RingerTable = {
    {DistinctiveRingingSchema,
     DistinctiveRingingTableName,
     false,
     false,
     {{IdTagName, "TEXT PRIMARY KEY NOT NULL", ""},
      {"Name", columnTypeText, ""},
      {"RingerType", columnTypeText, "0"},
      {"RingerFile", columnTypeText, ""},
      {"RingerDuration", columnTypeText, "60"}},
     KeyIds::texts({{1, 16}}),
     {},
     true},
    {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement, KeyedTableDAOXmlCharacterDataHandler,
     "DataAccessService", "Parsing a DistinctiveRingingDAO '%s' request failed."},
    {&UpdateRequest, &ReadRequest}};

}  // namespace

DistinctiveRingingDAO::DistinctiveRingingDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, RingerTable) {}

DistinctiveRingingDAO::~DistinctiveRingingDAO() = default;
