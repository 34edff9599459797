// "das demo": creates a telephone in a new folder.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "Method.h"
#include "cli/Command.h"
#include "commands/DemoTelephone.h"
#include "framework/ServiceFiles.h"
#include "terminal/Quotes.h"

namespace {

namespace fs = std::filesystem;

constexpr int BaseUser = 0;

/// Creates the folders and files, only in an empty folder. A failure is reported.
bool prepare(const fs::path& folder) {
    std::error_code error;
    if (fs::exists(folder, error) && (!fs::is_directory(folder) || !fs::is_empty(folder))) {
        Complaint::report(folder.string() + ": exists, and is not an empty folder",
                          "name a folder that is missing");
        return false;
    }
    for (const char* part : {"db", "root/tmp", "root/data/ringtones", "root/data/screensavers",
                             "root/data/images", "root/Aurel_Deploy"}) {
        if (fs::create_directories(folder / part, error); error) {
            Complaint::reportError((folder / part).string(), error.value(),
                                   "name a folder that can be made");
            return false;
        }
    }
    for (const auto& file : DemoTelephone::Files) {
        std::ofstream out(folder / "root" / file.path);
        if (!(out << file.text).flush()) {
            Complaint::report((folder / "root" / file.path).string() + ": can't be written");
            return false;
        }
    }
    // The file exists before the start, so that the start does not report a missing database.
    if (const int status = ServiceFiles::makeFile(folder / "db" / ServiceFiles::Database)) {
        Complaint::reportError((folder / "db").string(), status,
                               "name a folder that can be written");
        return false;
    }
    return true;
}

bool fill(Session& session) {
    for (const std::string& request : DemoTelephone::requests()) {
        if (!session.askFor("demo", request)) {
            return false;
        }
    }
    Method method("exportData");
    method.addStringParameter("schemaName", "PhoneBook", Parameter::in);
    method.addIntParameter("userToExportFor", BaseUser, Parameter::in);
    method.addStringParameter("filePathAndName", "/data/demo.csv", Parameter::in);
    Method answer;
    return session.call(method, answer);
}

}  // namespace

int runDemo(const HostOptions& options, const Arguments& arguments) {
    if (options.socket || options.db || options.root) {
        Complaint::report("demo: the command takes no --db, --root and --socket",
                          "it makes the telephone in DIR");
        return ExitUsage;
    }
    const fs::path folder = fs::absolute(arguments.text("DIR"));
    if (!prepare(folder)) {
        return ExitUsage;
    }
    setenv("DB_PATH", (folder / "db").c_str(), 1);
    setenv("DAS_ROOT", (folder / "root").c_str(), 1);
    int status = ExitSuccess;
    const auto session = Session::open({}, status);
    if (session == nullptr) {
        return status;
    }
    if (!fill(*session)) {
        return ExitFailure;
    }
    Complaint::report("demo: " + folder.string() +
                      " is a telephone with 200 contacts, calls and labelled keys");
    // Prints what a shell needs next, for eval.
    const auto word = [](const fs::path& path) { return quoted(path.string(), '\'', "'\\''"); };
    return session->output().print("export DB_PATH=" + word(folder / "db") +
                                   "\nexport DAS_ROOT=" + word(folder / "root") + "\n");
}
