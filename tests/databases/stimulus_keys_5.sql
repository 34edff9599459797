CREATE TABLE STIMULUS_KEY_SETTINGS (UserContext TEXT, Id TEXT, StimulusKeyFeatureCode TEXT,
    StimulusKeyDTMFSequence TEXT, StimulusKeyLEDControlURI TEXT);
