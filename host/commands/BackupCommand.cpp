// "das backup": a copy of database and key, also while a host runs.

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "cli/Command.h"
#include "framework/DatabaseFile.h"
#include "framework/ServiceFiles.h"

namespace {

using namespace ServiceFiles;

const std::string PartName = std::string(Database) + ".part";

int fail(const std::string& subject, int error) {
    Complaint::reportError("backup: " + subject, error);
    return ExitFailure;
}

/// The database gets its final name last, so that a folder with a database always has the key to
/// its passwords.
int copyTo(const std::string& target, bool hasKey) {
    const std::string part = in(target, PartName);
    const std::string whole = in(target, Database);
    const std::string source = DatabaseFile::pathOfService();
    DatabaseFile database;
    int error = makeFile(part);
    if (error != 0) {
        return fail(part, error);
    }
    if (!database.open(source) || !database.copyTo(part)) {
        const std::string advice = database.advice();
        Complaint::report("backup: " + source + ": " + database.error(),
                          advice.empty() ? "das check looks at it" : advice);
        return ExitFailure;
    }
    const std::string key = in(folder(), Key);
    if (hasKey && (error = copy(key, in(target, Key))) != 0) {
        return fail(key, error);
    }
    error = sync(part);
    if (error != 0 || std::rename(part.c_str(), whole.c_str()) != 0 || sync(target) != 0) {
        return fail(whole, error != 0 ? error : errno);
    }
    return ExitSuccess;
}

}  // namespace

int runBackup(const HostOptions& /*options*/, const Arguments& arguments) {
    const std::string target = arguments.text("DIR");
    if (const int error = makeFolder(target); error != 0) {
        Complaint::reportError("backup: " + target, error, "name a folder that can be made");
        return ExitUsage;
    }
    const bool hasKey = isThere(in(folder(), Key));
    if (const int status = copyTo(target, hasKey); status != ExitSuccess) {
        for (const std::string& name : {PartName, std::string(Database), std::string(Key)}) {
            (void)::unlink(in(target, name).c_str());
        }
        (void)::rmdir(target.c_str());
        return status;
    }
    return Output().print(
        target + ": " + Database +
        (hasKey ? std::string(", ") + Key : ", and no key, since the folder has no key") + "\n");
}
