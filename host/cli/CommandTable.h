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
 */
namespace CommandTable {

/// What may stand in a place of the command line, for completion and for near misses.
enum class Words {
    Any,
    Schema,
    Method,
    Assignment,  ///< NAME=VALUE, the name being a column or a parameter
    User,
    Format,
    Command,
    File,
    Folder
};

struct Argument {
    const char* name;
    Words words;
    bool isRequired;
    bool isRepeated;
    const char* text;  ///< what it is, as in help
};

struct Option {
    const char* name;   ///< with its dashes
    const char* value;  ///< what stands for its value in help; empty for a flag
    Words words;
    const char* text;
};

/// A command line that works as it stands, in the folder of "das demo DIR", and what it does.
struct Example {
    const char* line;
    const char* text;
};

struct Exit {
    int status;
    const char* text;
};

/// Where the data of a command is, and what becomes of a database that is missing.
enum class Data {
    Changed,  ///< with the service, which is looked for and makes a missing database
    Read,     ///< with the service, which is looked for; a missing database is an error
    OfFile,   ///< in the database's file, without a host; a missing database is an error
    OfFiles,  ///< in files that the command itself looks for, without a host
    OfHost,   ///< with a running host, which is looked for
    Apart     ///< nowhere, or where the command itself looks
};

/// What carries out a command: a function, or an object that talks to the service in one session.
using Run = int (*)(const HostOptions& options, const Arguments& arguments);
using Make = std::unique_ptr<SessionCommand> (*)();

struct Row {
    const char* name;
    const char* summary;
    const char* description;  ///< what is to be known beyond the summary
    std::vector<Argument> arguments;
    std::vector<Option> options;
    std::vector<Example> examples;
    std::vector<Exit> exits;  ///< those that differ from, or add to, those of every command
    std::variant<Run, Make> action;
    Data data;
    std::string (*more)() = nullptr;  ///< what stands at the end of the help after all that
};

/// All commands, in the order of the help.
const std::vector<Row>& rows();
std::vector<std::string> names();

/// The command of that name, or null.
const Row* find(const std::string& name);

/// Options of every command; they stand before or after it.
const std::vector<Option>& commonOptions();

/// All options that @p row takes besides the common ones.
inline const std::vector<Option>& optionsOf(const Row& row) {
    return row.options;
}

/// What the exit statuses of @p row mean, in their order.
std::vector<Exit> exitsOf(const Row& row);

/// What is to be known of the environment: name and meaning.
struct Variable {
    const char* name;
    const char* text;
};
const std::vector<Variable>& environment();

}  // namespace CommandTable

#endif
