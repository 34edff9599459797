-- Conversations that lack the contact, and a dial plan without the key of its entries.
CREATE TABLE CONVERSATIONS (UserContext TEXT, CallLogId TEXT);
CREATE TABLE DIAL_PLAN_ENTRIES (Id TEXT, DigitString TEXT, Action TEXT, MinimumLength TEXT,
    MaximumLength TEXT, Timeout TEXT, Comment TEXT);
