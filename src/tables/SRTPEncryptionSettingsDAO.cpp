#include "tables/SRTPEncryptionSettingsDAO.h"

namespace {

using namespace DASUtilsStrings;

const std::string RankColumn = "Rank";

const KeyedTable EncryptionTable = {
    {SRTPEncryptionSettingsSchema,
     SrtpEncryptionSettingsTableName,
     false,
     false,
     {{"Method", "TEXT PRIMARY KEY NOT NULL", ""},
      {RankColumn, columnTypeText, std::vector<std::string>{"2", "1"}},
      {"Allowed", columnTypeText, "true"}},
     {"0", "1"}},
    {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement, KeyedTableDAOXmlCharacterDataHandler,
     "DataAccessService", "Parsing a SRTPEncryptionSettingsDAO '%s' request failed."},
    {&WriteRequest, &UpdateRequest, &ReadRequest, &DeleteRequest},
    RankColumn};

}  // namespace

SRTPEncryptionSettingsDAO::SRTPEncryptionSettingsDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, EncryptionTable) {}

SRTPEncryptionSettingsDAO::~SRTPEncryptionSettingsDAO() = default;
