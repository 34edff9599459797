#ifndef UPGRADECOPY_H
#define UPGRADECOPY_H

#include <atomic>
#include <string>

class DatabaseAdapter;

/**
 * Makes an upgrade all or nothing: the database as it was is kept next to it while a start changes
 * it, as "phone.db.before-upgrade" with rights for its owner alone, and is put back by the next
 * start when that one did not come to its end. The existence of the copy is the only sign of an
 * interrupted upgrade.
 *
 * The order of a start: begin(), open the database, watch() its adapter, upgrade, end(). A lock on
 * the folder of the database separates the starts of several processes: a start that may change the
 * database holds it alone, a service that runs shares it. What another process wrote must not be
 * rolled back, so next to one that runs there is neither a copy nor a put-back. The lock goes with
 * its process, however that ends.
 *
 * Failures are in the log at level 2; the start goes on, without a copy when none could be made.
 */
class UpgradeCopy {
public:
    /// List of settings that a step applies once and then removes; a path of the telephone.
    static constexpr const char* UpdateValuesFile = "/Aurel_Deploy/DasUpdateValues.csv";

    UpgradeCopy() = default;
    /// Releases the lock; the database should be closed before.
    ~UpgradeCopy();
    UpgradeCopy(const UpgradeCopy&) = delete;
    UpgradeCopy& operator=(const UpgradeCopy&) = delete;

    /// Takes the lock, waiting for a start of another process to end, and restores the copy that an
    /// earlier start left. The database must not be open in this process.
    void begin();

    /// From now on until end(), the copy is made before @p adapter changes anything. Does nothing
    /// outside of an upgrade. @p adapter must not be used after this object is destroyed; null is
    /// allowed.
    void watch(DatabaseAdapter* adapter);

    /// Call before the database is removed as a whole. During an upgrade it makes sure that the
    /// copy exists. Otherwise it removes a copy, so that no later start restores what was reset.
    void prepareForReset();

    /// The upgrade is complete: removes the copy, and shares the lock from now on.
    void end();

    /// Removes UpdateValuesFile after a step has used it. While there is a copy, the file is only
    /// renamed, since a restored database needs it again. 0, or -1 like std::remove.
    static int removeUsedFile();

private:
    bool lock(int operation) const;
    bool lockWithPatience();
    void putBack();
    void make();
    void remove();

    int m_folder = -1;  ///< descriptor that holds the lock
    std::atomic<bool> m_isUnderWay{false};
    std::atomic<bool> m_isTried{false};  ///< whether making the copy was tried, successfully or not
};

#endif
