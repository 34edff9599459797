-- Contacts in a table that has lost its key: numbers are doubled, missing, or none.
CREATE TABLE PHONE_BOOK (UserContext TEXT, UniqueID TEXT, Surname TEXT NOT NULL, Firstname TEXT,
    Office TEXT, Mobile TEXT, Private TEXT, Email TEXT, CallGroup TEXT, DefaultNumber TEXT,
    Company TEXT, Office2 TEXT, Address TEXT, Address2 TEXT, JobFunction TEXT, VoiceDial TEXT,
    Picture TEXT, ExternalID TEXT);
