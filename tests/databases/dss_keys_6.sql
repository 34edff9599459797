-- Direct station keys that did not ring yet.
CREATE TABLE DSS_KEY_SETTINGS (UserContext TEXT, Id TEXT, DssSipUri TEXT, DssSipRealm TEXT,
    DssSipUserId TEXT, DssSipPassword TEXT);
