// Each part of a row has a function for the help and one for the manual page.

#include "cli/HelpText.h"

#include <algorithm>

#include "terminal/Quotes.h"

using namespace CommandTable;

namespace {

constexpr std::size_t LineWidth = 80;
constexpr std::size_t NameWidth = 22;
const Option HelpOption{"--help", "", Words::Any, "Print this help and end"};
const Option VersionOption{"--version", "", Words::Any, "Print the version and end"};
const Option CompleteOption{"--complete", "LINE", Words::Any,
                            "Print what may come next on a command line, as shells ask for it"};

/// @p text wrapped at blanks; each line after the first one is indented.
std::string wrapped(const std::string& text, std::size_t indent) {
    std::string result;
    std::size_t column = indent;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::string word = text.substr(begin, end - begin);
        if (column > indent && column + 1 + word.size() > LineWidth) {
            result += "\n" + std::string(indent, ' ');
            column = indent;
        }
        result += (column > indent ? " " : "") + word;
        column += word.size() + (column > indent ? 1 : 0);
        begin = end + 1;
    }
    return result;
}

/// A name and its meaning, in two columns; a long name has a line to itself.
std::string line(const std::string& name, const std::string& text) {
    std::string result = "  " + name;
    if (result.size() >= NameWidth) {
        result += "\n" + std::string(NameWidth, ' ');
    } else {
        result.resize(NameWidth, ' ');
    }
    return result + wrapped(text, NameWidth) + "\n";
}

std::string nameOf(const Option& option) {
    return *option.value == 0 ? std::string(option.name)
                              : std::string(option.name) + " " + option.value;
}

std::string linesOf(const std::vector<Option>& options) {
    std::string text;
    for (const Option& option : options) {
        text += line(nameOf(option), option.text);
    }
    return text;
}

std::string examplesOf(const Row& row) {
    std::string text;
    for (const Example& example : row.examples) {
        text += std::string("  ") + example.line + "\n      " + example.text + "\n";
    }
    return text;
}

std::string nameOf(const Argument& argument) {
    const std::string name =
        argument.isRepeated ? std::string(argument.name) + "..." : std::string(argument.name);
    return argument.isRequired ? name : "[" + name + "]";
}

/// @p text as a paragraph of a manual page, with characters escaped that roff would interpret.
std::string roff(const std::string& text) {
    const bool isCommand = !text.empty() && (text[0] == '.' || text[0] == '\'');
    return (isCommand ? "\\&" : "") + replaced(replaced(text, '\\', "\\e"), '-', "\\-");
}

std::string roffItem(const std::string& name, const std::string& text) {
    return ".TP\n.B " + roff(name) + "\n" + roff(text) + "\n";
}

std::string roffItems(const std::vector<Option>& options) {
    std::string text;
    for (const Option& option : options) {
        text += roffItem(nameOf(option), option.text);
    }
    return text;
}

/// The section of a command.
std::string roffOf(const Row& row) {
    std::string text = ".SS " + roff(HelpText::usage(row)) + "\n" + roff(row.summary) + ".\n" +
                       roff(row.description) + "\n";
    for (const Argument& argument : row.arguments) {
        text += roffItem(argument.name, argument.text);
    }
    text += roffItems(optionsOf(row));
    for (const Example& example : row.examples) {
        text += ".PP\n.EX\n    " + roff(example.line) + "\n.EE\n" + roff(example.text) + ".\n";
    }
    for (const Exit& exit : row.exits) {
        text += roffItem("Exit status " + std::to_string(exit.status), exit.text);
    }
    return text;
}

}  // namespace

std::string HelpText::usage(const Row& row) {
    std::string text = std::string("das ") + row.name;
    if (!optionsOf(row).empty()) {
        text += " [OPTION...]";
    }
    for (const Argument& argument : row.arguments) {
        text += " " + nameOf(argument);
    }
    return text;
}

std::string HelpText::ofAll() {
    std::string text =
        "The host of the telephone's data access service.\n"
        "Usage: das [OPTION...] COMMAND ...\n\nOptions, before or after the command:\n";
    text += linesOf(commonOptions()) + linesOf({HelpOption, VersionOption, CompleteOption}) +
            "\nCommands:\n";
    for (const Row& row : rows()) {
        text += line(row.name, row.summary);
    }
    return text + "\ndas help COMMAND prints more about each.\n";
}

std::string HelpText::of(const Row& row) {
    std::string text = "Usage: " + usage(row) + "\n" + wrapped(std::string(row.summary) + ".", 0) +
                       "\n" + wrapped(row.description, 0) + "\n";
    text += row.arguments.empty() ? "" : "\nArguments:\n";
    for (const Argument& argument : row.arguments) {
        text += line(argument.name, argument.text);
    }
    text +=
        "\nOptions:\n" + linesOf(optionsOf(row)) + linesOf(commonOptions()) + linesOf({HelpOption});
    text += "\nExamples, in the folder of das demo:\n" + examplesOf(row) + "\nExit status:\n";
    for (const Exit& exit : exitsOf(row)) {
        text += line(std::to_string(exit.status), exit.text);
    }
    return row.more == nullptr ? text : text + "\n" + row.more();
}

std::string HelpText::manualPage() {
    std::string text = ".TH DAS 1 \"\" \"das " DAS_VERSION
                       "\" \"User Commands\"\n"
                       ".SH NAME\ndas \\- the host of the telephone's data access service\n"
                       ".SH SYNOPSIS\n.B das\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR ...\n"
                       ".SH DESCRIPTION\nLoads the service library, gives it its platform, and "
                       "lets people and programs talk to it.\n.SH OPTIONS\n";
    text += roffItems(commonOptions()) + roffItems({HelpOption, VersionOption, CompleteOption}) +
            ".SH COMMANDS\n";
    for (const Row& row : rows()) {
        text += roffOf(row);
    }
    text += ".SH EXIT STATUS\n";
    for (const Exit& exit : exitsOf(Row())) {
        text += roffItem(std::to_string(exit.status), exit.text);
    }
    text += ".SH ENVIRONMENT\n";
    for (const Variable& variable : environment()) {
        text += roffItem(variable.name, variable.text);
    }
    return text;
}
