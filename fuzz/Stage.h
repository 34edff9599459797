#ifndef STAGE_H
#define STAGE_H

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/Sql.h"

/// The folder of a process: database and device root, in memory where that can be had. It goes at
/// the end of the process.
class FuzzPlace {
public:
    static FuzzPlace& get();

    std::string database() const { return m_place.database(); }
    /// Where the path @p path of the telephone stands.
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

/// A service that has been started over a full database, which is as it was before each input.
class Stage {
public:
    Stage();
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    DataAccessService& service() { return m_phone.service(); }
    /// Stands for the services next to this one in every later start; not owned.
    void setContext(Context& context);

    /// All rows as the last input left them; empty when it changed none.
    std::string change() const;

    /// Puts database, files, user and caches back, and reports by require() when the last input
    /// left something taken. @p weight is how many ordinary inputs this one counts for, since the
    /// service lives for so many of them.
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

    const Sql m_whole{":memory:"};  ///< how the database is to be
    Sql m_file{nullptr};
    Phone m_phone;
    long long m_version = 0;
    unsigned long m_inode = 0;
    int m_inputs = 0;  ///< since the last start
};

#endif
