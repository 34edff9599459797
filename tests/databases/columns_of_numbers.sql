-- Fixed keys among the programmable ones, and a table for them whose labels are numbers.
CREATE TABLE FEATURE_KEYS (Id TEXT, UserContext TEXT, Function TEXT, Locked TEXT, Label TEXT,
    Local TEXT);
CREATE TABLE FIXED_KEYS (UserContext TEXT, Id TEXT, Function TEXT, Locked TEXT, Label NUMERIC,
    Local TEXT);
