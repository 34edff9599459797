#include "RaceCalls.h"

#include <iterator>
#include <sstream>

#include "Calls.h"
#include "testkit/Messages.h"

namespace {

using namespace RaceCalls;
using Random = std::mt19937;

/// Each request is a service word, or consists of a schema, a reason and a body.
const char* const Requests[] = {
    "getCurrentUser",
    "getDefaultKeyData",
    "saveContactsToCSV",
    "PhoneBook write_request <Entry><Surname>a</Surname><Office>1</Office></Entry>",
    "PhoneBook write_request <Entry><Surname>b</Surname></Entry><Entry><Surname>c</Surname>"
    "</Entry>",
    "PhoneBook read_request <Entry><SurnameLike>a</SurnameLike></Entry>",
    "PhoneBook search_phone_number <Entry><Office>1</Office></Entry>",
    "PhoneBook rowcount_request ",
    "PhoneBook delete_request <Entry><Surname>b</Surname></Entry>",
    "CallLogMissedCalls write_request <Entry><EntryId>e</EntryId><LogList><Item><Number>1"
    "</Number><TimeDate>2014-03-07T09:15:30+01:00</TimeDate></Item></LogList></Entry>",
    "CallLogAndPhoneBook read_request ",
    "CallLog delete_request ",
    "Conversations write_request <Entry><PhonebookId>1</PhonebookId><CallLogId>1</CallLogId>"
    "</Entry>",
    "Conversations read_request <ResultCols>CALL_LOG.* PHONE_BOOK.*</ResultCols>",
    "FeatureKeys update_request <Entry><Id>100</Id><Label>a</Label></Entry><Entry><Id>101</Id>"
    "<Label>b</Label></Entry>",
    "FeatureKeys read_request ",
    "StimulusKeySettings read_request ",
    "CallGroup reset_request ",
    "CodecSettings update_request <CodecType>2</CodecType><CodecRank>1</CodecRank>",
    "CodecSettings read_request ",
    "Certificates write_request <Entry><Id>1</Id><Issuer>x</Issuer></Entry>",
    "AudioSettings update_request <Volume>5</Volume><Tone>3</Tone>",
    "AudioSettings write_request <Volume>4</Volume>",
    "AudioSettings read_request <ResultCols>Volume</ResultCols>",
    "AudioSettings readall_request ",
    "AudioSettings delete_request <Volume/>",
    "MobilitySettings update_request <MobilityCurrentUser>base</MobilityCurrentUser>",
    "NoSuchSchema read_request ",
};

/// Reasons that need the right to read; all others need the right to write.
const std::set<std::string> Reads = {"read_request", "readall_request", "rowcount_request",
                                     "search_phone_number"};

/// A remote method and its share of all calls. Parameters are "Name=value" with ";" between them.
/// If a value contains "|", one of its parts is chosen.
struct Remote {
    const char* name;
    int weight;
    bool isOneWay;
    const char* rights;
    const char* parameters;
};

const Remote Methods[] = {
    {"processRequest", 200, false, "", ""},
    {"setProfile", 12, false, "profile", "NewProfile=base|visitor|visitor|guest"},
    {"factoryReset", 1, false, "reset", ""},
    {"invokeACMSFactoryReset", 3, false, "reset", "EnableCreateDb=true|true|false"},
    {"exportData", 8, false, "files read",
     "schemaName=PhoneBook|CallLog|FeatureKeys|CallGroup;userToExportFor=0|1|2;filePathAndName=/"
     "tmp/1.csv|/tmp/2.csv"},
    {"importData", 4, false, "files write",
     "schemaName=PhoneBook|CallGroup;filePathAndName=/tmp/1.csv|/tmp/2.csv"},
    {"importDataForUser", 4, false, "files write",
     "schemaName=PhoneBook|CallLog;userToImportFor=0|1|7;filePathAndName=/tmp/1.csv|/tmp/none"},
    {"createPhonenumberIndices", 2, false, "write", ""},
    {"migrateUserData", 3, false, "profile write", "baseValues={\"ringer-melody\":\"3\"}|nothing"},
    {"exportUserData", 6, false, "profile",
     "newValues={\"ringer-melody\":\"\",\"key-label-100\":\"\"};isBase=true|false"},
    {"importUserData", 6, false, "profile write",
     "newValues={\"ringer-melody\":\"7\",\"key-label-100\":\"x\"};isBase=true|false"},
    {"checkDatabaseNeedsChange", 2, false, "reset",
     "currentSwType=0|1|2;newSwType=0|1|2;newSwVersion=V1 R8.2.0|V9 R9.9.9"},
    {"clearMobileUserdata", 2, true, "profile", ""},
    {"clearMobileUserDLSdata", 2, true, "profile", ""},
    {"copyBaseDataToVisitor", 2, true, "profile", ""},
    {"deleteVisitorUserPassword", 3, true, "profile", ""},
    {"deleteUcCredentials", 3, true, "profile", ""},
    {"AddListener", 1, false, "listen", ""},
    {"deleteFile", 3, false, "files", "directory=/data/ringtones;name=a.mp3"},
    {"renameFile", 3, false, "files", "OldFileName=/tmp/1.csv;NewFileName=/tmp/2.csv"},
    {"moveFile", 3, false, "files", "OldFileName=/tmp/2.csv;NewFileName=/tmp/1.csv"},
    {"readDirectory", 5, false, "files",
     "Directory=/data|/tmp|/;DirReading=true;FileReading=true|false;SubDirReading=true|false"},
    {"readDirectoryTree", 5, false, "files",
     "Directory=/data|/tmp|/;DirReading=true;FileReading=true|false;SubDirReading=true|false"},
};

template <typename List>
const auto& anyOf(Random& random, const List& list) {
    return list[random() % std::size(list)];
}

std::vector<std::string> cut(const std::string& text, char mark) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, mark);) {
        parts.push_back(part);
    }
    return parts;
}

