#ifndef HOSTILEPLACE_H
#define HOSTILEPLACE_H

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Campaign.h"
#include "TableDocument.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/Sql.h"

/**
 * A service whose tables are full of canaries: cells that name their owner. In each table one row
 * of base, or of the telephone, is the victim that requests name; no other row may change.
 */
class HostilePlace {
public:
    explicit HostilePlace(const std::vector<Subject>& subjects);
    HostilePlace(const HostilePlace&) = delete;
    HostilePlace& operator=(const HostilePlace&) = delete;

    DataAccessService& service() { return m_phone.service(); }
    std::filesystem::path root() const { return m_place.root(); }
    std::filesystem::path outside() const { return m_place.folder() / "outside"; }

    /// The tables that a request to @p subject may touch.
    static std::set<std::string> tablesOf(const Subject& subject);
    static const std::string& victimKey(const Subject& subject);
    /// The element for the victim's value that requests set.
    static std::string valueElement(const Subject& subject);
    /// Escapes @p text for XML content and attributes.
    static std::string asContent(const std::string& text);

    /// Reports accesses that SqlJudge saw outside of @p tables, and strings that are not exactly
    /// one statement.
    void checkActs(Campaign& campaign, const std::set<std::string>& tables) const;
    /// What changed in @p table although it must not; empty if nothing did. @param isWide all rows
    /// of base may be deleted
    std::string wrongChange(const Subject& subject, const std::string& table, bool isWide);
    /// What changed in @p table in rows of other users than @p user; empty if nothing did.
    std::string changeBeyond(const std::string& table, const std::string& user);
    /// Whether @p text contains a canary of the visitor, or of a table that does not belong to the
    /// subject.
    bool showsOthers(const std::string& text, const Subject& subject) const;
    std::string storedValue(const Subject& subject) const;
    /// Restores the database to its state after the construction.
    void restore();

    /// Rows with their current ids.
    using RowTexts = std::map<long long, std::string>;
    RowTexts rowsOf(const std::string& table) const;
    const RowTexts& pristine(const std::string& table);
    std::string cell(const std::string& sql) const { return m_db.cell(sql); }

private:
    void fill(const Subject& subject);
    void insertRows(const Subject& subject, const std::string& user);
    std::string canaryOf(const Subject& subject, const std::string& user) const;

    const ScratchPlace m_place;
    Phone m_phone;
    Sql m_db{nullptr};      ///< the service's own connection
    const Sql m_untouched;  ///< a copy in memory
    std::map<std::string, RowTexts> m_pristine;
    std::map<std::string, long long> m_victims;  ///< row ids by table; by schema for settings
    long long m_nextRow = 1;
};

#endif
