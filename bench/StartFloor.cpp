// das_start_floor: runs the statements of a file on a database, over the bare SQLite interface.
//
// Usage: das_start_floor DATABASE FILE. Each statement of the file ends with a zero byte.

#include <fstream>
#include <iostream>
#include <string>

#include "FloorDatabase.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "das_start_floor: a database and a file are needed\n";
        return 2;
    }
    Bench::FloorDatabase database(argv[1]);
    std::ifstream file(argv[2], std::ios::binary);
    for (std::string sql; std::getline(file, sql, '\0');) {
        (void)database.rows(sql);
    }
    std::cout << "base\n";
    if (!database.failure().empty()) {
        std::cerr << "das_start_floor: " << database.failure() << "\n";
        return 1;
    }
    return 0;
}
