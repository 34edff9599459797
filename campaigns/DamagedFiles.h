#ifndef DAMAGEDFILES_H
#define DAMAGEDFILES_H

#include <filesystem>
#include <random>
#include <string>
#include <vector>

/// Databases that were damaged in the ways in which files get damaged, and in worse ones.
class DamagedFiles {
public:
    /// @p scratch is a folder for the making alone; @p today the bytes of a full database of today.
    DamagedFiles(std::filesystem::path scratch, const std::string& today);

    /**
     * Makes a damaged database in the empty folder @p folder, and what stands beside it; all random
     * numbers come from @p random.
     *
     * @return what was done to which database
     */
    std::string make(const std::filesystem::path& folder, std::mt19937& random) const;

    /// What the text of make() begins with when the database is whole, and what an earlier start
    /// left beside it is damaged.
    static constexpr const char* DamagedCopy = "damaged copy";
    /// The same when the copy is whole and the database is damaged.
    static constexpr const char* GoodCopy = "good copy";

    /// A database before it is damaged.
    struct Base {
        std::string name;
        std::string bytes;
    };
    const std::vector<Base>& bases() const { return m_bases; }

private:
    /// What a way is given.
    struct Work {
        std::filesystem::path file;
        std::string bytes;  ///< of the database; written to the file behind the way's end
        std::mt19937& random;
        std::string told;  ///< takes what was done

        std::size_t below(std::size_t limit) { return random() % limit; }
    };
    struct Way {
        const char* name;
        void (DamagedFiles::*apply)(Work& work) const;
    };
    static const std::vector<Way>& table();

    void damage(Work& work) const;
    void damageOnce(Work& work) const;
    void empty(Work& work) const;
    void text(Work& work) const;
    void staleJournal(Work& work) const;
    void foreignJournal(Work& work) const;
    void garbageJournal(Work& work) const;
    void damagedCopy(Work& work) const;
    void goodCopy(Work& work) const;
    void editSchema(Work& work) const;
    void changeColumns(Work& work) const;
    void changeCells(Work& work) const;

    /// Changes the database by statements.
    static void change(Work& work, const std::string& sql);
    std::string journalOf(const std::string& bytes) const;

    std::filesystem::path m_scratch;
    std::vector<Base> m_bases;
    std::vector<std::string> m_journals;  ///< of transactions that did not end, one a base
};

#endif
