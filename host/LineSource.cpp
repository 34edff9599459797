#include "LineSource.h"

#include <editline/readline.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

#include "Output.h"

namespace {

LineSource::Completer s_completer;  // the library calls plain functions
std::vector<std::string> s_candidates;

/// Gives one candidate after the other that begins with @p text; the library frees them.
char* nextCandidate(const char* text, int state) {
    static std::size_t s_place = 0;
    s_place = state == 0 ? 0 : s_place;
    while (s_place < s_candidates.size()) {
        const std::string& candidate = s_candidates[s_place++];
        if (candidate.compare(0, std::strlen(text), text) == 0) {
            rl_completion_append_character = candidate.back() == '=' ? '\0' : ' ';
            return strdup(candidate.c_str());
        }
    }
    return nullptr;
}

char** complete(const char* text, int start, int /*end*/) {
    rl_attempted_completion_over = 1;  // no names of files in their place
    s_candidates = s_completer(std::string(rl_line_buffer, static_cast<std::size_t>(start)));
    return rl_completion_matches(text, nextCandidate);
}

}  // namespace

LineSource::LineSource(Output& output, Completer completer)
    : m_isEdited(isatty(STDIN_FILENO) != 0 && output.isTerminal()) {
    if (!m_isEdited) {
        return;
    }
    std::setlocale(LC_CTYPE, "");  // the editor has to know what a character is
    s_completer = std::move(completer);
    m_screen = fdopen(dup(output.descriptor()), "w");
    rl_readline_name = const_cast<char*>("das");
    rl_instream = stdin;
    rl_outstream = m_screen;
    rl_initialize();
    rl_attempted_completion_function = complete;
    using_history();
}

LineSource::~LineSource() {
    s_completer = nullptr;
    if (m_screen != nullptr) {
        clear_history();
        std::fclose(m_screen);
    }
}

bool LineSource::next(std::string& line) {
    if (!m_isEdited) {
        return static_cast<bool>(std::getline(std::cin, line));
    }
    const std::unique_ptr<char, void (*)(void*)> typed(readline("das> "), std::free);
    if (typed == nullptr) {
        return false;
    }
    line = typed.get();
    if (!line.empty()) {
        add_history(line.c_str());
    }
    return true;
}
