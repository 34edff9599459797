-- Line keys before encrypted passwords and alerts.
CREATE TABLE LINE_KEY_SETTINGS (UserContext TEXT, Id TEXT, PrimaryLine TEXT, LineSipURI TEXT,
    LineSipRealm TEXT, LineSipUserId TEXT, LineSipPassword TEXT, LineShortDescription TEXT,
    RingingLine TEXT, RingingLineDelay TEXT, LineRanking TEXT, LineSharedType TEXT,
    LineHotLineWarmLine TEXT, HotWarmLineDialNumber TEXT, HotWarmLineDestinationActive TEXT,
    HiddenLine TEXT, LineOverviewPosition TEXT, IntrusionAllowed TEXT);
