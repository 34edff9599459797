-- With keys that send a URL.
CREATE TABLE STIMULUS_KEY_SETTINGS (UserContext TEXT, Id TEXT, StimulusKeyFeatureCode TEXT,
    StimulusKeyDTMFSequence TEXT, StimulusKeyLEDControlURI TEXT, BusyLampFieldAudible TEXT,
    BusyLampFieldPopup TEXT, SendUrlProtocol INTEGER, SendUrlAddress TEXT, SendUrlPort TEXT,
    SendUrlPath TEXT, SendUrlQuery TEXT, SendUrlMethod INTEGER, SendUrlUserId TEXT,
    SendUrlPasswd TEXT);
