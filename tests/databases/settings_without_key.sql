-- Settings of visitors, before a key kept doubles out.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT);
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'MobilityCurrentUser', 'visitor');
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'ActiveMobilityModeIsBasic', 'false');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', '', 'WbmAllowed', 'true');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', '', 'DoorOpener1PhoneNumber', '+49, ''1''');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', 'base', 'BackupSIPserverAddress', '192.0.2.1');
INSERT INTO GENERAL_CONFIG VALUES ('LocalSettings', 'base', 'EmergencyNumber', '11-2');
