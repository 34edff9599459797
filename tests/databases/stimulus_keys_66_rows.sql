-- All columns of their time, but rows of the keys without modules alone: 33 for each user.
CREATE TABLE STIMULUS_KEY_SETTINGS (UserContext TEXT, Id TEXT, StimulusKeyFeatureCode TEXT,
    StimulusKeyDTMFSequence TEXT, StimulusKeyLEDControlURI TEXT, BusyLampFieldAudible TEXT,
    BusyLampFieldPopup TEXT, SendUrlProtocol INTEGER, SendUrlAddress TEXT, SendUrlPort TEXT,
    SendUrlPath TEXT, SendUrlQuery TEXT, SendUrlMethod INTEGER, SendUrlUserId TEXT,
    SendUrlPasswd TEXT, SendUrlPrimaryCert INTEGER, StimulusKeyState INTEGER,
    SendUrlPushSupport TEXT, SendUrlSymbolicName TEXT, SendUrlPasswdEnc TEXT);
