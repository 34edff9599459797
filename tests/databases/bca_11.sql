-- Bridged call appearances before subscriptions.
CREATE TABLE BCA_SETTINGS (UserContext TEXT, Id TEXT, BcaLabel TEXT, BcaPrimary TEXT,
    BcaSipUri TEXT, BcaSipRealm TEXT, BcaSipUserId TEXT, BcaSipPassword TEXT,
    BcaNoOfAppearances TEXT, BcaRinging TEXT, BcaRingingDelay TEXT);
