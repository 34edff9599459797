-- Settings as they are now, with rows that another program gave no context.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT, PRIMARY KEY( Schema, UserContext, Name ) );
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'MobilityCurrentUser', 'visitor');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', '', 'WbmAllowed', 'true');
INSERT INTO GENERAL_CONFIG VALUES ('AcmsSettings', '', 'DoorOpener1PhoneNumber', '+49, ''1''');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', 'base', 'BackupSIPserverAddress', '192.0.2.1');
INSERT INTO GENERAL_CONFIG VALUES ('LocalSettings', 'base', 'EmergencyNumber', '11-2');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', NULL, 'Alone', 'first');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', NULL, 'Alone', 'last');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', 'visitor', 'Alone', 'guest');
