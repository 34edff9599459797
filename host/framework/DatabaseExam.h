#ifndef DATABASEEXAM_H
#define DATABASEEXAM_H

#include <string>
#include <vector>

#include "framework/DatabaseFile.h"

/**
 * Looks at the file of a database for damage and leftovers: file, journal, integrity, tables,
 * columns, users, key, leftovers, sizes, in this order.
 *
 * It works without the service, because a start would upgrade the file and so destroy the evidence.
 * It opens the file only for reading. Each step depends on the previous ones: for example, a file
 * that can't be opened has no tables. "das check" prints all findings, "das restore" refuses a
 * backup with a fault, and one without a table of a telephone.
 */
class DatabaseExam {
public:
    /// A note needs no action: the next start handles it, or it is only unusual. A fault needs a
    /// person, since data is lost or can't be reached.
    enum class Verdict { Good, Note, Fault };

    struct Finding {
        Verdict verdict;
        std::string subject;  ///< what was examined, in a word
        std::string words;    ///< what was found
        std::string advice;   ///< what to do next; blank if nothing
    };

    /// Examines the database at @p path. All problems are among the findings.
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

    /// False if the other examinations are not possible; the same for examineIntegrity().
    bool examineFile();
    /// A journal next to the file: a crash has interrupted a commit, and the next start rolls it
    /// back.
    void examineJournal();
    /// What SQLite itself finds wrong with the pages and indices of the file.
    bool examineIntegrity();
    /// Tables that are missing, or that no schema uses. Fills m_tables for the functions below.
    void examineTables();
    /// Columns that a table of an older release lacks.
    void examineColumns();
    /// Rows whose user is neither base nor visitor: no request reaches them.
    void examineUsers();
    /// Encrypted passwords without the key that they were encrypted with.
    void examineKey();
    /// Tables without a schema. Those that an upgrade has kept aside hold rows that are stored
    /// nowhere else.
    void examineLeftovers();
    /// How many rows each table has, how many pages the file has, and how many of them are unused.
    void examineSizes();

    /// Whether the file has the table; call it after examineTables().
    bool hasTable(const std::string& table) const;
    /// Whether the table in the file has the column; a table of an older release may lack it.
    bool hasColumn(const std::string& table, const std::string& column);
    /// The first cell of the result of @p sql; blank without a row. A failure becomes a finding,
    /// here and in the functions below.
    std::string cellOf(const std::string& sql);
    Rows rowsOf(const std::string& sql);
    void add(Verdict verdict, const std::string& subject, const std::string& words,
             const std::string& advice = "");

    const std::string m_path;
    DatabaseFile m_file;
    bool m_lacksKey = false;
    std::vector<std::string> m_tables;  ///< tables in the file
    std::vector<Finding> m_findings;
};

#endif
