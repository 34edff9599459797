#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "commands/DemoTelephone.h"
#include "framework/ServiceFiles.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"

namespace {

namespace fs = std::filesystem;

constexpr int BaseUser = 0;

/// "das demo": a telephone in a folder of its own.
class DemoCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (options.socket || options.db || options.root) {
            Complaint::tell("demo: --db, --root and --socket have no place here",
                            "the telephone is made in DIR");
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
        Complaint::tell("demo: " + folder.string() +
                        " is a telephone with 200 contacts, calls and labelled keys");
        return tell(session->output(), folder);
    }

private:
    /// Makes the folders and files, in an empty place alone. What is wrong is told.
    static bool prepare(const fs::path& folder) {
        std::error_code error;
        if (fs::exists(folder, error) && (!fs::is_directory(folder) || !fs::is_empty(folder))) {
            Complaint::tell(folder.string() + ": is there, and is no empty folder",
                            "name a folder that is missing");
            return false;
        }
        for (const char* part : {"db", "root/tmp", "root/data/ringtones", "root/data/screensavers",
                                 "root/data/images", "root/Aurel_Deploy"}) {
            if (fs::create_directories(folder / part, error); error) {
                Complaint::tellError((folder / part).string(), error.value(),
                                     "name a folder that can be made");
                return false;
            }
        }
        for (const auto& file : DemoTelephone::Files) {
            std::ofstream out(folder / "root" / file.path);
            if (!(out << file.text).flush()) {
                Complaint::tell((folder / "root" / file.path).string() + ": can't be written");
                return false;
            }
        }
        // The start finds a database that is to be filled, and has nothing to say of a missing one.
        if (const int status = ServiceFiles::makeFile(folder / "db" / ServiceFiles::Database)) {
            Complaint::tellError((folder / "db").string(), status,
                                 "name a folder that can be written");
            return false;
        }
        return true;
    }

    static bool fill(Session& session) {
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

    /// What a shell needs to go on with, to be given to eval.
    static int tell(Output& output, const fs::path& folder) {
        const std::string text = "export DB_PATH=" + quoted(folder / "db") +
                                 "\nexport DAS_ROOT=" + quoted(folder / "root") + "\n";
        return output.write(text) ? ExitSuccess : Complaint::outputFailed();
    }

    static std::string quoted(const fs::path& path) {
        std::string text = "'";
        for (const char character : path.string()) {
            text += character == '\'' ? std::string("'\\''") : std::string(1, character);
        }
        return text + "'";
    }
};

}  // namespace

std::unique_ptr<Command> makeDemoCommand() {
    return std::make_unique<DemoCommand>();
}
