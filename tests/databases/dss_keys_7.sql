-- Direct station keys with a description, as no release made them.
CREATE TABLE DSS_KEY_SETTINGS (UserContext TEXT, Id TEXT, DssSipUri TEXT, DssSipRealm TEXT,
    DssSipUserId TEXT, DssSipPassword TEXT, DssShortDescription TEXT);
