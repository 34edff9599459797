// What a program does that keeps settings and contacts by SQLiteCpp, in its own process. Built and
// run by peers.py with the name of a database; prints a line for each time: name and microseconds.

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr int Contacts = 1000;
constexpr int Rounds = 300;

std::string numberOf(int contact) {
    return "+49 171 2" + std::to_string(100000 + contact);
}

template <typename Work>
void measure(const char* name, Work work) {
    std::vector<double> times;
    for (int round = 0; round < Rounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work(round);
        times.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
                .count());
    }
    std::cout << name << ' ' << *std::min_element(times.begin(), times.end()) << '\n';
}

void fill(SQLite::Database& database) {
    database.exec(
        "CREATE TABLE settings (name TEXT PRIMARY KEY, value TEXT);"
        "CREATE TABLE contacts (id INTEGER PRIMARY KEY, surname TEXT, office TEXT, mobile TEXT);"
        "CREATE INDEX offices ON contacts (office); CREATE INDEX mobiles ON contacts (mobile);");
    SQLite::Transaction transaction(database);
    for (int item = 0; item < 100; ++item) {
        database.exec("INSERT INTO settings VALUES ('Item" + std::to_string(item) + "', '0')");
    }
    SQLite::Statement insert(database, "INSERT INTO contacts VALUES (NULL, ?, '', ?)");
    for (int contact = 0; contact < Contacts; ++contact) {
        insert.bind(1, "Surname" + std::to_string(contact));
        insert.bind(2, numberOf(contact));
        insert.exec();
        insert.reset();
    }
    transaction.commit();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "a database must be named\n";
        return 2;
    }
    SQLite::Database database(argv[1], SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    fill(database);
    std::string answer;
    measure("read", [&](int) {
        SQLite::Statement read(database, "SELECT value FROM settings WHERE name = ?");
        read.bind(1, "Item50");
        answer = read.executeStep() ? read.getColumn(0).getString() : "";
    });
    measure("write", [&](int round) {
        SQLite::Statement write(database, "UPDATE settings SET value = ? WHERE name = 'Item50'");
        write.bind(1, std::to_string(round + 1));
        write.exec();
    });
    measure("search", [&](int round) {
        SQLite::Statement search(database,
                                 "SELECT * FROM contacts WHERE office = ?1 OR mobile = ?1");
        search.bind(1, numberOf(round));
        answer = search.executeStep() ? search.getColumn(1).getString() : "";
    });
    measure("update", [&](int round) {
        SQLite::Statement update(database, "UPDATE contacts SET mobile = ? WHERE id = 50");
        update.bind(1, std::to_string(round + 1));
        update.exec();
    });
}
