#ifndef LINESOURCE_H
#define LINESOURCE_H

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "terminal/StandardInput.h"

class Output;

/// Lines of standard input: edited, with a prompt, a history and completion, when a person types
/// them on a terminal. The history lasts as long as the object, since lines may hold passwords.
///
/// The library for editing keeps its state in globals and calls plain functions, which is why there
/// is one object at a time.
class LineSource {
public:
    /// Gives the words that may complete the last word of a line up to the cursor: @p line is what
    /// stands before that word.
    using Completer = std::function<std::vector<std::string>(const std::string& line)>;

    /// @p output must outlive the object. One object at a time.
    LineSource(Output& output, Completer completer);
    ~LineSource();
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;

    /// Whether a person types. Otherwise lines are read as they come, without prompt or echo.
    bool isEdited() const { return m_isEdited; }

    /// Waits for a line, without its line feed. False when there are no more.
    bool next(std::string& line);

private:
    const bool m_isEdited;
    StandardInput m_input;  ///< used unless it is edited
    /// Where the editor draws: standard output leads elsewhere while a session lasts.
    std::FILE* m_screen = nullptr;
};

#endif
