-- Call groups before there were users.
CREATE TABLE CallGroup (CallGroup TEXT, CallGroupName TEXT, RingToneID TEXT);
