#ifndef CHANGENOTICE_H
#define CHANGENOTICE_H

#include <sqlite3.h>

#include <functional>
#include <string>

/**
 * Reports when a connection is about to change its database: a layer of file operations over
 * SQLite's own, which hands all of them on. For the adapter alone.
 *
 * SQLite makes its journal before it changes the first page of a transaction, and at no other time:
 * a statement that finds nothing to change makes none, unlike what its hooks and its authorizer
 * report, which either see a statement and not what it does, or miss tables made and rows replaced.
 * At that moment the file is as the last commit left it, other connections may still read it, and
 * none may write.
 */
class ChangeNotice {
public:
    /// Stands over the operations that are SQLite's default now.
    ChangeNotice();
    /// The connections that were opened over it must be closed by then.
    ~ChangeNotice();
    ChangeNotice(const ChangeNotice&) = delete;
    ChangeNotice& operator=(const ChangeNotice&) = delete;

    /// For sqlite3_open_v2.
    [[nodiscard]] const char* name() const { return m_name.c_str(); }

    /// The operations that it stands over.
    [[nodiscard]] sqlite3_vfs* below() const { return m_below; }

    /// Called before each transaction that changes something; may be empty. What it throws is
    /// dropped. Call with the adapter's lock held.
    std::function<void()> callBefore;

private:
    static int sleep(sqlite3_vfs* layer, int microseconds);
    static int open(sqlite3_vfs* layer, const char* path, sqlite3_file* file, int flags,
                    int* flagsOut);

    std::string m_name;
    sqlite3_vfs* m_below;  // SQLite's own
    sqlite3_vfs m_layer{};
};

#endif
