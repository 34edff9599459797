-- Contacts before there were users, and before speed dialling and sources of contacts.
CREATE TABLE PHONE_BOOK (UniqueID INTEGER PRIMARY KEY AUTOINCREMENT, Surname TEXT NOT NULL,
    Firstname TEXT, Office TEXT, Mobile TEXT, Private TEXT, Email TEXT, CallGroup TEXT,
    DefaultNumber TEXT, Company TEXT, Office2 TEXT, Address TEXT, Address2 TEXT, JobFunction TEXT,
    VoiceDial TEXT, Picture TEXT, ExternalID TEXT);
CREATE INDEX Office_INDEX ON PHONE_BOOK ( Office );
