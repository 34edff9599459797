-- Fixed keys that stood among the programmable ones, some of them already in tables of their own.
CREATE TABLE FEATURE_KEYS (UserContext TEXT, Id TEXT, Function TEXT);
CREATE TABLE FIXED_KEYS (UserContext TEXT, Id TEXT, Function TEXT);
CREATE TABLE START_APPLICATION (UserContext TEXT, Id TEXT, ApplicationName TEXT);
