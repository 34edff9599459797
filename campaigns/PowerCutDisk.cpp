#include "PowerCutDisk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t SectorSize = 512;

PowerCutDisk* currentDisk = nullptr;

PowerCutDisk::Id idOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

std::string folderOf(const std::string& path) {
    return fs::path(path).parent_path().string();
}

std::string plain(const std::string& path) {
    return fs::absolute(path).lexically_normal().string();
}

std::string contentsOf(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        std::abort();
    }
    std::string contents(static_cast<std::size_t>(status.st_size), '\0');
    if (::pread(descriptor, contents.data(), contents.size(), 0) !=
        static_cast<ssize_t>(contents.size())) {
        std::abort();
    }
    return contents;
}

mode_t modeOf(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? status.st_mode & 07777U : 0600U;
}

void putFile(const std::string& path, const std::string& contents, mode_t mode) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0 ||
        ::write(file, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size()) ||
        ::fchmod(file, mode) != 0) {
        std::abort();
    }
    ::close(file);
}

std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

PowerCutDisk::PowerCutDisk(const fs::path& folder, Progress& progress, std::uint32_t seed)
    : m_folder(plain(folder)), m_progress(progress), m_random(seed) {
    for (const std::string& path : filesBelow(m_folder)) {
        if (const auto id = take(path)) {
            m_names[path] = *id;
        }
    }
    currentDisk = this;
}

PowerCutDisk* PowerCutDisk::current() {
    return currentDisk;
}

void PowerCutDisk::arm(long cutAt) {
    m_cutAt = cutAt;
    m_armed = true;
    m_progress.operations = 0;
}

bool PowerCutDisk::isInside(const std::string& path) const {
    return path.compare(0, m_folder.size() + 1, m_folder + "/") == 0;
}

std::optional<PowerCutDisk::Id> PowerCutDisk::find(const std::string& path) const {
    struct stat status {};
    const std::string name = plain(path);
    if (!isInside(name) || ::stat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    return idOf(status);
}

std::optional<PowerCutDisk::Id> PowerCutDisk::find(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        m_files.count(idOf(status)) == 0) {
        return {};
    }
    return idOf(status);
}

/// Adds the file with this name to the disk.
std::optional<PowerCutDisk::Id> PowerCutDisk::take(const std::string& path) {
    const auto id = find(path);
    if (id && m_files.count(*id) == 0) {
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        m_files[*id] = File{descriptor, {}, {}};
    }
    return id;
}

void PowerCutDisk::count() {
    if (m_armed && ++m_progress.operations == m_cutAt) {
        cut();
    }
}

void PowerCutDisk::change(const Id& id, Change change) {
    File& file = m_files.at(id);
    if (file.changes.empty()) {
        file.synced = contentsOf(file.descriptor);
    }
    file.changes.push_back(std::move(change));
    count();
}

void PowerCutDisk::changeNames(NameChange change) {
    m_nameChanges.push_back(std::move(change));
    count();
}

void PowerCutDisk::opened(const std::string& path, bool wasThere) {
    const std::string name = plain(path);
    const auto id = take(name);
    if (!id) {
        return;
    }
    if (wasThere) {
        count();
    } else {
        changeNames({folderOf(name), {{name, id}}});
    }
}

void PowerCutDisk::writes(const Id& id, std::int64_t offset, const void* data, std::size_t size) {
    change(id, {false, static_cast<std::size_t>(offset),
                std::string(static_cast<const char*>(data), size)});
}

void PowerCutDisk::truncates(const Id& id, std::int64_t size) {
    change(id, {true, static_cast<std::size_t>(size), {}});
}

void PowerCutDisk::syncs(const Id&) {
    count();
}

void PowerCutDisk::synced(const Id& id) {
    m_files.at(id).changes.clear();
}

void PowerCutDisk::syncsFolder(const std::string& folder) {
    const std::string name = plain(folder);
    if (name == m_folder || isInside(name)) {
        count();
    }
}

void PowerCutDisk::syncedFolder(const std::string& folder) {
    const std::string name = plain(folder);
    const auto stays = [&](const NameChange& each) { return each.folder != name; };
    for (const NameChange& each : m_nameChanges) {
        for (const auto& [path, id] : each.names) {
            if (stays(each)) {
                break;
            }
            if (id) {
                m_names[path] = *id;
            } else {
                m_names.erase(path);
            }
        }
    }
    m_nameChanges.erase(m_nameChanges.begin(),
                        std::stable_partition(m_nameChanges.begin(), m_nameChanges.end(),
                                              [&](const auto& each) { return !stays(each); }));
}

