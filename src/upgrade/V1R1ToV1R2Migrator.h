#ifndef V1R1TOV1R2MIGRATOR_H
#define V1R1TOV1R2MIGRATOR_H

class DatabaseAdapter;

/**
 * From release V1R1 to V1R2: the fixed keys of the telephone's own keypad moved from the feature
 * keys to a table of their own.
 */
class V1R1ToV1R2Migrator {
public:
    /// @p adapter is not owned and may be null.
    explicit V1R1ToV1R2Migrator(DatabaseAdapter* adapter);

    /**
     * Moves the feature keys with fixed ids that have a function to the fixed keys, where they
     * replace the row of the same user and id. One transaction; a failure rolls it back and is
     * logged. Does nothing once it has run.
     */
    void execute();

private:
    DatabaseAdapter* m_adapter;  // not owned
};

#endif
