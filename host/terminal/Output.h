#ifndef OUTPUT_H
#define OUTPUT_H

#include <cstddef>
#include <string>

/**
 * Standard output, reserved for answers.
 *
 * While the object lives, descriptor 1 leads to standard error or to nowhere, so that lines that
 * the service prints do not get into the answers. Create it before the service library is loaded,
 * and after the command line was parsed, because help goes to standard output. One object at a
 * time.
 *
 * It does not write through the library's streams: a failed write must be noticed at once, with
 * errno, and an answer must not wait in a buffer while the next one is made.
 */
class Output {
public:
    /// Where lines go that the service itself prints.
    enum class Printed { ToStandardError, Nowhere };

    explicit Output(Printed printed = Printed::ToStandardError);

    /// Flushes what was printed meanwhile, and restores descriptor 1.
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes @p text and a line feed at once, unbuffered. False on failure; errno says why.
    [[nodiscard]] bool writeLine(const std::string& text);

    /// The same without the line feed.
    [[nodiscard]] bool write(const std::string& text);

    /// The same, but returns the exit status; a failure has been reported then.
    int print(const std::string& text);

    /// The descriptor of the answers, for code that writes there in another way; -1 if there is
    /// none left. Do not close it.
    int descriptor() const { return m_answers; }

    /// Whether answers go to a terminal.
    bool isTerminal() const;

    /// Whether the terminal shows colours, and the user wants them.
    bool mayColour() const;

    /// Columns of that terminal: as the terminal reports them, else COLUMNS of the environment,
    /// else 80.
    std::size_t columns() const { return columnsOf(m_answers); }

    /// The same for the terminal at @p descriptor.
    static std::size_t columnsOf(int descriptor);

private:
    /// A separate descriptor, which child processes do not inherit.
    int m_answers;  ///< where answers go; -1 if there was no free descriptor
};

#endif
