#ifndef CALLLOGROW_H
#define CALLLOGROW_H

#include <map>
#include <string>
#include <vector>

#include "DASTypes.h"
#include "calls/CallLogRecord.h"

class DataAccessServiceIfc;

/**
 * One row of the call log in memory: calls of one number in one category. Read from the database it
 * has exactly ten records, empty ones included; in repair it may have more or fewer.
 */
class CallLogRow {
public:
    /// All texts empty, no records.
    CallLogRow() = default;
    /// From a row of all columns; one that is too short throws std::out_of_range.
    explicit CallLogRow(const std::vector<std::string>& row);
    explicit CallLogRow(Rows::const_iterator row) : CallLogRow(*row) {}

    bool operator==(const CallLogRow& other) const;
    bool operator!=(const CallLogRow& other) const { return !(*this == other); }

    /// For logs: the texts of the row and, a line each, the main fields of the records.
    std::string toString() const;

    /**
     * Writes the row: as a new one without a row number, else over the row of that number. Records
     * after the tenth are left out. Nothing is escaped, since values go back in the form in which
     * they were stored; a row with a value that would break the statement stays as it was. No
     * result: what failed is in the log.
     */
    void updateDb(DataAccessServiceIfc* service) const;
    /// The same with a result: false when the row does not stand in the database as it is here.
    [[nodiscard]] bool writeTo(DataAccessServiceIfc* service) const;
    /// Whether no value that is written would break the statement.
    bool isSafeInStatement() const;

    /// Like CallLogRecord::compareCallLogRecordsAsTime over the first record of each. A row without
    /// records throws std::out_of_range.
    static bool compareCallLogRowByTime(const CallLogRow& first, const CallLogRow& second);
    /// Sorts rows by the time of their first record; each must have one. Throws like a time that
    /// can't be read.
    static void sortByFirstRecord(std::vector<CallLogRow>& rows);

    /// Newest first, undated last. A time that can't be read throws and leaves the order.
    void sortRecords();
    /// sortRecords, then only the ten newest stay.
    void normalize();

    /**
     * Leaves in this row the calls of one number, that of its oldest numbered call, newest first,
     * with calls without a number that stand among them. A call of another number goes to the row
     * of that number in @p rowsByNumber, which is made when it is missing. Nothing is stored.
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
    /// Pointers to the nine texts, in the order of the class.
    std::vector<const std::string*> texts() const;
    /// Hands @p record to the row of its number in @p rowsByNumber. A row that is made for it is of
    /// the same user and category as this one.
    void moveToRowOfItsNumber(CallLogRecord&& record,
                              std::map<std::string, CallLogRow>& rowsByNumber) const;
};

#endif
