#ifndef SHEET_H
#define SHEET_H

#include <string>
#include <vector>

/// Data for people: named columns, and rows with a string for each column. The command that makes a
/// sheet knows what its cells mean; the printer decides how it looks. Each row has as many strings
/// as there are columns. The strings are raw: code that prints them must make control characters
/// visible, or quote them for its format.
struct Sheet {
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
    bool isProse = false;  ///< cells are sentences or lists: wrapped on a terminal, never cut
    bool isTable = false;  ///< rows of the service: a table for people leaves out blank columns
    std::vector<std::string> chosen = {};  ///< the columns that such a table shows; empty for all
};

#endif
