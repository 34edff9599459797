-- Calls whose later fields stand in front of the earlier ones, as no release made them.
CREATE TABLE CALL_LOG (UserContext TEXT, UniqueId INTEGER PRIMARY KEY AUTOINCREMENT, Category TEXT
    DEFAULT empty, EntryId TEXT, Surname TEXT, Firstname TEXT, PictureClip TEXT, Viewed TEXT,
    ResolvedNumber0 TEXT, ResolvedNumber1 TEXT, ResolvedNumber2 TEXT, ResolvedNumber3 TEXT,
    ResolvedNumber4 TEXT, ResolvedNumber5 TEXT, ResolvedNumber6 TEXT, ResolvedNumber7 TEXT,
    ResolvedNumber8 TEXT, ResolvedNumber9 TEXT, JSGroupBy TEXT, CompletedElsewhere0 TEXT,
    CompletedElsewhere1 TEXT, CompletedElsewhere2 TEXT, CompletedElsewhere3 TEXT,
    CompletedElsewhere4 TEXT, CompletedElsewhere5 TEXT, CompletedElsewhere6 TEXT,
    CompletedElsewhere7 TEXT, CompletedElsewhere8 TEXT, CompletedElsewhere9 TEXT, GroupName0 TEXT,
    GroupName1 TEXT, GroupName2 TEXT, GroupName3 TEXT, GroupName4 TEXT, GroupName5 TEXT,
    GroupName6 TEXT, GroupName7 TEXT, GroupName8 TEXT, GroupName9 TEXT, GroupNumber0 TEXT,
    GroupNumber1 TEXT, GroupNumber2 TEXT, GroupNumber3 TEXT, GroupNumber4 TEXT, GroupNumber5 TEXT,
    GroupNumber6 TEXT, GroupNumber7 TEXT, GroupNumber8 TEXT, GroupNumber9 TEXT,
    MornetTStimeFormat0 TEXT, Number0 TEXT, NumberType0 TEXT, AuxiliaryNumber0 TEXT,
    AuxiliaryNumberType0 TEXT, AuxSurname0 TEXT, AuxFirstName0 TEXT, TimeDate0 TEXT, Duration0
    TEXT, MornetTStimeFormat1 TEXT, Number1 TEXT, NumberType1 TEXT, AuxiliaryNumber1 TEXT,
    AuxiliaryNumberType1 TEXT, AuxSurname1 TEXT, AuxFirstName1 TEXT, TimeDate1 TEXT, Duration1
    TEXT, MornetTStimeFormat2 TEXT, Number2 TEXT, NumberType2 TEXT, AuxiliaryNumber2 TEXT,
    AuxiliaryNumberType2 TEXT, AuxSurname2 TEXT, AuxFirstName2 TEXT, TimeDate2 TEXT, Duration2
    TEXT, MornetTStimeFormat3 TEXT, Number3 TEXT, NumberType3 TEXT, AuxiliaryNumber3 TEXT,
    AuxiliaryNumberType3 TEXT, AuxSurname3 TEXT, AuxFirstName3 TEXT, TimeDate3 TEXT, Duration3
    TEXT, MornetTStimeFormat4 TEXT, Number4 TEXT, NumberType4 TEXT, AuxiliaryNumber4 TEXT,
    AuxiliaryNumberType4 TEXT, AuxSurname4 TEXT, AuxFirstName4 TEXT, TimeDate4 TEXT, Duration4
    TEXT, MornetTStimeFormat5 TEXT, Number5 TEXT, NumberType5 TEXT, AuxiliaryNumber5 TEXT,
    AuxiliaryNumberType5 TEXT, AuxSurname5 TEXT, AuxFirstName5 TEXT, TimeDate5 TEXT, Duration5
    TEXT, MornetTStimeFormat6 TEXT, Number6 TEXT, NumberType6 TEXT, AuxiliaryNumber6 TEXT,
    AuxiliaryNumberType6 TEXT, AuxSurname6 TEXT, AuxFirstName6 TEXT, TimeDate6 TEXT, Duration6
    TEXT, MornetTStimeFormat7 TEXT, Number7 TEXT, NumberType7 TEXT, AuxiliaryNumber7 TEXT,
    AuxiliaryNumberType7 TEXT, AuxSurname7 TEXT, AuxFirstName7 TEXT, TimeDate7 TEXT, Duration7
    TEXT, MornetTStimeFormat8 TEXT, Number8 TEXT, NumberType8 TEXT, AuxiliaryNumber8 TEXT,
    AuxiliaryNumberType8 TEXT, AuxSurname8 TEXT, AuxFirstName8 TEXT, TimeDate8 TEXT, Duration8
    TEXT, MornetTStimeFormat9 TEXT, Number9 TEXT, NumberType9 TEXT, AuxiliaryNumber9 TEXT,
    AuxiliaryNumberType9 TEXT, AuxSurname9 TEXT, AuxFirstName9 TEXT, TimeDate9 TEXT, Duration9
    TEXT);
