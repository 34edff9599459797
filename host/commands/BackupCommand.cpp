#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/FileCommands.h"
#include "client/HostOptions.h"
#include "framework/DatabaseFile.h"
#include "framework/ServiceFiles.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"

namespace {

using namespace ServiceFiles;

/// "das backup": a copy of database and key, also while a host runs.
class BackupCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (!FileCommands::checkSocket("backup", options)) {
            return ExitUsage;
        }
        const std::string target = arguments.text("DIR");
        if (const int error = makeFolder(target); error != 0) {
            Complaint::tellError("backup: " + target, error, "name a folder that can be made");
            return ExitUsage;
        }
        const int status = copyTo(target);
        if (status != ExitSuccess) {
            removeAll(target);
            return status;
        }
        Output output;
        return output.write(target + ": " + m_words + "\n") ? ExitSuccess
                                                            : Complaint::outputFailed();
    }

private:
    /// The key comes second: a database that holds a password has its key by then.
    int copyTo(const std::string& target) {
        const std::string part = in(target, std::string(Database) + ".part");
        DatabaseFile database;
        int error = makeFile(part);
        if (error != 0) {
            return tell(part, error);
        }
        if (!database.openToRead(DatabaseFile::pathOfService()) || !database.copyTo(part)) {
            Complaint::tell("backup: " + DatabaseFile::pathOfService() + ": " + database.error(),
                            "das check looks at it");
            return ExitFailure;
        }
        const std::string key = in(folder(), Key);
        const bool hasKey = isThere(key);
        if (hasKey && (error = copy(key, in(target, Key))) != 0) {
            return tell(key, error);
        }
        const std::string whole = in(target, Database);
        error = sync(part);
        if (error != 0 || std::rename(part.c_str(), whole.c_str()) != 0 || sync(target) != 0) {
            return tell(whole, error != 0 ? error : errno);
        }
        m_words = std::string(Database) +
                  (hasKey ? std::string(", ") + Key : ", and no key, since there is none");
        return ExitSuccess;
    }

    static int tell(const std::string& subject, int error) {
        Complaint::tellError("backup: " + subject, error);
        return ExitFailure;
    }

    static void removeAll(const std::string& target) {
        for (const std::string& name :
             {std::string(Database) + ".part", std::string(Database), std::string(Key)}) {
            (void)::unlink(in(target, name).c_str());
        }
        (void)::rmdir(target.c_str());
    }

    std::string m_words;
};

}  // namespace

std::unique_ptr<Command> makeBackupCommand() {
    return std::make_unique<BackupCommand>();
}
