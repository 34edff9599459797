"""What a report reads: schemas of settings, tables of keys, and which values are secret."""
from __future__ import annotations

import re

#: A test compares them with those of the host program.
SETTINGS = (
    "CallLogSettings", "AudioSettings", "BluetoothSettings", "CanonicalDial", "CertificatePolicy",
    "ClockSettings", "Diagnostics", "DialPlanOverview", "Directory", "DisplaySettings",
    "DlsSettings", "DssSettings", "IceSettings", "InstrumentationSettings", "Inventory",
    "QfaBaseSettings", "QfaFeatureStates", "Locale", "MobilitySettings", "MultilineSettings",
    "AcmsSettings", "PasswordPolicy", "Passwords", "PhysicalInterfaceSettings",
    "QoSReportSettings", "SipBaseSettings", "SipFeatureAccess", "SipFeatureStates",
    "SipPermissions", "SipPreferences", "SnmpSettings", "TransportSettings", "SecuritySettings",
    "CallRecordingSettings", "Dot1xSettings", "EWSSettings", "BroadsoftSettings", "WSISettings",
    "QuillbaseUCSettings", "CPESettings", "UnitTestGenConfigTable", "WebmSettings",
    "DirectVideoSettings", "DoorOpenerSettings", "RingCentralSettings", "SCEPSettings")

#: Tables with a row for each key. The first two have its function and its label.
KEYS = ("FeatureKeys", "FixedKeys", "LineKeySettings", "DssKeySettings", "RepertoryDialling",
        "SelectedDialling", "DeflectKeyDestinations", "ForwardingKeyDestinations",
        "FeatureToggleKeySettings", "StartApplication", "StartApplicationFixedKeys",
        "StimulusKeySettings")

_SECRETS = frozenset(("QcuCommunity", "SnmpTrapCommunity", "UserMD5Hash", "PIN"))


def is_secret(name: str) -> bool:
    return name in _SECRETS or name.removesuffix("Enc") in _SECRETS or bool(
        re.search("password|passwd|pwd", name, re.IGNORECASE))


def masked(name: str, value: str) -> str:
    return "*****" if value and is_secret(name) else value
