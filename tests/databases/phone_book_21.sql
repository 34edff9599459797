-- Contacts with a column that this release does not know.
CREATE TABLE PHONE_BOOK (UserContext TEXT, UniqueID INTEGER PRIMARY KEY AUTOINCREMENT, Surname
    TEXT NOT NULL, Firstname TEXT, Nickname TEXT, Office TEXT, Mobile TEXT, Private TEXT, Email
    TEXT, CallGroup TEXT, DefaultNumber TEXT, Company TEXT, Office2 TEXT, Address TEXT, Address2
    TEXT, JobFunction TEXT, VoiceDial TEXT, Picture TEXT, ExternalID TEXT, ContactSource TEXT,
    SpeedDialID TEXT);
