-- Trusted devices before there were users, some of them twice.
CREATE TABLE BLUETOOTH_TRUSTED (Id TEXT, DeviceName TEXT, DeviceClass TEXT);
INSERT INTO BLUETOOTH_TRUSTED VALUES ('00:1B:10', 'first', '1');
INSERT INTO BLUETOOTH_TRUSTED VALUES ('00:1B:11', 'only the first of an empty list', '2');
INSERT INTO BLUETOOTH_TRUSTED VALUES ('00:1B:10', 'second', '3');
