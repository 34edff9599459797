#include "PowerCutVfs.h"

#include <sqlite3.h>
#include <unistd.h>

#include "PowerCutDisk.h"
#include "testkit/SqliteVfs.h"

namespace {

using SqliteVfs::Kind;
using SqliteVfs::Operation;

/// Reports SQLite's operations on files to the disk.
class OfSqlite : public SqliteVfs::Watcher {
public:
    int before(Operation& operation) override {
        PowerCutDisk* const disk = PowerCutDisk::current();
        if (operation.kind == Kind::Open || operation.kind == Kind::Delete) {
            m_wasThere = operation.name != nullptr && ::access(operation.name, F_OK) == 0;
            m_syncsFolder = operation.kind == Kind::Delete && operation.flags != 0;
        }
        if (operation.kind == Kind::Delete) {
            operation.flags = 0;  // the folder is synced after the removal has been reported
        }
        if (disk == nullptr || operation.tag == nullptr || *operation.tag == 0) {
            return SQLITE_OK;
        }
        if (operation.kind == Kind::Write) {
            disk->writes(idOf(operation), operation.offset, operation.data,
                         static_cast<std::size_t>(operation.size));
        } else if (operation.kind == Kind::Truncate) {
            disk->truncates(idOf(operation), operation.offset);
        } else if (operation.kind == Kind::Sync) {
            disk->syncs(idOf(operation));
        }
        return SQLITE_OK;
    }

    void after(const Operation& operation, int code) override {
        PowerCutDisk* const disk = PowerCutDisk::current();
        if (disk == nullptr || code != SQLITE_OK) {
            return;
        }
        if (operation.kind == Kind::Sync && *operation.tag != 0) {
            disk->synced(idOf(operation));
        } else if (operation.kind == Kind::Open) {
            opened(*disk, operation);
        } else if (operation.kind == Kind::Delete && m_wasThere) {
            removed(*disk, operation.name);
        }
    }

private:
    PowerCutDisk::Id idOf(const Operation& operation) const { return {m_device, *operation.tag}; }

    /// A file that does not outlive the process is not on the disk.
    void opened(PowerCutDisk& disk, const Operation& operation) {
        if (operation.name == nullptr || (operation.flags & SQLITE_OPEN_DELETEONCLOSE) != 0) {
            return;
        }
        if (const auto id = disk.find(std::string(operation.name))) {
            m_device = id->first;
            *operation.tag = id->second;
        }
        disk.opened(operation.name, m_wasThere);
    }

    void removed(PowerCutDisk& disk, const std::string& path) const {
        const std::string folder = path.substr(0, path.rfind('/'));
        disk.removed(path);
        if (m_syncsFolder) {
            disk.syncsFolder(folder);
        }
        // SQLite ends a transaction by removing its journal. It expects that the file system itself
        // brings this removal to the disk, and does not sync the folder.
        disk.syncedFolder(folder);
    }

    std::uint64_t m_device = 0;  ///< the device of all files with a tag; a tag is an inode number
    bool m_wasThere = false;
    bool m_syncsFolder = false;
};

OfSqlite ofSqlite;

}  // namespace

bool PowerCutVfs::install() {
    return SqliteVfs::install(ofSqlite);
}
