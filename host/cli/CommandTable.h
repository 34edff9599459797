#ifndef COMMANDTABLE_H
#define COMMANDTABLE_H

#include <memory>
#include <string>
#include <variant>
#include <vector>

class Arguments;
class SessionCommand;
struct HostOptions;

/**
 * The commands of das as data: the parser with its help, the manual page and the completion of the
 * shell are all made from these rows, and from nothing else.
 *
 * To add a command, add a row here and its function in commands/. To add an option, add a line to a
 * row; all lists of options then show it. Texts are shown unchanged, except that a summary that is
 * shown alone gets a full stop.
 */
namespace CommandTable {

/// What kind of word is expected at a position of the command line, for completion and for
/// suggestions.
enum class Words {
    Any,
    Schema,
    Method,
    Assignment,  ///< NAME=VALUE, where NAME is a column or a parameter
    Columns,     ///< names of columns, or of items of settings, with commas between them
    Item,        ///< an item of settings
    User,
    Format,
    Command,
    File,
    Folder
};

/// An argument without a dash, identified by its position.
struct Argument {
    const char* name;
    Words words;
    bool isRequired;   ///< the command does not run without it
    bool isRepeated;   ///< takes all further words; allowed only for the last argument
    const char* text;  ///< what it is, as in help
};

/// An option with two dashes.
struct Option {
    const char* name;   ///< including its dashes
    const char* value;  ///< placeholder of its value in help; empty for a flag
    Words words;
    const char* text;
};

/// A command line that works as it is in the folder of "das demo DIR", and its explanation.
struct Example {
    const char* line;  ///< as a user types it into a shell
    const char* text;
};

/// What an exit status means.
struct Exit {
    int status;
    const char* text;
};

/// Where a command finds its data, and what happens if the database is missing.
enum class Data {
    Changed,  ///< in a service, which is searched for; a missing database is created
    Read,     ///< in a service, which is searched for; a missing database is an error
    Either,   ///< like Changed if the command has an argument, else like Read
    OfFile,   ///< in the database's file, without a host; a missing database is an error
    OfFiles,  ///< in files that the command itself looks for, without a host
    OfHost,   ///< in a running host, which is searched for
    Apart     ///< nowhere, or at a place that the command itself knows
};

/// The code of a command: a function, or an object that talks to the service in one session.
using Run = int (*)(const HostOptions& options, const Arguments& arguments);
using Make = std::unique_ptr<SessionCommand> (*)();

/// A command.
struct Row {
    const char* name;
    const char* summary;      ///< one line, for the list of commands
    const char* description;  ///< more than the summary, for the help of the command
    std::vector<Argument> arguments;
    std::vector<Option> options;
    std::vector<Example> examples;  ///< tests run them
    std::vector<Exit> exits;        ///< statuses that differ from those of every command, or are
                                    ///< added to them
    std::variant<Run, Make> action;
    Data data;
    std::string (*more)() = nullptr;  ///< returns text for the end of the help
};

/// All commands, in the order of the help.
const std::vector<Row>& rows();
/// Their names, for near misses.
std::vector<std::string> names();

/// The command of that name, or null.
const Row* find(const std::string& name);

/// Options of every command; they stand before or after it.
const std::vector<Option>& commonOptions();

/// All options that @p row takes besides the common ones.
inline const std::vector<Option>& optionsOf(const Row& row) {
    return row.options;
}

/// All exit statuses of @p row with their meanings, in order.
std::vector<Exit> exitsOf(const Row& row);

/// An environment variable: name and meaning.
struct Variable {
    const char* name;
    const char* text;
};
const std::vector<Variable>& environment();

}  // namespace CommandTable

#endif
