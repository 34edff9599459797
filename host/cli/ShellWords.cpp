// The kinds of words stand in the table of commands, so that the shell completes what bash
// completes.

#include "cli/ShellWords.h"

#include <algorithm>

#include "cli/Command.h"
#include "cli/CommandTable.h"
#include "schemas/KnownSchemas.h"
#include "wire/Methods.h"

namespace {

using CommandTable::Row;
using CommandTable::Words;
using Names = std::vector<std::string>;

/// The names that an assignment may begin with: columns of the schema, or parameters of the method,
/// that stands first on the line.
Names assignments(const std::string& subject) {
    Names names;
    if (const auto* const schema = KnownSchemas::find(subject)) {
        for (const auto* elements : {&schema->elements, &schema->itemElements}) {
            names.insert(names.end(), elements->begin(), elements->end());
        }
    } else if (const auto* const method = Methods::find(subject)) {
        for (const Methods::Value& in : method->of(Parameter::in)) {
            names.emplace_back(in.name);
        }
    }
    for (std::string& name : names) {
        name += "=";
    }
    return names;
}

Names candidatesFor(Words kind, const std::string& subject) {
    switch (kind) {
        case Words::Schema:
            return KnownSchemas::names();
        case Words::Method:
            return Methods::names();
        case Words::Assignment:
            return assignments(subject);
        case Words::User:
            return {"base", "visitor"};
        case Words::Format:
            return {"raw", "json", "table", "csv"};
        case Words::Command:
            return ShellWords::commands();
        default:
            return {};
    }
}

/// The option @p word, if it is one that takes a value.
const CommandTable::Option* findOption(const std::string& word,
                                       const std::vector<CommandTable::Option>& options) {
    const auto found = std::find_if(
        options.begin(), options.end(),
        [&](const CommandTable::Option& each) { return word == each.name && *each.value != 0; });
    return found == options.end() ? nullptr : &*found;
}

/// The words that are arguments: neither options nor their values.
Names argumentsOf(const Names& words, const std::vector<CommandTable::Option>& options) {
    Names arguments;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i].rfind("--", 0) != 0) {
            arguments.push_back(words[i]);
        } else if (findOption(words[i], options) != nullptr) {
            ++i;
        }
    }
    return arguments;
}

}  // namespace

// A word may be empty, by quotes, so whether one has begun is kept apart from its text.
bool ShellWords::split(const std::string& line, std::vector<std::string>& words) {
    std::string word;
    char quote = 0;
    bool isWord = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char character = line[i];
        const bool isBlank = character == ' ' || character == '\t';
        if (quote != 0 && character == quote) {
            quote = 0;
        } else if (quote == 0 && (character == '\'' || character == '"')) {
            quote = character;
            isWord = true;
        } else if (quote == 0 && isBlank) {
            if (isWord) {
                words.push_back(word);
            }
            word.clear();
            isWord = false;
        } else {
            i += character == '\\' && quote != '\'' && i + 1 < line.size() ? 1 : 0;
            word += line[i];
            isWord = true;
        }
    }
    if (isWord) {
        words.push_back(word);
    }
    return quote == 0;
}

std::vector<std::string> ShellWords::commands() {
    Names names;
    for (const Row& row : CommandTable::rows()) {
        const bool isShell = std::string(row.name) == "shell";
        if (!isShell && std::holds_alternative<CommandTable::Make>(row.action)) {
            names.emplace_back(row.name);
        }
    }
    names.insert(names.end(), {"help", "quit"});
    return names;
}

std::vector<std::string> ShellWords::candidates(const std::string& line) {
    Names words;
    if (!split(line, words)) {
        return {};
    }
    const Row* const row = words.empty() ? nullptr : CommandTable::find(words.front());
    if (row == nullptr) {
        return words.empty() ? commands() : Names();
    }
    const auto& options = CommandTable::optionsOf(*row);
    const Names arguments = argumentsOf(words, options);
    const std::string subject = arguments.empty() ? "" : arguments.front();
    if (const auto* const option = findOption(words.back(), options)) {
        return candidatesFor(option->words, subject);
    }
    Names names;
    if (!row->arguments.empty()) {
        const std::size_t place = std::min(arguments.size(), row->arguments.size() - 1);
        if (place == arguments.size() || row->arguments[place].isRepeated) {
            names = candidatesFor(row->arguments[place].words, subject);
        }
    }
    for (const CommandTable::Option& option : options) {
        names.emplace_back(option.name);
    }
    return names;
}
