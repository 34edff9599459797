-- Downloads that an earlier start could not move, and the default rows that a read then made.
CREATE TABLE FILEDOWNLOAD_SETTINGS (LastStatus TEXT, FileType TEXT, UseDefaults TEXT,
    ServerAddress TEXT, FtpUsername TEXT, FtpPassword TEXT, Filename TEXT);
INSERT INTO FILEDOWNLOAD_SETTINGS VALUES ('4', '9', 'false', 'files.example', 'phone', 'secret',
    'file\');
CREATE TABLE FILEDOWNLOAD_SETTINGS_ENC (FileType TEXT PRIMARY KEY NOT NULL, UseDefaults TEXT DEFAULT 'true', DownloadMethod TEXT DEFAULT '0', ServerAddress TEXT DEFAULT '', ServerPort TEXT DEFAULT '21', FtpAccount TEXT DEFAULT '', FtpUsername TEXT DEFAULT '', FtpPassword TEXT DEFAULT '', FtpPath TEXT DEFAULT '', Filename TEXT DEFAULT '', HttpsBaseUrl TEXT DEFAULT '', LastDownload TEXT DEFAULT '', LastStatus TEXT DEFAULT '0');
INSERT INTO FILEDOWNLOAD_SETTINGS_ENC (FileType) VALUES ('1'), ('2'), ('3'), ('4'), ('5'), ('6'), ('7');
INSERT INTO FILEDOWNLOAD_SETTINGS_ENC (FileType, UseDefaults) VALUES ('0', 'false'), ('9', 'false');
