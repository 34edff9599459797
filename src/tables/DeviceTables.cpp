// Tables of the telephone and their default rows, as data. Their classes differ in nothing else.

#include "tables/DeviceTables.h"

#include "dao/KeyIds.h"

namespace {

using namespace DASUtilsStrings;
using ColumnInfo = DASUtils::ColumnInfo;
using Reasons = std::vector<const std::string*>;

const std::string TextKey = "TEXT PRIMARY KEY NOT NULL";
const std::string RankColumn = "Rank";

const Reasons AllReasons = {&WriteRequest, &UpdateRequest, &ReadRequest, &DeleteRequest};

constexpr RequestParser parser(const char* failureFormat) {
    return {KeyedTableDAOXmlStartElement, KeyedTableDAOXmlEndElement,
            KeyedTableDAOXmlCharacterDataHandler, "DataAccessService", failureFormat};
}

ColumnInfo text(const std::string& name, const std::string& defaultText = {}) {
    return {name, columnTypeText, defaultText};
}

/// A table of the telephone; its rows can be written to files and read from them.
TableLayout device(const std::string& schema, const std::string& table,
                   const std::vector<ColumnInfo>& columns,
                   const std::vector<std::string>& rowIds = {}) {
    return {schema, table, false, false, columns, rowIds, {}, true};
}

KeyedTable bluetoothTable(const std::string& schema, const std::string& table) {
    return {{schema,
             table,
             false,
             true,
             {text(UserContextTagName), text(IdTagName), text("DeviceName"), text("DeviceClass")},
             {},
             "PRIMARY KEY (" + UserContextTagName + ", " + IdTagName + ")",
             true},
            parser("Parsing a BluetoothDAO '%s' request failed."),
            AllReasons};
}

const KeyedTable TrustedDevices = bluetoothTable(BluetoothTrustedSchema, BluetoothTrustedTableName);
const KeyedTable BlacklistedDevices =
    bluetoothTable(BluetoothBlacklistedSchema, BluetoothBlacklistedTableName);

const KeyedTable DialPlan = {device(DialPlanEntriesSchema, DialPlanEntriesTableName,
                                    {{IdTagName, "INTEGER PRIMARY KEY AUTOINCREMENT", ""},
                                     text("DigitString"),
                                     text("Action"),
                                     text("MinimumLength"),
                                     text("MaximumLength"),
                                     text("Timeout"),
                                     text("Comment")}),
                             parser("Parsing a DialPlanEntriesDAO '%s' request failed."),
                             {&WriteRequest, &ReadRequest, &DeleteRequest},
                             {},
                             true};

const KeyedTable Ringers = {device(DistinctiveRingingSchema, DistinctiveRingingTableName,
                                   {{IdTagName, TextKey, ""},
                                    text("Name"),
                                    text("RingerType", "0"),
                                    text("RingerFile"),
                                    text("RingerDuration", "60")},
                                   KeyIds::texts({{1, 16}})),
                            parser("Parsing a DistinctiveRingingDAO '%s' request failed."),
                            {&UpdateRequest, &ReadRequest}};

/// Migrations insert only some of the columns, so the table definition contains the defaults.
ColumnInfo download(const char* name, const std::string& defaultText = {}) {
    return {name, columnTypeText + " DEFAULT '" + defaultText + "'", defaultText};
}

/// The types 0 and 9 have their own servers from the start.
ColumnInfo useDefaults() {
    ColumnInfo info = download("UseDefaults", "true");
    info.defaults = {"false", "true", "true", "true", "true", "true", "true", "true", "false"};
    return info;
}

const KeyedTable Downloads = {device(FileDownloadSettingsSchema, FileDownloadSettingsEncTableName,
                                     {{"FileType", TextKey, ""},
                                      useDefaults(),
                                      download("DownloadMethod", "0"),
                                      download("ServerAddress"),
                                      download("ServerPort", "21"),
                                      download("FtpAccount"),
                                      download("FtpUsername"),
                                      download("FtpPassword"),
                                      download("FtpPath"),
                                      download("Filename"),
                                      download("HttpsBaseUrl"),
                                      download("LastDownload"),
                                      download("LastStatus", "0")},
                                     KeyIds::texts({{0, 7}, {9, 9}})),
                              parser("Parsing a FileDownloadSettingsDAO '%s' request failed."),
                              {&UpdateRequest, &ReadRequest}};

const KeyedTable EncryptionMethods = {
    {SRTPEncryptionSettingsSchema,
     SrtpEncryptionSettingsTableName,
     false,
     false,
     {{"Method", TextKey, ""},
      {RankColumn, columnTypeText, std::vector<std::string>{"2", "1"}},
      text("Allowed", "true")},
     {"0", "1"}},
    parser("Parsing a SRTPEncryptionSettingsDAO '%s' request failed."),
    AllReasons,
    RankColumn};

}  // namespace

BluetoothDAO::BluetoothDAO(DatabaseAdapter* adapter, const std::string& schema)
    : KeyedTableDAO(adapter,
                    schema == BluetoothBlacklistedSchema ? BlacklistedDevices : TrustedDevices) {}

DialPlanEntriesDAO::DialPlanEntriesDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, DialPlan) {}

DistinctiveRingingDAO::DistinctiveRingingDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, Ringers) {}

FileDownloadSettingsDAO::FileDownloadSettingsDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, Downloads) {}

SRTPEncryptionSettingsDAO::SRTPEncryptionSettingsDAO(DatabaseAdapter* adapter)
    : KeyedTableDAO(adapter, EncryptionMethods) {}
