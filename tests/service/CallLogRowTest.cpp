#include "calls/CallLogRow.h"

#include <algorithm>

#include "testkit/ServiceTest.h"

namespace {

using namespace CallLogColumns;

/// Records from a text: of each word the number, "-" for none, and after a colon the second of the
/// call, nothing for an undated one.
std::vector<CallLogRecord> records(const std::string& words) {
    std::vector<CallLogRecord> result;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        const auto colon = word.find(':');
        CallLogRecord& record = result.emplace_back();
        record[Number] = word.substr(0, colon) == "-" ? "" : word.substr(0, colon);
        const std::string second = word.substr(colon + 1);
        record[TimeDate] = second.empty() ? "" : "2014-03-07T09:15:" + second;
    }
    return result;
}

/// The reverse of records().
std::string words(const CallLogRow& row) {
    std::string text;
    for (const CallLogRecord& record : row.records) {
        const std::string& time = record[TimeDate];
        text += text.empty() ? "" : " ";
        text += record[Number].empty() ? "-" : record[Number];
        text += ":" + (time.empty() ? "" : time.substr(time.size() - 2));
    }
    return text;
}

CallLogRow rowOf(const std::string& text) {
    CallLogRow row;
    row.records = records(text);
    return row;
}

Rows rowsOfCells(std::size_t count) {
    Rows rows(1);
    for (std::size_t i = 0; i < count; ++i) {
        rows[0].push_back("c" + std::to_string(i));
    }
    return rows;
}

}  // namespace

TEST(CallLogRowTest, CellsAreTakenFromThePlacesThatGrowthOfTheTableLeft) {
    const Rows rows = rowsOfCells(139);
    const CallLogRow row(rows.begin());
    EXPECT_EQ(row.userContext + row.uniqueId + row.category + row.entryId, "c0c1c2c3");
    EXPECT_EQ(row.surname + row.firstname + row.pictureClip + row.viewed, "c4c5c6c7");
    EXPECT_EQ(row.jsGroupBy, "c108");
    ASSERT_EQ(row.records.size(), 10U);
    const std::size_t laterFields[] = {98, 109, 119, 129};
    for (std::size_t place = 0; place < 10; ++place) {
        for (std::size_t field = 0; field < FieldCount; ++field) {
            const std::size_t cell =
                field < 9 ? 8 + 9 * place + field : laterFields[field - 9] + place;
            EXPECT_EQ(row.records[place][static_cast<Field>(field)], "c" + std::to_string(cell));
            CallLogRecord record;
            EXPECT_TRUE(record.isEmpty());
            record[static_cast<Field>(field)] = " ";
            EXPECT_FALSE(record.isEmpty());
        }
    }
    for (const std::size_t size : {0U, 8U, 98U, 138U}) {
        const Rows shortRows = rowsOfCells(size);
        EXPECT_THROW(CallLogRow{shortRows.begin()}, std::out_of_range) << size;
    }
}

TEST(CallLogRowTest, EachTextAndEachRecordCountsForEquality) {
    const Rows rows = rowsOfCells(139);
    const CallLogRow row(rows.begin());
    EXPECT_TRUE(row == CallLogRow(rows.begin()));
    for (std::size_t i = 0; i < rows[0].size(); ++i) {
        Rows changed = rows;
        changed[0][i] = "other";
        EXPECT_TRUE(row != CallLogRow(changed.begin())) << i;
    }
    CallLogRow fewer = row;
    fewer.records.pop_back();
    EXPECT_TRUE(row != fewer);
}

TEST(CallLogRowTest, TextForLogsShowsTheRowAndAMainLineForEachRecord) {
    const Rows rows = rowsOfCells(139);
    CallLogRow row(rows.begin());
    row.records.resize(2);
    EXPECT_EQ(row.toString(),
              "[c0][c1][c2][c3][c4][c5][c6][c7][c108]\n"
              "\t\t[c9][c15][c16][c98][c109][c119][c129]\n"
              "\t\t[c18][c24][c25][c99][c110][c120][c130]\n");
}

TEST(CallLogRowTest, NormalizeKeepsTheTenNewest) {
    const struct {
        const char* before;
        const char* after;
    } rows[] = {
        {"", ""},
        {"A:01 B: A:03", "A:03 A:01 B:"},
        {"A:05 A:01 A:14 -: A:02 A:13 A:03 A:12 A:04 A:11 A:06 A:10 A:07 A:09 A:08",
         "A:14 A:13 A:12 A:11 A:10 A:09 A:08 A:07 A:06 A:05"},
    };
    for (const auto& row : rows) {
        CallLogRow callRow = rowOf(row.before);
        callRow.normalize();
        EXPECT_EQ(words(callRow), row.after);
    }
}

