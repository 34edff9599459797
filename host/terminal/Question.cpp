// A question goes to the terminal itself, not to the standard streams: those may be a file of rows
// and a pipe, and the answer must come from a person.

#include "terminal/Question.h"

#include <unistd.h>

#include <cstdio>
#include <memory>

#include "terminal/Complaint.h"
#include "terminal/TerminalText.h"

Question::Reply Question::ask(const std::string& question) {
    // Two streams, because one for reading and writing would have to seek between the two.
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> input(std::fopen("/dev/tty", "re"),
                                                                std::fclose);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(std::fopen("/dev/tty", "we"),
                                                                 std::fclose);
    if (input == nullptr || output == nullptr) {
        return Reply::NoTerminal;
    }
    (void)std::fputs(TerminalText::visible(question).c_str(), output.get());
    (void)std::fflush(output.get());
    std::string reply;
    for (int character = std::fgetc(input.get()); character != EOF && character != '\n';
         character = std::fgetc(input.get())) {
        reply += static_cast<char>(character);
    }
    return reply == "y" || reply == "yes" ? Reply::Yes : Reply::No;
}

bool Question::mayGoOn(const std::string& question) {
    const bool isRefused = isatty(STDIN_FILENO) != 0 && ask(question + " [y/N] ") == Reply::No;
    if (isRefused) {
        Complaint::report("nothing was changed");
    }
    return !isRefused;
}
