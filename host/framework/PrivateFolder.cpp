#include "framework/PrivateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

PrivateFolder::PrivateFolder(const std::string& name) {
    std::error_code error;
    m_path = (fs::temp_directory_path(error) / (name + "XXXXXX")).string();
    m_error = error ? error.value() : ::mkdtemp(m_path.data()) == nullptr ? errno : 0;
}

PrivateFolder::~PrivateFolder() {
    std::error_code ignored;
    if (m_error == 0) {
        fs::remove_all(m_path, ignored);
    }
}
