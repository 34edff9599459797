-- Contacts of two users, before speed dialling and sources of contacts.
CREATE TABLE PHONE_BOOK (UserContext TEXT, UniqueID INTEGER PRIMARY KEY AUTOINCREMENT,
    Surname TEXT NOT NULL, Firstname TEXT, Office TEXT, Mobile TEXT, Private TEXT, Email TEXT,
    CallGroup TEXT, DefaultNumber TEXT, Company TEXT, Office2 TEXT, Address TEXT, Address2 TEXT,
    JobFunction TEXT, VoiceDial TEXT, Picture TEXT, ExternalID TEXT);
