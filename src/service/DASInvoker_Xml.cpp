// The strings of file methods in the XML protocol: values cut out of a request, and a directory
// listing. No XML parser is used, because clients send and expect strings that are not well-formed.

#define DAS_LOG_COMPONENT "DASInvoker"

#include <string_view>
#include <unordered_map>
#include <vector>

#include "Log.h"
#include "database/LoggedText.h"
#include "service/DASInvoker.h"

namespace {

/// Writes a directory listing. It indexes the paths once, instead of searching them for each
/// subdirectory.
class DirectoryTreeText {
public:
    DirectoryTreeText(const DirectoryList& directories, const DirectoryList& files)
        : m_hasDirectories(!directories.empty()) {
        for (const auto& entry : directories) {
            // If a path occurs twice, the first entry counts.
            m_directories.emplace(entry.first, &entry);
        }
        for (const auto& entry : files) {
            m_files[entry.first].push_back(&entry);
        }
    }

    void write(const DirectoryList::value_type* entry, const std::string& name, std::string& text) {
        DAS_LOG(5, "constructDirectoryTreeResponse");
        const std::string& directory = m_hasDirectories ? entry->first : name;
        open(directory, text);
        text += "<subdirectory>";
        if (m_hasDirectories) {
            writeSubdirectories(*entry, name, text);
        }
        text += "</subdirectory><filelist>";
        writeFiles(directory, text);
        text += "</filelist></directorytree>";
    }

private:
    using Entry = DirectoryList::value_type;

    static void open(const std::string& directory, std::string& text) {
        text.append("<directorytree name=\"").append(directory).append("\">");
    }

    void writeSubdirectories(const Entry& entry, const std::string& name, std::string& text) {
        for (const std::string& subdirectory : entry.second) {
            const auto found = m_directories.find(subdirectory);
            if (found != m_directories.end()) {
                write(found->second, name, text);
            } else {
                open(subdirectory, text);  // never closed: kept on purpose, its readers expect it
            }
        }
    }

    void writeFiles(const std::string& directory, std::string& text) const {
        const auto found = m_files.find(directory);
        if (found == m_files.end()) {
            return;
        }
        for (const Entry* const entry : found->second) {
            for (const std::string& file : entry->second) {
                text.append("<fileinfo directory=\"").append(directory);
                text.append("\" name=\"").append(file).append("\" />");
            }
        }
    }

    const bool m_hasDirectories;
    std::unordered_map<std::string_view, const Entry*> m_directories;
    std::unordered_map<std::string_view, std::vector<const Entry*>> m_files;
};

/// Finds the next two double quotes from @p position on, and returns the string between them in
/// @p quoted. @p position then follows the second quote.
bool cutQuoted(const std::string& text, std::size_t& position, std::string_view& quoted) {
    const std::size_t open = text.find('"', position);
    const std::size_t close = open == std::string::npos ? open : text.find('"', open + 1);
    if (close == std::string::npos) {
        return false;
    }
    quoted = std::string_view(text).substr(open + 1, close - open - 1);
    position = close + 1;
    return true;
}

}  // namespace

bool DASInvoker::extractParamFromXMLString(const std::string& xml, const std::string& name,
                                           std::string& value) {
    DAS_LOG(5, "extractParamFromXMLString");
    std::size_t position = xml.find(name);
    if (position == std::string::npos) {
        DAS_LOG(5, "extractParamFromXMLString parameter:(%s) not found in: (%s).\n", name.c_str(),
                LoggedText::request(xml).c_str());
        return false;
    }
    std::string_view quoted;
    if (!cutQuoted(xml, position, quoted)) {
        return false;
    }
    value = quoted;
    DAS_LOG(5, "extractParamFromXMLString parameter:(%s) value was: (%s).\n", name.c_str(),
            value.c_str());
    return true;
}

int DASInvoker::parsePathFilename(int position, const std::string& xml, std::string& path) {
    std::size_t place = static_cast<std::size_t>(position);
    std::string_view quoted;
    if (position < 0 || !cutQuoted(xml, place, quoted)) {
        return -1;
    }
    path = quoted;
    if (path.empty() || path.back() != '/') {
        path += '/';
    }
    if (!cutQuoted(xml, place, quoted)) {
        return -1;
    }
    path += quoted;
    return static_cast<int>(place);
}

std::string DASInvoker::constructDirectoryTreeResponse(DirectoryList::const_iterator entry,
                                                       const DirectoryList* directories,
                                                       const DirectoryList* files,
                                                       const std::string& name) {
    std::string text;
    const auto* const first = directories->empty() ? nullptr : &*entry;
    DirectoryTreeText(*directories, *files).write(first, name, text);
    return text;
}
