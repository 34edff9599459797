-- Call groups in a table to whose end the user was added.
CREATE TABLE CallGroup (CallGroup TEXT, CallGroupName TEXT, RingToneID TEXT, UserContext TEXT);
