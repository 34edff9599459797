-- Call groups in a table to whose end a later release added a column.
CREATE TABLE CallGroup (UserContext TEXT, CallGroup TEXT, CallGroupName TEXT, RingToneID TEXT,
    Color TEXT);
