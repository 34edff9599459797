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

/// What the parser found of one command, in the order of its arguments and options in the table.
struct Found {
    const Row* row;
    CLI::App* app;
    std::vector<std::vector<std::string>> arguments;
    std::vector<std::string> singles;  ///< of an argument that is not repeated
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
std::string nameOf(std::size_t argument) {
    return "argument" + std::to_string(argument);
}

void declareCommand(CLI::App& app, Found& found) {
    const Row& row = *found.row;
    found.app = app.add_subcommand(row.name, row.summary);
    found.arguments.resize(row.arguments.size());
    found.singles.resize(row.arguments.size());
    for (std::size_t i = 0; i < row.arguments.size(); ++i) {
        const std::string name = nameOf(i);
        if (row.arguments[i].isRepeated) {
            found.app->add_option(name, found.arguments[i]);
        } else {
            found.app->add_option(name, found.singles[i]);
        }
    }
    const auto options = CommandTable::optionsOf(row);
    found.options.resize(options.size());
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
        if (!found.row->arguments[i].isRepeated && found.app->count(nameOf(i)) > 0) {
            arguments.add(found.row->arguments[i].name, found.singles[i]);
        }
        for (const std::string& value : found.arguments[i]) {
            arguments.add(found.row->arguments[i].name, value);
        }
    }
    const auto options = CommandTable::optionsOf(*found.row);
    for (std::size_t i = 0; i < options.size(); ++i) {
        for (const std::string& value : found.options[i]) {
            arguments.add(options[i].name, value);
        }
        if (*options[i].value == 0 && found.app->count(options[i].name) > 0) {
            arguments.add(options[i].name, "");
        }
    }
}

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const Row& row : CommandTable::rows()) {
        names.emplace_back(row.name);
    }
    return names;
}

std::vector<std::string> optionNames(const Row* row) {
    std::vector<std::string> names = {"--help", "--version"};
    for (const auto& option : CommandTable::commonOptions()) {
        names.emplace_back(option.name);
    }
    if (row != nullptr) {
        for (const auto& option : CommandTable::optionsOf(*row)) {
            names.emplace_back(option.name);
        }
    }
    return names;
}

std::string nameOf(const Row* row) {
    return row == nullptr ? "das" : std::string("das ") + row->name;
}

/// Tells of the first word that nothing could be made of.
void tellOfStranger(const std::string& word, const Row* row) {
    if (!word.empty() && word[0] == '-') {
        Complaint::tell(word + ": " + nameOf(row) + " has no such option",
                        NearMisses::question(
                            word, optionNames(row),
                            row == nullptr ? "das help lists them"
                                           : "das help " + std::string(row->name) + " lists them"));
    } else if (row == nullptr) {
        Complaint::tell(word + ": no such command",
                        NearMisses::question(word, commandNames(), "das help lists them"));
    } else {
        Complaint::tell(word + ": unexpected argument", "the usage is " + HelpText::usage(*row));
    }
}

/// An option without its value is told by the parser in words of its own.
std::string wordsOf(const CLI::ParseError& error, const Row* row) {
    const std::string words = error.what();
    auto options = CommandTable::commonOptions();
    if (row != nullptr) {
        const auto own = CommandTable::optionsOf(*row);
        options.insert(options.end(), own.begin(), own.end());
    }
    for (const auto& option : options) {
        if (words == std::string(option.name) + ": 1 required " + option.value + " missing") {
            return std::string(option.name) + ": " + option.value + " is missing";
        }
    }
    return words;
}

int tellError(const CLI::App& app, const CLI::ParseError& error, const Row* row) {
    const auto strangers = app.remaining(true);
    if (!strangers.empty()) {
        tellOfStranger(strangers.front(), row);
    } else if (row == nullptr && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        Complaint::tell("a command is required", "das help lists them");
    } else {
        Complaint::tell((row == nullptr ? "" : std::string(row->name) + ": ") + wordsOf(error, row));
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
    app.fallthrough();
    declareCommon(app, m_options);
    std::vector<Found> all;
    all.reserve(CommandTable::rows().size());
    for (const Row& row : CommandTable::rows()) {
        all.push_back({&row, nullptr, {}, {}, {}});
        declareCommand(app, all.back());
    }
    const auto findParsed = [&]() -> const Found* {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [](const Found& each) { return each.app->parsed(); });
        return found == all.end() ? nullptr : &*found;
    };
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        const Found* const found = findParsed();
        text = found == nullptr ? HelpText::ofAll() : HelpText::of(*found->row);
        return ExitSuccess;
    } catch (const CLI::CallForVersion&) {
        text = versionText() + "\n";
        return ExitSuccess;
    } catch (const CLI::ParseError& error) {
        const Found* const found = findParsed();
        return tellError(app, error, found == nullptr ? nullptr : found->row);
    }
    m_row = findParsed()->row;
    take(*findParsed(), m_arguments);
    if (m_options.db && m_options.db->empty()) {
        Complaint::tell("--db: the name of the folder is empty");
        return ExitUsage;
    }
    return checkRequired();
}

std::optional<int> CommandLine::checkRequired() const {
    for (const auto& argument : m_row->arguments) {
        if (argument.isRequired && !m_arguments.has(argument.name)) {
            Complaint::tell(std::string(argument.name) + " is missing",
                            "the usage is " + HelpText::usage(*m_row));
            return ExitUsage;
        }
    }
    return std::nullopt;
}
