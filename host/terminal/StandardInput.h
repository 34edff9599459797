#ifndef STANDARDINPUT_H
#define STANDARDINPUT_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

/// Reads lines of standard input, from where other readers of the C stream have stopped. It does
/// not use std::cin: while that is synchronised with the C stream, it reads each byte separately,
/// which costs more than the answer to a long request.
class StandardInput {
public:
    /// Waits for a line, without its line feed. False at the end of the input, and after an error.
    bool next(std::string& line);

    /// The error that ended the input, as a number of errno; 0 for none.
    [[nodiscard]] int error() const { return m_error; }

private:
    std::unique_ptr<char, void (*)(void*)> m_buffer{nullptr, std::free};
    std::size_t m_size = 0;  ///< of the buffer
    int m_error = 0;
};

#endif
