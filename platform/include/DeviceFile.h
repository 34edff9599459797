#ifndef DEVICEFILE_H
#define DEVICEFILE_H

#include <sys/types.h>

#include <istream>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

/**
 * A file of the telephone that is opened to read, at its first byte.
 *
 * Opening never waits. A pipe, a socket, a device, a folder, and a file of the service itself do
 * not open, and a line at level 2 says so; other failures are not logged. When a read fails, the
 * stream is bad after it.
 */
class DeviceFile : public std::istream {
public:
    /// @p path is one of the telephone. std::bad_alloc when memory is short: what a file says must
    /// not be left out as if there were no file.
    explicit DeviceFile(const std::string& path);
    ~DeviceFile() override;
    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;

    [[nodiscard]] bool isOpen() const { return m_buffer.isOpen(); }
    /// Whether it did not open because there is no such file.
    [[nodiscard]] bool isMissing() const;
    /// Why it did not open, a number of errno; 0 when it did.
    [[nodiscard]] int error() const { return m_error; }
    /// In bytes, when it was opened.
    [[nodiscard]] std::size_t size() const { return m_size; }
    /// How many bytes were taken out of it.
    [[nodiscard]] std::size_t position() const { return m_buffer.position(); }

private:
    /// The bytes of the file, read in blocks as the stream asks for them. A block is all that is
    /// ever in memory of a file.
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(DeviceFile& owner) : m_owner(owner) {}
        ~Buffer() override;
        Buffer(const Buffer&) = delete;
        Buffer& operator=(const Buffer&) = delete;

        void open(int descriptor);
        [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
        [[nodiscard]] std::size_t position() const;

    protected:
        int_type underflow() override;

    private:
        DeviceFile& m_owner;
        int m_descriptor = -1;
        std::size_t m_read = 0;
        std::vector<char> m_bytes;
    };

    Buffer m_buffer;
    /// Both are settled by the constructor.
    int m_error = 0;
    std::size_t m_size = 0;
};

/**
 * Writes a file of the telephone that takes its place when it is whole and on the disk: until then,
 * and after any failure, an older file stays as it was and nothing is left next to it. A link at
 * that place is replaced, not followed. A pipe, a socket, a device, a folder and a file of the
 * service itself are not replaced: that counts as not open, and a line at level 2 says so.
 */
class DeviceFileWriter {
public:
    /// For passwords may stand in it.
    static constexpr mode_t RightsOfOwner = 0600;

    explicit DeviceFileWriter(const std::string& path);
    /// Without finish() an older file stays as it was.
    ~DeviceFileWriter();
    DeviceFileWriter(const DeviceFileWriter&) = delete;
    DeviceFileWriter& operator=(const DeviceFileWriter&) = delete;

    [[nodiscard]] bool isOpen() const { return m_place != nullptr; }

    /// The first failure is logged at level 2, and what is written after it is dropped.
    void write(std::string_view text);

    /// Puts the file in its place and closes it. False when it did not open or could not be
    /// written whole, which is logged then.
    [[nodiscard]] bool finish(mode_t mode = RightsOfOwner);

private:
    struct Place;

    /// Writes what was gathered to the new file, which has a name of its own until finish().
    bool flush();
    /// Syncs the new file, gives it @p mode and the name of the target, and syncs the folder: in
    /// any other order a power cut could leave half a file under that name.
    bool replaceTarget(mode_t mode);
    /// Logs the failure of @p action with the reason that errno has, and drops what follows.
    void fail(const char* action);

    const std::string m_path;
    std::string m_buffer;
    bool m_good = true;
    std::unique_ptr<Place> m_place;  ///< null when it is not open
};

#endif
