#include "cli/StoredItems.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "client/HostOptions.h"
#include "client/ServicePlace.h"
#include "client/SocketConnection.h"
#include "framework/DatabaseFile.h"
#include "schemas/AnswerSheet.h"
#include "schemas/RequestText.h"

namespace {

/// A host that is busy for long must not block the user's shell.
constexpr unsigned PatienceInSeconds = 2;

/// Whether @p name can be used in a shell and in a request unchanged. Other names were not stored
/// by requests.
bool isPlain(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char each) {
        return std::isalnum(each) != 0 || each == '_' || each == '-' || each == '.' || each > 0x7f;
    });
}

/// @p names in order, each once.
std::vector<std::string> tidied(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) { return !isPlain(name); }),
                names.end());
    return names;
}

std::vector<std::string> inFile(const KnownSchemas::Entry& schema) {
    DatabaseFile file;
    DatabaseFile::Rows rows;
    std::vector<std::string> names;
    if (file.open(DatabaseFile::pathOfService()) &&
        file.query("SELECT DISTINCT Name FROM GENERAL_CONFIG WHERE Schema = '" + schema.name + "'",
                   rows)) {
        for (const auto& row : rows) {
            names.push_back(row.front());
        }
    }
    return tidied(std::move(names));
}

}  // namespace

std::vector<std::string> StoredItems::ask(Connection& connection,
                                          const KnownSchemas::Entry& schema) {
    Method answer;
    std::vector<std::string> names;
    std::string text;
    if (connection.call(Connection::requestOf(
                            RequestText::request(schema.name, "read_request", std::nullopt, "")),
                        answer) &&
        answer.getStringParameter("Response", text)) {
        for (const auto& row : AnswerSheet::of(schema, text, {}).rows) {
            names.push_back(row[1]);
        }
    }
    return tidied(std::move(names));
}

std::vector<std::string> StoredItems::find(HostOptions options, const KnownSchemas::Entry& schema) {
    ServicePlace::find(options);
    if (!options.socket) {
        return inFile(schema);
    }
    (void)alarm(PatienceInSeconds);  // ends the process, which has no other work
    SocketConnection connection;
    std::string ignored;
    return connection.open(*options.socket, ignored) ? ask(connection, schema)
                                                     : std::vector<std::string>();
}
