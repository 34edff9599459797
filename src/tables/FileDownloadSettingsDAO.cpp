#include "tables/FileDownloadSettingsDAO.h"

#include "dao/KeyIds.h"

namespace {

using namespace DASUtilsStrings;
using ColumnInfo = DASUtils::ColumnInfo;

/// Migrations insert some of the columns only, so the table has the defaults, too.
ColumnInfo column(const char* name, const std::string& defaultText = {}) {
    return {name, columnTypeText + " DEFAULT '" + defaultText + "'", defaultText};
}

/// The types 0 and 9 have servers of their own from the start.
ColumnInfo useDefaults() {
    ColumnInfo info = column("UseDefaults", "true");
    info.defaults = {"false", "true", "true", "true", "true", "true", "true", "true", "false"};
    return info;
}

const KeyedTable FileDownloadTable = {
    {FileDownloadSettingsSchema,
     FileDownloadSettingsEncTableName,
     false,
     false,
     {{"FileType", "TEXT PRIMARY KEY NOT NULL", ""},
      useDefaults(),
      column("DownloadMethod", "0"),
      column("ServerAddress"),
      column("ServerPort", "21"),
      column("FtpAccount"),
      column("FtpUsername"),
      column("FtpPassword"),
      column("FtpPath"),
      column("Filename"),
      column("HttpsBaseUrl"),
      column("LastDownload"),
      column("LastStatus", "0")},
     KeyIds::texts({{0, 7}, {9, 9}}),
     {},
     true},
    {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement, KeyedTableDAOXmlCharacterDataHandler,
     "DataAccessService", "Parsing a FileDownloadSettingsDAO '%s' request failed."},
    {&UpdateRequest, &ReadRequest}};

}  // namespace

FileDownloadSettingsDAO::FileDownloadSettingsDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, FileDownloadTable) {}

FileDownloadSettingsDAO::~FileDownloadSettingsDAO() = default;
