// Each row is used in several ways: for help, manual page, completion and parser. Parts that two
// rows share are defined once, before the table.

#include "cli/CommandTable.h"

#include <algorithm>

#include "cli/Command.h"
#include "client/HostOptions.h"
#include "wire/Methods.h"

using namespace CommandTable;

namespace {

const Option ContextOption{"--context", "USER", Words::User,
                           "Whose rows: base or visitor; the current user without it"};
const Option IdOption{"--id", "ID", Words::Any, "The row of this number or key"};
const Option WhereOption{"--where", "COL=VALUE", Words::Assignment,
                         "Rows whose column has this value; may be repeated"};
const Option ContactLimit{"--limit", "N", Words::Any, "Show at most N contacts"};
const Option OutputOption{"--output", "FORMAT", Words::Format,
                          "raw, json, table or csv: the same bytes on a terminal and in a pipe"};
const Option PlainOption{"--plain", "", Words::Any,
                         "On a terminal, print as into a pipe: not aligned, nothing cut"};
const Argument SchemaArgument{"SCHEMA", Words::Schema, true, false,
                              "Name of the schema; das schemas lists them"};
const Argument ValuesArgument{"NAME=VALUE", Words::Assignment, true, true,
                              "Columns, or items of settings, and their values"};
const Argument FileArgument{
    "FILE", Words::File, true, false,
    "A file, - for the standard streams, or device:/PATH for a file of the telephone below --root"};
const Exit EndsByInterrupt{ExitInterrupted, "interrupted by Ctrl-C"};

const std::vector<Row> Rows = {
    {"request",
     "Send requests and print their answers",
     "A file is one message, less one line feed at its end. On standard input each line is one "
     "message. Answers are printed as they come, each with a line feed.",
     {{"FILE", Words::File, false, true,
       "Files of one request each; \"-\", and no file at all, is standard input with one request a "
       "line"}},
     {},
     {{"echo getCurrentUser | das request", "asks for the current user"}},
     {},
     runRequest,
     Data::Changed},
    {"call",
     "Call a remote method",
     "true and false are a bool, a whole number is an int, anything else is a string; NAME:=VALUE "
     "is a string in every case. Each out parameter is printed as NAME=VALUE.",
     {{"METHOD", Words::Method, true, false, "Name of the method"},
      {"NAME=VALUE", Words::Assignment, false, true, "In parameters"}},
     {{"--yes", "", Words::Any, "Do not ask before a factory reset"}},
     {{"das call setProfile NewProfile=base", "makes base the current user"}},
     {},
     makeCallCommand,
     Data::Changed,
     Methods::listing},
    {"serve",
     "Serve other processes, over the socket --socket or over standard streams",
     "Many clients at once, until SIGTERM or SIGINT; with --stdio one, until the input ends. A "
     "service manager may hand over the socket and is notified of each step of the start.",
     {},
     {{"--stdio", "", Words::Any, "Serve standard input and output"},
      {"--access", "FILE", Words::File,
       "Let each user do what the rules of this file allow, and nothing else"}},
     {{"das serve --socket other.sock", "serves programs that connect to other.sock"}},
     {},
     runServe,
     Data::Apart},
    {"watch",
     "Print what changes in a running host: the user, status items and data",
     "Writes \"watching\" to standard error once it listens, and goes on until the host ends. A "
     "change of data is a line with Changed, schema, user, reason and key, with tabs between them; "
     "if all are blank, anything may have changed.",
     {{"SCHEMA", Words::Schema, false, true, "With --changes: the schemas; all without it"}},
     {{"--changes", "", Words::Any, "Print each committed change to data as well"}},
     {{"das watch --socket das.sock", "listens to the host at das.sock"},
      {"das watch --socket das.sock --changes PhoneBook",
       "prints each change to the contacts as well"}},
     {},
     runWatch,
     Data::OfHost},
    {"status",
     "Print what a running host has done since its start",
     "Requests by schema and reason, methods, times in microseconds, clients, listeners, bytes, "
     "and what the last upgrade did. --output prometheus prints it as a monitor reads it.",
     {},
     {OutputOption, PlainOption},
     {{"das status --socket das.sock", "asks the host at das.sock"}},
     {{ExitUsage, "wrong usage, or there is no host"}},
     runStatus,
     Data::OfHost},
    {"schemas",
     "List the schemas, or print all about one",
     "With a name: its table, users, key, default rows, reasons, columns and known settings, and "
     "what each means, a line each. Without one, a line a schema; a terminal gets only what each "
     "schema means. The options before --output print what messages look like, for other programs. "
     "Nothing is started.",
     {{"SCHEMA", Words::Schema, false, false, "A schema"}},
     {{"--xsd", "", Words::Any, "Print an XML schema of the requests to SCHEMA"},
      {"--answers", "", Words::Any, "Print an XML schema of its answers"},
      {"--json-schema", "", Words::Any,
       "Print a JSON schema of the rows that das read prints as JSON; without SCHEMA, of the "
       "remote methods"},
      {"--openrpc", "", Words::Any, "Print the remote methods as an OpenRPC document"},
      OutputOption,
      PlainOption},
     {{"das schemas", "lists all schemas"},
      {"das schemas PhoneBook --output json", "prints what the phone book has, as JSON"},
      {"das schemas PhoneBook --xsd", "prints how requests to the phone book look"},
      {"das schemas --json-schema", "prints how the remote methods are called"}},
     {},
     makeSchemasCommand,
     Data::Apart},
    {"read",
     "Read rows, or settings",
     "Values are shown as they are stored. A call log has a line for each call. A table shows the "
     "columns that people look for, without those that are blank in all rows; the other formats "
     "have all columns.",
     {SchemaArgument},
     {ContextOption,
      IdOption,
      {"--cols", "COLUMNS", Words::Columns,
       "Only these columns, or items of settings, with commas between them; '*' is all columns"},
      WhereOption,
      {"--offset", "N", Words::Any, "Leave out the first N rows"},
      {"--limit", "N", Words::Any, "Show at most N rows"},
      OutputOption,
      PlainOption},
     {{"das read FeatureKeys --id 100", "reads one key"},
      {"das read PhoneBook --cols Surname,Firstname,Office --limit 5 --output table",
       "reads some columns of the first contacts"}},
     {},
     makeReadCommand,
     Data::Read},
    {"set",
     "Set columns of a row, or items of settings",
     "Sends an update. Without --context the row is that of the current user. Contacts and call "
     "groups are named by --id or --where. NAME=@FILE and NAME=@- read a value from a file or "
     "standard input, where no other user sees it; write @@ for a first @.",
     {SchemaArgument, ValuesArgument},
     {ContextOption, IdOption, WhereOption},
     {{"das set FeatureKeys --id 100 Label=Mail", "labels a key"},
      {"das set Locale Language=de", "sets an item of the settings"},
      {"das set SipBaseSettings SIPpassword=@-", "takes the value from standard input"}},
     {},
     makeSetCommand,
     Data::Changed},
    {"write",
     "Write a new row, or replace one",
     "Columns that are not named become blank. A call is written with the columns of its row and "
     "of its items; a repeated column of an item begins the next item. NAME=@FILE and NAME=@- read "
     "a value from a file or standard input; write @@ for a first @.",
     {SchemaArgument, ValuesArgument},
     {ContextOption, OutputOption, PlainOption},
     {{"das write PhoneBook Surname=Amber Firstname=Zoe Office=+4989100", "adds a contact"}},
     {},
     makeWriteCommand,
     Data::Changed},
    {"delete",
     "Delete rows, or items of settings",
     "Rows are named by --id or --where, items of settings by their names. All rows of a user are "
     "deleted only with --all.",
     {SchemaArgument,
      {"ITEM", Words::Item, false, true, "Items of settings; each is deleted for every user"}},
     {ContextOption,
      IdOption,
      WhereOption,
      {"--all", "", Words::Any, "All rows of the user"},
      {"--yes", "", Words::Any, "With --all, do not ask"}},
     {{"das delete PhoneBook --where Surname=Amber", "deletes contacts of that name"},
      {"das delete Locale Language", "deletes an item of the settings"}},
     {},
     makeDeleteCommand,
     Data::Changed},
    {"search",
     "Find contacts by a telephone number",
     "Prints the contacts of the user that have exactly this number.",
     {{"NUMBER", Words::Any, true, false, "The number"}},
     {ContextOption, ContactLimit, OutputOption, PlainOption},
     {{"das search +49891000007", "finds who has this number"}},
     {},
     makeSearchCommand,
     Data::Read},
    {"find",
     "Find contacts by a part of a name, or by the end of a number",
     "Prints the contacts of the user whose name, company or e-mail holds the text, in capitals or "
     "not, or one of whose numbers ends with its digits, four at least. Blanks, brackets, dashes, "
     "slashes, dots and a leading +, 00 or 0 count for nothing in numbers.",
     {{"TEXT", Words::Any, true, false, "A part of a name, or a number"}},
     {ContextOption, ContactLimit, OutputOption, PlainOption},
     {{"das find abel", "finds contacts by their name"},
      {"das find '100 0007'", "finds contacts by the end of a number"}},
     {{ExitFailure, "no contact was found, or the service answered a failure"}},
     makeFindCommand,
     Data::Read},
    {"export",
     "Write the rows of a schema to a data file",
     "Rows that the form of data files can't carry, such as one with a line feed, are counted and "
     "left out; das read SCHEMA --output csv carries all.",
     {SchemaArgument, FileArgument},
     {{"--context", "USER", Words::User, "Rows of base or visitor; of all users without it"}},
     {{"das export PhoneBook book.csv --context base", "writes the contacts of base"},
      {"das export PhoneBook device:/tmp/book.csv", "writes all contacts to the telephone"}},
     {EndsByInterrupt},
     makeExportCommand,
     Data::Read},
    {"import",
     "Import rows from a CSV file",
     "A file whose first line names columns, as das read SCHEMA --output csv prints them, changes "
     "these columns of the rows that it numbers and adds the others. A data file replaces the rows "
     "of --context; without --context its rows replace those with the same key. The whole file is "
     "checked first, and its rows are stored all or none. Before most rows of a user are replaced, "
     "das asks.",
     {SchemaArgument, FileArgument},
     {{"--context", "USER", Words::User, "Whose rows: base or visitor"},
      {"--dry-run", "", Words::Any, "Say what the import would do, and change nothing"},
      {"--yes", "", Words::Any, "Do not ask"}},
     {{"das import PhoneBook device:/data/demo.csv --context base",
       "replaces the contacts of base by those of a file on the telephone"},
      {"das read PhoneBook --output csv | das import PhoneBook - --dry-run",
       "says what an import of all contacts would do"}},
     {EndsByInterrupt,
      {ExitUsage, "wrong usage, a wrong line in the file, or a socket that can't be used"}},
     makeImportCommand,
     Data::Changed},
    {"profile",
     "Print the current user, or change it",
     "A change in a running host lasts until that host ends; without --socket it is stored for the "
     "next start.",
     {{"USER", Words::User, false, false, "base or visitor"}},
     {OutputOption, PlainOption},
     {{"das profile", "prints the current user"}, {"das profile base", "changes it"}},
     {},
     makeProfileCommand,
     Data::Either},
    {"shell",
     "Talk to the service line by line",
     "Takes the commands that work on data, service words and requests in XML, with history and "
     "completion. \"help\" lists what it takes; Ctrl-C drops a line, \"quit\" and Ctrl-D end it.",
     {},
     {OutputOption, PlainOption},
     {{"echo read FeatureKeys --id 100 | das shell", "runs commands from a pipe"}},
     {},
     makeShellCommand,
     Data::Changed},
    {"trace",
     "Show the log of a running host as it comes",
     "Writes \"tracing\" to standard error once it listens, and goes on until the host ends. "
     "DAS_LOG shows the log of a command that starts the service itself.",
     {},
     {{"--level", "N", Words::Any,
       "Highest level shown: 2 failures, 3 SQL and lock errors, 5 information and SQL texts, 6 "
       "detail; 6 without it"},
      PlainOption},
     {{"das trace --socket das.sock --level 3", "shows what goes wrong in the host at das.sock"}},
     {{ExitUsage, "wrong usage, or there is no host"}},
     runTrace,
     Data::OfHost},
    {"check",
     "Look at the database for damage",
     "Looks at the file itself and changes nothing: integrity, missing tables, rows of no user, "
     "leftovers of broken upgrades, sizes. Says what to do next. Not for use with --socket.",
     {},
     {OutputOption, PlainOption},
     {{"das check", "looks at phone.db"}},
     {{ExitFailure, "the database has a fault"}},
     runCheck,
     Data::OfFile},
    {"backup",
     "Copy the database and its key to a new folder",
     "Also while a host runs: the copy is the state after its last commit, and a commit is waited "
     "for, five seconds at most. Folder and files are for their owner alone. Not for use with "
     "--socket.",
     {{"DIR", Words::Folder, true, false, "The folder to make"}},
     {},
     {{"das backup backup", "makes the folder backup"}},
     {{ExitFailure, "the database could not be copied, and no folder was made"}},
     runBackup,
     Data::OfFile},
    {"restore",
     "Put a backup in the place of the database",
     "For use while no host runs. The backup is checked first. What was there, with its journal, "
     "goes to a folder before-restore-TIME next to it; then key and database are put in place. Not "
     "for use with --socket.",
     {{"DIR", Words::Folder, true, false, "A folder that das backup made"}},
     {},
     {{"das backup copy && das restore copy", "saves and restores the telephone"}},
     {{ExitFailure, "the backup has a fault, or a file could not be moved"},
      {ExitUsage, "wrong usage, no backup in the folder, or a host runs"}},
     runRestore,
     Data::OfFiles},
    {"diff",
     "Compare two databases cell by cell",
     "Prints a line for each cell that differs: table, key of the row, column, old and new value, "
     "with tabs between them. A NULL is \\N, a row or column that is not there \\-, a backslash "
     "stands doubled, control characters are escaped, and secrets are *****.",
     {{"DIR1", Words::Folder, true, false, "The folder of the older database"},
      {"DIR2", Words::Folder, true, false, "The folder of the newer one"}},
     {},
     {{"das diff $DB_PATH $DB_PATH", "compares a database with itself"}},
     {{ExitSuccess, "they are alike"},
      {ExitFailure, "they differ"},
      {ExitUsage, "wrong usage, or a database that can't be read"}},
     runDiff,
     Data::OfFiles},
    {"rehearse",
     "Show what the next start would change in the database",
     "Starts the service on a copy of the database and of the telephone's files, and prints what "
     "the upgrade changes, as das diff does. Failures that it logs, and how long it takes, are on "
     "standard error. The originals are opened for reading only. Not for use with --socket.",
     {},
     {},
     {{"das rehearse", "shows what an upgrade would do"}},
     {{ExitFailure, "a step of the upgrade failed"}},
     runRehearse,
     Data::OfFile},
    {"demo",
     "Make a telephone to play with",
     "In a new folder: a database with 200 contacts, calls and labelled keys, and the files of a "
     "telephone; the same each time. Prints what a shell needs to use it: eval \"$(das demo "
     "DIR)\".",
     {{"DIR", Words::Folder, true, false, "A folder that is missing or empty"}},
     {},
     {{"das demo telephone", "makes the folder telephone"}},
     {},
     runDemo,
     Data::Apart},
    {"help",
     "Print the help of das or of a command",
     "The manual page is made from the same table as the help.",
     {{"COMMAND", Words::Command, false, false, "A command"}},
     {{"--man", "", Words::Any, "Print the manual page"}},
     {{"das help read", "prints the help of das read"}},
     {},
     runHelp,
     Data::Apart},
};

const std::vector<Option> CommonOptions = {
    {"--db", "DIR", Words::Folder, "Directory of phone.db (DB_PATH)"},
    {"--root", "DIR", Words::Folder, "Root of the telephone's files (DAS_ROOT)"},
    {"--socket", "PATH", Words::File,
     "Socket of a running host, which then does the work (DAS_SOCKET)"},
};

const std::vector<Exit> CommonExits = {
    {ExitSuccess, "all went well"},
    {ExitFailure, "the service answered a failure, or an answer could not be written"},
    {ExitUsage, "wrong usage, input that can't be read, or a socket that can't be used"},
    {ExitNoLibrary, "the service library can't be loaded"},
};

const std::vector<Variable> Environment = {
    {"DB_PATH", "directory of phone.db"},
    {"DAS_SOCKET", "socket of a running host, for commands without --db and DB_PATH"},
    {"DAS_ROOT", "root of the telephone's files"},
    {"DAS_LOG", "highest level of the log on standard error; 2 when unset"},
    {"DAS_HARDWARE", "the model: words such as subvariant=3, joined by commas"},
    {"DAS_WITHOUT", "services that are not there, joined by commas"},
    {"DAS_DISK_USAGE", "how full the disk counts, in percent"},
    {"NO_COLOR", "no colours, when set"},
    {"COLUMNS", "width of a terminal that does not report its own"},
};

}  // namespace

const std::vector<Row>& CommandTable::rows() {
    return Rows;
}

const std::vector<Option>& CommandTable::commonOptions() {
    return CommonOptions;
}

const std::vector<Variable>& CommandTable::environment() {
    return Environment;
}

std::vector<std::string> CommandTable::names() {
    std::vector<std::string> names;
    for (const Row& row : Rows) {
        names.emplace_back(row.name);
    }
    return names;
}

const Row* CommandTable::find(const std::string& name) {
    const auto found =
        std::find_if(Rows.begin(), Rows.end(), [&](const Row& row) { return row.name == name; });
    return found != Rows.end() ? &*found : nullptr;
}

// A row replaces the common meaning of a status where its command differs, and adds its own
// statuses.
std::vector<Exit> CommandTable::exitsOf(const Row& row) {
    std::vector<Exit> exits = CommonExits;
    for (const Exit& exit : row.exits) {
        const auto same = std::find_if(exits.begin(), exits.end(), [&](const Exit& each) {
            return each.status == exit.status;
        });
        if (same != exits.end()) {
            *same = exit;
        } else {
            exits.push_back(exit);
        }
    }
    return exits;
}
