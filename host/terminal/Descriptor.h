#ifndef DESCRIPTOR_H
#define DESCRIPTOR_H

#include <cstddef>
#include <string>
#include <string_view>

/// A descriptor that is closed together with its object. Errors are errno values, 0 for success.
class Descriptor {
public:
    /// @p number may be the result of a failed call; the object is not open then.
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { (void)close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    /// The object still owns the number; to keep it longer, duplicate it.
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    [[nodiscard]] int number() const { return m_number; }

    /// Closes it early, for callers that must know whether that succeeds. A network file system may
    /// report a failed write only here.
    int close();

    /// Reads the rest of @p number into @p text. EFBIG if that is more than @p most bytes, because
    /// a device file may have no end.
    [[nodiscard]] static int readAll(int number, std::size_t most, std::string& text);

    /// Writes all of @p text to @p number, even if the system accepts it in parts.
    [[nodiscard]] static int writeAll(int number, std::string_view text);

private:
    int m_number;
};

#endif
