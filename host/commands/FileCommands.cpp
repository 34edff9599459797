// Commands that carry tables to data files and back: export and import.

#include <algorithm>
#include <memory>
#include <string>

#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "framework/FileProbe.h"
#include "schemas/KnownSchemas.h"
#include "terminal/Complaint.h"
#include "terminal/InterruptNote.h"

namespace {

constexpr int EveryUser = 2;

int userOf(const Arguments& arguments) {
    const auto user = arguments.value("--context");
    return !user ? EveryUser : *user == "base" ? 0 : 1;
}

/// Whether the telephone of a running host lists the file @p path. The service empties the table of a
/// user also when the file is not there.
bool isListed(Session& session, const std::string& path) {
    const std::size_t end = path.rfind('/');
    Method question("readDirectory");
    question.addStringParameter("Directory", path.substr(0, std::max(end, std::size_t{1})),
                                Parameter::in);
    question.addBoolParameter("DirReading", false, Parameter::in);
    question.addBoolParameter("FileReading", true, Parameter::in);
    question.addBoolParameter("SubDirReading", false, Parameter::in);
    Method answer;
    std::string listing;
    return session.call(question, answer) && answer.getStringParameter("DirectoryTree", listing) &&
           listing.find("name=\"" + path.substr(end + 1) + "\" />") != std::string::npos;
}

class FileCommand : public SessionCommand {
public:
    FileCommand(const char* name, bool isImport) : m_name(name), m_isImport(isImport) {}

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
        const InterruptNote note(m_name, session.isLocal());
        const std::string file = arguments.text("FILE");
        if (session.isLocal()) {
            const FileProbe probe = FileProbe::of(file, !m_isImport);
            if (probe.error != 0) {
                Complaint::tellError(what(arguments) + ": " + file, probe.error,
                                     probe.place.empty()
                                         ? "it leads out of the telephone's root"
                                         : "it stands below --root, at " + probe.place);
                return ExitUsage;
            }
        } else if (m_isImport && arguments.has("--context") && !isListed(session, file)) {
            Complaint::tell(what(arguments) + ": " + file + ": no such file on the telephone");
            return ExitUsage;
        }
        return transfer(session, arguments);
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
    int transfer(Session& session, const Arguments& arguments) const {
        Method answer;
        bool isDone = false;
        if (!session.call(methodFor(arguments), answer)) {
            return ExitFailure;
        }
        if (!answer.getBoolParameter("Acknowledge", isDone) || !isDone) {
            return session.tellFailure(what(arguments));
        }
        const FailureWords failures = session.takeFailures();  // they are acknowledged all the same
        if (failures.hasFailed()) {
            Complaint::tell(what(arguments) + ": " + failures.text(),
                            FailureWords::adviceFor(failures.text()));
        }
        return failures.hasFailed() ? ExitFailure : ExitSuccess;
    }

    std::string what(const Arguments& arguments) const {
        return std::string(m_name) + " " + arguments.text("SCHEMA");
    }

    const char* m_name;
    const bool m_isImport;
};

class ExportCommand : public FileCommand {
public:
    ExportCommand() : FileCommand("export", false) {}

protected:
    Method methodFor(const Arguments& arguments) const override {
        Method method = methodWithSchema("exportData", arguments);
        method.addIntParameter("userToExportFor", userOf(arguments), Parameter::in);
        return method;
    }
};

class ImportCommand : public FileCommand {
public:
    ImportCommand() : FileCommand("import", true) {}

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
