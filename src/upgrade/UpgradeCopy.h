#ifndef UPGRADECOPY_H
#define UPGRADECOPY_H

#include <atomic>
#include <string>

class DatabaseAdapter;

/**
 * Makes an upgrade all or nothing: the database as it was is kept next to it while a start changes
 * it, as "phone.db.before-upgrade" with rights for its owner alone, and is put back by the next
 * start when that one did not come to its end. That the copy is there is the only sign of an
 * upgrade that was cut off.
 *
 * The order of a start: begin(), open the database, watch() its adapter, upgrade, end(). A lock on
 * the folder of the database separates the starts of several processes: a start that
 * may change the database holds it alone, a service that runs shares it. What another process wrote
 * must not be rolled back, so next to one that runs there is neither a copy nor a put-back. The
 * lock goes with its process, however that ends.
 *
 * Failures are in the log at level 2; the start goes on, without a copy when none could be made.
 */
class UpgradeCopy {
public:
    /// List of settings that a step applies once and takes away; a path of the telephone.
    static constexpr const char* UpdateValuesFile = "/Aurel_Deploy/DasUpdateValues.csv";

    UpgradeCopy() = default;
    /// Gives the lock back; the database should be closed by then.
    ~UpgradeCopy();
    UpgradeCopy(const UpgradeCopy&) = delete;
    UpgradeCopy& operator=(const UpgradeCopy&) = delete;

    /// Takes the lock, waiting for a start of another process to end, and puts back what an
    /// earlier start left. The database must not be open in this process.
    void begin();

    /// From now on the copy is made before @p adapter changes anything, until end(). Nothing when
    /// no upgrade is under way. @p adapter must not be used when this object has gone; null is
    /// allowed.
    void watch(DatabaseAdapter* adapter);

    /// Before the database is removed as a whole: during an upgrade makes sure of the copy,
    /// otherwise removes one, so that nothing brings back what was reset.
    void prepareForReset();

    /// The upgrade has come to its end: removes the copy, and shares the lock from now on.
    void end();

    /// Takes away UpdateValuesFile, which a step has used up. While there is a copy it is only set
    /// aside, since a database that is put back needs it again. 0, or -1 as std::remove.
    static int removeUsedFile();

private:
    bool lock(int operation) const;
    bool lockWithPatience();
    void putBack();
    void make();
    void remove();

    int m_folder = -1;  ///< descriptor that carries the lock
    std::atomic<bool> m_isUnderWay{false};
    std::atomic<bool> m_isTried{false};  ///< whether a copy was made, or could not be
};

#endif
