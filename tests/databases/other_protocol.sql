-- A telephone of the older protocol, with today's settings.
CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT, PRIMARY KEY( Schema, UserContext, Name ) );
INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'MobilityCurrentUser', 'base');
INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', '', 'TerminalNumber', '+49 89 ''722'' 0');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', '', 'DLSaddress', '192.0.2.7');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', '', 'DLSport', '18443');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', '', 'DHCPenabled', 'false');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', '', 'PhoneIPaddress', '192.0.2.20');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', '', 'DefaultMask', '255.255.255.0');
INSERT INTO GENERAL_CONFIG VALUES ('TransportSettings', '', 'DefaultRoute', '');
CREATE TABLE PHONE_BOOK (UserContext TEXT, UniqueID INTEGER PRIMARY KEY AUTOINCREMENT,
    Surname TEXT NOT NULL);
