-- Trusted devices before there were users.
CREATE TABLE BLUETOOTH_TRUSTED (Id TEXT, DeviceName TEXT, DeviceClass TEXT);
