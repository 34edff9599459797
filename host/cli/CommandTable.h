#ifndef COMMANDTABLE_H
#define COMMANDTABLE_H

#include <memory>
#include <string>
#include <vector>

class Command;

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
    Columns,     ///< names of columns, or of items of settings, with commas between them
    Item,        ///< an item of settings
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
    OfHost,   ///< with a running host, which is looked for
    Apart     ///< nowhere, or where the command itself looks
};

struct Row {
    const char* name;
    const char* summary;
    const char* description;  ///< what is to be known beyond the summary
    std::vector<Argument> arguments;
    std::vector<Option> options;
    bool printsData;  ///< whether it takes the options of dataOptions() as well
    std::vector<Example> examples;
    std::vector<Exit> exits;  ///< those that differ from, or add to, commonExits()
    std::unique_ptr<Command> (*make)();
    std::string (*more)() = nullptr;  ///< what stands at the end of the help beside all that
    Data data = Data::Changed;
};

/// All commands, in the order of the help.
const std::vector<Row>& rows();

/// The command of that name, or null.
const Row* find(const std::string& name);

/// Options of every command; they stand before or behind it.
const std::vector<Option>& commonOptions();

/// Options of each command that prints data.
const std::vector<Option>& dataOptions();

/// All options that @p row takes beside the common ones.
std::vector<Option> optionsOf(const Row& row);

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
