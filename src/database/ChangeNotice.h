#ifndef CHANGENOTICE_H
#define CHANGENOTICE_H

#include <sqlite3.h>

#include <functional>
#include <string>

/**
 * Reports when a connection is about to change its database: a VFS layer that passes all file
 * operations on to SQLite's own VFS. Only the adapter uses it.
 *
 * SQLite creates its journal before it changes the first page of a transaction, and at no other
 * time. So a statement that changes nothing creates no journal. SQLite's hooks and its authorizer
 * are less exact: they report a statement and not its effect, or they miss created tables and
 * replaced rows. When the journal is created, the file is still as the last commit left it; other
 * connections may read it, and none may write.
 */
class ChangeNotice {
public:
    /// Becomes a layer over the VFS that is SQLite's default now.
    ChangeNotice();
    /// All connections that were opened over this layer must be closed before.
    ~ChangeNotice();
    ChangeNotice(const ChangeNotice&) = delete;
    ChangeNotice& operator=(const ChangeNotice&) = delete;

    /// The name to pass to sqlite3_open_v2.
    [[nodiscard]] const char* name() const { return m_name.c_str(); }

    /// The VFS below this layer.
    [[nodiscard]] sqlite3_vfs* below() const { return m_below; }

    /// Called before each transaction that changes something; may be empty. An exception that it
    /// throws is dropped. Set it only with the adapter's lock held.
    std::function<void()> callBefore;

private:
    static int sleep(sqlite3_vfs* layer, int microseconds);
    static int open(sqlite3_vfs* layer, const char* path, sqlite3_file* file, int flags,
                    int* flagsOut);

    std::string m_name;
    sqlite3_vfs* m_below;  // SQLite's default VFS
    sqlite3_vfs m_layer{};
};

#endif
