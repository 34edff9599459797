#ifndef DATAFILES_H
#define DATAFILES_H

#include <sys/resource.h>

#include <csignal>
#include <string>
#include <vector>

#include "dao/DataAccessObject.h"
#include "database/DatabaseAdapter.h"

/// While this object lives, no file of this process grows beyond a size: writes fail as on a full
/// disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

/// A data access object that inserts the rows of a data file, as the phone book and the call log
/// do. If a line has too few columns, this throws std::out_of_range.
class InsertingObject : public DataAccessObject {
public:
    using DataAccessObject::DataAccessObject;

    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override {
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < names.size(); ++i) {
            texts.push_back(DASUtils::escapeAndQuote(values.at(i)));
        }
        return m_dbAdapter->insertRow(table, names, texts, nullptr);
    }
};

#endif
