#ifndef OUTPUT_H
#define OUTPUT_H

#include <cstddef>
#include <string>

/**
 * Standard output, kept for answers alone.
 *
 * As long as the object lives, descriptor 1 leads to standard error, or to nowhere, so that what
 * the service prints of its own stays out of the answers. To be made before the service library is
 * loaded, and after the command line was parsed, whose help belongs to standard output. One object
 * at a time.
 *
 * Writing goes around the streams of the library: a write that fails must be noticed at once, with
 * errno, and an answer must not wait in a buffer while the next one is made.
 */
class Output {
public:
    /// Where the lines go that the service prints of its own.
    enum class Printed { ToStandardError, Nowhere };

    explicit Output(Printed printed = Printed::ToStandardError);

    /// Flushes what was printed meanwhile, and restores descriptor 1.
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes @p text and a line feed at once, unbuffered. False when that failed; errno says why.
    [[nodiscard]] bool writeLine(const std::string& text);

    /// The same without the line feed.
    [[nodiscard]] bool write(const std::string& text);

    /// The same, and returns the exit status: a failure has been reported then.
    int print(const std::string& text);

    /// Where answers go, for those who write there by other means; -1 for none. Not to be closed.
    int descriptor() const { return m_answers; }

    /// Whether answers go to a terminal.
    bool isTerminal() const;

    /// Whether the terminal shows colours, and the user wants them.
    bool mayColour() const;

    /// Columns of that terminal: as it says itself, else by COLUMNS of the environment, else 80.
    std::size_t columns() const { return columnsOf(m_answers); }

    /// The same for the terminal at @p descriptor.
    static std::size_t columnsOf(int descriptor);

private:
    /// A descriptor of its own, which programs that are started from here do not inherit.
    int m_answers;  ///< where answers go; -1 when there was no descriptor left for it
};

#endif
