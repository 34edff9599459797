// The process that first needs the key creates it; the others read it. It is written completely
// under another name and then linked to its own name. So no process sees an incomplete key, and no
// two processes have different keys.

#define DAS_LOG_COMPONENT "DasCrypt"

#include "DasCrypt.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Log.h"
#include "Storage.h"

namespace {

const std::string Version = "das1:";
const std::string KeyFile = "dascrypt.key";

constexpr std::size_t KeySize = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;
constexpr std::size_t NonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t TagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;

/// A key in memory, for a scope.
struct Key {
    Key() = default;
    ~Key() { sodium_memzero(bytes.data(), bytes.size()); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    std::array<unsigned char, KeySize> bytes{};
};

/// An open file for a scope.
class File {
public:
    explicit File(int descriptor) : m_descriptor(descriptor) {}
    ~File() {
        if (isOpen()) {
            ::close(m_descriptor);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    int descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
};

void logFailure(const char* action, const std::string& path, const char* reason) {
    DAS_LOG(2, "%s %s: %s", action, path.c_str(), reason);
}

std::string folderOfDatabase() {
    const char* folder = std::getenv("DB_PATH");
    return folder != nullptr ? folder : ".";
}

enum class Reading { Done, NoFile, Failed };

Reading readKey(const std::string& path, Key& key) {
    // If a pipe stands at this path, opening must not block the start.
    const File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.descriptor(), &status) != 0) {
        const bool isMissing = errno == ENOENT;
        if (!isMissing) {
            logFailure("can't read the key", path, std::strerror(errno));
        }
        return isMissing ? Reading::NoFile : Reading::Failed;
    }
    if (!S_ISREG(status.st_mode) || status.st_size != static_cast<off_t>(KeySize) ||
        ::read(file.descriptor(), key.bytes.data(), KeySize) != static_cast<ssize_t>(KeySize)) {
        logFailure("can't use the key", path, "it is no file of the right size");
        return Reading::Failed;
    }
    return Reading::Done;
}

bool writeKey(int descriptor, const Key& key) {
    return ::write(descriptor, key.bytes.data(), KeySize) == static_cast<ssize_t>(KeySize) &&
           ::fsync(descriptor) == 0;
}

/// Creates a new key file, completely or not at all. True also if another process was faster.
bool makeKeyFile(const std::string& path) {
    Key key;
    randombytes_buf(key.bytes.data(), KeySize);
    std::string scratch = path + ".XXXXXX";
    const File file(::mkostemp(scratch.data(), O_CLOEXEC));  // only its owner may read it
    bool made = false;
    if (file.isOpen()) {
        // Unlike a rename, a link does not replace the key that another process has just created.
        const bool linked = writeKey(file.descriptor(), key) &&
                            (::link(scratch.c_str(), path.c_str()) == 0 || errno == EEXIST);
        const int reason = errno;
        ::unlink(scratch.c_str());
        errno = reason;
        made = linked && Storage::syncFolderOf(path);  // so that both names are on the disk
    }
    if (!made) {
        logFailure("can't make the key", path, std::strerror(errno));
    }
    return made;
}

bool fetchKey(Key& key) {
    const std::string path = DasCrypt::keyPlace();
    Reading reading = readKey(path, key);
    if (reading == Reading::NoFile && makeKeyFile(path)) {
        reading = readKey(path, key);
        if (reading == Reading::NoFile) {
            logFailure("can't read the key", path, "it is a link to nothing");
        }
    }
    return reading == Reading::Done;
}

std::string toBase64(const std::vector<unsigned char>& bytes) {
    constexpr int variant = sodium_base64_VARIANT_ORIGINAL;
    std::string text(sodium_base64_encoded_len(bytes.size(), variant), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), variant);
    text.pop_back();  // the end mark of the C string
    return text;
}

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

std::string DasCrypt::keyPlace() {
    return folderOfDatabase() + "/" + KeyFile;
}

std::string DasCrypt::toEncryptedText(const std::string& plain) {
    Key key;
    if (plain.empty() || ::sodium_init() < 0 || !fetchKey(key)) {
        return {};
    }
    std::vector<unsigned char> sealed(NonceSize + plain.size() + TagSize);
    randombytes_buf(sealed.data(), NonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(sealed.data() + NonceSize, nullptr, bytesOf(plain),
                                               plain.size(), bytesOf(Version), Version.size(),
                                               nullptr, sealed.data(), key.bytes.data());
    return Version + toBase64(sealed);
}
