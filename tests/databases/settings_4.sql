-- Settings with a context and without a key, before there were visitors.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT);
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', '', 'WbmAllowed', 'true');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', '', 'DoorOpener1PhoneNumber', '+49, ''1''');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', NULL, 'BackupSIPserverAddress', '192.0.2.1');
INSERT INTO GENERAL_CONFIG VALUES ('LocalSettings', NULL, 'EmergencyNumber', '11-2');
