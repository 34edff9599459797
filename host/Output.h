#ifndef OUTPUT_H
#define OUTPUT_H

#include <string>

/**
 * Standard output, kept for answers alone.
 *
 * As long as the object lives, descriptor 1 leads to standard error, so that what the service
 * prints of its own stays out of the answers. To be made before the service library is loaded, and
 * after the command line was parsed, whose help belongs to standard output. One object at a time.
 */
class Output {
public:
    Output();

    /// Flushes what was printed meanwhile, and gives descriptor 1 back.
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Writes @p text and a line feed at once, unbuffered. False when that failed; errno tells why.
    [[nodiscard]] bool writeLine(const std::string& text);

private:
    int m_answers;  ///< where answers go; -1 when there was no descriptor left for it
};

#endif
