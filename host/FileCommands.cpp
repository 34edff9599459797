// Commands that carry tables to data files and back: export and import.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>

#include "Arguments.h"
#include "Command.h"
#include "Complaint.h"
#include "HostOptions.h"
#include "InterruptNote.h"
#include "KnownSchemas.h"
#include "Method.h"
#include "RowArguments.h"
#include "Session.h"
#include "Storage.h"

namespace {

constexpr int EveryUser = 2;

int userOf(const Arguments& arguments) {
    const auto user = arguments.value("--context");
    return !user ? EveryUser : *user == "base" ? 0 : 1;
}

/// The error that opening @p path of the telephone with @p flags meets, 0 for none. What it
/// creates stays.
int openError(const std::string& path, int flags) {
    const std::string place = Storage::devicePath(path);
    const int descriptor = place.empty() ? -1 : open(place.c_str(), flags | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return place.empty() ? EPERM : errno;
    }
    struct stat status {};
    const bool isFolder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    close(descriptor);
    return isFolder ? EISDIR : 0;
}

/// Whether the telephone of the session lists the file @p path; none when nobody has answered.
std::optional<bool> isListed(Session& session, const std::string& path) {
    const std::size_t end = path.rfind('/');
    const std::string folder = end == 0 ? "/" : path.substr(0, end);
    Method question("readDirectory");
    question.addStringParameter("Directory", folder, Parameter::in);
    question.addBoolParameter("DirReading", false, Parameter::in);
    question.addBoolParameter("FileReading", true, Parameter::in);
    question.addBoolParameter("SubDirReading", false, Parameter::in);
    Method answer;
    if (!session.call(question, answer)) {
        return std::nullopt;
    }
    std::string tree;
    (void)answer.getStringParameter("DirectoryTree", tree);
    return tree.find("<fileinfo directory=\"" + folder + "\" name=\"" + path.substr(end + 1) +
                     "\" />") != std::string::npos;
}

class FileCommand : public SessionCommand {
public:
    FileCommand(const char* name, int flags) : m_name(name), m_flags(flags) {}

    bool check(const Arguments& arguments) override {
        const KnownSchemas::Entry* const schema =
            RowArguments::findSchema(arguments.text("SCHEMA"));
        if (schema == nullptr || !RowArguments::checkUser(arguments.value("--context"))) {
            return false;
        }
        if (!schema->hasDataFile) {
            Complaint::tell(what(arguments) + ": this schema has no data files",
                            "das schemas " + schema->name + " tells so");
            return false;
        }
        const std::string file = arguments.text("FILE");
        if (file.empty() || file[0] != '/') {
            Complaint::tell(file + ": not a path of the telephone",
                            "a path that begins with /, such as /tmp/rows.csv");
            return false;
        }
        return true;
    }

    int runIn(Session& session, const Arguments& arguments) override {
        // The service tells no failure of a file, and empties the table of a user before it opens
        // one.
        const int status = session.isLocal() ? openHere(arguments)
                           : isImport()      ? findThere(session, arguments, ExitUsage)
                                             : ExitSuccess;
        if (status != ExitSuccess) {
            return status;
        }
        const int result = transfer(session, arguments);
        return result != ExitSuccess || session.isLocal() || isImport()
                   ? result
                   : findThere(session, arguments, ExitFailure);
    }

protected:
    virtual Method methodFor(const Arguments& arguments) const = 0;

    static Method methodWithSchema(const char* name, const Arguments& arguments) {
        Method method(name);
        method.addStringParameter("schemaName", arguments.text("SCHEMA"), Parameter::in);
        method.addStringParameter("filePathAndName", arguments.text("FILE"), Parameter::in);
        return method;
    }

private:
    bool isImport() const { return m_flags == O_RDONLY; }

    int openHere(const Arguments& arguments) const {
        const std::string file = arguments.text("FILE");
        const int error = openError(file, m_flags);
        if (error == 0) {
            return ExitSuccess;
        }
        const std::string place = Storage::devicePath(file);
        Complaint::tellError(what(arguments) + ": " + file, error,
                             place.empty() ? "it leads out of the telephone's root"
                                           : "it stands below --root, at " + place);
        return ExitUsage;
    }

    /// The files of a running host can't be opened from here, but it lists them.
    int findThere(Session& session, const Arguments& arguments, int otherwise) const {
        const auto isThere = isListed(session, arguments.text("FILE"));
        if (isThere && !*isThere) {
            Complaint::tell(what(arguments) + ": " + arguments.text("FILE") +
                                ": the telephone of the host has no such file",
                            isImport()
                                ? "it stands below the --root of the host"
                                : "nothing was written: the folder, or the table, is missing");
        }
        return !isThere ? ExitFailure : *isThere ? ExitSuccess : otherwise;
    }

    int transfer(Session& session, const Arguments& arguments) const {
        const InterruptNote note(m_name, session.isLocal());
        Method answer;
        bool isDone = false;
        if (!session.call(methodFor(arguments), answer)) {
            return ExitFailure;
        }
        return answer.getBoolParameter("Acknowledge", isDone) && isDone
                   ? ExitSuccess
                   : session.tellFailure(what(arguments));
    }

    std::string what(const Arguments& arguments) const {
        return std::string(m_name) + " " + arguments.text("SCHEMA");
    }

    const char* m_name;
    const int m_flags;
};

class ExportCommand : public FileCommand {
public:
    ExportCommand() : FileCommand("export", O_WRONLY | O_CREAT) {}

protected:
    Method methodFor(const Arguments& arguments) const override {
        Method method = methodWithSchema("exportData", arguments);
        method.addIntParameter("userToExportFor", userOf(arguments), Parameter::in);
        return method;
    }
};

class ImportCommand : public FileCommand {
public:
    ImportCommand() : FileCommand("import", O_RDONLY) {}

protected:
    Method methodFor(const Arguments& arguments) const override {
        if (!arguments.has("--context")) {
            return methodWithSchema("importData", arguments);
        }
        Method method = methodWithSchema("importDataForUser", arguments);
        method.addIntParameter("userToImportFor", userOf(arguments), Parameter::in);
        return method;
    }
};

}  // namespace

std::unique_ptr<Command> makeExportCommand() {
    return std::make_unique<ExportCommand>();
}

std::unique_ptr<Command> makeImportCommand() {
    return std::make_unique<ImportCommand>();
}
