-- Numbers of repertory keys, in a table to whose end the user was added.
CREATE TABLE REPERTORY_DIALLING (Id TEXT, RepertoryDialNumber TEXT, UserContext TEXT);
