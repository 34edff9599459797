// The library for editing has the interface of readline, which other systems have as well.

#include "terminal/LineSource.h"

#include <editline/readline.h>
#include <termios.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "terminal/Output.h"

namespace {

LineSource::Completer s_completer;  // the library calls plain functions
std::vector<std::string> s_candidates;

/// Returns, one after the other, the candidates that begin with @p text; the library frees them.
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

bool s_isCancelled = false;

/// Ctrl-C: ends the line and drops its text.
int cancel(int /*count*/, int /*key*/) {
    s_isCancelled = true;
    rl_done = 1;
    return 0;
}

/// While a line is edited, Ctrl-C is an ordinary key; while a command runs, it ends the program.
class CtrlCKey {
public:
    CtrlCKey() : m_isKnown(tcgetattr(STDIN_FILENO, &m_before) == 0) {
        termios state = m_before;
        state.c_cc[VINTR] = _POSIX_VDISABLE;
        set(state);
    }
    ~CtrlCKey() { set(m_before); }
    CtrlCKey(const CtrlCKey&) = delete;
    CtrlCKey& operator=(const CtrlCKey&) = delete;

private:
    void set(const termios& state) const {
        if (m_isKnown) {
            (void)tcsetattr(STDIN_FILENO, TCSADRAIN, &state);
        }
    }

    termios m_before{};
    const bool m_isKnown;
};

char** complete(const char* text, int start, int /*end*/) {
    rl_attempted_completion_over = 1;  // do not offer names of files instead
    s_candidates = s_completer(std::string(rl_line_buffer, static_cast<std::size_t>(start)));
    return rl_completion_matches(text, nextCandidate);
}

}  // namespace

LineSource::LineSource(Output& output, Completer completer)
    : m_isEdited(isatty(STDIN_FILENO) != 0 && output.isTerminal()) {
    if (!m_isEdited) {
        return;
    }
    std::setlocale(LC_CTYPE, "");  // the editor must know which bytes form a character
    s_completer = std::move(completer);
    m_screen = fdopen(dup(output.descriptor()), "w");
    rl_readline_name = const_cast<char*>("das");
    rl_instream = stdin;
    rl_outstream = m_screen;
    rl_initialize();
    rl_add_defun("cancel-line", cancel, '\003');
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
        return m_input.next(line);
    }
    s_isCancelled = false;
    const CtrlCKey key;
    const std::unique_ptr<char, void (*)(void*)> typed(readline("das> "), std::free);
    if (s_isCancelled) {
        std::fputs("^C\n", m_screen);
        (void)std::fflush(m_screen);
        line.clear();
        return true;
    }
    if (typed == nullptr) {
        return false;
    }
    line = typed.get();
    if (!line.empty()) {
        add_history(line.c_str());
    }
    return true;
}
