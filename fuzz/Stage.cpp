#include "Stage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "FullDatabase.h"
#include "Log.h"
#include "Target.h"
#include "database/DatabaseAdapter.h"
#include "settings/GeneralConfigurationDAO.h"

namespace fs = std::filesystem;

namespace {

constexpr int InputsOfAService = 2000;
/// A service does not give back the adapters that it had in front of a reset.
constexpr int InputsOfAReset = 50;

const char* const Folders[] = {"/",    "/data",         "/data/ringtones",   "/data/images",
                               "/tmp", "/Aurel_Deploy", "/data/screensavers"};

fs::path parent() {
    const char* const given = std::getenv("DAS_FUZZ_PLACE");
    if (given != nullptr) {
        return given;
    }
    const char* const memory = "/dev/shm";
    return ::access(memory, W_OK) == 0 ? fs::path(memory) : fs::temp_directory_path();
}

void copy(sqlite3* to, sqlite3* from) {
    sqlite3_backup* const backup = sqlite3_backup_init(to, "main", from, "main");
    require(sqlite3_backup_step(backup, -1) == SQLITE_DONE, "the database can't be put back");
    sqlite3_backup_finish(backup);
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
    ::unsetenv("DAS_HARDWARE");
    // All levels, so that the making of each entry is tried too.
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

void FuzzPlace::write(const std::string& path, std::string_view bytes) const {
    std::ofstream(path, std::ios::binary) << bytes;
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

Stage::Stage() : m_whole(nullptr, sqlite3_close) {
    (void)FuzzPlace::get();
    start();
    FullDatabase::fill(*m_service);
    m_file.reset();
    watch();
    sqlite3* memory = nullptr;
    sqlite3_open(":memory:", &memory);
    m_whole.reset(memory);
    copy(memory, m_file.get());
    putBack();
}

Stage::~Stage() = default;

void Stage::setContext(Context& context) {
    m_context = &context;
    startAnew();
}

void Stage::start() {
    m_service.reset();
    m_service = std::make_unique<DataAccessService>();
    m_service->init(*m_context);
    (void)m_service->getAdapter()->executeNonQuery("PRAGMA synchronous=OFF;");
    m_inputs = 0;
}

void Stage::watch() {
    sqlite3* file = nullptr;
    sqlite3_open(FuzzPlace::get().database().c_str(), &file);
    m_file.reset(file);
    FullDatabase::execute(file, "PRAGMA synchronous=OFF; PRAGMA journal_mode=OFF;");
    m_inode = inodeOf(FuzzPlace::get().database());
}

void Stage::makeFile() {
    m_file.reset();
    (void)fs::remove(FuzzPlace::get().database());
    watch();
    copy(m_file.get(), m_whole.get());
}

void Stage::startAnew() {
    m_service.reset();
    makeFile();
    start();
    putBack();
}

void Stage::reopen() {
    makeFile();
    m_service->constructorActions();
    (void)m_service->setProfile("base");  // opens the service again
    (void)m_service->getAdapter()->executeNonQuery("PRAGMA synchronous=OFF;");
    putBack();
    m_inputs += InputsOfAReset;
}

bool Stage::isSameFile() const {
    return inodeOf(FuzzPlace::get().database()) == m_inode;
}

long long Stage::version() const {
    long long version = 0;
    const auto take = [](void* out, int, char** cells, char**) {
        *static_cast<long long*>(out) = std::strtoll(cells[0], nullptr, 10);
        return 0;
    };
    sqlite3_exec(m_file.get(), "PRAGMA data_version", take, &version, nullptr);
    return version;
}

std::string Stage::change() const {
    std::string rows;
    if (version() == m_version) {
        return rows;
    }
    const auto append = [](void* out, int columns, char** cells, char**) {
        for (int i = 0; i < columns; ++i) {
            *static_cast<std::string*>(out) += cells[i] != nullptr ? cells[i] : "-";
            *static_cast<std::string*>(out) += '\n';
        }
        return 0;
    };
    for (const std::string& name :
         FullDatabase::texts(m_file.get(), "SELECT name FROM sqlite_master WHERE type = 'table'")) {
        const std::string all = "SELECT * FROM \"" + name + "\"";
        sqlite3_exec(m_file.get(), all.c_str(), append, &rows, nullptr);
    }
    return rows;
}

void Stage::putBack() {
    copy(m_file.get(), m_whole.get());
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
    DatabaseAdapter& adapter = *m_service->getAdapter();
    require(adapter.beginTransaction() == 0 && adapter.endTransaction() == 0,
            "a transaction was left open");
    DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(true);
    (void)m_service->setCurrentUser("base");
}
