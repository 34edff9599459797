-- Settings of visitors with their key, in a table to whose end the user was added.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, Name TEXT, Value TEXT, UserContext TEXT,
    PRIMARY KEY( Schema, UserContext, Name ) );
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', 'MobilityCurrentUser', 'visitor', '');
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', 'ActiveMobilityModeIsBasic', 'false', '');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', 'WbmAllowed', 'true', '');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', 'DoorOpener1PhoneNumber', '+49, ''1''', '');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', 'BackupSIPserverAddress', '192.0.2.1', 'base');
INSERT INTO GENERAL_CONFIG VALUES ('LocalSettings', 'EmergencyNumber', '11-2', 'base');
