#ifndef DATABASEEXAM_H
#define DATABASEEXAM_H

#include <string>
#include <vector>

#include "framework/DatabaseFile.h"

/**
 * Looks at the file of a database for damage and leftovers: file, journal, integrity, tables,
 * columns, users, key, leftovers, sizes, in this order.
 *
 * It works without the service, whose start would upgrade the file and so destroy the evidence, and
 * opens the file for reading only. What is needed for the next step is looked at first: a file that
 * can't be opened has no tables. "das check" prints all findings, "das restore" refuses a backup
 * with a fault or without a table of a telephone.
 */
class DatabaseExam {
public:
    /// A note needs no action by itself: the next start settles it, or it is only unusual. A fault
    /// needs a person, since data is lost or can't be reached.
    enum class Verdict { Good, Note, Fault };

    struct Finding {
        Verdict verdict;
        std::string subject;  ///< what was looked at, in a word
        std::string words;    ///< what was found
        std::string advice;   ///< what to do next; blank for nothing
    };

    /// Looks at the database at @p path. All that is wrong is among the findings.
    explicit DatabaseExam(std::string path);

    /// All findings, in the order of the class.
    const std::vector<Finding>& findings() const { return m_findings; }
    bool hasFault() const;

    /// Whether another process held a lock on the database. The findings are not complete then, and
    /// say nothing about the file.
    bool isBusy() const { return m_file.isBusy(); }
    /// Whether it has a table of a schema: those of other programs have none.
    bool isOfTelephone() const;
    /// Whether passwords can't be read, since no key is next to the file.
    bool lacksKey() const { return m_lacksKey; }

private:
    using Rows = DatabaseFile::Rows;

    /// False when the rest can't be looked at; so for the integrity.
    bool examineFile();
    /// A journal next to the file: a commit that a crash has cut short, which the next start
    /// undoes.
    void examineJournal();
    /// What SQLite itself finds wrong with the pages and the indices of the file.
    bool examineIntegrity();
    /// Tables that are missing, or that no schema knows. Fills m_tables, for what follows.
    void examineTables();
    /// Columns that a table of an older release lacks.
    void examineColumns();
    /// Rows whose user is neither base nor visitor: no request reaches them.
    void examineUsers();
    /// Encrypted passwords without the key that they were encrypted with.
    void examineKey();
    /// Tables of no schema: those that an upgrade has put aside hold rows that are nowhere else.
    void examineLeftovers();
    /// How many rows each table has, and how many pages the file has and could spare.
    void examineSizes();

    /// Whether the file has the table; to be called after examineTables().
    bool hasTable(const std::string& table) const;
    /// Whether the table of the file has the column, which that of an older release may lack.
    bool hasColumn(const std::string& table, const std::string& column);
    /// The first cell of what @p sql finds; blank without one. A failure becomes a finding; so
    /// below.
    std::string cellOf(const std::string& sql);
    Rows rowsOf(const std::string& sql);
    void add(Verdict verdict, const std::string& subject, const std::string& words,
             const std::string& advice = "");

    const std::string m_path;
    DatabaseFile m_file;
    bool m_lacksKey = false;
    std::vector<std::string> m_tables;  ///< that are in the file
    std::vector<Finding> m_findings;
};

#endif
