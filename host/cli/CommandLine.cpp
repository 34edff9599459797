// The parser only collects. Each command checks its own arguments, and also refuses an option that
// is given twice, so all values are kept.

#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "cli/Completion.h"
#include "cli/HelpText.h"
#include "cli/Version.h"
#include "terminal/Complaint.h"
#include "terminal/NearMisses.h"

namespace {

using CommandTable::Row;

/// What the parser found for one command, in the order of its arguments and options in the table.
struct Found {
    const Row* row;
    CLI::App* app;
    std::vector<std::vector<std::string>> arguments;
    std::vector<std::vector<std::string>> options;
};

void declare(CLI::App& app, const CommandTable::Option& option, std::vector<std::string>& values) {
    if (*option.value == 0) {
        app.add_flag(option.name);
        return;
    }
    app.add_option(option.name, values)
        ->type_name(option.value)
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
}

/// The names of arguments are for people: the parser has names of its own.
void declareCommand(CLI::App& app, Found& found) {
    const auto& arguments = found.row->arguments;
    const auto& options = CommandTable::optionsOf(*found.row);
    found.app = app.add_subcommand(found.row->name, found.row->summary);
    found.arguments.resize(arguments.size());
    found.options.resize(options.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        auto* const taken =
            found.app->add_option("argument" + std::to_string(i), found.arguments[i]);
        if (!arguments[i].isRepeated) {
            // Otherwise the parser would split "[a,b]" into two values.
            taken->expected(1)->allow_extra_args(false);
        }
    }
    for (std::size_t i = 0; i < options.size(); ++i) {
        declare(*found.app, options[i], found.options[i]);
    }
}

void declareCommon(CLI::App& app, HostOptions& options) {
    app.add_option("--db", options.db)->type_name("DIR");
    app.add_option("--root", options.root)->type_name("DIR");
    app.add_option("--socket", options.socket)->type_name("PATH");
    app.set_version_flag("--version", "");
}

void take(const Found& found, Arguments& arguments) {
    for (std::size_t i = 0; i < found.arguments.size(); ++i) {
        for (const std::string& value : found.arguments[i]) {
            arguments.add(found.row->arguments[i].name, value);
        }
    }
    const auto& options = CommandTable::optionsOf(*found.row);
    for (std::size_t i = 0; i < options.size(); ++i) {
        for (const std::string& value : found.options[i]) {
            arguments.add(options[i].name, value);
        }
        if (*options[i].value == 0 && found.app->count(options[i].name) > 0) {
            arguments.add(options[i].name, "");
        }
    }
}

/// The options that are allowed with @p row, or without a command if that is null.
std::vector<CommandTable::Option> optionsWith(const Row* row) {
    std::vector<CommandTable::Option> options = CommandTable::commonOptions();
    if (row != nullptr) {
        options.insert(options.end(), row->options.begin(), row->options.end());
    }
    return options;
}

std::vector<std::string> optionNames(const Row* row) {
    std::vector<std::string> names = {"--help", "--version"};
    for (const auto& option : optionsWith(row)) {
        names.emplace_back(option.name);
    }
    return names;
}

std::string nameOf(const Row* row) {
    return row == nullptr ? "das" : std::string("das ") + row->name;
}

/// The option that may have @p word, which is unexpected, as its value; blank if there is no such
/// option.
std::string optionFor(const std::string& word, const Row& row) {
    const bool isPair = word.find('=') != std::string::npos;
    const bool isNumber = word.find_first_not_of("0123456789") == std::string::npos;
    const std::string name = isPair ? "--where" : isNumber ? "--id" : "";
    const bool isTaken = std::any_of(row.options.begin(), row.options.end(),
                                     [&](const auto& option) { return option.name == name; });
    return isTaken ? name + " " + word : "";
}

/// Reports @p word, which is neither an option nor an argument of the command.
void tellOfStranger(const std::string& word, const Row* row) {
    if (!word.empty() && word[0] == '-') {
        Complaint::report(
            word + ": " + nameOf(row) + " has no such option",
            NearMisses::question(word, optionNames(row),
                                 row == nullptr
                                     ? "das help lists them"
                                     : "das help " + std::string(row->name) + " lists them"));
    } else if (row == nullptr) {
        Complaint::report(word + ": no such command",
                          NearMisses::question(word, CommandTable::names(), "das help lists them"));
    } else {
        const std::string meant = optionFor(word, *row);
        Complaint::report(word + ": unexpected argument",
                          meant.empty() ? "the usage is " + HelpText::usage(*row)
                                        : "did you mean " + meant + "?");
    }
}

/// The parser has a message of its own for an option without its value.
std::string wordsOf(const CLI::ParseError& error, const Row* row) {
    const std::string words = error.what();
    for (const auto& option : optionsWith(row)) {
        if (words == std::string(option.name) + ": 1 required " + option.value + " missing") {
            return std::string(option.name) + ": " + option.value + " is missing";
        }
    }
    return words;
}

/// An unexpected word is reported before any other error, because other errors may result from it.
int tellError(const CLI::App& app, const CLI::ParseError& error, const Row* row) {
    const auto strangers = app.remaining(true);
    if (!strangers.empty()) {
        tellOfStranger(strangers.front(), row);
    } else if (row == nullptr && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        Complaint::report("a command is required", "das help lists them");
    } else {
        Complaint::report((row == nullptr ? "" : std::string(row->name) + ": ") +
                          wordsOf(error, row));
    }
    return ExitUsage;
}

}  // namespace

std::optional<int> CommandLine::parse(const std::vector<std::string>& words, std::string& text) {
    if (words.empty()) {
        text = HelpText::ofAll();
        return ExitSuccess;
    }
    if (words.front() == "--complete" && words.size() == 2) {
        text = Completion::answer(words.back());
        return ExitSuccess;
    }
    CLI::App app("", "das");
    app.require_subcommand(1);
    app.fallthrough();  // options for every command may also follow the command's own options
    declareCommon(app, m_options);
    std::vector<Found> all;
    all.reserve(CommandTable::rows().size());
    // The parser gets pointers into this vector, so it must not grow.
    for (const Row& row : CommandTable::rows()) {
        all.push_back({&row, nullptr, {}, {}});
        declareCommand(app, all.back());
    }
    const auto parsed = [&] {
        return std::find_if(all.begin(), all.end(),
                            [](const Found& each) { return each.app->parsed(); });
    };
    const auto row = [&] { return parsed() == all.end() ? nullptr : parsed()->row; };
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        text = row() == nullptr ? HelpText::ofAll() : HelpText::of(*row());
        return ExitSuccess;
    } catch (const CLI::CallForVersion&) {
        text = versionText() + "\n";
        return ExitSuccess;
    } catch (const CLI::ParseError& error) {
        return tellError(app, error, row());
    }
    m_row = row();
    take(*parsed(), m_arguments);
    if (m_options.db && m_options.db->empty()) {
        Complaint::report("--db: the name of the folder is empty");
        return ExitUsage;
    }
    return checkRequired();
}

std::optional<int> CommandLine::checkRequired() const {
    for (const auto& argument : m_row->arguments) {
        if (argument.isRequired && !m_arguments.has(argument.name)) {
            Complaint::report(std::string(argument.name) + " is missing",
                              "the usage is " + HelpText::usage(*m_row));
            return ExitUsage;
        }
    }
    return std::nullopt;
}
