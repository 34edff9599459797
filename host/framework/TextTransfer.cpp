// The value "Checked" in the answer shows whether the input was accepted before the service was
// called. So a caller can distinguish its own mistake from a failure of the service.

#include "framework/TextTransfer.h"

#include <cerrno>
#include <iterator>
#include <string>
#include <system_error>

#include "AnswerLimit.h"
#include "DASTextIfc.h"
#include "DeviceFile.h"
#include "Executable.h"
#include "Method.h"
#include "Storage.h"
#include "framework/Client.h"
#include "framework/HostMethods.h"
#include "framework/LogRelay.h"
#include "schemas/ImportFile.h"

namespace {

std::string textOf(const Method& request, const char* name) {
    std::string text;
    (void)request.getStringParameter(name, text);
    return text;
}

/// What is wrong with schema and user of @p request, as a sentence; blank if they are right.
std::string wrongWith(const Method& request, const KnownSchemas::Entry* schema) {
    const std::string user = textOf(request, "User");
    if (textOf(request, "Schema").empty()) {
        return "the string Schema is missing; it names the schema";
    }
    if (schema == nullptr) {
        return "there is no schema " + textOf(request, "Schema");
    }
    if (!user.empty() && user != "base" && user != "visitor") {
        return "there is no user " + user;
    }
    return ImportFile::refusalOf(*schema, user);
}

/// Why a file of the telephone can't be opened; blank if it can. This is checked because the
/// service itself acknowledges an import and an export in any case.
std::string wrongWithFile(const std::string& path, bool forWriting) {
    const bool isPath = path.find('\0') == std::string::npos;
    const std::string place = isPath ? Storage::devicePath(path) : "";
    const int error = !isPath ? EINVAL : place.empty() ? EPERM : Storage::errorOf(path, forWriting);
    if (error == 0) {
        return "";
    }
    return std::generic_category().message(error) + (place.empty()
                                                         ? "; it leads out of the telephone's root"
                                                         : "; it stands below --root, at " + place);
}

/// Reads the file of the telephone @p path. False, with the reason in @p wrong, on failure; the
/// reason is blank if it was logged.
bool readFile(const std::string& path, std::string& text, std::string& wrong) {
    wrong = wrongWithFile(path, false);
    if (!wrong.empty()) {
        return false;
    }
    DeviceFile file(path);
    const bool isOpen = file.isOpen();
    text.assign(std::istreambuf_iterator<char>(file), {});
    return isOpen && !file.bad();
}

std::string joined(const std::vector<ImportFile::Refusal>& refusals) {
    std::string text;
    for (const auto& refusal : refusals) {
        text += (text.empty() ? "" : "\n") + refusal.text();
    }
    return text;
}

/// The result of the check of a text before its import.
struct Check {
    bool isGood;  ///< whether it was passed to the service
    bool hasNames;
};

void addImported(const DASImported& result, const Check& check, const std::string& words,
                 Method& answer) {
    answer.addBoolParameter("Acknowledge", result.isDone, Parameter::out);
    answer.addBoolParameter("Checked", check.isGood, Parameter::out);
    answer.addBoolParameter("ColumnNames", check.hasNames, Parameter::out);
    answer.addStringParameter("Words", words, Parameter::out);
    answer.addStringParameter("User", result.user, Parameter::out);
    answer.addIntParameter("Before", static_cast<int>(result.before), Parameter::out);
    answer.addIntParameter("Stored", static_cast<int>(result.stored), Parameter::out);
    answer.addIntParameter("Added", static_cast<int>(result.added), Parameter::out);
}

void addRefused(const std::string& words, Method& answer) {
    addImported({}, {false, false}, words, answer);
}

/// Imports the rows by column name, or the text unchanged, depending on the file. An older library
/// can do neither.
void importFile(const ImportFile& file, const DASImport& what, Executable& service,
                Method& answer) {
    auto* const tables = dynamic_cast<DASTextIfc*>(&service);
    DASImported result;
    if (tables != nullptr) {
        result = file.hasNames() ? tables->importRows(what, file.columns(), file.rows())
                                 : tables->importText(what, file.text());
    } else {
        result.refusal = "the service library is older and imports no texts";
    }
    // If one row was refused, the message shows the line of the file with that row.
    const bool isOneRow = result.refusedRow < file.rows().size();
    addImported(result, {true, file.hasNames()},
                isOneRow
                    ? ImportFile::Refusal{file.lineOf(result.refusedRow), result.refusal}.text()
                    : result.refusal,
                answer);
}

void addExported(const DASExported& result, const std::string& text, const std::string& words,
                 Method& answer) {
    answer.addBoolParameter("Acknowledge", result.isDone, Parameter::out);
    answer.addStringParameter("Words", words, Parameter::out);
    answer.addStringParameter("Text", text, Parameter::out);
    answer.addIntParameter("Rows", static_cast<int>(result.rows), Parameter::out);
    answer.addIntParameter("Lost", static_cast<int>(result.lost), Parameter::out);
}

/// Writes the exported text to the file of the telephone @p path.
std::string writeFile(const std::string& path, DASExported& result) {
    DeviceFileWriter file(path);
    file.write(result.text);
    result.isDone = file.finish();
    return result.isDone ? "" : "the file can't be written; the log says why";
}

}  // namespace

void TextTransfer::importText(const HostCall& call, Method& answer) {
    const Method& request = call.request;
    call.client->lastFailures() = {};
    const LogRelay::Hearing hearing(call.client->lastFailures());
    const auto* const schema = KnownSchemas::find(textOf(request, "Schema"));
    const std::string path = textOf(request, "File");
    std::string text;
    std::string wrong = wrongWith(request, schema);
    // Without this check, an import for a user could remove all of the user's rows.
    if (wrong.empty() && path.empty() && !request.getStringParameter("Text", text)) {
        wrong = "the string Text is missing; a blank one has no rows";
    }
    if (!wrong.empty() || (!path.empty() && !readFile(path, text, wrong))) {
        addRefused(wrong, answer);
        return;
    }
    DASImport what{schema->name, textOf(request, "User")};
    (void)request.getBoolParameter("DryRun", what.isTrial);
    const ImportFile file(*schema, what.user, text);
    if (file.refusals().empty()) {
        importFile(file, what, call.service, answer);
    } else {
        addRefused(joined(file.refusals()), answer);
    }
}

void TextTransfer::exportText(const HostCall& call, Method& answer) {
    const Method& request = call.request;
    call.client->lastFailures() = {};
    const LogRelay::Hearing hearing(call.client->lastFailures());
    const auto* const schema = KnownSchemas::find(textOf(request, "Schema"));
    auto* const tables = dynamic_cast<DASTextIfc*>(&call.service);
    const std::string path = textOf(request, "File");
    const std::string user = textOf(request, "User");
    std::string wrong = tables == nullptr ? "the service library is older and exports no texts"
                        : schema == nullptr || !schema->hasDataFile ? wrongWith(request, schema)
                        : !path.empty()                             ? wrongWithFile(path, true)
                                                                    : "";
    DASExported result;
    if (wrong.empty()) {
        // A file may be larger than an answer.
        const std::size_t largest = path.empty() ? call.client->longestAnswer() : std::string::npos;
        const AnswerLimit limit(largest, largest, {});
        result = tables->exportText(schema->name, user);
    }
    if (result.isDone && !path.empty()) {
        wrong = writeFile(path, result);
        result.text.clear();
    }
    addExported(result, result.text, wrong, answer);
}
