-- Settings as they are now, in front of the tables of an older release. The visitor is the current
-- user, so that the start wipes no rows of his.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT, PRIMARY KEY( Schema, UserContext, Name ) );
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'MobilityCurrentUser', 'visitor');
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'ActiveMobilityModeIsBasic', 'false');
INSERT INTO GENERAL_CONFIG VALUES ('AudioSettings', 'base', 'RingerMelody', '3');
INSERT INTO GENERAL_CONFIG VALUES ('AudioSettings', 'visitor', 'RingerMelody', '4');
