#ifndef LINESOURCE_H
#define LINESOURCE_H

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "terminal/StandardInput.h"

class Output;

/// Lines of standard input. If a person types them on a terminal, they have editing, a prompt, a
/// history and completion. The history lasts as long as the object, because lines may contain
/// passwords.
///
/// The library for editing keeps its state in globals and calls plain functions, so there can only
/// be one object at a time.
class LineSource {
public:
    /// Returns words that may complete the last word of a line up to the cursor; @p line is the
    /// text before that word.
    using Completer = std::function<std::vector<std::string>(const std::string& line)>;

    /// @p output must outlive the object. One object at a time.
    LineSource(Output& output, Completer completer);
    ~LineSource();
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;

    /// Whether a person types. Otherwise lines are read without prompt or echo.
    bool isEdited() const { return m_isEdited; }

    /// Waits for a line, without its line feed. False at the end of the input.
    bool next(std::string& line);

private:
    const bool m_isEdited;
    StandardInput m_input;  ///< used if lines are not edited
    /// The stream for the editor, because standard output is redirected during a session.
    std::FILE* m_screen = nullptr;
};

#endif
