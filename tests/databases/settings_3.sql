-- Settings before there were users.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, Name TEXT, Value TEXT);
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', 'WbmAllowed', 'true');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', 'DoorOpener1PhoneNumber', '+49, ''1''');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', 'BackupSIPserverAddress', '192.0.2.1');
INSERT INTO GENERAL_CONFIG VALUES ('LocalSettings', 'EmergencyNumber', '11-2');
