// "das import": the rows of a file for a table.

#include <algorithm>
#include <cerrno>

#include "ClientUtils.h"
#include "cli/CallerFile.h"
#include "cli/Command.h"
#include "client/SocketConnection.h"
#include "commands/DataFileArguments.h"
#include "schemas/ImportFile.h"
#include "terminal/InterruptNote.h"
#include "terminal/Question.h"
#include "wire/LineCutter.h"

namespace {

/// A telephone has no larger file, and a device file may have no end.
constexpr std::size_t LargestFile = 1024UL * 1024 * 1024;
const std::string LineWord = "line ";

/// The host's answer to ImportText.
struct Imported {
    explicit Imported(const Method& answer) {
        (void)answer.getBoolParameter("Acknowledge", isDone);
        (void)answer.getBoolParameter("Checked", isChecked);
        (void)answer.getBoolParameter("ColumnNames", hasNames);
        (void)answer.getStringParameter("Words", words);
        (void)answer.getStringParameter("User", user);
        (void)answer.getIntParameter("Before", before);
        (void)answer.getIntParameter("Stored", stored);
        (void)answer.getIntParameter("Added", added);
    }

    bool isDone = false;
    bool isChecked = false;
    bool hasNames = false;
    std::string words;
    std::string user;
    int before = 0;
    int stored = 0;
    int added = 0;
};

class ImportCommand : public SessionCommand {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        m_mayReadInput = true;
        return SessionCommand::run(options, arguments);
    }

    bool check(const Arguments& arguments) override {
        m_isTrial = arguments.has("--dry-run");
        m_isSure = arguments.has("--yes");
        if (!m_arguments.read(arguments)) {
            return false;
        }
        const std::string refusal = ImportFile::refusalOf(m_arguments.schema(), m_arguments.user());
        if (!refusal.empty()) {
            Complaint::report(m_arguments.what() + ": " + refusal, "leave --context out");
            return false;
        }
        return m_arguments.device() || (readFile() && checkFile());
    }

    int runIn(Session& session, const Arguments& /*arguments*/) override {
        const InterruptNote note("import", session.isLocal());
        if (m_isMissing) {
            return reportMissing(isOnTelephone(session));
        }
        const Method method = methodFor(m_text, m_isTrial);
        if (!session.isLocal() && !fitsIntoMessage(method)) {
            return ExitUsage;
        }
        if (!m_isTrial && !m_isSure && !m_arguments.user().empty() && !m_hasNames) {
            const int status = askFirst(session);
            if (status != ExitSuccess) {
                return status;
            }
        }
        Method answer;
        if (!session.call(method, answer)) {
            return ExitFailure;
        }
        const Imported result(answer);
        return result.isDone ? print(session, result) : reportRefused(session, result);
    }

private:
    /// Reads the caller's file. If it is missing here, the telephone's file may be meant, and a
    /// host can be asked about that.
    bool readFile() {
        const std::string& file = m_arguments.file();
        if (file == "-" && !m_mayReadInput) {
            Complaint::report("-: standard input has the lines of the shell", "name a file");
            return false;
        }
        const int error = CallerFile::read(file, LargestFile, m_text);
        m_isMissing = (error == ENOENT || error == ENOTDIR) && file.front() == '/';
        if (error != 0 && !m_isMissing) {
            Complaint::reportError(m_arguments.what() + ": " + file, error);
        }
        return error == 0 || m_isMissing;
    }

    bool checkFile() {
        if (m_isMissing) {
            return true;
        }
        const ImportFile file(m_arguments.schema(), m_arguments.user(), m_text);
        for (const auto& refusal : file.refusals()) {
            Complaint::report(m_arguments.file() + ": " + refusal.text());
        }
        m_hasNames = file.hasNames();
        m_rowCount = static_cast<int>(file.rowCount());
        return file.refusals().empty();
    }

    [[nodiscard]] bool isOnTelephone(Session& session) const {
        const std::string& path = m_arguments.file();
        const std::size_t slash = path.rfind('/');
        Method method("readDirectory");
        method.addStringParameter("Directory", slash == 0 ? "/" : path.substr(0, slash),
                                  Parameter::in);
        method.addBoolParameter("DirReading", false, Parameter::in);
        method.addBoolParameter("FileReading", true, Parameter::in);
        method.addBoolParameter("SubDirReading", false, Parameter::in);
        Method answer;
        std::string tree;
        // The method has an XML parameter, which JSON carries as a string.
        return session.call(method, answer) &&
               (answer.getXMLParameter("DirectoryTree", tree) ||
                answer.getStringParameter("DirectoryTree", tree)) &&
               tree.find("\" name=\"" + path.substr(slash + 1) + "\" />") != tree.npos;
    }

