// Data files: tables of the size of a full phone book and of a full call log.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "Bench.h"
#include "Storage.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace Bench;

const char* const tableName = "T";
const char* const readAll = "SELECT * FROM T;";
const char* const wholeFile = "whole file";
const std::string servicePath = "/tmp/service.csv";
const std::string floorPath = "/tmp/floor.csv";

struct Size {
    int rows;
    int columns;
};

std::vector<std::string> columnsOf(Size size) {
    std::vector<std::string> names;
    for (int i = 0; i < size.columns; ++i) {
        names.push_back("Column" + std::to_string(i));
    }
    return names;
}

/// Most cells of such tables are short, many are blank, some contain a comma.
std::string cellAt(int row, int column) {
    switch (column % 5) {
        case 1:
            return {};
        case 2:
            return "Street " + std::to_string(row) + ", Town";
        default:
            return std::to_string(1000000 + row) + "-" + std::to_string(column);
    }
}

std::string insertStatement(Size size, int row) {
    std::string names;
    std::string values;
    for (int i = 0; i < size.columns; ++i) {
        names += (i > 0 ? ", Column" : "Column") + std::to_string(i);
        values += (i > 0 ? ", '" : "'") + cellAt(row, i) + "'";
    }
    return std::string("INSERT OR REPLACE INTO T (") + names + ") VALUES (" + values + ");";
}

/// A data access object that inserts the rows of a file, as the phone book and the call log do.
class RowObject : public DataAccessObject {
public:
    using DataAccessObject::DataAccessObject;

    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override {
        std::vector<std::string> texts;
        texts.reserve(values.size());
        for (const std::string& value : values) {
            texts.push_back(DASUtils::escapeAndQuote(value));
        }
        return m_dbAdapter->insertRow(table, names, texts, nullptr);
    }
};

void makeRows(DataAccessService& service, Size size) {
    DatabaseAdapter& adapter = *service.getAdapter();
    PairList columns;
    for (const std::string& name : columnsOf(size)) {
        columns.emplace_back(name, "TEXT");
    }
    (void)adapter.createTable(tableName, columns);
    TransactionGuard transaction(adapter);
    for (int row = 0; row < size.rows; ++row) {
        (void)adapter.executeNonQuery(insertStatement(size, row));
    }
}

/// The part of a file that is compared: its contents in the first round, its size in the measured
/// rounds.
std::string answerOf(const std::string& path, const std::string& kind) {
    std::ifstream file(Storage::devicePath(path), std::ios::binary | std::ios::ate);
    if (kind != wholeFile) {
        return std::to_string(file.tellg());
    }
    file.seekg(0);
    return {std::istreambuf_iterator<char>(file), {}};
}

void appendLine(std::string& text, const std::vector<std::string>& row) {
    bool first = true;
    for (const std::string& value : row) {
        if (!first) {
            text += ',';
        }
        first = false;
        for (const char c : value) {
            if (c == ',') {
                text += '\\';
            }
            text += c;
        }
    }
    text += '\n';
}

bool writeTo(int file, const std::string& text) {
    return ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Replaces an existing file, and brings it to the disk, by one write.
bool replaceFile(const Rows& rows) {
    const std::string place = Storage::devicePath(floorPath);
    const std::string other = place + ".new";
    std::string text;
    for (const auto& row : rows) {
        appendLine(text, row);
    }
    const int file = ::open(other.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool written = writeTo(file, text) && ::fsync(file) == 0;
    ::close(file);
    const int folder = ::open(Storage::devicePath("/tmp").c_str(), O_RDONLY | O_CLOEXEC);
    const bool placed = std::rename(other.c_str(), place.c_str()) == 0 && ::fsync(folder) == 0;
    ::close(folder);
    return written && placed;
}

Operation makeOperation(const char* name, Size size) {
    Operation operation;
    operation.name = name;
    operation.prepare = [size](DataAccessService& service) { makeRows(service, size); };
    operation.request = [](int round) { return round == 1 ? wholeFile : "size"; };
    return operation;
}

Operation exportOf(const char* name, Size size,
                   const std::function<bool(DataAccessService&)>& write,
                   bool (*writeFloor)(const Rows&)) {
    Operation operation = makeOperation(name, size);
    operation.statements = [](int round) {
        return Texts{readAll, round == 1 ? wholeFile : "size"};
    };
    operation.service = [write](DataAccessService& service, const std::string& kind) {
        return write(service) ? answerOf(servicePath, kind) : "failed";
    };
    operation.floor = [writeFloor](FloorDatabase& db, const Texts& sql) {
        return writeFloor(db.rows(sql[0])) ? answerOf(floorPath, sql[1]) : "failed";
    };
    return operation;
}

bool exportByDoor(DataAccessService& service) {
    return DASUtils::readAllItemsFromTableAndWriteToFile(service.getAdapter(), tableName,
                                                         servicePath, {});
}

bool exportTable(DataAccessService& service) {
    PairList all;
    std::string noVersion;
    return RowObject(service.getAdapter()).exportTable(tableName, servicePath, all, noVersion);
}

Operation importOf(const char* name, Size size) {
    Operation operation = makeOperation(name, size);
    operation.prepare = [size](DataAccessService& service) {
        makeRows(service, size);
        (void)exportByDoor(service);
    };
    operation.reset = [](int) { return Texts{"DELETE FROM T;"}; };
    operation.statements = [size](int) {
        Texts texts = {readAll, "BEGIN IMMEDIATE TRANSACTION;"};
        for (int row = 0; row < size.rows; ++row) {
            texts.push_back(insertStatement(size, row));
        }
        texts.emplace_back("END TRANSACTION;");
        return texts;
    };
    operation.service = [columns = columnsOf(size)](DataAccessService& service,
                                                    const std::string&) {
        std::vector<std::string> names = columns;
        std::string path = servicePath;
        const bool done =
            RowObject(service.getAdapter()).importDataFromFile(tableName, names, path);
        return std::string(done ? "" : "failed");
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        db.prepare(sql[0]);
        for (std::size_t i = 1; i < sql.size(); ++i) {
            db.run(sql[i]);
        }
        return std::string();
    };
    return operation;
}

constexpr Size phoneBook = {10000, 20};
constexpr Size callLog = {1000, 139};

const Registration registration(
    {exportOf("Csv/Export10000x20", phoneBook, exportByDoor, replaceFile),
     exportOf("Csv/Export1000x139", callLog, exportByDoor, replaceFile),
     exportOf("Csv/ExportTable10000x20", phoneBook, exportTable, replaceFile),
     importOf("Csv/Import10000x20", phoneBook), importOf("Csv/Import1000x139", callLog)});

}  // namespace
