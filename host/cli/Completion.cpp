// What may come next depends on the words before the cursor, in three steps: which command it is,
// at which of its arguments the cursor is, and which words fit there. The command table answers the
// first two; only the third is code, one function for each kind of word.

#include "cli/Completion.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "cli/CommandTable.h"
#include "cli/ShellWords.h"
#include "cli/StoredItems.h"
#include "client/HostOptions.h"
#include "schemas/RequestText.h"
#include "schemas/Sentences.h"
#include "wire/Methods.h"

const char* const Completion::Files = ":files";
const char* const Completion::Folders = ":folders";

namespace {

using CommandTable::Option;
using CommandTable::Row;
using CommandTable::Words;
using Completion::Candidate;
using Candidates = std::vector<Candidate>;
using Names = std::vector<std::string>;

const Candidates Users = {{"base", "The owner of the telephone"},
                          {"visitor", "A user who has logged on to it"}};
const Candidates Truths = {{"true", ""}, {"false", ""}};
const Candidates Formats = {{"raw", "The answer as the service sends it"},
                            {"json", "A list of objects"},
                            {"table", "Aligned columns"},
                            {"csv", "Comma-separated values with a line of names"}};

/// A command line up to the unfinished word, and the kinds of words that are expected there.
struct Line {
    const Row* row = nullptr;
    std::vector<Option> options;
    std::optional<Option> open;  ///< the option whose value comes next
    Names arguments;
    const Completion::Items& items;
    Candidates commands;
    bool isWrong = false;

    std::string subject() const { return arguments.empty() ? "" : arguments.front(); }
};

bool beginsWith(const std::string& text, const std::string& begin) {
    return text.compare(0, begin.size(), begin) == 0;
}

const Option* findValued(const std::vector<Option>& options, const std::string& name) {
    const auto found = std::find_if(options.begin(), options.end(), [&](const Option& each) {
        return name == each.name && *each.value != 0;
    });
    return found == options.end() ? nullptr : &*found;
}

void readWord(Line& line, const std::string& word) {
    if (line.open) {
        line.open.reset();
    } else if (beginsWith(word, "--")) {
        if (const Option* const option = findValued(line.options, word)) {
            line.open = *option;
        }
    } else if (line.row != nullptr) {
        line.arguments.push_back(word);
    } else {
        line.row = CommandTable::find(word);
        line.isWrong = line.row == nullptr;
        const auto own = line.row == nullptr ? line.options : CommandTable::optionsOf(*line.row);
        line.options.insert(line.options.begin(), own.begin(), own.end());
    }
}

Candidates commandsOf(const Names& names) {
    Candidates found;
    for (const Row& row : CommandTable::rows()) {
        if (names.empty() || std::find(names.begin(), names.end(), row.name) != names.end()) {
            found.push_back({row.name, row.summary});
        }
    }
    return found;
}

/// Columns of a schema, or items of settings that are known or stored. @p ending is added to each.
Candidates columnsOf(const KnownSchemas::Entry& schema, const Completion::Items& items,
                     const std::string& ending) {
    Candidates found;
    for (const auto* elements : {&schema.elements, &schema.itemElements}) {
        for (const std::string& name : *elements) {
            found.push_back({name + ending, Sentences::ofColumn(schema, name)});
        }
    }
    if (RequestText::formOf(schema) != RequestText::Form::Settings) {
        return found;
    }
    Names known;
    for (const Sentences::Setting& each : Sentences::settingsOf(schema.name)) {
        known.push_back(each.name);
        found.push_back({each.name + ending, each.text});
    }
    for (const std::string& name : items(schema)) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            found.push_back({name + ending, "An item that is stored"});
        }
    }
    return found;
}

Candidates schemas() {
    Candidates found;
    for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
        found.push_back({each.name, Sentences::ofSchema(each.name)});
    }
    return found;
}

Candidates methods() {
    Candidates found;
    for (const Methods::Row& each : Methods::all()) {
        found.push_back({each.name, each.text});
    }
    return found;
}

Candidates parametersOf(const Methods::Row& method) {
    Candidates found;
    for (const Methods::Value& each : method.of(Parameter::in)) {
        found.push_back({std::string(each.name) + "=", each.text});
    }
    return found;
}

/// The possible values of the parameter or the column @p name, if there are only a few.
Candidates valuesOf(const Line& line, const std::string& name) {
    if (const auto* const method = Methods::find(line.subject())) {
        if (method->access.place == Methods::Place::Parameter && name == method->access.name) {
            return schemas();
        }
        for (const Methods::Value& each : method->of(Parameter::in)) {
            if (name == each.name && each.type == Parameter::Type::Bool) {
                return Truths;
            }
        }
    } else if (const auto* const schema = KnownSchemas::find(line.subject())) {
        for (const KnownSchemas::Column& each : schema->columns) {
            const bool isTruth = !each.defaults.empty() && (each.defaults.front() == "true" ||
                                                            each.defaults.front() == "false");
            if (name == each.name && isTruth) {
                return Truths;
            }
        }
    }
    return {};
}

Candidates prefixed(const std::string& prefix, Candidates candidates) {
    for (Candidate& each : candidates) {
        each.word.insert(0, each.word[0] == ':' ? "" : prefix);
    }
    return candidates;
}

