#ifndef DATABASEEXAM_H
#define DATABASEEXAM_H

#include <string>
#include <vector>

#include "framework/DatabaseFile.h"

/// What "das check" looks at, one after the other, and what it found.
class DatabaseExam {
public:
    enum class Verdict { Good, Note, Fault };

    struct Finding {
        Verdict verdict;
        std::string subject;
        std::string words;
        std::string advice;  ///< what to do next; blank for nothing
    };

    /// Looks at the database at @p path. All that is wrong is among the findings.
    explicit DatabaseExam(std::string path);

    const std::vector<Finding>& findings() const { return m_findings; }
    bool hasFault() const;

private:
    using Rows = DatabaseFile::Rows;

    bool examineFile();
    void examineJournal();
    bool examineIntegrity();
    void examineTables();
    void examineColumns();
    void examineUsers();
    void examineLeftovers();
    void examineSizes();

    bool hasTable(const std::string& table) const;
    /// Whether the table of the file has the column, which that of an older release may lack.
    bool hasColumn(const std::string& table, const std::string& column);
    std::string cellOf(const std::string& sql);
    Rows rowsOf(const std::string& sql);
    void add(Verdict verdict, const std::string& subject, const std::string& words,
             const std::string& advice = "");

    const std::string m_path;
    DatabaseFile m_file;
    bool m_hasJournal = false;
    std::vector<std::string> m_tables;  ///< that are in the file
    std::vector<Finding> m_findings;
};

#endif