    int reportMissing(bool isOnTelephone) const {
        const std::string& path = m_arguments.file();
        Complaint::reportError(m_arguments.what() + ": " + path, ENOENT,
                               isOnTelephone ? "did you mean device:" + path + "?" : "");
        return ExitUsage;
    }

    [[nodiscard]] Method methodFor(const std::string& text, bool isTrial) const {
        Method method = m_arguments.method("ImportText");
        if (!m_arguments.device()) {
            method.addStringParameter("Text", text, Parameter::in);
        }
        method.addBoolParameter("DryRun", isTrial, Parameter::in);
        return method;
    }

    [[nodiscard]] bool fitsIntoMessage(const Method& method) const {
        const std::size_t size = SocketConnection::toCall(method).size();
        if (size <= LineCutter::MessageLimit) {
            return true;
        }
        // If only the escapes of JSON make the message too large, the size of the file would not
        // explain the error.
        const std::size_t shown = m_text.size() > LineCutter::MessageLimit ? m_text.size() : size;
        Complaint::report(m_arguments.file() + ": " + std::to_string(shown) +
                              " bytes; at most 8 MiB over a socket",
                          "name a file of the telephone by device:/PATH");
        return false;
    }

    /// Asks before most of a user's rows are replaced. ExitSuccess if the import may continue.
    int askFirst(Session& session) const {
        Method answer;
        // Only the host knows how many rows a file of the telephone has.
        if (!session.call(methodFor("", true), answer)) {
            return ExitFailure;
        }
        const Imported trial(answer);
        if (!trial.isDone) {
            return reportRefused(session, trial);
        }
        const int rows = m_arguments.device() ? trial.stored : m_rowCount;
        if (trial.hasNames || (rows > 0 && rows * 2L >= trial.before)) {
            return ExitSuccess;
        }
        const std::string change = subject(trial) + ": " + std::to_string(trial.before) + " " +
                                   noun() + " would be replaced by " + std::to_string(rows);
        const auto reply =
            rows > 0 ? Question::ask("das: " + change + "; go on?") : Question::Reply::NoTerminal;
        if (reply == Question::Reply::Yes) {
            return ExitSuccess;
        }
        Complaint::report(
            change + ", so nothing is changed",
            reply == Question::Reply::NoTerminal ? "--yes imports it without a question" : "");
        return ExitFailure;
    }

    [[nodiscard]] std::string subject(const Imported& result) const {
        const std::string& name = m_arguments.schema().name;
        return result.user.empty() ? name : name + " of " + result.user;
    }

    [[nodiscard]] const char* noun() const {
        return m_arguments.schema().table == "PHONE_BOOK" ? "contacts" : "rows";
    }

    int print(Session& session, const Imported& result) const {
        const std::string would = std::string(" ") + noun() + (m_isTrial ? " would be" : "");
        const bool replaces = !m_arguments.user().empty() && !result.hasNames;
        const std::string counts = replaces ? std::to_string(result.before) + would +
                                                  " replaced by " + std::to_string(result.stored)
                                            : std::to_string(result.added) + would + " added, " +
                                                  std::to_string(result.stored - result.added) +
                                                  " replaced";
        return session.output().print(subject(result) + ": " + counts + "\n");
    }

    int reportRefused(Session& session, const Imported& result) const {
        const bool isOfLines = result.words.rfind(LineWord, 0) == 0;
        if (result.isChecked && !isOfLines) {
            return session.reportFailure(m_arguments.what(), result.words);
        }
        if (result.words.empty() && session.reportRefusal(m_arguments.what())) {
            return ExitFailure;
        }
        const std::string words =
            result.words.empty() ? session.takeFailures().text() : result.words;
        const std::string file =
            isOfLines ? m_arguments.file() : m_arguments.what() + ": " + m_arguments.file();
        for (const std::string& line : ClientUtils::tokenizeString(words, "\n", false, false)) {
            Complaint::report(file + ": " + line, result.isChecked ? "nothing is changed" : "");
        }
        return result.isChecked ? ExitFailure : ExitUsage;
    }

    DataFileArguments m_arguments{"import"};
    bool m_mayReadInput = false;
    bool m_isTrial = false;
    bool m_isSure = false;
    bool m_isMissing = false;  ///< the file does not exist at the caller, where it was looked for
                               ///< first
    std::string m_text;
    bool m_hasNames = false;  ///< about the text; not known for a file of the telephone
    int m_rowCount = 0;       ///< likewise
};

}  // namespace

std::unique_ptr<SessionCommand> makeImportCommand() {
    return std::make_unique<ImportCommand>();
}
