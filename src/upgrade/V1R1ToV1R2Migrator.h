#ifndef V1R1TOV1R2MIGRATOR_H
#define V1R1TOV1R2MIGRATOR_H

class DatabaseAdapter;

/**
 * From release V1R1 to V1R2: the fixed keys of the telephone's own keypad left the feature keys for
 * a table of their own.
 */
class V1R1ToV1R2Migrator {
public:
    /// @p adapter is not owned and may be null.
    explicit V1R1ToV1R2Migrator(DatabaseAdapter* adapter);

    /**
     * Moves the feature keys of fixed ids that have a function to the fixed keys, where they
     * replace what stands for the same user and id. One transaction, rolled back on a failure,
     * which is in the log. Does nothing once it has run.
     */
    void execute();

private:
    DatabaseAdapter* m_adapter;  // not owned
};

#endif
