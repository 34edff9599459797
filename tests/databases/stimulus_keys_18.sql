-- Stimulus keys with push support, as no release made them.
CREATE TABLE STIMULUS_KEY_SETTINGS (UserContext TEXT, Id TEXT, StimulusKeyFeatureCode TEXT,
    StimulusKeyDTMFSequence TEXT, StimulusKeyLEDControlURI TEXT, BusyLampFieldAudible TEXT,
    BusyLampFieldPopup TEXT, SendUrlProtocol INTEGER, SendUrlAddress TEXT, SendUrlPort TEXT,
    SendUrlPath TEXT, SendUrlQuery TEXT, SendUrlMethod INTEGER, SendUrlUserId TEXT, SendUrlPasswd
    TEXT, SendUrlPrimaryCert INTEGER, StimulusKeyState INTEGER, SendUrlPushSupport TEXT);
