#include "cli/ShellWords.h"

#include "cli/CommandTable.h"

// With quotes a word can be empty, so a flag and not the word's length shows whether a word has
// begun.
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
    std::vector<std::string> names;
    for (const CommandTable::Row& row : CommandTable::rows()) {
        const bool isShell = std::string(row.name) == "shell";
        if (!isShell && std::holds_alternative<CommandTable::Make>(row.action)) {
            names.emplace_back(row.name);
        }
    }
    names.insert(names.end(), {"help", "quit"});
    return names;
}

std::vector<std::string> ShellWords::candidates(const std::string& line,
                                                const Completion::Items& items) {
    std::vector<std::string> words;
    if (!split(line, words)) {
        return {};
    }
    // The editor also begins a new word after "=".
    std::string begun;
    if (!line.empty() && line.back() != ' ' && line.back() != '\t') {
        begun = words.back();
        words.pop_back();
    }
    std::vector<std::string> found;
    for (const auto& each : Completion::afterInShell(words, begun, items, commands())) {
        if (each.word[0] != ':') {
            found.push_back(each.word.substr(begun.size()));
        }
    }
    return found;
}
