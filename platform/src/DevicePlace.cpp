// The only unit that passes a path of the telephone to the system. Links are followed as on the
// telephone: they stay below the directory that stands for its root. The kernel does this if it
// can; otherwise this unit follows the path part by part.

#include "DevicePlace.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "Log.h"

namespace {

constexpr int MostLinks = 40;  // the same limit as in the kernel
const std::string Parent = "..";

/// @p format takes the path.
bool refuse(int error, const char* format, const std::string& path) {
    DAS_LOG(2, format, path.c_str());
    errno = error;
    return false;
}

/// The parts of @p path in reverse order, so that the next one is taken from the end.
std::vector<std::string> reversedParts(std::string_view path) {
    std::vector<std::string> parts;
    while (!path.empty()) {
        const std::size_t slash = path.rfind('/');
        const std::size_t begin = slash == std::string_view::npos ? 0 : slash + 1;
        if (begin < path.size() && path.substr(begin) != ".") {
            parts.emplace_back(path.substr(begin));
        }
        path = path.substr(0, begin == 0 ? 0 : begin - 1);
    }
    return parts;
}

bool climbsAboveRoot(const std::string& path) {
    const std::vector<std::string> parts = reversedParts(path);
    int depth = 0;
    for (auto part = parts.rbegin(); part != parts.rend() && depth >= 0; ++part) {
        depth += *part == Parent ? -1 : 1;
    }
    return depth < 0;
}

int fail(int error) {
    errno = error;
    return -1;
}

/// Follows a path part by part, for a kernel without openat2. Each part is opened without following
/// a link. If it is a link, its target is read, and the parts of the target come next.
class Walk {
public:
    Walk(int root, const std::string& path, int flags)
        : m_flags(flags | O_CLOEXEC | (path.back() == '/' ? O_DIRECTORY : 0)),
          m_parts(reversedParts(path)) {
        m_folders.emplace_back(::openat(root, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    /// The descriptor, or -1.
    int open() {
        while (!m_parts.empty()) {
            const std::string part = std::move(m_parts.back());
            m_parts.pop_back();
            if (part == Parent) {
                m_folders.resize(std::max<std::size_t>(m_folders.size() - 1, 1));
                continue;
            }
            Descriptor found(::openat(folder(), part.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
            struct stat status {};
            if (!found.isOpen() || ::fstat(found.get(), &status) != 0) {
                return -1;
            }
            if (S_ISLNK(status.st_mode)) {
                if (!followLink(found.get())) {
                    return -1;
                }
            } else if (m_parts.empty()) {
                return ::openat(folder(), part.c_str(), m_flags | O_NOFOLLOW);
            } else if (!S_ISDIR(status.st_mode)) {
                return fail(ENOTDIR);
            } else {
                m_folders.push_back(std::move(found));
            }
        }
        return ::openat(folder(), ".", m_flags);
    }

private:
    int folder() const { return m_folders.back().get(); }

    bool followLink(int link) {
        char text[PATH_MAX];
        const ssize_t length = ::readlinkat(link, "", text, sizeof(text));
        if (length <= 0 || ++m_links > MostLinks) {
            errno = length > 0 ? ELOOP : errno;
            return false;
        }
        const std::string_view target(text, static_cast<std::size_t>(length));
        if (target.front() == '/') {
            m_folders.resize(1);
        }
        if (target.back() == '/' && m_parts.empty()) {
            m_flags |= O_DIRECTORY;
        }
        for (std::string& part : reversedParts(target)) {
            m_parts.push_back(std::move(part));
        }
        return true;
    }

    int m_flags;
    std::vector<std::string> m_parts;
    std::vector<Descriptor> m_folders;  ///< from the root to the current folder
    int m_links = 0;
};

int openInRoot(int root, const std::string& path, int flags) {
    open_how how{};
    how.flags = static_cast<unsigned>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_IN_ROOT;
    return static_cast<int>(::syscall(SYS_openat2, root, path.c_str(), &how, sizeof(how)));
}

/// Whether the cause of a failure may be openat2 itself and not the path: an older kernel, a
/// container's filter that does not know it, or a ".." while a folder was moved.
bool mayBeOfTheCall(int error) {
    return error == ENOSYS || error == EPERM || error == EAGAIN;
}

}  // namespace

std::string DevicePlace::root() {
    const char* value = std::getenv("DAS_ROOT");
    std::string root(value != nullptr ? value : "");
    while (!root.empty() && root.back() == '/') {
        root.pop_back();
    }
    return root;
}

bool DevicePlace::isAllowed(const std::string& path) {
    // The system reads a path only up to its first zero byte. A walk through directories would then
    // find the same names at each depth, and never end.
    if (path.find('\0') != std::string::npos) {
        return refuse(EINVAL, "The path %s holds a zero byte", path);
    }
    return root().empty() || !climbsAboveRoot(path) ||
           refuse(EPERM, "The path %s leaves the device", path);
}

Descriptor DevicePlace::open(const std::string& path, int flags) {
    if (!isAllowed(path)) {
        return {};
    }
    const std::string top = root();
    if (top.empty() || path.empty()) {
        return Descriptor(::open(path.c_str(), flags | O_CLOEXEC));
    }
    const Descriptor folder(::open(top.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        return {};
    }
    int file = openInRoot(folder.get(), path, flags);
    if (file < 0 && mayBeOfTheCall(errno)) {
        file = Walk(folder.get(), path, flags).open();
    }
    return Descriptor(file);
}

DevicePlace::Target DevicePlace::target(const std::string& path) {
    if (!isAllowed(path)) {
        return {};
    }
    const std::size_t end = path.find_last_not_of('/');
    const std::size_t slash = end == std::string::npos ? end : path.rfind('/', end);
    const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
    Target result{{}, end == std::string::npos ? std::string() : path.substr(begin)};
    const std::string plainName = result.name.substr(0, result.name.find('/'));
    if (plainName.empty() || plainName == "." || plainName == Parent) {
        errno = path.empty() ? ENOENT : EISDIR;
        return result;
    }
    const std::string folder = begin == 0 ? (root().empty() ? "." : "/") : path.substr(0, begin);
    result.folder = open(folder, O_PATH | O_DIRECTORY);
    return result;
}

bool DevicePlace::syncNames(const Descriptor& folder) {
    const Descriptor file(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return file.isOpen() && ::fsync(file.get()) == 0;
}
