#include <algorithm>
#include <iostream>

#include "ClientUtils.h"
#include "database/DatabaseAdapter.h"
#include "testkit/Decryption.h"
#include "testkit/ServiceTest.h"
#include "upgrade/DASMigrator.h"

namespace {

class SecurityTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        sql("DELETE FROM GENERAL_CONFIG");
    }
    void setting(const std::string& schema, const std::string& context, const std::string& name,
                 const std::string& value) {
        std::vector<std::string> row = DASMigrator::constructColumns(schema, context, name, value);
        ASSERT_EQ(service().getAdapter()->insert("GENERAL_CONFIG", row, nullptr), 0);
    }
    std::string value(const std::string& name) {
        return cell("SELECT group_concat(Value) FROM GENERAL_CONFIG WHERE Name = '" + name + "'");
    }
    void encryptSettings() {
        DASMigrator::migrateEncryptedData(service().getDAOFactory(), service().getAdapter());
    }
    void encryptLineKeys() {
        DASMigrator::migrateToEncryptedPasswordsForKeySettings(
            &service(), "LINE_KEY_SETTINGS", 6, "LineSipPassword", "LineSipPasswordEnc");
    }
    /// What the first row of a query holds in encrypted form.
    std::string secret(const std::string& query) const {
        return decrypted(cell(query), place() / "db" / "dascrypt.key");
    }
    void change(const std::string& statement) {
        ASSERT_EQ(service().getAdapter()->executeNonQuery(statement), 0) << statement;
    }
};

}  // namespace

TEST_F(SecurityTest, EachOccurrenceOfASecretIsEncryptedAndLosesItsPlainRow) {
    const std::string longText(10000, 'p');
    setting("SnmpSettings", "", "SnmpGetPassword", "device'secret");
    setting("SnmpSettings", "base", "SnmpGetPassword", longText);
    setting("BluetoothSettings", "base", "Name", "</Context><PIN>other</PIN>");
    setting("BluetoothSettings", "base", "PIN", "12<b>34</PIN>56");
    setting("SipBaseSettings", "visitor", "SIPpassword", "");
    setting("SipBaseSettings", "base", "SIPpassword", "");
    setting("SipBaseSettings", "base", "SIPpasswordEnc", "stored before");
    setting("AudioSettings", "base", "PIN", "other schema");
    m_log.clear();
    encryptSettings();
    EXPECT_EQ(cell("SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Name IN ('SnmpGetPassword', "
                   "'SIPpassword') OR (Schema = 'BluetoothSettings' AND Name = 'PIN')"),
              "0");
    const std::string community =
        "SELECT Value FROM GENERAL_CONFIG WHERE Name = 'SnmpGetPasswordEnc' AND UserContext = ";
    EXPECT_EQ(secret(community + "''"), "device'secret");
    EXPECT_EQ(secret(community + "'base'"), longText);
    EXPECT_EQ(secret("SELECT Value FROM GENERAL_CONFIG WHERE Name = 'PINEnc'"), "12<b>34</PIN>56");
    EXPECT_EQ(cell("SELECT group_concat(UserContext || Value) FROM (SELECT * FROM GENERAL_CONFIG "
                   "WHERE Name = 'SIPpasswordEnc' ORDER BY UserContext)"),
              "basestored before,visitor");
    EXPECT_EQ(value("PIN"), "other schema");
    EXPECT_FALSE(m_log.has("device'secret") || m_log.has("device''secret"));
    const Rows once = sql("SELECT * FROM GENERAL_CONFIG");
    encryptSettings();
    EXPECT_EQ(sql("SELECT * FROM GENERAL_CONFIG"), once);
}

