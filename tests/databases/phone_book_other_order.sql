-- Contacts with all columns, the newer ones in front.
CREATE TABLE PHONE_BOOK (ContactSource TEXT, SpeedDialID TEXT, UserContext TEXT, UniqueID INTEGER
    PRIMARY KEY AUTOINCREMENT, Surname TEXT NOT NULL, Firstname TEXT, Office TEXT, Mobile TEXT,
    Private TEXT, Email TEXT, CallGroup TEXT, DefaultNumber TEXT, Company TEXT, Office2 TEXT,
    Address TEXT, Address2 TEXT, JobFunction TEXT, VoiceDial TEXT, Picture TEXT, ExternalID TEXT);
