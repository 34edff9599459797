#ifndef DASUTILS_H
#define DASUTILS_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "DASTypes.h"
#include "XmlHandler.h"

class DataAccessObject;
class DatabaseAdapter;

/**
 * What all data access objects share: the quoting of SQL texts, the forms that request text must
 * have before it may enter a statement, and the two standard request bodies. All static, no state.
 */
class DASUtils {
public:
    /// One column of a table.
    struct ColumnInfo {
        ColumnInfo(const std::string& columnName, std::string sqlType,
                   const std::string& defaultValue);
        ColumnInfo(const std::string& columnName, std::string sqlType,
                   const std::vector<std::string>& defaultValues);

        std::string name;
        std::string type;  ///< SQL type text, constraints included
        std::vector<std::string>
            defaults;  ///< plain text: one for all rows, or one for each row id
    };

    /// What one closed Entry of a request leaves.
    struct RowData {
        std::string identifier;  ///< as it goes into SQL, unquoted; its form is tested before
        PairList newValues;      ///< column and value in database form
    };

    // Quoting -------------------------------------------------------------------------------------

    /// Doubles each single quote.
    static std::string escapeSqlReservedCharacters(const std::string& text);
    /// Undoes escapeSqlReservedCharacters: of each two single quotes one stays.
    static std::string unescapeSqlReservedCharacters(const std::string& text);
    /// Turns each "&apos;" into a single quote.
    static std::string escapeSqlReservedString(const std::string& text);
    /// Sets @p escape in front of each @p reserved.
    static std::string escapeReservedCharacter(const std::string& text, char reserved, char escape);
    /// Database form: @p value between single quotes. The value is not escaped here.
    static std::string convertToDBFormat(const std::string& value);
    static void convertToDBFormat(const std::string& value, std::string& out);
    /// Database form of any text: escaped, then quoted.
    static std::string escapeAndQuote(const std::string& text);

    /// Whether @p value may stand between single quotes as it is: all quotes in it are doubled, and
    /// no zero byte ends the statement.
    static bool isSafeBetweenQuotes(const std::string& value);

    static void createXMLStartTag(const std::string& name, std::string& out);
    static void createXMLEndTag(const std::string& name, std::string& out);

    // Forms that text of a request must have where it enters a statement unquoted -----------------

    /// An optional sign and digits, blanks around them.
    static bool isIdentifier(const std::string& text);
    /// An optional sign and digits.
    static bool isNumber(const std::string& text);
    /// Name, TABLE.Name or TABLE.* of letters, digits and underscores.
    static bool isResultColumn(const std::string& word);
    /// Whether all words have the form of isResultColumn.
    static bool areResultColumns(const std::vector<std::string>& words);
    /// A table and the number of its columns.
    using TableWidth = std::pair<std::string, std::size_t>;
    /// Where the cells of each word of ResultCols begin in a row of @p rowWidth cells. "TABLE.*" is
    /// as wide as its table: that of @p tables, or what the other words leave of the row.
    static std::vector<std::size_t> positionsOfWords(const std::vector<std::string>& words,
                                                     std::size_t rowWidth,
                                                     const std::vector<TableWidth>& tables = {});
    /// LIKE and a text in single quotes, whose inner quotes are doubled.
    static bool isPattern(const std::string& text);

    // Tables --------------------------------------------------------------------------------------

    static bool columnIsInColumnList(const std::string& name,
                                     const std::vector<std::string>& columns);
    /// Replaces @p columns by the column names of @p table. False when it can't be read.
    static bool createColumnNameListFromDbFile(DatabaseAdapter* adapter, const std::string& table,
                                               std::vector<std::string>& columns);
    /// The rows of @p table that match, as text; empty when they can't be counted.
    static std::string countOf(DatabaseAdapter& adapter, const std::string& table,
                               PairList conditions = {});
    /// Reads @p columns, all for none, of the rows of @p table that match. A raw SQLite code.
    static int readRows(DatabaseAdapter& adapter, const std::string& table,
                        const std::vector<std::string>& columns, const PairList& conditions,
                        Rows& rows);
    /// Rows of @p table as text. 0 always; a failure looks like "0".
    static int getRowCount(DatabaseAdapter& adapter, const std::string& table, std::string& count);

