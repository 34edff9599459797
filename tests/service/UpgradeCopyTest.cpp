// Starts that are cut off while they bring the database up to date, and what the next one finds.

#include <sys/stat.h>
#include <sys/wait.h>

#include <stdexcept>

#include "testkit/RecordingAdapter.h"
#include "testkit/RecordingManagement.h"

namespace {

using Intercept = std::function<int(const std::string&)>;

/// Adapters that are intercepted from their first statement on, also after a reset.
class InterceptedFactory : public DbFactoryIfc {
public:
    explicit InterceptedFactory(Intercept intercept) : m_intercept(std::move(intercept)) {}
    DatabaseAdapterIfc* createDatabase() override {
        m_made.push_back(std::make_unique<RecordingAdapter>());
        m_made.back()->intercept = m_intercept;
        return m_made.back().get();
    }
    void destroyDatabase() override { m_made.clear(); }

private:
    Intercept m_intercept;
    std::vector<std::unique_ptr<RecordingAdapter>> m_made;
};

class UpgradeCopyTest : public ServiceTest {
protected:
    void SetUp() override { m_context.services["LocalMgmtIfc"] = &m_management; }

    void start(Intercept intercept) { m_phone.start(new InterceptedFactory(std::move(intercept))); }
    using ServiceTest::start;
    /// Runs @p work, which ends its process with 9, in a process of its own.
    static void dying(const std::function<void()>& work) {
        const pid_t child = ::fork();
        if (child == 0) {
            work();
            ::_exit(0);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(WEXITSTATUS(status), 9);
    }
    /// A start in a process of its own, which ends before the @p nth statement with @p part.
    void startAndDie(const std::string& part, int nth) {
        dying([&] {
            ::umask(0);
            start([&](const std::string& statement) {
                if (statement.find(part) != std::string::npos && --nth == 0) {
                    ::_exit(9);
                }
                return 0;
            });
        });
    }
    std::filesystem::path copy() const { return database().string() + ".before-upgrade"; }
    std::filesystem::path part() const { return copy().string() + ".part"; }
    std::string everything() {
        return cell(
            "SELECT group_concat(Schema || UserContext || Name || Value) FROM (SELECT * "
            "FROM GENERAL_CONFIG ORDER BY 1, 2, 3)");
    }

    RecordingManagement m_management;
};

const char* const PreviousVersion = "/.QuilldeskRootFileSystemImageVersion.prev.txt";
const char* const Values = "/Aurel_Deploy/DasUpdateValues.csv";

}  // namespace

TEST_F(UpgradeCopyTest, AStartThatWasCutOffIsTakenBack) {
    const struct {
        const char* name;
        const char* database;
        const char* statement;
        int nth;
    } rows[] = {
        {"the old database is gone", "other_protocol", "CREATE TABLE GENERAL_CONFIG", 1},
        {"in a transaction", "settings_3", "INSERT OR REPLACE INTO GENERAL_CONFIG", 3},
        {"after the list of values", "settings_4", "CREATE TABLE", 5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto prepare = [&] {
            stop();
            std::filesystem::remove(database());
            load(row.database);
            writeFile(onDevice(PreviousVersion), "V3R1 SIP 120\n");
            writeFile(onDevice(Values), "TransportSettings,DLSport,18444\n");
        };
        prepare();
        start();
        const std::string undisturbed = everything();
        prepare();
        std::filesystem::permissions(database(), std::filesystem::perms{0640});
        startAndDie(row.statement, row.nth);
        const auto rights = std::filesystem::status(database()).permissions();
        struct stat status {};
        EXPECT_EQ(::stat(copy().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
        m_log.clear();
        start();
        EXPECT_TRUE(m_log.has(2, "An upgrade was cut off: the database is as it was before"));
        EXPECT_EQ(std::filesystem::status(database()).permissions(), rights);
        EXPECT_EQ(everything(), undisturbed);
        EXPECT_NE(undisturbed.find("DLSport18444"), std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(copy()));
        EXPECT_FALSE(std::filesystem::exists(onDevice(Values)));
        EXPECT_TRUE(std::filesystem::is_empty(onDevice("/Aurel_Deploy")));
        m_log.clear();
        start();
        EXPECT_FALSE(m_log.has("The database is kept as"));
    }
}

// The link was replaced by a file, and its target kept the changes of the upgrade.
TEST_F(UpgradeCopyTest, ADatabaseBehindALinkIsPutBackWhereTheLinkLeads) {
    const std::filesystem::path real = place() / "elsewhere" / "real.db";
    std::filesystem::create_directory(real.parent_path());
    std::filesystem::create_symlink("../elsewhere/real.db", database());
    const mode_t mask = ::umask(0);
    load("settings_4");
    startAndDie("CREATE TABLE", 5);
    EXPECT_TRUE(std::filesystem::exists(real.string() + ".before-upgrade"));
    start();
    ::umask(mask);
    EXPECT_TRUE(m_log.has(2, "An upgrade was cut off: the database is as it was before"));
    EXPECT_TRUE(service().factoryReset());
    EXPECT_FALSE(std::filesystem::exists(real)) << "the data goes, and not its link";
    start();
    EXPECT_TRUE(std::filesystem::is_symlink(database()));
    EXPECT_EQ(std::filesystem::status(real).permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(real.parent_path()), {}), 1);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(database().parent_path()), {}), 1);
}

// In that mode nothing is reported before a change, so an upgrade had no copy.
TEST_F(UpgradeCopyTest, ADatabaseInWalModeIsCopiedToo) {
    load("settings_4");
    sql("PRAGMA journal_mode=WAL; INSERT INTO GENERAL_CONFIG VALUES ('S', '', 'last', '1')");
    startAndDie("CREATE TABLE", 5);
    ASSERT_TRUE(std::filesystem::exists(copy()));
    writeFile(database().string() + "-wal", "of another file");
    start();
    EXPECT_TRUE(m_log.has(2, "An upgrade was cut off: the database is as it was before"));
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name = 'last'"), "1");
    EXPECT_EQ(cell("PRAGMA journal_mode"), "delete");
    EXPECT_FALSE(std::filesystem::exists(database().string() + "-wal"));
}

TEST_F(UpgradeCopyTest, AnExceptionEndsTheUpgradeAndNothingIsTakenBack) {
    load("settings_3");
    start([](const std::string& statement) {
        return statement.find("CREATE TABLE FEATURE_KEYS") == 0 ? throw std::runtime_error("") : 0;
    });
    EXPECT_TRUE(m_log.has(2, "The migration of the database ended early"));
    EXPECT_TRUE(m_log.has(5, "The database is kept as"));
    EXPECT_FALSE(std::filesystem::exists(copy()));
}

TEST_F(UpgradeCopyTest, NewValuesCountMoreThanThoseOfTheStartThatWasCutOff) {
    load("settings_4");
    std::filesystem::copy(database(), copy());
    const std::filesystem::path used = onDevice(Values).string() + ".used";
    writeFile(used, "TransportSettings,DLSport,1\n");
    writeFile(onDevice(Values), "TransportSettings,DLSport,2\n");
    start();
    EXPECT_NE(everything().find("DLSport2"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(used) || std::filesystem::exists(onDevice(Values)));
}

// A journal that outlived its database would be rolled back into the one that is put back.
TEST_F(UpgradeCopyTest, AStaleJournalGoesBeforeTheCopyIsPutBack) {
    load("settings_4");
    std::filesystem::copy(database(), copy());
    sql("CREATE TABLE T AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i "
        "< 999) SELECT i, hex(zeroblob(99)) FROM n");
    dying([this] {
        const Sql db(database());
        (void)db.run("PRAGMA cache_size=1; BEGIN; UPDATE T SET i = 0; DROP TABLE GENERAL_CONFIG");
        ::_exit(9);
    });
    EXPECT_GT(std::filesystem::file_size(database().string() + "-journal"), 512U);
    start();
    EXPECT_EQ(cell("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name = 'T'"), "0");
    EXPECT_NE(everything(), "");
}

TEST_F(UpgradeCopyTest, WithoutRoomForACopyTheUpgradeGoesOn) {
    load("settings_3");
    std::filesystem::create_directory(part());
    start();
    EXPECT_TRUE(m_log.has(2, "The database is upgraded without a copy of what it was"));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM pragma_table_info('GENERAL_CONFIG')"), "4");
}

TEST_F(UpgradeCopyTest, HalfACopyAndOneOfAResetDoNotCount) {
    start();
    EXPECT_FALSE(m_log.has("The database is kept as"));  // there was none
    sql("INSERT INTO GENERAL_CONFIG VALUES ('S', '', 'kept', '1')");
    stop();
    writeFile(part(), "half");
    writeFile(copy(), "");  // one that could not be removed
    start();
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name = 'kept'"), "1");
    EXPECT_FALSE(std::filesystem::exists(part()) || std::filesystem::exists(copy()));
    std::filesystem::copy(database(), copy());
    EXPECT_TRUE(service().factoryReset());
    EXPECT_FALSE(std::filesystem::exists(copy()));
    std::filesystem::create_directory(copy());
    start();
    EXPECT_TRUE(std::filesystem::is_regular_file(database()));
}

TEST_F(UpgradeCopyTest, BesideARunningServiceThereIsNoCopy) {
    start();
    sql("DROP TABLE CallGroup; CREATE TABLE CallGroup (CallGroup, CallGroupName, RingToneID)");
    m_log.clear();
    DataAccessService other;
    other.init(m_context);
    EXPECT_EQ(cell("SELECT COUNT(*) FROM pragma_table_info('CallGroup')"), "4");
    EXPECT_FALSE(m_log.has("The database is kept as"));
}
