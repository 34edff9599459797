-- Settings before there were users, with none of them.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, Name TEXT, Value TEXT);