    /**
     * Whether @p table may be given its default rows: the create that just ran gave 0
     * (@p createResult), or the table can be counted and is empty. A count that failed decides
     * nothing, since rows may be there that another process keeps from being read.
     */
    static bool mayInsertDefaultRows(DatabaseAdapter& adapter, const std::string& table,
                                     int createResult);

    /// What is known of a table before a request to it is served.
    enum class TableState {
        Ready,     ///< it has rows, or may be empty
        Unknown,   ///< its rows could not be counted: they may be there or not
        NotFilled  ///< it is empty, and its default rows could not be stored
    };
    /// Makes @p table through its object when it counts no rows, with all of its default rows.
    static TableState makeTableWithoutRows(DataAccessObject& dao, DatabaseAdapter& adapter,
                                           const std::string& table);
    /// The same for one that counts no rows. @p isCounted says whether that is known to be true.
    static TableState makeTable(DataAccessObject& dao, DatabaseAdapter& adapter,
                                const std::string& table, bool isCounted);

    // Whose data the telephone serves: settings of the device -------------------------------------

    /**
     * The stored current user. A visitor whose data was not downloaded to the end is put back to
     * base, here and in the table: the one case in which this reading writes.
     *
     * @param isRead false when the table could not be read; may be null
     * @return the stored text, empty without one or when it can't be read
     */
    static std::string readMobilityCurrentUserValue(DatabaseAdapter* adapter,
                                                    bool* isRead = nullptr);
    /// Stores the current user, plain text, as a new row. False on failure.
    static bool insertMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value);
    /// Stores the current user, plain text, in the row that is there. False on failure.
    static bool updateMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value);
    /// Whether the telephone serves its owner in every case. True when it can't be read; @p isRead
    /// is false then, and may be null.
    static bool isActiveMobilityModeIsBasic(DatabaseAdapter* adapter, bool* isRead = nullptr);
    /// Whether the visitor's data was downloaded to the end. True unless a row says otherwise.
    static bool isMobilityVisitorUserDataValid(DatabaseAdapter* adapter);

    // Data files ----------------------------------------------------------------------------------
    //
    // The format is described in docs/csv.md. A writer gives false, and leaves an older file as it
    // was, unless the file could be opened, every row could be read, and all of it reached the
    // disk. A line that a reader can't use is logged, and the reader goes on with the next one.

    /// Takes the version out of a header line. False, and an empty version, for another line.
    static bool getVersion(const std::string& line, std::string& version);
    /// Takes the column names out of a header line. False, with @p columns as they were, when it is
    /// none.
    static bool getColumnNames(const std::string& line, std::vector<std::string>& columns);

    /// Writes the rows of @p table that match @p conditions, without a header.
    static bool readAllItemsFromTableAndWriteToFile(DatabaseAdapter* adapter,
                                                    const std::string& table,
                                                    const std::string& path,
                                                    const PairList& conditions);
    /// Removes a file that a table went through, for good: it may hold passwords. One that is not
    /// there is as good as removed; a failure is logged.
    static void removeDataFile(const std::string& path);
    /// Writes the cells of @p columns, in that order, of the rows of @p table that match
    /// @p conditions. The first line is their names, with commas between them: what
    /// recreateTableFromFile reads. A name that is no column of the table is a failure.
    static bool readFromTableAndWriteToFileWithColumns(DatabaseAdapter* adapter,
                                                       const std::string& table,
                                                       const std::string& path,
                                                       const PairList& conditions,
                                                       const std::vector<std::string>& columns);

    /**
     * Inserts the rows of a file whose first line is the names of its columns, in a transaction of
     * its own. Fields of columns that @p table does not have are left out; a blank field of an
     * INTEGER PRIMARY KEY takes the next number.
     *
     * @return true when each line was stored; what could be stored stays also when it is false
     */
    static bool recreateTableFromFile(DatabaseAdapter* adapter, const std::string& table,
                                      const std::string& path);

    /**
     * Brings @p table to @p columns, the full list of names and types, if one of them is new, as
     * rebuildTable() does it.
     *
     * @return 0 nothing to do, 1 done, 2 failed
     */
    static int updateTableInDatabase(DatabaseAdapter* adapter, const std::string& table,
                                     PairList& columns);

    /**
     * Applies a file of values to a table, in a transaction of its own.
     *
     * A line for GENERAL_CONFIG is "Schema,UserContext,Name,Value" or "Schema,Name,Value"; without
     * a context an item of the device gets a blank one and any other that of base. The item is
     * updated, or inserted if it is missing; lines that begin with "#" are comments. The caller
     * empties the cache of settings afterwards. A line for another table has the values of
     * @p columns, in order, and becomes an inserted row.
     *
     * @return true when each line was stored; what could be stored stays also when it is false
     */
    static bool updateItemsInTableWithValuesFromFile(DatabaseAdapter* adapter,
                                                     const std::string& table,
                                                     const std::vector<std::string>& columns,
                                                     const std::string& path);

    /**
     * Rebuilds @p table in one transaction: it is renamed, @p create makes it anew, without a
     * transaction of its own, and the rows are copied by column name; NULLs become blank. A column
     * that the new table does not have is dropped, which is logged. If anything fails, or the new
     * table does not count as many rows, everything is rolled back and the table is as it was.
     *
     * @param dropFailure what is logged when the older table can't be dropped
     */
    [[nodiscard]] static bool rebuildTable(DatabaseAdapter& adapter, const std::string& table,
                                           const std::function<bool()>& create,
                                           const char* dropFailure);

    // Request bodies ------------------------------------------------------------------------------

    /**
     * The frame of a request to the generic object @p dao: parses @p text, makes the table if it
     * counts no rows, settles the user and runs the operation of the reason. A damaged request is
     * served as far as it was read: kept on purpose, older clients leave the end off.
     */
    static void handleRequestHelper(const char* text, int length, DataAccessObject& dao);

    /// Logs at level 5 that a request had @p reason, and the reasons that are @p served there.
    static void logUnknownReason(const std::string& reason,
                                 const std::vector<const std::string*>& served);

    /**
     * Reads the rows of one user.
     *
     * @param search         conditions, values in database form; the user and the row are added
     * @param rows           takes the rows
     * @param resultColumns  takes the words of @p resultColsText
     * @param resultColsText column names with blanks between them; empty for all
     * @param user           context, escaped
     * @param rowId          identifier, may be empty
     * @return 0, or 1 when the statement failed or a text has not the form that it needs
     */
    [[nodiscard]] static int readRequest(PairList& search, Rows& rows,
                                         std::vector<std::string>& resultColumns,
                                         const std::string& resultColsText, const std::string& user,
                                         const std::string& rowId, const std::string& table,
                                         DatabaseAdapter& adapter);

    /**
     * Updates rows of one user, inserting those that are missing; two rows or more stand in one
     * transaction, and fail together when it can't begin. Without @p rows the one row is @p rowId
     * with @p newValues.
     *
     * @return result of the last row that has an identifier, 1 when none has. Earlier failures of a
     *         batch are in the log alone: kept on purpose, clients send what is new last.
     */
    [[nodiscard]] static int updateRequestHelper(DatabaseAdapter& adapter, const std::string& rowId,
                                                 const std::string& user, const std::string& table,
                                                 const PairList& newValues,
                                                 const std::vector<RowData>& rows);
    [[nodiscard]] static int updateRequestHelper(DatabaseAdapter& adapter, const std::string& rowId,
                                                 const std::string& user, const std::string& table,
                                                 const PairList& newValues);
};

#endif
