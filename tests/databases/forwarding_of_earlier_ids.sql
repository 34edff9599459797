-- Destinations before there were users, with busy lamps on the ids from 618 on.
CREATE TABLE FORWARDING_KEY_DESTINATIONS (Id TEXT, ForwardingDialNumber TEXT, ForwardingType TEXT);
