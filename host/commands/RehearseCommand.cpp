// "das rehearse": what the next start would do to a database.

#include <sqlite3.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "cli/Command.h"
#include "framework/DatabaseDiff.h"
#include "framework/DatabaseFile.h"
#include "framework/LogEar.h"
#include "framework/ServiceFiles.h"
#include "framework/ServiceHost.h"

namespace {

namespace fs = std::filesystem;
using namespace ServiceFiles;

/// The telephone's files that a start reads or changes.
const char* const DeviceFiles[] = {"Aurel_Deploy", ".QuilldeskRootFileSystemImageVersion.prev.txt"};

/// A private folder that is removed with its object.
class PrivateFolder {
public:
    PrivateFolder() {
        std::error_code error;
        m_path = (fs::temp_directory_path(error) / "das-rehearsal-XXXXXX").string();
        m_isMade = !error && ::mkdtemp(m_path.data()) != nullptr;
    }
    ~PrivateFolder() {
        std::error_code ignored;
        if (m_isMade) {
            fs::remove_all(m_path, ignored);
        }
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    bool isMade() const { return m_isMade; }
    std::string part(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
    bool m_isMade = false;
};

/// The steps of a rehearsal. Each returns false after a message on standard error.
class Rehearsal {
public:
    int run() {
        if (!m_place.isMade()) {
            Complaint::reportError("rehearse: the folder for temporary files", errno,
                                   "name another by TMPDIR");
            return ExitUsage;
        }
        if (!copyDatabase() || !copyDeviceFiles()) {
            return ExitUsage;
        }
        bool hasFailed = false;
        if (!start(hasFailed)) {
            return ExitNoLibrary;
        }
        DatabaseDiff diff;
        if (!diff.compare(in(m_before, Database), in(m_after, Database))) {
            Complaint::report("rehearse: the copy: " + diff.error(),
                              "das check looks at a database");
            return ExitUsage;
        }
        const int status = Output().print(diff.lines());
        return status == ExitSuccess && hasFailed ? ExitFailure : status;
    }

private:
    /// If no service runs, copies all files unchanged. Otherwise copies the state after the last
    /// commit.
    bool copyDatabase() {
        const std::string source = folder();
        int error = makeFolder(m_before);
        error = error == 0 ? makeFolder(m_after) : error;
        const FolderLock lock(source);
        const bool isUsed = lock.error() == EWOULDBLOCK;
        std::vector<std::string> names = {Key};
        if (!isUsed) {
            names.emplace_back(Database);
            names.insert(names.end(), leftovers().begin(), leftovers().end());
        } else if (error == 0) {
            error = copyCommitted(in(m_after, Database));
        }
        for (const std::string& name : names) {
            if (error == 0 && isThere(in(source, name))) {
                error = copy(in(source, name), in(m_after, name));
            }
        }
        if (error == 0) {
            error = copyBefore();
        }
        if (error != 0) {
            Complaint::reportError("rehearse: the database can't be copied", error,
                                   "see to the rights of " + source + " and the space in TMPDIR");
        }
        return error == 0;
    }

    int copyCommitted(const std::string& target) const {
        DatabaseFile database;
        const int error = makeFile(target);
        const bool isCopied = error == 0 && database.openToRead(DatabaseFile::pathOfService()) &&
                              database.copyTo(target);
        return error != 0 ? error : isCopied ? 0 : EIO;
    }

    /// The state to compare with: the database after the rollback of an interrupted commit, which
    /// is not part of the upgrade.
    int copyBefore() const {
        for (const char* const name : {Database, "phone.db-journal", "phone.db-wal"}) {
            const int error =
                isThere(in(m_after, name)) ? copy(in(m_after, name), in(m_before, name)) : 0;
            if (error != 0) {
                return error;
            }
        }
        sqlite3* database = nullptr;
        int result = sqlite3_open_v2(in(m_before, Database).c_str(), &database,
                                     SQLITE_OPEN_READWRITE, nullptr);
        if (result == SQLITE_OK) {
            result = sqlite3_exec(database, "SELECT count(*) FROM sqlite_master", nullptr, nullptr,
                                  nullptr);
        }
        sqlite3_close(database);
        return result == SQLITE_OK || result == SQLITE_NOTADB ? 0 : EIO;
    }

    bool copyDeviceFiles() const {
        const char* const root = std::getenv("DAS_ROOT");
        const fs::path source = root == nullptr || *root == 0 ? "/" : root;
        std::error_code error;
        if (!fs::is_directory(source, error)) {
            const int reason = error ? error.value() : ENOTDIR;
            Complaint::reportError("rehearse: " + source.string(), reason,
                                   "name the telephone's root by --root or DAS_ROOT");
            return false;
        }
        // A computer may lack these folders. The start would log that as a failure, although the
        // upgrade has not failed.
        for (const char* const made : {"data", "tmp"}) {
            if (!error) {
                fs::create_directories(fs::path(m_root) / made, error);
            }
        }
        for (const char* const name : DeviceFiles) {
            if (!error && fs::exists(source / name)) {
                fs::copy(source / name, fs::path(m_root) / name, fs::copy_options::recursive,
                         error);
            }
        }
        if (error) {
            Complaint::reportError("rehearse: the telephone's files can't be copied", error.value(),
                                   "see to the rights below " + source.string());
        }
        return !error;
    }

    /// Starts and stops the service on the copy. False if there is no library.
    bool start(bool& hasFailed) const {
        setenv("DB_PATH", m_after.c_str(), 1);
        setenv("DAS_ROOT", m_root.c_str(), 1);
        const auto begin = std::chrono::steady_clock::now();
        LogEar ear;
        ear.startIsOver();  // people want to see the failures of this start
        {
            ServiceHost host(Output::Printed::Nowhere);
            if (!host.start()) {
                return false;
            }
        }
        const auto end = std::chrono::steady_clock::now();
        std::cerr << std::chrono::duration_cast<std::chrono::milliseconds>(end - begin).count()
                  << " ms" << std::endl;
        hasFailed = ear.take().hasFailed();
        return true;
    }

    PrivateFolder m_place;
    const std::string m_before = m_place.part("before");
    const std::string m_after = m_place.part("after");
    const std::string m_root = m_place.part("root");
};

}  // namespace

int runRehearse(const HostOptions& /*options*/, const Arguments& /*arguments*/) {
    return Rehearsal().run();
}
