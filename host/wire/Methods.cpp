// A method is one row: dispatch, contracts, completion, help and the clients' tables are all made
// from these rows. The order is that of the documents. Clients rely on the names, types and
// directions, so these do not change.

#include "wire/Methods.h"

#include <algorithm>

namespace {

using namespace Methods;
using Type = Parameter::Type;

constexpr auto In = Parameter::in;
constexpr auto Out = Parameter::out;

const Value Done{"Acknowledge", Out, Type::Bool, "Whether it was done."};
const Value Schema{"schemaName", In, Type::String, "The name of the schema."};
const Value Path{"filePathAndName", In, Type::String, "The path of the data file on the telephone."};
const Value OldPath{"OldFileName", In, Type::String, "The path of the file."};
const Value NewPath{"NewFileName", In, Type::String, "The path that it gets."};
const Value Values{"newValues", In, Type::String, "A map of tags and values."};
const Value IsBase{"isBase", In, Type::Bool, "Whether they are those of base, not of the visitor."};

const std::vector<Value> Rename{OldPath, NewPath, Done};
const std::vector<Value> Directory{
    {"Directory", In, Type::String, "The path of the directory."},
    {"DirReading", In, Type::Bool, "Whether directories are listed."},
    {"FileReading", In, Type::Bool, "Whether files are listed."},
    {"SubDirReading", In, Type::Bool, "Whether directories in it are read too."},
    Done,
    {"DirectoryTree", Out, Type::Xml, "The listing, after a success.", false}};

const Access ReadOfSchema{Files, Read, Place::Parameter, "schemaName"};
const Access WriteOfSchema{Files, Write, Place::Parameter, "schemaName"};

const std::vector<Row> Rows = {
    {"processRequest",
     "Carries out one request to a schema.",
     {{"Request", In, Type::String, "The request."},
      {"RequestLength", In, Type::Int, "How many bytes of it count."},
      {"Response", Out, Type::String, "The answer, blank if a parameter is missing."}},
     {None, None, Place::Request, "Request"}},
    {"deleteFile",
     "Deletes a file of the telephone.",
     {{"directory", In, Type::String, "The path of its directory."},
      {"name", In, Type::String, "Its name."},
      Done},
     {Files},
     Kind::Service,
     "FileSelection"},
    {"renameFile", "Renames a file of the telephone.", Rename, {Files}, Kind::Service, "FileRename"},
    {"moveFile", "Moves a file of the telephone.", Rename, {Files}, Kind::Service, "FileRename"},
    {"readDirectoryTree",
     "Lists a directory of the telephone and all below it.",
     Directory,
     {Files},
     Kind::Service,
     "DirectorySelection"},
    {"readDirectory",
     "Lists a directory of the telephone.",
     Directory,
     {Files},
     Kind::Service,
     "DirectorySelection"},
    {"setProfile",
     "Makes base or the visitor the current user, until the host ends.",
     {{"NewProfile", In, Type::String, "The user: base or visitor."},
      {"Acknowledge", Out, Type::Bool,
       "Whether it was done; if not, for example if a table can't be copied for the visitor, the "
       "user remains."}},
     {Profile}},
    {"factoryReset", "Removes all data of the telephone.", {Done}, {Reset}},
    {"invokeACMSFactoryReset",
     "Removes all data of the telephone, as its management asks for it.",
     {{"EnableCreateDb", In, Type::Bool, "Whether a new database is made."}, Done},
     {Reset}},
    {"exportData",
     "Writes the rows of a schema to a data file.",
     {Schema, {"userToExportFor", In, Type::Int, "Whose rows: 0 base, 1 visitor, else all."}, Path, Done},
     ReadOfSchema},
    {"importData",
     "Reads rows of a schema from a data file; they replace those with the same key.",
     {Schema, Path, Done},
     WriteOfSchema},
    {"importDataForUser",
     "Replaces the rows of one user by those of a data file.",
     {Schema, {"userToImportFor", In, Type::Int, "Whose rows: 0 base, 1 visitor, else all."}, Path, Done},
     WriteOfSchema},
    {"createPhonenumberIndices",
     "Makes the indices that speed up searches for numbers.",
     {{"Acknowledge", Out, Type::Bool, "Always true."}},
     {None, Write, Place::Fixed, "PhoneBook"}},
    {"migrateUserData",
     "Makes the visitor the current user, and stores values of management as the data of base.",
     {{"baseValues", In, Type::String, "A map of tags and values."}, Done},
     {Profile | Write}},
    {"clearMobileUserdata",
     "Removes the visitor's rows but contacts, calls, conversations, start applications and trusted "
     "Bluetooth devices; call groups become the default ones.",
     {},
     {Profile},
     Kind::OneWay},
    {"clearMobileUserDLSdata", "Removes the visitor's contacts and calls.", {}, {Profile}, Kind::OneWay},
    {"copyBaseDataToVisitor", "Copies the data of base to the visitor.", {}, {Profile}, Kind::OneWay},
    {"deleteVisitorUserPassword", "Removes the password that the visitor has set, and the login state.", {}, {Profile}, Kind::OneWay},
    {"deleteUcCredentials", "Removes the visitor's credentials for unified communications.", {}, {Profile}, Kind::OneWay},
    {"checkDatabaseNeedsChange",
     "Prepares the database for other software.",
     {{"currentSwType", In, Type::Int, "The type of the software that runs."},
      {"newSwType", In, Type::Int, "The type of the new software."},
      {"newSwVersion", In, Type::String, "The version of the new software."},
      {"Acknowledge", Out, Type::Bool, "Whether the three were there."}},
     {Reset}},
    {"exportUserData",
     "Reads values for management by their tags.",
     {Values,
      IsBase,
      Done,
      {"readValues", Out, Type::String, "The map with its values, after a success.", false}},
     {Profile}},
    {"importUserData",
     "Stores values of management by their tags.",
     {Values, IsBase, Done},
     {Profile | Write}},
    {"AddListener",
     "Makes the connection hear each change of the user.",
     {},
     {Listen}},
    {"AddStatusListener",
     "Makes the connection hear each item that the service reports to management.",
     {},
     {Listen},
     Kind::Host},
    {"AddLogListener",
     "Makes the connection hear the log of the host.",
     {{"Level", In, Type::Int, "The highest level; 2 if it is left out.", false}},
     {Listen | Read},
     Kind::Host},
    {"AddChangeListener",
     "Makes the connection hear each committed change to schemas.",
     {{"Schemas", In, Type::String, "Their names, joined by commas; all if it is blank or left out.",
       false}},
     {None, Listen, Place::List, "Schemas"},
     Kind::Host},
    {"LastFailures",
     "Says why the call before it on the same connection failed: what was logged, or which right is "
     "missing.",
     {{"Words", Out, Type::String, "The messages, with those of SQLite."},
      {"HasFailed", Out, Type::Bool, "Whether the service itself called it a failure."}},
     {None},
     Kind::Host},
    {"ImportText",
     "Imports the rows of a text, in the form of data files or with the names of columns, in one "
     "transaction: all of them or none.",
     {{"Schema", In, Type::String, "The name of the schema."},
      {"User", In, Type::String,
       "base or visitor. If it is blank, rows with column names are those of the current user, and "
       "others take the place of those with the same key."},
      {"Text", In, Type::String, "The text.", false},
      {"File", In, Type::String,
       "The path of a file of the telephone that is read in place of Text.", false},
      {"DryRun", In, Type::Bool, "Whether everything is rolled back at the end.", false},
      {"Acknowledge", Out, Type::Bool, "Whether it was done or, in a dry run, would be."},
      {"Checked", Out, Type::Bool,
       "Whether the text was good: if not, nothing was given to the service."},
      {"ColumnNames", Out, Type::Bool, "Whether the text has the names of columns."},
      {"Words", Out, Type::String, "Why it was not done: a line for each line that is wrong."},
      {"User", Out, Type::String, "Whose rows it was about; blank for more than one user."},
      {"Before", Out, Type::Int, "How many rows were there."},
      {"Stored", Out, Type::Int, "How many rows of the text were stored."},
      {"Added", Out, Type::Int, "How many of those were new."}},
     {None, Write, Place::Parameter, "Schema"},
     Kind::Host},
    {"ExportText",
     "Exports the rows of a schema in the form of data files.",
     {{"Schema", In, Type::String, "The name of the schema."},
      {"User", In, Type::String, "base or visitor; all if it is blank."},
      {"File", In, Type::String, "The path of a file of the telephone that is written in place of "
       "Text.", false},
      {"Acknowledge", Out, Type::Bool, "Whether it was done."},
      {"Words", Out, Type::String, "Why it was not done, if that is known."},
      {"Text", Out, Type::String, "The rows."},
      {"Rows", Out, Type::Int, "How many rows were exported."},
      {"Lost", Out, Type::Int, "How many rows the form can't carry: they are left out."}},
     {None, Read, Place::Parameter, "Schema"},
     Kind::Host},
    {"Statistics",
     "Says what the host has done for its clients since its start.",
     {{"Statistics", Out, Type::String, "A JSON object on one line."}},
     {Listen},
     Kind::Host},
};

const std::vector<Event> Events = {
    {"ProfileChangedToBase", "Base has become the current user.", {}},
    {"ProfileChangedToVisitor", "The visitor has become the current user.", {}},
    {"Log",
     "The host has written an entry of its log.",
     {{"level", Out, Type::Int, "The level: 2 for failures, up to 6 for details."},
      {"component", Out, Type::String, "The part of the program that wrote it."},
      {"source", Out, Type::String, "The source file."},
      {"line", Out, Type::Int, "The line in it."},
      {"message", Out, Type::String, "The message."}}},
    {"Status",
     "The service has reported an item to management.",
     {{"item", Out, Type::String, "The name of the item."},
      {"value", Out, Type::String, "Its value."}}},
    {"Changed",
     "A change to a schema was committed. All blank: more changes than the client could take.",
     {{"Schema", Out, Type::String, "The schema; blank for several."},
      {"Context", Out, Type::String,
       "base or visitor; blank for the telephone's rows, for several users and for all."},
      {"Reason", Out, Type::String,
       "The reason of the request or the name of the method; blank for another process."},
      {"Id", Out, Type::String, "The key of the row, or the name of the setting; blank for several."}}},
};

const std::vector<Reason> Reasons = {
    {"read_request", Read},
    {"readall_request", Read},
    {"rowcount_request", Read},
    {"search_phone_number", Read},
    {"search_by_external_id", Read},
    {"write_request", Write},
    {"update_request", Write},
    {"delete_request", Write},
    {"reset_request", Write},
};

const char* wordFor(Type type) {
    switch (type) {
        case Type::Int:
            return "INT";
        case Type::Bool:
            return "BOOL";
        default:
            return "STRING";
    }
}

}  // namespace

