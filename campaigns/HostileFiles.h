#ifndef HOSTILEFILES_H
#define HOSTILEFILES_H

#include <functional>
#include <string>
#include <vector>

#include "Campaign.h"
#include "HostilePlace.h"

/// Hostile texts in files, in maps of the remote methods, and as paths.
class HostileFiles {
public:
    HostileFiles(Campaign& campaign, HostilePlace& place) : m_campaign(campaign), m_place(place) {}

    void importData(const std::vector<Subject>& subjects, const std::vector<std::string>& texts,
                    long rounds);
    void passMaps(const std::vector<std::string>& texts, long rounds);
    void walkPaths();

    long long imports() const { return m_imports; }
    /// Imports that changed rows.
    long long takenImports() const { return m_takenImports; }
    long long maps() const { return m_maps; }
    long long paths() const { return m_paths; }
    long long pathCalls() const { return m_pathCalls; }

private:
    void importFile(const Subject& subject, const std::string& content, int category);
    void passMap(const std::string& key, const std::string& value);
    void layTrees();
    void usePath(const std::string& path);

    Campaign& m_campaign;
    HostilePlace& m_place;
    long long m_imports = 0;
    long long m_takenImports = 0;
    long long m_maps = 0;
    long long m_paths = 0;
    long long m_pathCalls = 0;
};

#endif
