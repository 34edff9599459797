#ifndef DESCRIPTOR_H
#define DESCRIPTOR_H

#include <cstddef>
#include <string>
#include <string_view>

/// A descriptor that is closed with its object. Errors are numbers of errno, 0 for none.
class Descriptor {
public:
    /// @p number may be that of a call that failed: the object is not open then.
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { (void)close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    /// The number stays the property of the object; whoever needs a longer life duplicates it.
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    [[nodiscard]] int number() const { return m_number; }

    /// Closes it early, for those who have to know whether that works.
    /// A file system over the network may report only here that a write failed.
    int close();

    /// Reads all that is left of @p number into @p text. EFBIG when that is more than @p most
    /// bytes: a device may have no end.
    [[nodiscard]] static int readAll(int number, std::size_t most, std::string& text);

    /// Writes all of @p text to @p number, also where the system takes it in parts.
    [[nodiscard]] static int writeAll(int number, std::string_view text);

private:
    int m_number;
};

#endif