Candidates assignmentsOf(const Line& line, const std::string& current) {
    const std::size_t end = current.find('=');
    if (end != std::string::npos) {
        return prefixed(current.substr(0, end + 1), valuesOf(line, current.substr(0, end)));
    }
    if (const auto* const schema = KnownSchemas::find(line.subject())) {
        return columnsOf(*schema, line.items, "=");
    }
    const auto* const method = Methods::find(line.subject());
    return method == nullptr ? Candidates() : parametersOf(*method);
}

/// Names with commas between them: only the last one is completed.
Candidates columnListOf(const Line& line, const std::string& current) {
    const auto* const schema = KnownSchemas::find(line.subject());
    return schema == nullptr ? Candidates()
                             : prefixed(current.substr(0, current.rfind(',') + 1),
                                        columnsOf(*schema, line.items, ""));
}

Candidates formatsOf(const Line& line) {
    Candidates found = Formats;
    if (line.row != nullptr && line.row->data == CommandTable::Data::OfHost) {
        found.push_back({"prometheus", "Lines that a monitor reads"});
    }
    return found;
}

Candidates candidatesFor(Words kind, const Line& line, const std::string& current) {
    const auto* const schema = KnownSchemas::find(line.subject());
    switch (kind) {
        case Words::Schema:
            return schemas();
        case Words::Method:
            return methods();
        case Words::Assignment:
            return assignmentsOf(line, current);
        case Words::Columns:
            return columnListOf(line, current);
        case Words::Item:
            return schema != nullptr && schema->elements.empty()
                       ? columnsOf(*schema, line.items, "")
                       : Candidates();
        case Words::User:
            return Users;
        case Words::Format:
            return formatsOf(line);
        case Words::Command:
            return line.commands;
        case Words::File:
            return {{Completion::Files, ""}};
        case Words::Folder:
            return {{Completion::Folders, ""}};
        default:
            return {};
    }
}

Candidates argumentsOf(const Line& line, const std::string& current) {
    if (line.row == nullptr) {
        return line.commands;
    }
    const auto& arguments = line.row->arguments;
    if (arguments.empty()) {
        return {};
    }
    const std::size_t place = std::min(line.arguments.size(), arguments.size() - 1);
    const bool isFree = place == line.arguments.size() || arguments[place].isRepeated;
    return isFree ? candidatesFor(arguments[place].words, line, current) : Candidates();
}

Candidates optionsOf(const Line& line) {
    Candidates found;
    for (const Option& each : line.options) {
        found.push_back({each.name, each.text});
    }
    return found;
}

/// Options are offered if one has been begun, or if nothing else fits: a list of schemas is long
/// enough.
Candidates candidatesOf(const Line& line, const std::string& current) {
    if (line.open) {
        return candidatesFor(line.open->words, line, current);
    }
    const std::size_t end = current.find('=');
    if (beginsWith(current, "--") && end != std::string::npos) {
        const std::string name = current.substr(0, end);
        const Option* const option = findValued(line.options, name);
        return option == nullptr ? Candidates()
                                 : prefixed(name + "=", candidatesFor(option->words, line,
                                                                      current.substr(end + 1)));
    }
    Candidates found = beginsWith(current, "-") ? optionsOf(line) : argumentsOf(line, current);
    return found.empty() ? optionsOf(line) : found;
}

Candidates complete(Line& line, const Names& words, const std::string& current) {
    for (const std::string& word : words) {
        readWord(line, word);
    }
    if (line.isWrong) {
        return {};
    }
    Candidates found = candidatesOf(line, current);
    const auto isOther = [&](const Candidate& each) {
        return each.word[0] != ':' && !beginsWith(each.word, current);
    };
    found.erase(std::remove_if(found.begin(), found.end(), isOther), found.end());
    return found;
}

/// The data that the command line refers to. An unfinished line must not cause an error message.
HostOptions placeIn(const Names& words) {
    HostOptions options;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i] == "--socket") {
            options.socket = words[i + 1];
        } else if (words[i] == "--db") {
            setenv("DB_PATH", words[i + 1].c_str(), 1);
        }
    }
    return options;
}

}  // namespace

std::vector<Candidate> Completion::after(const Names& words, const std::string& current,
                                         const Items& items) {
    Line line{nullptr, CommandTable::commonOptions(), {}, {}, items, commandsOf({})};
    line.options.push_back({"--help", "", Words::Any, "Print the help and end"});
    return complete(line, words, current);
}

std::vector<Candidate> Completion::afterInShell(const Names& words, const std::string& current,
                                                const Items& items, const Names& commands) {
    Line line{nullptr, {}, {}, {}, items, commandsOf(commands)};
    line.commands.push_back({"quit", "End the shell"});
    return complete(line, words, current);
}

std::string Completion::answer(const std::string& line) {
    Names words;
    if (!ShellWords::split(line, words) || words.empty()) {
        return "";
    }
    std::string current;
    if (line.back() != ' ') {
        current = words.back();
        words.pop_back();
    }
    const Names rest(words.begin() + (words.empty() ? 0 : 1), words.end());
    const auto items = [&](const KnownSchemas::Entry& schema) {
        return StoredItems::find(placeIn(rest), schema);
    };
    std::string text;
    for (const Candidate& each : after(rest, current, items)) {
        text += each.text.empty() ? each.word + "\n" : each.word + "\t" + each.text + "\n";
    }
    return text;
}
