-- The book that an earlier change of versions left empty, its contacts under another name.
CREATE TABLE PHONE_BOOK (UserContext TEXT, UniqueID INTEGER PRIMARY KEY AUTOINCREMENT,
    Surname TEXT NOT NULL, Firstname TEXT, Office TEXT, Mobile TEXT, Private TEXT, Email TEXT,
    CallGroup TEXT, DefaultNumber TEXT, Company TEXT, Office2 TEXT, Address TEXT, Address2 TEXT,
    JobFunction TEXT, VoiceDial TEXT, Picture TEXT, ExternalID TEXT, ContactSource TEXT);
CREATE TABLE PHONE_BOOK_OLD (UserContext TEXT, UniqueID INTEGER PRIMARY KEY AUTOINCREMENT,
    Surname TEXT, Firstname TEXT, Office TEXT, Mobile TEXT, Private TEXT, Email TEXT,
    CallGroup TEXT, DefaultNumber TEXT, Company TEXT, Office2 TEXT, Address TEXT, Address2 TEXT,
    JobFunction TEXT, VoiceDial TEXT, Picture TEXT, ExternalID TEXT, ContactSource TEXT,
    SpeedDialID TEXT);
