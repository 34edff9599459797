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
 * So a new command is a row here and its function in commands/; a new option is a line in a row,
 * and everything that lists options has it. Texts are shown as they are, with a full stop added to
 * a summary where it stands alone.
 */
namespace CommandTable {

/// What may stand in a place of the command line, for completion and for near misses.
enum class Words {
    Any,
    Schema,
    Method,
    Assignment,  ///< NAME=VALUE, the name being a column or a parameter
    Columns,     ///< names of columns, or of items of settings, with commas between them
    Item,        ///< an item of settings
    User,
    Format,
    Command,
    File,
    Folder
};

/// An argument without a dash, by its place.
struct Argument {
    const char* name;
    Words words;
    bool isRequired;   ///< the command does not run without it
    bool isRepeated;   ///< takes all further ones; only the last argument can
    const char* text;  ///< what it is, as in help
};

/// An option with two dashes.
struct Option {
    const char* name;   ///< with its dashes
    const char* value;  ///< what stands for its value in help; empty for a flag
    Words words;
    const char* text;
    bool isRepeated = false;  ///< may stand more than once; others are refused the second time
};

/// A command line that works as it stands, in the folder of "das demo DIR", and what it does.
struct Example {
    const char* line;  ///< as it is typed into a shell
    const char* text;
};

/// What an exit status means.
struct Exit {
    int status;
    const char* text;
};

/// Where the data of a command is, and what becomes of a database that is missing.
enum class Data {
    Changed,  ///< with the service, which is looked for and makes a missing database
    Read,     ///< with the service, which is looked for; a missing database is an error
    Either,   ///< changed if the command has an argument, else read
    OfFile,   ///< in the database's file, without a host; a missing database is an error
    OfFiles,  ///< in files that the command itself looks for, without a host
    OfHost,   ///< with a running host, which is looked for
    Apart     ///< nowhere, or where the command itself looks
};

/// What carries out a command: a function, or an object that talks to the service in one session.
using Run = int (*)(const HostOptions& options, const Arguments& arguments);
using Make = std::unique_ptr<SessionCommand> (*)();

/// A command.
struct Row {
    const char* name;
    const char* summary;      ///< one line, for the list of commands
    const char* description;  ///< what is to be known beyond the summary
    std::vector<Argument> arguments;
    std::vector<Option> options;
    std::vector<Example> examples;  ///< tests run them
    std::vector<Exit> exits;        ///< those that differ from, or add to, those of every command
    std::variant<Run, Make> action;
    Data data;
    std::string (*more)() = nullptr;  ///< what stands at the end of the help after all that
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
