#ifndef DEVICEPLACE_H
#define DEVICEPLACE_H

#include <string>
#include <utility>

#include <unistd.h>

/// An open descriptor for a scope. Unlike that of the host it can be moved, because a path is
/// looked up in steps, and the last folder's descriptor is the result.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            close();
            m_value = std::exchange(other.m_value, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] bool isOpen() const { return m_value >= 0; }
    [[nodiscard]] int get() const { return m_value; }
    int release() { return std::exchange(m_value, -1); }

private:
    void close() const {
        if (m_value >= 0) {
            ::close(m_value);
        }
    }

    int m_value = -1;
};

/**
 * Opens what a path of the telephone names. This is the only place where such a path meets a system
 * call, so no link and no ".." leads out of the directory that "DAS_ROOT" names, even while another
 * process exchanges folders and links. Links are followed as on the telephone: an absolute link
 * begins at that directory. Without "DAS_ROOT" a path is a path of this machine.
 */
namespace DevicePlace {

/// The directory that "DAS_ROOT" names, without slashes at its end; empty if it is unset.
std::string root();

/// False, with errno EINVAL or EPERM and a log line, if the path contains a zero byte or leads
/// above the root by "..".
bool isAllowed(const std::string& path);

/// Opens something that exists; @p flags must not contain O_CREAT, and O_CLOEXEC is added. On
/// failure the result is not open, and errno says why. A path that is not allowed is logged.
Descriptor open(const std::string& path, int flags);

/// The folder of a path, and the name in it. Operations on these two can't leave the folder. A link
/// of that name is not followed.
struct Target {
    Descriptor folder;  ///< for names only (O_PATH); not open on failure, and errno says why
    std::string name;   ///< including slashes at its end
};
Target target(const std::string& path);

/// Syncs the names in @p folder. False if the system refuses.
bool syncNames(const Descriptor& folder);

}  // namespace DevicePlace

#endif
