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
    bool isSound() {
        for (const std::string& name : leftovers()) {
            if (isThere(in(m_source, name))) {
                Complaint::report("restore: " + in(m_source, name) +
                                      ": the copy was made while its database was being changed",
                                  "run a start on the copy first: das profile --db " + m_source);
                return false;
            }
        }
        const std::string file = in(m_source, Database);
        const DatabaseExam exam(file);
        if (exam.isBusy()) {
            Complaint::report("restore: " + file + ": another process is changing it",
                              "try again when that has ended; nothing was changed");
            return false;
        }
        for (const auto& finding : exam.findings()) {
            if (finding.verdict == DatabaseExam::Verdict::Fault) {
                Complaint::report(
                    "restore: " + m_source + ": " + finding.subject + ": " + finding.words,
                    "nothing was changed");
            }
        }
        if (!exam.hasFault() && !exam.isOfTelephone()) {
            Complaint::report("restore: " + file + ": it has no table of a telephone",
                              "name a folder that das backup made; nothing was changed");
        }
        m_lacksKey = exam.lacksKey();
        return !exam.hasFault() && exam.isOfTelephone();
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
        std::vector<std::string> names(leftovers().rbegin(), leftovers().rend());
        names.insert(names.begin() + 2, Database);
        names.emplace_back(Key);
        for (const std::string& name : names) {
            const std::string from = in(m_folder, name);
            if (!isThere(from)) {
                continue;
            }
            if (m_aside.empty() && !makeAside()) {
                return false;
            }
            if (std::rename(from.c_str(), in(m_aside, name).c_str()) != 0) {
                const int error = errno;
                const bool isUntouched = ::rmdir(m_aside.c_str()) == 0;
                Complaint::reportError("restore: " + in(m_aside, name), error,
                                       isUntouched
                                           ? "nothing was changed"
                                           : "what was moved is in that folder: move it back");
                return false;
            }
        }
        (void)sync(m_aside.empty() ? m_folder : m_aside);
        (void)sync(m_folder);
        return true;
    }

    /// Under the next free name: two restores may fall into one second.
    bool makeAside() {
        const std::string wanted = in(m_folder, "before-restore-" + timeText());
        std::string path = wanted;
        int error = makeFolder(path);
        for (int number = 2; error == EEXIST; ++number) {
            path = wanted + "-" + std::to_string(number);
            error = makeFolder(path);
        }
        if (error != 0) {
            Complaint::reportError("restore: " + path, error, "nothing was changed");
            return false;
        }
        m_aside = path;
        return true;
    }

    /// The key first, because a start in between must not find the database without its key.
    bool putInPlace() {
        for (const std::string& name : m_copied) {
            const std::string to = in(m_folder, name);
            if (std::rename((to + Ending).c_str(), to.c_str()) != 0) {
                Complaint::reportError(
                    "restore: " + to, errno,
                    m_aside.empty() ? "" : "what was there is in " + m_aside + ": move it back");
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
        text += m_aside.empty() ? "\n" : "; what was there is in " + m_aside + "\n";
        if (m_lacksKey) {
            const std::string former = in(m_aside, Key);
            Complaint::report("restore: " + m_source + ": it has no " + Key +
                                  ", so its encrypted passwords can't be read",
                              !m_aside.empty() && isThere(former)
                                  ? "if the copy is of this telephone, move " + former +
                                        " back before the next start"
                                  : "enter them again");
        }
        return Output().print(text);
    }

    const std::string m_source;
    const std::string m_folder;
    std::string m_aside;  ///< the folder for what was there; empty until it is needed
    bool m_lacksKey = false;
    std::vector<std::string> m_copied;  ///< the key, if there is one, and the database
};

}  // namespace

int runRestore(const HostOptions& /*options*/, const Arguments& arguments) {
    return Restore(arguments.text("DIR")).run();
}
