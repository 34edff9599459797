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
 * What all data access objects share: quoting for SQL, the forms that request values must have
 * before they may enter a statement, and the two standard request bodies. All functions are static
 * and without state.
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

    /// The data of one closed Entry of a request.
    struct RowData {
        std::string identifier;  ///< as it goes into SQL, unquoted; its form is checked before
        PairList newValues;      ///< column and value in database form
    };

    // Quoting -------------------------------------------------------------------------------------

    /// Doubles each single quote.
    static std::string escapeSqlReservedCharacters(const std::string& text);
    /// Undoes escapeSqlReservedCharacters: two single quotes become one.
    static std::string unescapeSqlReservedCharacters(const std::string& text);
    /// Turns each "&apos;" into a single quote.
    static std::string escapeSqlReservedString(const std::string& text);
    /// Puts @p escape in front of each @p reserved.
    static std::string escapeReservedCharacter(const std::string& text, char reserved, char escape);
    /// Converts to database form: @p value between single quotes. It does not escape the value.
    static std::string convertToDBFormat(const std::string& value);
    static void convertToDBFormat(const std::string& value, std::string& out);
    /// Converts any string to database form: escaped, then quoted.
    static std::string escapeAndQuote(const std::string& text);

    /// Whether @p value may stand between single quotes unchanged: all its quotes are doubled, and
    /// it has no zero byte that would end the statement.
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
    /// as wide as its table in @p tables, or as the cells that the other words leave over.
    static std::vector<std::size_t> positionsOfWords(const std::vector<std::string>& words,
                                                     std::size_t rowWidth,
                                                     const std::vector<TableWidth>& tables = {});
    /// Whether @p text is LIKE and a string in single quotes, with inner quotes doubled.
    static bool isPattern(const std::string& text);

    // Tables --------------------------------------------------------------------------------------

    static bool columnIsInColumnList(const std::string& name,
                                     const std::vector<std::string>& columns);
    /// Replaces @p columns by the column names of @p table. False when it can't be read.
    static bool createColumnNameListFromDbFile(DatabaseAdapter* adapter, const std::string& table,
                                               std::vector<std::string>& columns);
    /// The number of matching rows of @p table as a string; empty if they can't be counted.
    static std::string countOf(DatabaseAdapter& adapter, const std::string& table,
                               PairList conditions = {});
    /// Reads @p columns (all if empty) of the rows of @p table that match. Returns a raw SQLite
    /// code.
    static int readRows(DatabaseAdapter& adapter, const std::string& table,
                        const std::vector<std::string>& columns, const PairList& conditions,
                        Rows& rows);
    /// The number of rows of @p table as a string. Always returns 0; a failure looks like "0".
    static int getRowCount(DatabaseAdapter& adapter, const std::string& table, std::string& count);

    /**
     * Whether @p table may get its default rows: it was just created (@p createResult is 0), or it
     * can be counted and is empty. A failed count allows nothing, because rows may exist that
     * another process has locked.
     */
    static bool mayInsertDefaultRows(DatabaseAdapter& adapter, const std::string& table,
                                     int createResult);

    /// What is known of a table before a request to it is served.
    enum class TableState {
        Ready,     ///< it has rows, or may be empty
        Unknown,   ///< its rows could not be counted, so it may have rows or not
        NotFilled  ///< it is empty, and its default rows could not be stored
    };
    /// If the table has no rows, creates it through its object with all default rows.
    static TableState makeTableWithoutRows(DataAccessObject& dao, DatabaseAdapter& adapter,
                                           const std::string& table);
    /// The same for a table whose row count is 0. @p isCounted: whether that count is certain.
    static TableState makeTable(DataAccessObject& dao, DatabaseAdapter& adapter,
                                const std::string& table, bool isCounted);

    // Whose data the telephone serves: settings of the device -------------------------------------

    /**
     * The stored current user. If a visitor's data was not downloaded completely, the user becomes
     * base, here and in the table. This is the only case in which this function writes.
     *
     * @param isRead false when the table could not be read; may be null
     * @return the stored text, empty without one or when it can't be read
     */
    static std::string readMobilityCurrentUserValue(DatabaseAdapter* adapter,
                                                    bool* isRead = nullptr);
    /// Stores the current user (unescaped) as a new row. False on failure.
    static bool insertMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value);
    /// Stores the current user (unescaped) in the existing row. False on failure.
    static bool updateMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value);
    /// Whether the telephone always serves its owner (basic mobility). True also if this can't be
    /// read; @p isRead is false then, and may be null.
    static bool isActiveMobilityModeIsBasic(DatabaseAdapter* adapter, bool* isRead = nullptr);
    /// Whether the visitor's data was downloaded completely. True unless a row says otherwise.
    static bool isMobilityVisitorUserDataValid(DatabaseAdapter* adapter);

    // Data files ----------------------------------------------------------------------------------
    //
    // The format is described in docs/csv.md. A writer returns true only if the file could be
    // opened, every row could be read, and all of it reached the disk. Otherwise an older file
    // stays as it was. A line that a reader can't use is logged, and the reader continues with the
    // next line.

    /// Reads the version from a header line. False, and an empty version, for any other line.
    static bool getVersion(const std::string& line, std::string& version);
    /// Reads the column names from a header line. For any other line false, and @p columns does not
    /// change.
    static bool getColumnNames(const std::string& line, std::vector<std::string>& columns);

    /// Writes the rows of @p table that match @p conditions, without a header.
    static bool readAllItemsFromTableAndWriteToFile(DatabaseAdapter* adapter,
                                                    const std::string& table,
                                                    const std::string& path,
                                                    const PairList& conditions);
    /// Removes a file that was used to move a table, since it may hold passwords. A file that does
    /// not exist counts as removed; a failure is logged.
    static void removeDataFile(const std::string& path);
    /// Writes the cells of @p columns, in that order, of the rows of @p table that match
    /// @p conditions. The first line has the column names with commas between them, as
    /// recreateTableFromFile expects. If a name is not a column of the table, the export fails.
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
     * @return true if each line was stored; even if it is false, the lines that could be stored
     *         stay
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
     * @return true if each line was stored; even if it is false, the lines that could be stored
     *         stay
     */
    static bool updateItemsInTableWithValuesFromFile(DatabaseAdapter* adapter,
                                                     const std::string& table,
                                                     const std::vector<std::string>& columns,
                                                     const std::string& path);

    /**
     * Rebuilds @p table in one transaction: the old table is renamed, @p create creates the new one
     * without a transaction of its own, and the rows are copied by column name; NULLs become blank.
     * A column that the new table does not have is dropped, which is logged. If anything fails, or
     * the new table has another number of rows, everything is rolled back.
     *
     * @param dropFailure what is logged when the older table can't be dropped
     */
    [[nodiscard]] static bool rebuildTable(DatabaseAdapter& adapter, const std::string& table,
                                           const std::function<bool()>& create,
                                           const char* dropFailure);

    // Request bodies ------------------------------------------------------------------------------

    /**
     * The frame of a request to the generic object @p dao: parses @p text, creates the table if it
     * has no rows, decides which user the request is for, and runs the operation of the reason. A
     * damaged request is served as far as it could be read: kept on purpose, older clients leave
     * out the end.
     */
    static void handleRequestHelper(const char* text, int length, DataAccessObject& dao);

    /// Logs at level 5 that the request had @p reason, and that only the reasons @p served are
    /// supported.
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
     * @return 0, or 1 if the statement failed or a value has the wrong form for it
     */
    [[nodiscard]] static int readRequest(PairList& search, Rows& rows,
                                         std::vector<std::string>& resultColumns,
                                         const std::string& resultColsText, const std::string& user,
                                         const std::string& rowId, const std::string& table,
                                         DatabaseAdapter& adapter);

    /**
     * Updates rows of one user, inserting those that are missing; two rows or more share one
     * transaction, and all fail if it can't begin. If @p rows is empty, the only row is @p rowId
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
