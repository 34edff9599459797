#include "wire/KnownMethods.h"

#include <algorithm>

namespace {

using KnownMethods::Entry;

constexpr auto String = Parameter::Type::String;
constexpr auto Int = Parameter::Type::Int;
constexpr auto Bool = Parameter::Type::Bool;

const std::vector<KnownMethods::In> Rename{{"OldFileName", String}, {"NewFileName", String}};
const std::vector<KnownMethods::In> Directory{
    {"Directory", String}, {"DirReading", Bool}, {"FileReading", Bool}, {"SubDirReading", Bool}};
const std::vector<KnownMethods::In> Values{{"newValues", String}, {"isBase", Bool}};
const std::vector<KnownMethods::Out> Done{{"Acknowledge", Bool}};
const std::vector<KnownMethods::Out> Tree{{"Acknowledge", Bool},
                                          {"DirectoryTree", Parameter::Type::Xml, false}};

const Entry Entries[] = {
    {"processRequest",
     {{"Request", String}, {"RequestLength", Int}},
     false,
     {{"Response", String}}},
    {"deleteFile", {{"directory", String}, {"name", String}}, false, Done, "FileSelection"},
    {"renameFile", Rename, false, Done, "FileRename"},
    {"moveFile", Rename, false, Done, "FileRename"},
    {"readDirectoryTree", Directory, false, Tree, "DirectorySelection"},
    {"readDirectory", Directory, false, Tree, "DirectorySelection"},
    {"setProfile", {{"NewProfile", String}}, false, Done},
    {"factoryReset", {}, false, Done},
    {"invokeACMSFactoryReset", {{"EnableCreateDb", Bool}}, false, Done},
    {"exportData",
     {{"schemaName", String}, {"userToExportFor", Int}, {"filePathAndName", String}},
     false,
     Done},
    {"importData", {{"schemaName", String}, {"filePathAndName", String}}, false, Done},
    {"importDataForUser",
     {{"schemaName", String}, {"userToImportFor", Int}, {"filePathAndName", String}},
     false,
     Done},
    {"createPhonenumberIndices", {}, false, Done},
    {"migrateUserData", {{"baseValues", String}}, false, Done},
    {"clearMobileUserdata", {}, true, {}},
    {"clearMobileUserDLSdata", {}, true, {}},
    {"copyBaseDataToVisitor", {}, true, {}},
    {"deleteVisitorUserPassword", {}, true, {}},
    {"deleteUcCredentials", {}, true, {}},
    {"checkDatabaseNeedsChange",
     {{"currentSwType", Int}, {"newSwType", Int}, {"newSwVersion", String}},
     false,
     Done},
    {"exportUserData", Values, false, {{"Acknowledge", Bool}, {"readValues", String, false}}},
    {"importUserData", Values, false, Done},
    {"AddListener", {}, false, {}},
    {"AddStatusListener", {}, false, {}},
};

const char* wordFor(Parameter::Type type) {
    switch (type) {
        case Parameter::Type::Int:
            return "INT";
        case Parameter::Type::Bool:
            return "BOOL";
        default:
            return "STRING";
    }
}

}  // namespace

const Entry* KnownMethods::find(const std::string& name) {
    const auto* const found = std::find_if(std::begin(Entries), std::end(Entries),
                                           [&](const Entry& each) { return each.name == name; });
    return found != std::end(Entries) ? found : nullptr;
}

std::vector<std::string> KnownMethods::names() {
    std::vector<std::string> all;
    for (const Entry& entry : Entries) {
        all.emplace_back(entry.name);
    }
    return all;
}

std::string KnownMethods::toText(const In& parameter) {
    return std::string(parameter.name) + "=" + wordFor(parameter.type);
}

std::string KnownMethods::listing() {
    std::string text = "Methods:\n";
    for (const Entry& entry : Entries) {
        text.append("  ").append(entry.name);
        for (const In& parameter : entry.in) {
            text += " " + toText(parameter);
        }
        text += entry.isOneWay ? "  (one-way)\n" : "\n";
    }
    return text;
}
