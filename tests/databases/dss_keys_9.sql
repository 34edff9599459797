-- Direct station keys before those that only monitor.
CREATE TABLE DSS_KEY_SETTINGS (UserContext TEXT, Id TEXT, DssSipUri TEXT, DssSipRealm TEXT,
    DssSipUserId TEXT, DssSipPassword TEXT, DssShortDescription TEXT, DssRinging TEXT,
    DssRingingDelay TEXT);
