// A stream over an open descriptor. The path is resolved only once, so that the file can't be
// exchanged between the check and the reading.

#include "DeviceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "DevicePlace.h"
#include "FileKind.h"
#include "OwnFiles.h"

namespace {

constexpr std::size_t BufferSize = 65536;
constexpr int Always = O_RDONLY | O_NONBLOCK | O_NOCTTY;

/// Some kinds of files can't be opened for reading. Their kind is read by a descriptor for the path
/// only.
bool lookAt(const std::string& path, struct stat& status) {
    const Descriptor file = DevicePlace::open(path, O_PATH);
    return file.isOpen() && ::fstat(file.get(), &status) == 0;
}

/// Whether a file that does not exist now would belong to the service, such as a journal.
bool isOfService(const std::string& path) {
    const DevicePlace::Target target = DevicePlace::target(path);
    return target.folder.isOpen() && OwnFiles::has(target.folder.get(), target.name);
}

}  // namespace

DeviceFile::Buffer::~Buffer() {
    if (isOpen()) {
        ::close(m_descriptor);
    }
}

void DeviceFile::Buffer::open(int descriptor) {
    m_descriptor = descriptor;
    m_bytes.resize(BufferSize);
}

std::size_t DeviceFile::Buffer::position() const {
    return m_read - static_cast<std::size_t>(egptr() - gptr());
}

DeviceFile::Buffer::int_type DeviceFile::Buffer::underflow() {
    ssize_t count = 0;
    do {
        count = isOpen() ? ::read(m_descriptor, m_bytes.data(), m_bytes.size()) : 0;
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        if (count < 0) {
            // Without this, the stream would treat the failure as the end of the file.
            m_owner.setstate(std::ios::badbit);
        }
        return traits_type::eof();
    }
    m_read += static_cast<std::size_t>(count);
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + count);
    return traits_type::to_int_type(*gptr());
}

DeviceFile::DeviceFile(const std::string& path) : std::istream(nullptr), m_buffer(*this) {
    rdbuf(&m_buffer);
    Descriptor file = DevicePlace::open(path, Always);
    struct stat status {};
    m_error = file.isOpen() && ::fstat(file.get(), &status) == 0 ? 0 : errno;
    if (m_error == ENOMEM) {
        throw std::bad_alloc();
    }
    if (m_error == 0 || (m_error == ENXIO && lookAt(path, status))) {
        m_error = FileKind::refusal(status, "open", path);
    } else if (m_error == ENOENT && isOfService(path)) {
        m_error = FileKind::refuseOwn("open", path);
    }
    if (m_error != 0) {
        setstate(std::ios::failbit);
        return;
    }
    m_size = static_cast<std::size_t>(status.st_size);
    m_buffer.open(file.release());
}

DeviceFile::~DeviceFile() = default;

bool DeviceFile::isMissing() const {
    return m_error == ENOENT || m_error == ENOTDIR;
}