Call requestCall(Random& random) {
    static const char* const contexts[] = {"", "base", "visitor"};
    const std::string line = anyOf(random, Requests);
    const std::size_t first = line.find(' ');
    if (first == std::string::npos) {
        const bool isExport = line == "saveContactsToCSV";
        return {Calls::request(line), false, isExport ? "files read" : "", "PhoneBook"};
    }
    const std::size_t second = line.find(' ', first + 1);
    const std::string schema = line.substr(0, first);
    const std::string reason = line.substr(first + 1, second - first - 1);
    const std::string context = anyOf(random, contexts);
    const std::string body = line.substr(second + 1);
    return {Calls::request(
                xml::message(schema, reason, context.empty() ? body : xml::context(context, body))),
            false, Reads.count(reason) > 0 ? "read" : "write", schema};
}

const Remote& pick(Random& random) {
    int total = 0;
    for (const Remote& method : Methods) {
        total += method.weight;
    }
    int left = static_cast<int>(random() % static_cast<unsigned>(total));
    const Remote* picked = Methods;
    while (left >= picked->weight) {
        left -= picked->weight;
        ++picked;
    }
    return *picked;
}

}  // namespace

std::string Role::rules() const {
    std::string words;
    for (const std::string& right : rights) {
        words += (words.empty() ? "" : ",") + right;
    }
    return "allow any " + words + " " + (schema.empty() ? "*" : schema) + "\n";
}

bool Role::may(const std::string& needed, const std::string& of) const {
    for (const std::string& right : cut(needed, ' ')) {
        const bool isThere = rights.count(right) > 0 || rights.count("all") > 0;
        if (!isThere || (!schema.empty() && schema != of)) {
            return false;
        }
    }
    return true;
}

const std::vector<Role>& RaceCalls::roles() {
    static const std::vector<Role> all = {{{"all"}, ""},
                                          {{"read", "listen"}, ""},
                                          {{"write", "files", "profile"}, ""},
                                          {{"read", "listen"}, "PhoneBook"}};
    return all;
}

Call RaceCalls::next(Random& random) {
    const Remote& remote = pick(random);
    if (std::string(remote.name) == "processRequest") {
        return requestCall(random);
    }
    std::vector<std::pair<std::string, std::string>> in;
    // Indices belong to the contacts; other methods name their schema.
    std::string schema = std::string(remote.name) == "createPhonenumberIndices" ? "PhoneBook" : "";
    for (const std::string& parameter : cut(remote.parameters, ';')) {
        const std::size_t sign = parameter.find('=');
        in.emplace_back(parameter.substr(0, sign),
                        anyOf(random, cut(parameter.substr(sign + 1), '|')));
        if (in.back().first == "schemaName") {
            schema = in.back().second;
        }
    }
    return {Calls::method(remote.name, in), remote.isOneWay, remote.rights, schema};
}
