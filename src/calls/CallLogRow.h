#ifndef CALLLOGROW_H
#define CALLLOGROW_H

#include <map>
#include <string>
#include <vector>

#include "DASTypes.h"
#include "calls/CallLogRecord.h"

class DataAccessServiceIfc;

/**
 * One row of the call log in memory: calls of one number in one category. A row read from the
 * database has exactly ten records, including empty ones. During the repair it may have more or
 * fewer.
 */
class CallLogRow {
public:
    /// All strings empty, no records.
    CallLogRow() = default;
    /// From a row of all columns; one that is too short throws std::out_of_range.
    explicit CallLogRow(const std::vector<std::string>& row);
    explicit CallLogRow(Rows::const_iterator row) : CallLogRow(*row) {}

    bool operator==(const CallLogRow& other) const;
    bool operator!=(const CallLogRow& other) const { return !(*this == other); }

    /// For logs: the values of the row and, on a line each, the main fields of the records.
    std::string toString() const;

    /**
     * Writes the row: without a row number as a new row, else over the row with that number.
     * Records after the tenth are left out. Nothing is escaped, since values are written in the
     * form in which they were stored. If a value would break the statement, the row is not written.
     * A failure is only logged.
     */
    void updateDb(DataAccessServiceIfc* service) const;
    /// The same with a result: false if the row was not stored as it is here.
    [[nodiscard]] bool writeTo(DataAccessServiceIfc* service) const;
    /// Whether no value that is written would break the statement.
    bool isSafeInStatement() const;

    /// Like CallLogRecord::compareCallLogRecordsAsTime over the first record of each. A row without
    /// records throws std::out_of_range.
    static bool compareCallLogRowByTime(const CallLogRow& first, const CallLogRow& second);
    /// Sorts rows by the time of their first record; each row must have one. A time that can't be
    /// read throws.
    static void sortByFirstRecord(std::vector<CallLogRow>& rows);

    /// Newest first, without a date last. A time that can't be read throws, and the order does not
    /// change.
    void sortRecords();
    /// Calls sortRecords, then keeps only the ten newest.
    void normalize();

    /**
     * Keeps in this row the calls of one number, the number of its oldest call that has one, and
     * the calls without a number among them; newest first. Each call of another number moves to the
     * row of that number in @p rowsByNumber, which is created if it is missing. Nothing is stored.
     */
    void extractCallRecordsThatDoNotMatch(std::map<std::string, CallLogRow>& rowsByNumber);

    /// The statement that writeTo() runs.
    std::string statement() const;

    std::string userContext;
    std::string uniqueId;
    std::string category;
    std::string entryId;
    std::string surname;
    std::string firstname;
    std::string pictureClip;
    std::string viewed;
    std::string jsGroupBy;
    std::vector<CallLogRecord> records;

private:
    /// Pointers to the nine strings, in the order of the class.
    std::vector<const std::string*> texts() const;
    /// Moves @p record to the row of its number in @p rowsByNumber. If this creates the row, it
    /// gets the user and the category of this one.
    void moveToRowOfItsNumber(CallLogRecord&& record,
                              std::map<std::string, CallLogRow>& rowsByNumber) const;
};

#endif
