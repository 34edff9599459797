-- Downloads with plain passwords, before the types were a key.
CREATE TABLE FILEDOWNLOAD_SETTINGS (FileType TEXT, UseDefaults TEXT, DownloadMethod TEXT,
    ServerAddress TEXT, ServerPort TEXT, FtpAccount TEXT, FtpUsername TEXT, FtpPassword TEXT,
    FtpPath TEXT, Filename TEXT, HttpsBaseUrl TEXT, LastDownload TEXT, LastStatus TEXT);
INSERT INTO FILEDOWNLOAD_SETTINGS VALUES ('9', 'false', '1', 'files.example', '2121', '', 'phone',
    'secret\', '/pub', 'two
lines', '', '', '4');
