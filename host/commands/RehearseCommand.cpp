// "das rehearse": what the next start would do to a database.

#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <list>
#include <system_error>
#include <utility>

#include "DeviceFile.h"
#include "Log.h"
#include "Storage.h"
#include "cli/Command.h"
#include "framework/DatabaseDiff.h"
#include "framework/DatabaseFile.h"
#include "framework/LogEar.h"
#include "framework/PrivateFolder.h"
#include "framework/ServiceFiles.h"
#include "framework/ServiceHost.h"
#include "terminal/TextParts.h"

namespace {

namespace fs = std::filesystem;
using namespace ServiceFiles;
using TextParts::withText;

const std::string DeployFolder = "/Aurel_Deploy";

/// The telephone's files that a start reads or changes.
const std::string DeviceFiles[] = {DeployFolder, "/.QuilldeskRootFileSystemImageVersion.prev.txt"};

/// Copies what the telephone sees at a path, links followed below its root, for a start to find the
/// same there. What is no file and no folder, such as a pipe, becomes a pipe: a start opens
/// neither.
class DeviceCopy {
public:
    /// @p root is the folder of the copy.
    explicit DeviceCopy(std::string root) : m_root(std::move(root)) {}

    /// 0, or a number of errno with the path in failedPath().
    int copy(const std::string& path) {
        // What opening a pipe logs now, the start logs again.
        Log::setSink([](const Log::Entry&) {});
        const int error = copyPlace(path);
        Log::setSink({});
        return error;
    }

    const std::string& failedPath() const { return m_failedPath; }

private:
    int copyPlace(const std::string& path) {
        DeviceFile source(path);
        const std::string target = m_root + path;
        int error = source.error();
        if (source.isOpen()) {
            error = writeTo(target, source);
        } else if (source.isMissing() || error == ELOOP) {
            error = 0;  // a start finds nothing there either
        } else if (error == EISDIR) {
            error = copyFolder(path);
        } else if (error == EINVAL) {
            error = ::mkfifo(target.c_str(), 0600) == 0 ? 0 : errno;
        }
        m_failedPath = error != 0 && m_failedPath.empty() ? path : m_failedPath;
        return error;
    }

    /// Without the folders in it, which no start looks into.
    int copyFolder(const std::string& path) {
        if (const int error = makeFolder(m_root + path); error != 0 || path != DeployFolder) {
            return error == EEXIST ? 0 : error;
        }
        std::list<std::string> names;
        Storage::getListOfNames(path, names);
        int error = 0;
        for (auto name = names.begin(); error == 0 && name != names.end(); ++name) {
            error = copyPlace(in(path, *name));
        }
        return error;
    }

    static int writeTo(const std::string& target, DeviceFile& source) {
        int error = makeFile(target);
        std::ofstream file(target, std::ios::binary);
        if (error == 0 && source.size() > 0) {
            file << source.rdbuf();
        }
        file.close();
        return error != 0 ? error : file.good() && !source.bad() ? 0 : EIO;
    }

    const std::string m_root;
    std::string m_failedPath;
};

/// The steps of a rehearsal. Each returns false after a message on standard error.
class Rehearsal {
public:
    int run() {
        if (m_place.error() != 0) {
            Complaint::reportError("rehearse: the folder for temporary files", m_place.error(),
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
            const std::string words = withText(diff.error(), m_after, m_originalFolder);
            Complaint::report("rehearse: " + withText(words, m_before, m_originalFolder),
                              diff.advice());
            return ExitUsage;
        }
        const int status = Output().print(diff.lines());
        return status == ExitSuccess && hasFailed ? ExitFailure : status;
    }

private:
    /// If no service runs, copies all files unchanged. Otherwise copies the state after the last
    /// commit.
    bool copyDatabase() {
        const std::string& source = m_originalFolder;
        int error = makeFolder(m_before);
        error = error == 0 ? makeFolder(m_after) : error;
        const FolderLock lock(source);
        const bool isUsed = lock.error() == EWOULDBLOCK;
        std::error_code ignored;
        // The journals of a link are elsewhere.
        const bool isLink = fs::is_symlink(in(source, Database), ignored);
        std::vector<std::string> names = {Key};
        if (!isUsed) {
            names.insert(names.end(), leftovers().begin(), leftovers().end());
        }
        if (!isUsed && !isLink) {
            names.emplace_back(Database);
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
        const bool isCopied =
            error == 0 && database.open(DatabaseFile::pathOfService()) && database.copyTo(target);
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
        std::error_code error;
        if (!fs::is_directory(m_originalRoot, error)) {
            const int reason = error ? error.value() : ENOTDIR;
            Complaint::reportError("rehearse: " + m_originalRoot, reason,
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
        if (error) {
            Complaint::reportError("rehearse: " + m_root, error.value(),
                                   "see to the space in TMPDIR");
            return false;
        }
        DeviceCopy files(m_root);
        for (const std::string& path : DeviceFiles) {
            if (const int reason = files.copy(path); reason != 0) {
                Complaint::reportError("rehearse: copying " + files.failedPath() +
                                           " of the telephone at " + m_originalRoot,
                                       reason, "see to its rights and to the space in TMPDIR");
                return false;
            }
        }
        return true;
    }

    /// Starts and stops the service on the copy. False if there is no library.
    bool start(bool& hasFailed) const {
        setenv("DB_PATH", m_after.c_str(), 1);
        setenv("DAS_ROOT", m_root.c_str(), 1);
        const auto begin = std::chrono::steady_clock::now();
        LogEar ear;
        ear.showAs(m_after, m_originalFolder);
        ear.showAs(m_root, m_originalRoot);
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

    static std::string rootOfDevice() {
        const char* const root = std::getenv("DAS_ROOT");
        return root == nullptr || *root == 0 ? "/" : root;
    }

    const std::string m_originalFolder = folder();
    const std::string m_originalRoot = rootOfDevice();
    const PrivateFolder m_place{"das-rehearsal-"};
    const std::string m_before = m_place.part("before");
    const std::string m_after = m_place.part("after");
    const std::string m_root = m_place.part("root");
};

}  // namespace

int runRehearse(const HostOptions& /*options*/, const Arguments& /*arguments*/) {
    return Rehearsal().run();
}
