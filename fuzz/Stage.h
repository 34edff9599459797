#ifndef STAGE_H
#define STAGE_H

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/Sql.h"

/// The folder of the process: database and device root, in memory if possible. It is removed at the
/// end of the process.
class FuzzPlace {
public:
    static FuzzPlace& get();

    std::string database() const { return m_place.database(); }
    /// The path on this machine of the telephone's path @p path.
    std::string onDevice(const std::string& path) const { return m_place.onDevice(path); }

    /// Removes what was written below the device root, if anything was.
    void tidy();

private:
    using Times = std::array<std::filesystem::file_time_type, 7>;

    FuzzPlace();
    Times times() const;
    void makeFolders() const;

    ScratchPlace m_place;
    Times m_times;
};

/// A service that runs on a full database, which is restored before each input.
class Stage {
public:
    Stage();
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    DataAccessService& service() { return m_phone.service(); }
    /// Used as the context of each later start; not owned.
    void setContext(Context& context);

    /// The rows that the last input has changed; empty if it changed none.
    std::string change() const;

    /// Restores database, files, user and caches, and reports by require() if the last input has
    /// left a lock or a transaction. @p weight: how many ordinary inputs this one counts for,
    /// because the service is restarted after a number of them.
    void restore(int weight = 1);

private:
    void start();
    void startAnew();
    void reopen();
    void makeFile();
    void watch();
    bool isSameFile() const;
    long long version() const;
    void putBack();

    const Sql m_whole{":memory:"};  ///< the contents to restore
    Sql m_file{nullptr};
    Phone m_phone;
    long long m_version = 0;
    unsigned long m_inode = 0;
    int m_inputs = 0;  ///< since the last start
};

#endif
