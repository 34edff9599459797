#ifndef PRIVATEFOLDER_H
#define PRIVATEFOLDER_H

#include <string>

/// A folder for temporary files in TMPDIR, for this user alone, which is removed with its object:
/// what is copied there may hold passwords.
class PrivateFolder {
public:
    /// The name of the folder is @p name with letters after it that make it unique.
    explicit PrivateFolder(const std::string& name);
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    /// Why the folder could not be made, a number of errno; 0 when it was.
    int error() const { return m_error; }
    /// The path of the file or folder @p name in it.
    std::string part(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
    int m_error = 0;
};

#endif