std::vector<Value> Row::of(Parameter::directions direction) const {
    std::vector<Value> found;
    std::copy_if(values.begin(), values.end(), std::back_inserter(found),
                 [direction](const Value& each) { return each.direction == direction; });
    return found;
}

const std::vector<Event>& Methods::events() {
    return Events;
}

const std::vector<Reason>& Methods::reasons() {
    return Reasons;
}

Right Methods::rightOf(const std::string& name) {
    const auto found = std::find_if(Reasons.begin(), Reasons.end(),
                                    [&](const Reason& each) { return each.name == name; });
    return found != Reasons.end() ? found->right : Write;
}

const std::vector<Row>& Methods::all() {
    return Rows;
}

const Row* Methods::find(const std::string& name) {
    const auto found = std::find_if(Rows.begin(), Rows.end(),
                                    [&](const Row& each) { return each.name == name; });
    return found != Rows.end() ? &*found : nullptr;
}

std::vector<std::string> Methods::names() {
    std::vector<std::string> all;
    for (const Row& row : Rows) {
        all.emplace_back(row.name);
    }
    return all;
}

std::string Methods::toText(const Value& parameter) {
    return std::string(parameter.name) + "=" + wordFor(parameter.type);
}

std::string Methods::listing() {
    std::string text = "Methods:\n";
    for (const Row& row : Rows) {
        text.append("  ").append(row.name);
        for (const Value& parameter : row.of(In)) {
            text += " " + toText(parameter);
        }
        text += row.kind == Kind::OneWay ? "  (one-way)\n" : "\n";
    }
    return text;
}