TEST_F(SecurityTest, TheNextStartEncryptsPasswordsOfSettingsAndKeysAndNoOthers) {
    const struct {
        const char* schema;
        const char* row;  ///< what names it in the request
        const char* item;
        const char* table;
        bool isEncrypted;
    } rows[] = {
        {"SnmpSettings", "", "QcuCommunity", "GENERAL_CONFIG", true},
        {"SnmpSettings", "", "SnmpGetPassword", "GENERAL_CONFIG", true},
        {"SnmpSettings", "", "SnmpTrapCommunity", "GENERAL_CONFIG", true},
        {"Directory", "", "LdapPassword", "GENERAL_CONFIG", true},
        {"BluetoothSettings", "", "PIN", "GENERAL_CONFIG", true},
        {"SipBaseSettings", "", "SIPpassword", "GENERAL_CONFIG", true},
        {"LineKeySettings", "<Id>100</Id>", "LineSipPassword", "LINE_KEY_SETTINGS", true},
        {"DssKeySettings", "<Id>605</Id>", "DssSipPassword", "DSS_KEY_SETTINGS", true},
        {"StimulusKeySettings", "<Id>605</Id>", "SendUrlPasswd", "STIMULUS_KEY_SETTINGS", true},
        {"SecuritySettings", "", "AdminPassword", "GENERAL_CONFIG", false},
        {"SecuritySettings", "", "UserPassword", "GENERAL_CONFIG", false},
        {"BCASettings", "<Id>1</Id>", "BcaSipPassword", "BCA_SETTINGS", false},
        {"FileDownloadSettings", "<Id>1</Id>", "FtpPassword", "FILEDOWNLOAD_SETTINGS_ENC", false},
    };
    const auto stored = [this](const auto& row, const std::string& suffix) {
        const bool isSetting = std::string(row.table) == "GENERAL_CONFIG";
        const std::string item = row.item + suffix;
        const std::string column = isSetting ? "Value" : item;
        return "SELECT max(" + column + ") FROM " + row.table +
               (isSetting ? " WHERE Name = '" + item + "'" : "");
    };
    for (const auto& row : rows) {
        send(row.schema, "update_request", row.row + xml::element(row.item, "secret"));
        EXPECT_EQ(cell(stored(row, "")), "secret") << row.item;
    }
    start();
    for (const auto& row : rows) {
        EXPECT_EQ(cell(stored(row, "")), row.isEncrypted ? "" : "secret") << row.item;
        if (row.isEncrypted) {
            EXPECT_EQ(secret(stored(row, "Enc")), "secret") << row.item;
        }
    }
}

TEST_F(SecurityTest, ASecretStaysWhereThereIsNoKey) {
    writeFile(place() / "db" / "dascrypt.key", "short");
    setting("Directory", "base", "LdapPassword", "plain");
    encryptSettings();
    EXPECT_EQ(value("LdapPassword"), "plain");
    EXPECT_EQ(value("LdapPasswordEnc"), "");
    EXPECT_TRUE(m_log.has(2, "can't be encrypted"));
}

TEST_F(SecurityTest, ARepliesItemsComeOneByOneWithTheirContext) {
    std::string reply =
        "<A>1</A><Context currentUser=\"base\"><A>2<x></A><B>b</B></Context><A></A>"
        "<Context currentUser=\"visitor\"><A>3</A><A>4</A></Context><A>cut";
    std::string text;
    std::string item;
    std::string context;
    while (DASMigrator::getValueFromReply(reply, "A", item, context)) {
        text += item + "@" + context + ";";
    }
    EXPECT_EQ(text, "1@;2<x>@base;@;3@visitor;4@visitor;");
}

TEST_F(SecurityTest, PasswordsOfKeysAreEncryptedWhereverTheirColumnStands) {
    send("LineKeySettings", "read_request");
    change("UPDATE LINE_KEY_SETTINGS SET LineSipPassword = 'line''secret' WHERE Id = '100'");
    m_log.clear();
    encryptLineKeys();
    EXPECT_EQ(secret("SELECT LineSipPasswordEnc FROM LINE_KEY_SETTINGS WHERE Id = '100' AND "
                     "UserContext = 'base'"),
              "line'secret");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM LINE_KEY_SETTINGS WHERE LineSipPassword <> ''"), "0");
    EXPECT_TRUE(m_log.has("Encoding the password for line base:100"));
    EXPECT_FALSE(m_log.has("line'secret") || m_log.has("line''secret"));
    change("DROP TABLE LINE_KEY_SETTINGS");
    encryptLineKeys();
    EXPECT_TRUE(m_log.has("LINE_KEY_SETTINGS table does not exist -> not migrated"));
    change("CREATE TABLE LINE_KEY_SETTINGS (UserContext TEXT, Id TEXT, LineSipPassword TEXT)");
    change("INSERT INTO LINE_KEY_SETTINGS VALUES ('base', '1', 'x')");
    encryptLineKeys();
    EXPECT_EQ(secret("SELECT LineSipPasswordEnc FROM LINE_KEY_SETTINGS"), "x");
    change("DROP TABLE LINE_KEY_SETTINGS");
    change("CREATE TABLE LINE_KEY_SETTINGS (UserContext TEXT, Id TEXT)");
    encryptLineKeys();
    EXPECT_TRUE(m_log.has(2, "Cannot read the content of the LINE_KEY_SETTINGS table."));
}

