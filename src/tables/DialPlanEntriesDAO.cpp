#include "tables/DialPlanEntriesDAO.h"

namespace {

using namespace DASUtilsStrings;

const std::string OrderColumn;
constexpr bool DeletesByColumns = true;

const KeyedTable DialPlanTable = {
    {DialPlanEntriesSchema,
     DialPlanEntriesTableName,
     false,
     false,
     {{IdTagName, "INTEGER PRIMARY KEY AUTOINCREMENT", ""},
      {"DigitString", columnTypeText, ""},
      {"Action", columnTypeText, ""},
      {"MinimumLength", columnTypeText, ""},
      {"MaximumLength", columnTypeText, ""},
      {"Timeout", columnTypeText, ""},
      {"Comment", columnTypeText, ""}},
     {},
     {},
     true},
    {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement, KeyedTableDAOXmlCharacterDataHandler,
     "DataAccessService", "Parsing a DialPlanEntriesDAO '%s' request failed."},
    {&WriteRequest, &ReadRequest, &DeleteRequest},
    OrderColumn,
    DeletesByColumns};

}  // namespace

DialPlanEntriesDAO::DialPlanEntriesDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, DialPlanTable) {}

DialPlanEntriesDAO::~DialPlanEntriesDAO() = default;
