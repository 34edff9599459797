-- Settings that got their context as the last column.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, Name TEXT, Value TEXT, UserContext TEXT);
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', 'WbmAllowed', 'true', '');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', 'DoorOpener1PhoneNumber', '+49, ''1''', '');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', 'BackupSIPserverAddress', '192.0.2.1', NULL);
INSERT INTO GENERAL_CONFIG VALUES ('LocalSettings', 'EmergencyNumber', '11-2', NULL);