TEST_F(SecurityTest, FileDownloadsGoToTheTableOfEncryptedPasswords) {
    change("DROP TABLE IF EXISTS FILEDOWNLOAD_SETTINGS_ENC");
    const std::string columns =
        "(FileType, UseDefaults, DownloadMethod, ServerAddress, ServerPort, FtpAccount, "
        "FtpUsername, FtpPassword, FtpPath, Filename, HttpsBaseUrl, LastDownload, LastStatus)";
    change("CREATE TABLE FILEDOWNLOAD_SETTINGS " + columns);
    change(
        "INSERT INTO FILEDOWNLOAD_SETTINGS VALUES "
        "(1,'false',0,'a,b',21,'','u','ftp''secret','/p','f','','',0), "
        "(2,'false',0,'s',21,'','u','','/p','f','','',0)");
    writeFile(onDevice("/Aurel_Deploy/DasMigrationValues.csv"), "of an earlier release");
    DASMigrator::migrateToEncryptedFTPPass(&service());
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name = 'FILEDOWNLOAD_SETTINGS'"), "0");
    EXPECT_EQ(cell("SELECT group_concat(ServerAddress) FROM FILEDOWNLOAD_SETTINGS_ENC"), "a,b,s");
    EXPECT_EQ(secret("SELECT FtpPassword FROM FILEDOWNLOAD_SETTINGS_ENC WHERE FileType = '1'"),
              "ftp'secret");
    EXPECT_FALSE(std::filesystem::exists(onDevice("/Aurel_Deploy/DasMigrationValues.csv")));
    // Rows that are more than defaults win, and the older ones go; defaults give way.
    for (const bool isChanged : {true, false}) {
        change("DROP TABLE FILEDOWNLOAD_SETTINGS_ENC");
        (void)send("FileDownloadSettings", isChanged ? "update_request" : "read_request",
                   "<FileType>1</FileType><Filename>own</Filename>");
        change("CREATE TABLE FILEDOWNLOAD_SETTINGS (LastStatus, FtpPassword, FileType, Filename, "
               "More)");
        change(
            "INSERT INTO FILEDOWNLOAD_SETTINGS VALUES (7, 'older', 1, 'first', 1), (8, 'older', "
            "'1', 'last\\', 2)");
        writeFile(place() / "db" / "dascrypt.key", "short");
        DASMigrator::migrateToEncryptedFTPPass(&service());
        EXPECT_EQ(m_log.has(2, "FILEDOWNLOAD_SETTINGS is left as it was"), !isChanged);
        std::filesystem::remove(place() / "db" / "dascrypt.key");
        DASMigrator::migrateToEncryptedFTPPass(&service());
        EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name = 'FILEDOWNLOAD_SETTINGS'"),
                  "0");
        EXPECT_EQ(cell("SELECT group_concat(Filename || UseDefaults || ServerPort || LastStatus) "
                       "FROM FILEDOWNLOAD_SETTINGS_ENC WHERE FileType = '1'"),
                  isChanged ? "owntrue210" : "last\\true218");
    }
    EXPECT_TRUE(m_log.has(2, "1 rows of FILEDOWNLOAD_SETTINGS are given up"));
    EXPECT_TRUE(m_log.has(
        2, "The column More of FILEDOWNLOAD_SETTINGS is given up with its values: 2"));
    // The last row came later than the table.
    change("CREATE TABLE FILEDOWNLOAD_SETTINGS " + columns);
    for (const char* added : {"(1),(2),(3),(4),(5),(6),(7)", "(8)"}) {
        change("INSERT INTO FILEDOWNLOAD_SETTINGS (FileType) VALUES " + std::string(added));
        DASMigrator::migrateFtpSettingsTable(&service());
    }
    EXPECT_EQ(cell("SELECT count(*) || max(FileType) FROM FILEDOWNLOAD_SETTINGS"), "99");
}

TEST_F(SecurityTest, TheOldestFileDownloadsAreTakenOver) {
    change("DROP TABLE IF EXISTS FILEDOWNLOAD_SETTINGS_ENC");
    change("CREATE TABLE FTP_SETTINGS (a,b,c,d,e,f,g,h,i,j,k,l,m,n,o)");
    change(
        "INSERT INTO FTP_SETTINGS VALUES "
        "('Default','srv','','','user','pass\\','/p','','','','','','','file',''), "
        "('SwPhone','','','','u2','','','','','','','','','f2',''), "
        "('Other',1,2,3,4,5,6,7,8,9,1,2,3,4,5)");
    writeFile(place() / "db" / "dascrypt.key", "short");
    DASMigrator::migrateFtpSettingsTable(&service());
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FTP_SETTINGS"), "3") << "without a key";
    std::filesystem::remove(place() / "db" / "dascrypt.key");
    std::filesystem::remove_all(onDevice("/Aurel_Deploy"));
    DASMigrator::migrateToEncryptedFTPPass(&service());  // every start tries the rest again
    EXPECT_EQ(cell("SELECT UseDefaults || ServerAddress || FtpUsername || FtpPath || Filename || "
                   "ServerPort FROM FILEDOWNLOAD_SETTINGS_ENC WHERE FileType = '0'"),
              "falsesrvuser/pfile21");
    EXPECT_EQ(secret("SELECT FtpPassword FROM FILEDOWNLOAD_SETTINGS_ENC WHERE FileType = '0'"),
              "pass\\");
    EXPECT_EQ(cell("SELECT UseDefaults || Filename FROM FILEDOWNLOAD_SETTINGS_ENC WHERE FileType = "
                   "'1'"),
              "truef2");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FILEDOWNLOAD_SETTINGS_ENC"), "9");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name = 'FTP_SETTINGS'"), "0");
}

