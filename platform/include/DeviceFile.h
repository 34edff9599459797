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
 * Opening never waits. A pipe, a socket, a device, a folder, and a file of the service itself are
 * refused, which is logged at level 2; other failures are not logged. After a failed read the
 * stream is bad.
 */
class DeviceFile : public std::istream {
public:
    /// @p path is a path of the telephone. Throws std::bad_alloc if memory is short, so that a file
    /// is not treated as missing then.
    explicit DeviceFile(const std::string& path);
    ~DeviceFile() override;
    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;

    [[nodiscard]] bool isOpen() const { return m_buffer.isOpen(); }
    /// Whether opening failed because the file does not exist.
    [[nodiscard]] bool isMissing() const;
    /// Why opening failed, as an errno value; 0 if it succeeded.
    [[nodiscard]] int error() const { return m_error; }
    /// Size in bytes when the file was opened.
    [[nodiscard]] std::size_t size() const { return m_size; }
    /// How many bytes were read from it.
    [[nodiscard]] std::size_t position() const { return m_buffer.position(); }

private:
    /// The bytes of the file, read in blocks when the stream needs them. Never more than one block
    /// of the file is in memory.
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
    /// The constructor sets both.
    int m_error = 0;
    std::size_t m_size = 0;
};

/**
 * Writes a file of the telephone. The new file replaces an existing one only when it is complete
 * and on the disk. Until then, and after any failure, the existing file does not change, and no
 * temporary file is left. A link at the path is replaced, not followed. A pipe, a socket, a device,
 * a folder and a file of the service itself are not replaced: the writer is not open then, and this
 * is logged at level 2.
 */
class DeviceFileWriter {
public:
    /// Because the file may contain passwords.
    static constexpr mode_t RightsOfOwner = 0600;

    explicit DeviceFileWriter(const std::string& path);
    /// Without finish() an existing file does not change.
    ~DeviceFileWriter();
    DeviceFileWriter(const DeviceFileWriter&) = delete;
    DeviceFileWriter& operator=(const DeviceFileWriter&) = delete;

    [[nodiscard]] bool isOpen() const { return m_place != nullptr; }

    /// The first failure is logged at level 2, and later writes are dropped.
    void write(std::string_view text);

    /// Puts the file in its place and closes it. False if it was not open or could not be written
    /// completely, which is logged.
    [[nodiscard]] bool finish(mode_t mode = RightsOfOwner);

private:
    struct Place;

    /// Writes the buffered bytes to the new file, which has a temporary name until finish().
    bool flush();
    /// Syncs the new file, sets its mode, renames it to the target, and syncs the folder. In any
    /// other order a power failure could leave an incomplete file under that name.
    bool replaceTarget(mode_t mode);
    /// Logs that @p action failed, with the reason in errno, and drops later writes.
    void fail(const char* action);

    const std::string m_path;
    std::string m_buffer;
    bool m_good = true;
    std::unique_ptr<Place> m_place;  ///< null if it is not open
};

#endif
