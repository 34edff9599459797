#ifndef POWERCUTDISK_H
#define POWERCUTDISK_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

/**
 * A disk whose power goes: the files below one folder, and what of them a sync has brought down.
 *
 * A file is what a device and an inode number name, whatever names it has; names are entries of
 * folders. Both are on the disk only when they are synced, the file by itself and the entry with
 * its folder. The files themselves are real ones, so that the process sees what it would see. When
 * the power goes they become what a disk may hold then, and the process ends:
 *
 * - All that was synced is there.
 * - Of the changes of a file since its last sync nothing is there, all of them, those up to one, or
 *   some; of the one where that stops, some sectors. Bytes next to a write are never harmed, which
 *   is what SQLite takes for granted on this system (powersafe overwrite). Where a file has grown
 *   over what has not arrived there are zeros or any bytes.
 * - Of the changes of names there are those up to one of them, or some; those of the same name stay
 *   in their order, and a rename is there whole or not. PowerCutVfs takes what SQLite removes as
 *   synced.
 *
 * For a process with one thread.
 */
class PowerCutDisk {
public:
    /// Shared with the process that has forked this one.
    struct Progress {
        long operations = 0;    ///< since arm()
        long acknowledged = 0;  ///< written by the scenario
    };
    /// Status of a process whose power went.
    static constexpr int CutStatus = 77;

    /// Everything below @p folder counts as synced. There is one disk at a time; it lives as long
    /// as the process.
    PowerCutDisk(const std::filesystem::path& folder, Progress& progress, std::uint32_t seed);
    PowerCutDisk(const PowerCutDisk&) = delete;
    PowerCutDisk& operator=(const PowerCutDisk&) = delete;

    /// The disk of this process; null without a disk or after its power was cut.
    static PowerCutDisk* current();

    /// Counts operations from here on, and cuts the power during operation number @p cutAt, from 1
    /// on; never for 0.
    void arm(long cutAt);
    /// Cuts the power now.
    [[noreturn]] void cut();

    using Id = std::pair<std::uint64_t, std::uint64_t>;  ///< device and inode
    /// The file that has this name now, if it is on the disk.
    std::optional<Id> find(const std::string& path) const;
    std::optional<Id> find(int descriptor);

    // What a process does. Each counts as an operation and may be the last; what is marked so must
    // be reported before it is done to the real file, the rest after it.
    void opened(const std::string& path, bool wasThere);
    void writes(const Id& id, std::int64_t offset, const void* data, std::size_t size);  ///< before
    void truncates(const Id& id, std::int64_t size);                                     ///< before
    void syncs(const Id& id);                                                            ///< before
    void synced(const Id& id);  ///< not an operation of its own: the end of the previous one
    void syncsFolder(const std::string& folder);  ///< before
    void syncedFolder(const std::string& folder);
    void removed(const std::string& path);
    void renamed(const std::string& from, const std::string& to);
    void linked(const std::string& path);

private:
    struct Change {
        bool isTruncate;
        std::size_t offset;  ///< the new size of a truncate
        std::string data;
    };
    struct File {
        int descriptor;  ///< kept open, so that the inode number stays this file's
        std::string synced;
        std::vector<Change> changes;
    };
    /// Names that change together. A name without a file is removed.
    struct NameChange {
        std::string folder;
        std::vector<std::pair<std::string, std::optional<Id>>> names;
    };
    using Names = std::map<std::string, Id>;

    bool isInside(const std::string& path) const;
    std::optional<Id> take(const std::string& path);
    void change(const Id& id, Change change);
    void changeNames(NameChange change);
    void count();
    std::uint32_t draw(std::uint32_t below);
    std::string survivingContents(File& file);
    void applyPart(std::string& contents, const Change& change);
    void fillTo(std::string& contents, std::size_t size);
    Names survivingNames();
    bool followsLostChange(const NameChange& change, const std::vector<bool>& kept,
                           std::size_t place) const;

    const std::string m_folder;
    Progress& m_progress;
    std::mt19937 m_random;
    long m_cutAt = 0;
    bool m_armed = false;
    std::map<Id, File> m_files;
    Names m_names;  ///< the synced names
    std::vector<NameChange> m_nameChanges;
};

#endif
