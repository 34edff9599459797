#ifndef STAGE_H
#define STAGE_H

#include <sqlite3.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Context.h"
#include "Place.h"
#include "service/DataAccessService.h"

/// The folder of a process: database and device root, in memory where that can be had. It goes at
/// the end of the process.
class FuzzPlace {
public:
    static FuzzPlace& get();

    std::string database() const { return m_place.path("phone.db"); }
    /// Where the path @p path of the telephone stands.
    std::string onDevice(const std::string& path) const { return m_place.path("root") + path; }

    void write(const std::string& path, std::string_view bytes) const;

    /// Removes what was written below the device root, if anything was.
    void tidy();

private:
    using Times = std::array<std::filesystem::file_time_type, 7>;

    FuzzPlace();
    Times times() const;
    void makeFolders() const;

    Bench::Place m_place;
    Times m_times;
};

/// A service that has been started over a full database, which is as it was before each input.
class Stage {
public:
    Stage();
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    DataAccessService& service() { return *m_service; }
    /// Stands for the services beside this one in every later start; not owned.
    void setContext(Context& context);

    /// All rows as the last input left them; empty when it changed none.
    std::string change() const;

    /// Puts database, files, user and caches back, and tells by require() when the last input left
    /// something taken. @p weight is how many ordinary inputs this one counts for, since the
    /// service lives for so many of them.
    void restore(int weight = 1);

private:
    struct NoServices : Context {
        Executable* findService(const std::string&) override { return nullptr; }
    };
    using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

    void start();
    void startAnew();
    void reopen();
    void makeFile();
    void watch();
    bool isSameFile() const;
    long long version() const;
    void putBack();

    NoServices m_noServices;
    Context* m_context = &m_noServices;
    Database m_whole;  ///< in memory: how the database is to be
    Database m_file{nullptr, sqlite3_close};
    std::unique_ptr<DataAccessService> m_service;
    long long m_version = 0;
    unsigned long m_inode = 0;
    int m_inputs = 0;  ///< since the last start
};

#endif
