// "das restore": replaces database and key by a backup.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "cli/Command.h"
#include "framework/DatabaseExam.h"
#include "framework/ServiceFiles.h"

namespace {

using namespace ServiceFiles;

const char* const Ending = ".restoring";

/// The time as a part of a file name.
std::string timeText() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[32] = "";
    if (localtime_r(&now, &parts) != nullptr) {
        (void)std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &parts);
    }
    return text;
}

/// The steps of a restore. Each returns false after a message on standard error.
class Restore {
public:
    explicit Restore(std::string source) : m_source(std::move(source)), m_folder(folder()) {}

    int run() {
        if (!checkDatabase("restore", m_source)) {
            return ExitUsage;
        }
        const FolderLock lock(m_folder);
        if (lock.error() == EWOULDBLOCK) {
            Complaint::report("restore: " + m_folder + ": a host or another command uses it",
                              "stop it first");
            return ExitUsage;
        }
        if (lock.error() != 0) {
            Complaint::reportError("restore: " + m_folder, lock.error(),
                                   "name the folder of the database by --db or DB_PATH");
            return ExitUsage;
        }
        if (!isSound()) {
            return ExitFailure;
        }
        const bool isDone = copyAll() && putAside() && putInPlace();
        dropCopies();
        return isDone ? report() : ExitFailure;
    }

private:
    /// Whether the backup can be trusted.
    bool isSound() const {
        for (const std::string& name : leftovers()) {
            if (isThere(in(m_source, name))) {
                Complaint::report("restore: " + in(m_source, name) +
                                      ": the copy was made while its database was being changed",
                                  "run a start on the copy first: das profile --db " + m_source);
                return false;
            }
        }
        const DatabaseExam exam(in(m_source, Database));
        for (const auto& finding : exam.findings()) {
            if (finding.verdict == DatabaseExam::Verdict::Fault) {
                Complaint::report(
                    "restore: " + m_source + ": " + finding.subject + ": " + finding.words,
                    "nothing was changed");
            }
        }
        return !exam.hasFault();
    }

    /// Copies both files into the folder, under names that no service reads.
    bool copyAll() {
        for (const char* const name : {Key, Database}) {
            const std::string from = in(m_source, name);
            const std::string to = in(m_folder, std::string(name) + Ending);
            if (!isThere(from)) {
                continue;
            }
            (void)::unlink(to.c_str());
            if (const int error = copy(from, to); error != 0) {
                Complaint::reportError("restore: " + to, error, "nothing was changed");
                return false;
            }
            m_copied.emplace_back(name);
            if (!handOver(to)) {
                return false;
            }
        }
        return true;
    }

    /// The files get the owner of the old database, or else of the folder.
    bool handOver(const std::string& path) const {
        struct stat owner {};
        if (::stat(in(m_folder, Database).c_str(), &owner) != 0 &&
            ::stat(m_folder.c_str(), &owner) != 0) {
            return false;
        }
        if (::geteuid() == 0 && ::chown(path.c_str(), owner.st_uid, owner.st_gid) != 0) {
            Complaint::reportError("restore: " + path, errno, "nothing was changed");
            return false;
        }
        return true;
    }

    /// The upgrade copy is moved first, and the database before its journal. Whenever this is
    /// interrupted, no start can mix parts of the old state into the new one.
    bool putAside() {
        m_aside = in(m_folder, "before-restore-" + timeText());
        std::vector<std::string> names(leftovers().rbegin(), leftovers().rend());
        names.insert(names.begin() + 2, Database);
        names.emplace_back(Key);
        for (const std::string& name : names) {
            const std::string from = in(m_folder, name);
            if (!isThere(from)) {
                continue;
            }
            const int error = m_hasAside ? 0 : makeFolder(m_aside);
            m_hasAside = m_hasAside || error == 0;
            if (error != 0 || std::rename(from.c_str(), in(m_aside, name).c_str()) != 0) {
                Complaint::reportError("restore: " + in(m_aside, name), error != 0 ? error : errno,
                                       "what was moved is in that folder: move it back");
                return false;
            }
        }
        (void)sync(m_hasAside ? m_aside : m_folder);
        (void)sync(m_folder);
        return true;
    }

    /// The key first, because a start in between must not find the database without its key.
    bool putInPlace() {
        for (const std::string& name : m_copied) {
            const std::string to = in(m_folder, name);
            if (std::rename((to + Ending).c_str(), to.c_str()) != 0) {
                Complaint::reportError("restore: " + to, errno,
                                       "what was there is in " + m_aside + ": move it back");
                return false;
            }
        }
        (void)sync(m_folder);
        return true;
    }

    void dropCopies() const {
        for (const std::string& name : m_copied) {
            (void)::unlink((in(m_folder, name) + Ending).c_str());
        }
    }

    int report() const {
        std::string text = m_folder + ": restored from " + m_source;
        text += m_hasAside ? "; what was there is in " + m_aside + "\n" : "\n";
        return Output().print(text);
    }

    const std::string m_source;
    const std::string m_folder;
    std::string m_aside;
    bool m_hasAside = false;
    std::vector<std::string> m_copied;  ///< the key, if there is one, and the database
};

}  // namespace

int runRestore(const HostOptions& /*options*/, const Arguments& arguments) {
    return Restore(arguments.text("DIR")).run();
}
