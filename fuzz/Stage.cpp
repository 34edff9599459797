#include "Stage.h"

#include <sys/stat.h>

#include "Log.h"
#include "Target.h"
#include "database/DatabaseAdapter.h"
#include "settings/GeneralConfigurationDAO.h"
#include "testkit/FullDatabase.h"

namespace fs = std::filesystem;

namespace {

constexpr int InputsOfAService = 2000;
/// A service keeps the adapters that a reset has replaced, so resets count more.
constexpr int InputsOfAReset = 50;

const char* const Folders[] = {"/",    "/data",         "/data/ringtones",   "/data/images",
                               "/tmp", "/Aurel_Deploy", "/data/screensavers"};

fs::path parent() {
    const char* const given = std::getenv("DAS_FUZZ_PLACE");
    return given != nullptr ? given : ScratchFolder::memory();
}

void copy(const Sql& to, const Sql& from) {
    require(to.copyFrom(from), "the database can't be put back");
}

unsigned long inodeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

}  // namespace

FuzzPlace& FuzzPlace::get() {
    static FuzzPlace place;
    return place;
}

FuzzPlace::FuzzPlace() : m_place(parent()) {
    // All levels, so that the formatting of each entry is tested too.
    Log::setLevel(6);
    Log::setSink([](const Log::Entry&) {});
    makeFolders();
    m_times = times();
}

void FuzzPlace::makeFolders() const {
    for (const char* folder : Folders) {
        fs::create_directories(onDevice(folder));
    }
}

FuzzPlace::Times FuzzPlace::times() const {
    Times times;
    for (std::size_t i = 0; i < times.size(); ++i) {
        std::error_code ignored;  // a folder that has gone has another time
        times.at(i) = fs::last_write_time(onDevice(Folders[i]), ignored);
    }
    return times;
}

void FuzzPlace::tidy() {
    if (times() == m_times) {
        return;
    }
    for (const auto& each : fs::directory_iterator(onDevice(""))) {
        fs::remove_all(each.path());
    }
    makeFolders();
    m_times = times();
}

Stage::Stage() {
    (void)FuzzPlace::get();
    start();
    FullDatabase::fill(service());
    watch();
    copy(m_whole, m_file);
    putBack();
}

Stage::~Stage() = default;

void Stage::setContext(Context& context) {
    m_phone.given = &context;
    startAnew();
}

void Stage::start() {
    m_phone.start();
    (void)service().getAdapter()->executeNonQuery("PRAGMA synchronous=OFF;");
    m_inputs = 0;
}

void Stage::watch() {
    m_file = Sql(FuzzPlace::get().database());
    m_file.mustRun("PRAGMA synchronous=OFF; PRAGMA journal_mode=OFF;");
    m_inode = inodeOf(FuzzPlace::get().database());
}

void Stage::makeFile() {
    m_file = Sql(nullptr);
    (void)fs::remove(FuzzPlace::get().database());
    watch();
    copy(m_file, m_whole);
}

void Stage::startAnew() {
    m_phone.stop();
    makeFile();
    start();
    putBack();
}

void Stage::reopen() {
    makeFile();
    service().constructorActions();
    (void)service().setProfile("base");  // opens the service again
    (void)service().getAdapter()->executeNonQuery("PRAGMA synchronous=OFF;");
    putBack();
    m_inputs += InputsOfAReset;
}

bool Stage::isSameFile() const {
    return inodeOf(FuzzPlace::get().database()) == m_inode;
}

long long Stage::version() const {
    return std::strtoll(m_file.cell("PRAGMA data_version").c_str(), nullptr, 10);
}

std::string Stage::change() const {
    std::string rows;
    if (version() == m_version) {
        return rows;
    }
    for (const std::string& name :
         m_file.texts("SELECT name FROM sqlite_master WHERE type = 'table'")) {
        for (const auto& row : m_file.rows("SELECT * FROM \"" + name + "\"", nullptr, "-")) {
            for (const std::string& cell : row) {
                rows += cell + '\n';
            }
        }
    }
    return rows;
}

void Stage::putBack() {
    copy(m_file, m_whole);
    GeneralConfigurationDAO::clearStaticCaches();
    m_version = version();
}

void Stage::restore(int weight) {
    FuzzPlace::get().tidy();
    m_inputs += weight;
    if (m_inputs > InputsOfAService) {
        startAnew();
    } else if (!isSameFile()) {
        reopen();
    } else if (version() != m_version) {
        putBack();
    }
    DatabaseAdapter& adapter = *service().getAdapter();
    require(adapter.beginTransaction() == 0 && adapter.endTransaction() == 0,
            "a transaction was left open");
    DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(true);
    (void)service().setCurrentUser("base");
}