TEST_F(SecurityTest, SrtpRanksMoveUpForTheMethodsThatAreMissing) {
    const struct {
        const char* before;
        const char* after;
    } rows[] = {{"0:1", "0:1"},
                {"0:2,1:1", "1:4,0:5,2:1,4:2,3:3"},
                {"2:1,0:3,1:2", "2:1,0:5,1:4,4:2,3:3"},
                {"4:1,3:2,9:3", "4:1,3:2,9:3"},
                {"0:1,1:2,2:3,3:4", "0:1,1:2,2:3,3:4"}};
    for (const auto& row : rows) {
        change("DROP TABLE IF EXISTS SRTP_ENCRYPTION_SETTINGS");
        change("CREATE TABLE SRTP_ENCRYPTION_SETTINGS (Method TEXT PRIMARY KEY, Rank, Allowed)");
        std::vector<std::string> expected;
        int count = 0;
        for (const auto& pair : ClientUtils::tokenizeString(row.before, ",", false, false)) {
            change("INSERT INTO SRTP_ENCRYPTION_SETTINGS VALUES ('" + pair.substr(0, 1) + "', '" +
                   pair.substr(2) + "', 'true')");
            ++count;
        }
        DASMigrator::addMissingAesToSrtpEncryptionTable(&service(), count);
        auto wanted = ClientUtils::tokenizeString(row.after, ",", false, false);
        std::sort(wanted.begin(), wanted.end());
        EXPECT_EQ(cell("SELECT group_concat(t) FROM (SELECT Method || ':' || Rank t FROM "
                       "SRTP_ENCRYPTION_SETTINGS WHERE Allowed = 'true' ORDER BY 1)"),
                  ClientUtils::join(wanted, ","));
    }
}

TEST_F(SecurityTest, TheNegotiationOfOlderSettingsIsTakenOver) {
    const struct {
        const char* method;
        const char* payload;
        const char* sdpMode;
    } rows[] = {{"0", "1", "0"}, {"1", "0", "1"}, {"2", "1", "2"}, {"1", "7", "0"}};
    for (const auto& row : rows) {
        sql("DELETE FROM GENERAL_CONFIG");
        setting("SipBaseSettings", "base", "SrtpKeyNegotiationMethod", row.method);
        setting("SipBaseSettings", "base", "SecureCallPayloadOptions", row.payload);
        const LogCapture log(2);
        DASMigrator::upgradeFromV3ToWebRTC(&service());
        EXPECT_TRUE(log.entries().empty());
        EXPECT_EQ(value("SrtpKeyNegotiationMode"), row.method);
        EXPECT_EQ(value("SdpNegotiationMode"), row.sdpMode);
        sql("UPDATE GENERAL_CONFIG SET Value = 'kept' WHERE Name LIKE '%Mode'");
        DASMigrator::upgradeFromV3ToWebRTC(&service());
        EXPECT_EQ(value("SrtpKeyNegotiationMode") + value("SdpNegotiationMode"), "keptkept");
    }
}

TEST_F(SecurityTest, NoPlainPasswordIsLeftInAMigratedFile) {
    setting("Directory", "base", "LdapPassword", "needle-in-the-file");
    Rows option;
    (void)service().getAdapter()->executeSQLQuery("PRAGMA secure_delete", option);
    const bool isWiped = !option.empty() && option[0][0] != "0";
    std::cout << "secure delete is " << (isWiped ? "on" : "off") << "\n";
    ASSERT_NE(readFile(database()).find("needle-in-the-file"), std::string::npos);
    encryptSettings();
    stop();
    if (isWiped) {
        EXPECT_EQ(readFile(database()).find("needle-in-the-file"), std::string::npos);
    } else {
        EXPECT_EQ(cell("SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Value LIKE '%needle%'"), "0");
    }
}
