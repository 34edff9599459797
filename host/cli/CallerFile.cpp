#include "cli/CallerFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { (void)close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int number() const { return m_number; }
    int close() {
        const int number = m_number;
        m_number = -1;
        return number < 0 || ::close(number) == 0 ? 0 : errno;
    }

private:
    int m_number;
};

int readAll(int file, std::size_t most, std::string& text) {
    char piece[65536];
    ssize_t count = 0;
    while ((count = ::read(file, piece, sizeof piece)) > 0) {
        text.append(piece, static_cast<std::size_t>(count));
        if (text.size() > most) {
            return EFBIG;
        }
    }
    return count < 0 ? errno : 0;
}

int writeAll(int file, const std::string& text) {
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = ::write(file, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return 0;
}

int writeInto(const std::string& path, const std::string& text) {
    Descriptor file(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    const int error = file.number() < 0 ? errno : writeAll(file.number(), text);
    return error != 0 ? error : file.close();
}

/// Where a link leads, so that it stays one.
std::string targetOf(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real == nullptr ? path : real.get();
}

int replace(const std::string& path, const std::string& text) {
    std::string part = path + ".XXXXXX";
    Descriptor file(mkostemp(part.data(), O_CLOEXEC));
    if (file.number() < 0) {
        return errno;
    }
    int error = writeAll(file.number(), text);
    error = error == 0 && fsync(file.number()) != 0 ? errno : error;
    error = error == 0 ? file.close() : error;
    error = error == 0 && rename(part.c_str(), path.c_str()) != 0 ? errno : error;
    if (error != 0) {
        (void)unlink(part.c_str());
    }
    return error;
}

}  // namespace

int CallerFile::read(const std::string& path, std::size_t most, std::string& text) {
    text.clear();
    if (path == "-") {
        return readAll(STDIN_FILENO, most, text);
    }
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.number() < 0 ? errno : readAll(file.number(), most, text);
}

int CallerFile::write(const std::string& path, const std::string& text) {
    struct stat status {};
    const bool isThere = stat(path.c_str(), &status) == 0;
    if (isThere && S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    return isThere && !S_ISREG(status.st_mode) ? writeInto(path, text)
                                               : replace(targetOf(path), text);
}

std::optional<std::string> CallerFile::devicePath(const std::string& name) {
    const std::string prefix = "device:";
    return name.rfind(prefix, 0) == 0 ? std::optional(name.substr(prefix.size())) : std::nullopt;
}
