#ifndef SHEET_H
#define SHEET_H

#include <string>
#include <vector>

/// Data as people see it: named columns, and rows with a text for each of them. What a cell means
/// is known to the command that makes it; what it looks like is decided when it is printed.
/// Each row has as many texts as there are columns. The texts are raw: who prints them makes
/// control characters visible, or quotes them for the format.
struct Sheet {
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
    bool isProse = false;  ///< cells are sentences or lists: broken on a terminal, never cut
    bool isTable = false;  ///< rows of the service: a table for people leaves out blank columns
    std::vector<std::string> chosen = {};  ///< the columns of such a table; none for all
};

#endif