TEST(CallLogRowTest, CallsOfOtherNumbersLeaveTheRow) {
    const struct {
        const char* name;
        const char* before;
        const char* kept;
        std::map<std::string, std::string> others;
    } rows[] = {
        {"empty", "", "", {}},
        {"no number at all", "-:01 -: -:03", "-:03 -:01 -:", {}},
        {"another between", "A:03 B:02 A:01", "A:03 A:01", {{"B", "B:02"}}},
        {"no number between", "A:01 -:02 A:03", "A:03 -:02 A:01", {}},
        {"no later number is lost", "A:02 -:01 -:", "A:02", {}},
        {"the oldest number stays",
         "A:01 B:03 C:02 B:04",
         "A:01",
         {{"B", "B:03 B:04"}, {"C", "C:02"}}},
        {"an undated number is the oldest", "A:03 B: A:02", "B:", {{"A", "A:02 A:03"}}},
        {"a number is compared as it is", "1:02 01:01", "01:01", {{"1", "1:02"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CallLogRow callRow = rowOf(row.before);
        std::map<std::string, CallLogRow> others;
        callRow.extractCallRecordsThatDoNotMatch(others);
        EXPECT_EQ(words(callRow), row.kept);
        std::map<std::string, std::string> moved;
        for (const auto& [number, other] : others) {
            moved[number] = words(other);
        }
        EXPECT_EQ(moved, row.others);
    }
}

TEST(CallLogRowTest, ANewRowTakesUserAndCategoryAndAnEntryIdOfItsOwn) {
    const struct {
        const char* number;
        const char* hex;
    } rows[] = {
        {"891234", "000D9962"},
        {"x12", "00000000"},
        {"12x", "0000000C"},
        {"-1", "FFFFFFFF"},
        {"4912345678901", "7FFFFFFF"},
        {"1234567890123456789012345678901234567890123456789012345678901234567890", "7FFFFFFF"}};
    for (const auto& row : rows) {
        CallLogRow callRow = rowOf("A:29 " + std::string(row.number) + ":30");
        callRow.userContext = "visitor";
        callRow.category = "Missed";
        callRow.uniqueId = "7";
        callRow.surname = "Braun";
        CallLogRow expected;
        expected.userContext = "visitor";
        expected.category = "Missed";
        expected.entryId = std::string("2014-03-07T09:15:30") + row.hex;
        expected.records = records(std::string(row.number) + ":30");
        std::map<std::string, CallLogRow> others;
        callRow.extractCallRecordsThatDoNotMatch(others);
        EXPECT_TRUE(others[row.number] == expected) << others[row.number].toString();
    }
}

TEST(CallLogRowTest, ARowThatIsThereTakesTheCallAndStaysWhatItIs) {
    CallLogRow row = rowOf("A:29 B:30");
    std::map<std::string, CallLogRow> others = {{"B", rowOf("B:28")}};
    others["B"].entryId = "old";
    row.extractCallRecordsThatDoNotMatch(others);
    EXPECT_EQ(words(others["B"]), "B:28 B:30");
    EXPECT_EQ(others["B"].entryId, "old");
}

TEST(CallLogRowTest, AnUnreadableTimeRaisesAndLeavesRowAndMap) {
    CallLogRow row = rowOf("A:29 B:30 A:28");
    row.records[1][TimeDate] = "yesterday";
    const CallLogRow before = row;
    std::map<std::string, CallLogRow> others;
    EXPECT_ANY_THROW(row.sortRecords());
    EXPECT_ANY_THROW(row.normalize());
    EXPECT_ANY_THROW(row.extractCallRecordsThatDoNotMatch(others));
    EXPECT_TRUE(row == before);
    EXPECT_TRUE(others.empty());
}

TEST(CallLogRowTest, RowsAreComparedAndSortedByTheirFirstRecord) {
    std::vector<CallLogRow> rows = {rowOf("A:01 A:09"), rowOf("B:"), rowOf("C:03"), rowOf("D:")};
    EXPECT_TRUE(CallLogRow::compareCallLogRowByTime(rows[2], rows[0]));
    EXPECT_FALSE(CallLogRow::compareCallLogRowByTime(rows[0], rows[2]));
    CallLogRow::sortByFirstRecord(rows);
    EXPECT_EQ(words(rows[0]) + " " + words(rows[1]), "C:03 A:01 A:09");
    EXPECT_THROW(CallLogRow::compareCallLogRowByTime(rows[0], CallLogRow()), std::out_of_range);
}

using CallLogRowDbTest = ServiceTest;

TEST_F(CallLogRowDbTest, StatementReplacesANumberedRowAndInsertsAnother) {
    CallLogRow row = rowOf("A:01");
    row.userContext = "base";
    row.updateDb(&service());
    row.uniqueId = "5";
    row.updateDb(&service());
    // Without a table the log shows the statements.
    EXPECT_TRUE(
        m_log.has("'INSERT INTO CALL_LOG (UserContext, Category, EntryId, Surname, "
                  "Firstname, PictureClip, Viewed, JSGroupBy, MornetTStimeFormat0, "
                  "Number0, NumberType0, AuxiliaryNumber0, AuxiliaryNumberType0, "
                  "AuxSurname0, AuxFirstName0, TimeDate0, Duration0, ResolvedNumber0, "
                  "CompletedElsewhere0, GroupName0, GroupNumber0, MornetTStimeFormat1, "));
    EXPECT_TRUE(m_log.has(", GroupNumber9) VALUES ('base', '', '', '', '', '', '', '', '', 'A', "));
    EXPECT_TRUE(m_log.has("'REPLACE INTO CALL_LOG (UserContext, UniqueId, Category, "));
    EXPECT_TRUE(m_log.has(") VALUES ('base', '5', '', '', '', '', '', '', '', '', 'A', "));
    row.updateDb(nullptr);

    (void)send("CallLog", "read_request");  // makes the table
    row.records.resize(11);
    row.updateDb(&service());
    row.surname = "it's";
    row.updateDb(&service());  // would break the statement
    const Rows stored = sql("SELECT * FROM CALL_LOG");
    ASSERT_EQ(stored.size(), 1U);
    row.surname.clear();
    row.records.resize(10);
    EXPECT_TRUE(CallLogRow(stored.begin()) == row);
    EXPECT_TRUE(m_log.has(3, "a quote in row UniqueId='5'"));
}