void PowerCutDisk::removed(const std::string& path) {
    const std::string name = plain(path);
    if (isInside(name)) {
        changeNames({folderOf(name), {{name, {}}}});
    }
}

void PowerCutDisk::renamed(const std::string& from, const std::string& to) {
    const std::string name = plain(to);
    if (const auto id = take(name)) {
        changeNames({folderOf(name), {{plain(from), {}}, {name, id}}});
    }
}

void PowerCutDisk::linked(const std::string& path) {
    const std::string name = plain(path);
    if (const auto id = take(name)) {
        changeNames({folderOf(name), {{name, id}}});
    }
}

// What is left -----------------------------------------------------------------------------------

std::uint32_t PowerCutDisk::draw(std::uint32_t below) {
    return static_cast<std::uint32_t>(m_random()) % below;
}

void PowerCutDisk::fillTo(std::string& contents, std::size_t size) {
    if (contents.size() >= size) {
        return;
    }
    const std::size_t before = contents.size();
    contents.resize(size);
    if (draw(2) == 0) {
        for (std::size_t i = before; i < size; ++i) {
            contents[i] = static_cast<char>(draw(256));
        }
    }
}

/// Applies those sectors of a write that reach the disk. Even if sectors beyond the end of the file
/// are lost, the file may become longer.
void PowerCutDisk::applyPart(std::string& contents, const Change& change) {
    if (change.isTruncate) {
        return;  // it is on the disk completely or not at all
    }
    const std::size_t end = change.offset + change.data.size();
    if (draw(4) == 0) {
        fillTo(contents, end);
    }
    for (std::size_t at = change.offset; at < end;) {
        const std::size_t next = std::min(end, (at / SectorSize + 1) * SectorSize);
        if (draw(2) == 0) {
            fillTo(contents, next);
            contents.replace(at, next - at, change.data, at - change.offset, next - at);
        }
        at = next;
    }
}

std::string PowerCutDisk::survivingContents(File& file) {
    if (file.changes.empty()) {
        return contentsOf(file.descriptor);
    }
    enum Manner : std::uint32_t { None, All, UpToOne, Some, Manners };
    std::string contents = file.synced;
    const std::uint32_t manner = draw(Manners);
    const std::size_t last = draw(static_cast<std::uint32_t>(file.changes.size()));
    for (std::size_t i = 0; i < file.changes.size(); ++i) {
        const Change& each = file.changes[i];
        const bool isWhole =
            manner == All || (manner == UpToOne && i < last) || (manner == Some && draw(2) == 0);
        if (isWhole && each.isTruncate) {
            contents.resize(each.offset);
        } else if (isWhole) {
            fillTo(contents, each.offset + each.data.size());
            contents.replace(each.offset, each.data.size(), each.data);
        } else if ((manner == UpToOne && i == last) || manner == Some) {
            applyPart(contents, each);
        }
    }
    return contents;
}

/// Whether an earlier change of one of the names is lost, so that this one can't be on the disk
/// either.
bool PowerCutDisk::followsLostChange(const NameChange& change, const std::vector<bool>& kept,
                                     std::size_t place) const {
    for (std::size_t i = 0; i < place; ++i) {
        for (const auto& [name, ignored] : m_nameChanges[i].names) {
            const std::string& other = name;
            if (!kept[i] && std::any_of(change.names.begin(), change.names.end(),
                                        [&](const auto& each) { return each.first == other; })) {
                return true;
            }
        }
    }
    return false;
}

PowerCutDisk::Names PowerCutDisk::survivingNames() {
    Names names = m_names;
    std::vector<bool> kept(m_nameChanges.size());
    const bool inOrder = draw(2) == 0;
    const std::size_t last = draw(static_cast<std::uint32_t>(m_nameChanges.size() + 1));
    for (std::size_t i = 0; i < m_nameChanges.size(); ++i) {
        const NameChange& each = m_nameChanges[i];
        kept[i] = inOrder ? i < last : draw(2) == 0 && !followsLostChange(each, kept, i);
        for (const auto& [name, id] : each.names) {
            if (kept[i] && id) {
                names[name] = *id;
            } else if (kept[i]) {
                names.erase(name);
            }
        }
    }
    return names;
}

void PowerCutDisk::cut() {
    currentDisk = nullptr;
    const Names names = survivingNames();
    std::map<Id, std::string> contents;
    for (const auto& [name, id] : names) {
        if (contents.count(id) == 0) {
            contents[id] = survivingContents(m_files.at(id));
        }
    }
    for (const std::string& path : filesBelow(m_folder)) {
        ::unlink(path.c_str());
    }
    for (const auto& [name, id] : names) {
        putFile(name, contents[id], modeOf(m_files.at(id).descriptor));
    }
    ::_exit(CutStatus);
}
