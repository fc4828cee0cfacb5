"""What a tweak may write: keys, values, types, ranges, services and commands, and what none may touch.

lint.py compares each entry of resources/tweaks.json with these tables and with keys.txt.
"""

import functools
import os
import re

HERE = os.path.dirname(os.path.abspath(__file__))

HIVES = {
    "HKLM": "HKLM", "HKEY_LOCAL_MACHINE": "HKLM",
    "HKCU": "HKCU", "HKEY_CURRENT_USER": "HKCU",
    "HKCR": "HKCR", "HKEY_CLASSES_ROOT": "HKCR",
    "HKU": "HKU", "HKEY_USERS": "HKU",
    "HKCC": "HKCC", "HKEY_CURRENT_CONFIG": "HKCC",
}
TYPES = ("dword", "qword", "sz", "expand_sz", "binary")

# Values below Control Panel that Windows keeps as something else than REG_SZ.
CONTROL_PANEL_TYPES = {
    "clicklocktime": "dword",
    "enableperprocesssystemdpi": "dword",
    "foregroundlocktimeout": "dword",
    "httpacceptlanguageoptout": "dword",
    "jpegimportquality": "dword",
    "monitorremovalrecalcbehavior": "dword",
    "restorepreviousstaterecalcbehavior": "dword",
    "smoothmousexcurve": "binary",
    "smoothmouseycurve": "binary",
}
# (pattern of the path, pattern of the name, type). All of them are tried.
TYPE_TRAPS = [(re.compile(p, re.I), re.compile(n, re.I), t) for p, n, t in (
    (r"\\Explorer\\Advanced(\\.*)?$", r".*", "dword"),
    (r"\\ContentDeliveryManager$", r".*", "dword"),
    (r"\\CapabilityAccessManager\\ConsentStore\\[^\\]+$", r"Value$", "sz"),
    (r"\\Control$", r"WaitToKillServiceTimeout$", "sz"),
    (r"\\Control$", r"SvcHostSplitThresholdInKB$", "dword"),
    (r"\\SystemProfile$", r".*", "dword"),
    (r"\\SystemProfile\\Tasks\\", r"(Scheduling Category|SFIO Priority|Background Only)$", "sz"),
    (r"\\SystemProfile\\Tasks\\", r"(Priority|GPU Priority|Clock Rate|Affinity|BackgroundPriority)$", "dword"),
    (r"\\PerfOptions$", r"CpuPriorityClass$", "dword"),
    (r"\\Policies\\Microsoft\\Windows\\QoS$", r".*", "sz"),
    (r"\\Services\\Tcpip\\QoS$", r"Do not use NLA$", "sz"),
    (r"\\Services\\(Tcpip|AFD|NetBT|NDIS|Dnscache|LanmanServer|LanmanWorkstation)\\(Parameters|ServiceProvider)$",
     r".*", "dword"),
    (r"\\UserGpuPreferences$", r".*", "sz"),
    (r"\\Restrictions\\DenyDeviceIDs$", r"\d+$", "sz"),
    (r"\\(Software|SOFTWARE)?\\?Policies\\(?!Microsoft\\Windows\\(QoS|DeviceInstall\\Restrictions\\))", r".*", "dword"),
)]
# (pattern of the path, name, what the number may be).
RANGES = [(re.compile(p, re.I), n.lower(), allowed) for p, n, allowed in (
    (r"\\SystemProfile$", "SystemResponsiveness", range(10, 101)),
    (r"\\SystemProfile\\Tasks\\", "Priority", range(1, 9)),
    # 1 idle, 2 normal, 3 high, 5 below normal, 6 above normal. 4 is realtime, which starves Windows itself.
    (r"\\PerfOptions$", "CpuPriorityClass", (1, 2, 3, 5, 6)),
    (r"\\PriorityControl$", "Win32PrioritySeparation", range(0, 64)),
    (r"\\PrefetchParameters$", "EnablePrefetcher", range(0, 4)),
    (r"\\PrefetchParameters$", "EnableSuperfetch", range(0, 4)),
    (r"\\Control Panel\\Desktop$|^Control Panel\\Desktop$", "JPEGImportQuality", range(60, 101)),
    (r"\\Tcpip\\Parameters$", "DefaultTTL", range(1, 256)),
    (r"\\Tcpip\\Parameters$", "TcpTimedWaitDelay", range(30, 301)),
    (r"\\Tcpip\\Parameters$", "MaxUserPort", range(5000, 65535)),
    (r"\\LanmanServer\\Parameters$", "IRPStackSize", range(11, 51)),
    (r"\\LanmanWorkstation\\Parameters$", "DirectoryCacheEntriesMax", range(1, 4097)),
    (r"\\LanmanWorkstation\\Parameters$", "FileInfoCacheEntriesMax", range(1, 65537)),
    (r"\\LanmanWorkstation\\Parameters$", "FileNotFoundCacheEntriesMax", range(1, 65537)),
    (r"\\FEATURE_MAXCONNECTIONSPER(1_0)?SERVER$", "explorer.exe", range(2, 129)),
    (r"\\FEATURE_MAXCONNECTIONSPER(1_0)?SERVER$", "iexplore.exe", range(2, 129)),
    (r"\\(mouclass)\\Parameters$", "MouseDataQueueSize", range(16, 201)),
    (r"\\(kbdclass)\\Parameters$", "KeyboardDataQueueSize", range(16, 201)),
    (r"\\GraphicsDrivers$", "HwSchMode", range(1, 3)),
    (r"\\Policies\\Microsoft\\WindowsStore$", "AutoDownload", range(2, 5)),
    (r"^Control Panel\\Desktop$", "ClickLockTime", range(0, 86400001)),
    (r"\\LanmanServer\\Parameters$", "Smb2CreditsMin", range(128, 8193)),
    (r"\\LanmanServer\\Parameters$", "Smb2CreditsMax", range(512, 16385)),
    (r"\\LanmanWorkstation\\Parameters$", "DormantFileLimit", range(1, 65536)),
    (r"\\GraphicsDrivers$", "TdrDelay", range(2, 61)),
    (r"\\GraphicsDrivers$", "TdrDdiDelay", range(2, 61)),
    # What protects Windows stays as it protects.
    (r"\\Tcpip\\Parameters$", "DisableIPSourceRouting", (1, 2)),
    (r"\\Tcpip\\Parameters$", "EnableICMPRedirect", (0,)),
    (r"\\Policies\\Microsoft\\Windows\\Explorer$", "NoDataExecutionPrevention", (0,)),
    (r"\\Policies\\Microsoft\\Windows\\Explorer$", "NoHeapTerminationOnCorruption", (0,)),
    (r"\\Policies\\Explorer$", "PreXPSP2ShellProtocolBehavior", (0,)),
    (r"\\Policies\\Explorer$", "NoDriveTypeAutoRun", (145, 181, 255)),
    (r"\\Policies\\Explorer$", "NoAutorun", (1,)),
    (r"\\DataCollection$", "AllowTelemetry", (0, 1)),
    (r"\\WindowsUpdate\\AU$", "AUOptions", (2, 3, 4)),
)]
CONSENT = ("Allow", "Deny", "Prompt")

SERVICE = re.compile(r"^SYSTEM\\(CurrentControlSet|ControlSet\d+)\\Services\\([^\\]+)$", re.I)
# The services whose start type the catalogue may change. Anything else could
# keep Windows from starting, from signing in or from getting on the network.
SERVICES = {s.lower() for s in (
    "BcastDVRUserService", "BTAGService", "BthAvctpSvc", "bthserv", "DiagTrack",
    "dmwappushservice", "MapsBroker", "RetailDemo", "SysMain", "TrkWks", "wisvc", "WSearch",
    "XblAuthManager", "XblGameSave", "XboxGipSvc", "XboxNetApiSvc")}
# Keys that no tweak has any business in, and why.
FORBIDDEN_PATHS = [(re.compile(p, re.I), why) for p, why in (
    (r"^SYSTEM\\(CurrentControlSet|ControlSet\d+)\\Control\\(SafeBoot|CrashControl|hivelist|BackupRestore)(\\|$)",
     "starting and rescue"),
    (r"^SYSTEM\\(Setup|Select|MountedDevices)(\\|$)", "starting and rescue"),
    (r"^(SAM|SECURITY|BCD00000000)(\\|$)", "accounts and starting"),
    (r"\\Control\\(Lsa|SecurityProviders|CI)(\\|$)", "signing in and code signatures"),
    (r"\\Winlogon(\\|$)", "signing in"),
    (r"\\CurrentVersion\\Policies\\System(\\|$)", "user account control"),
    (r"\\(SharedAccess\\Parameters\\FirewallPolicy|WindowsFirewall)(\\|$)", "the firewall"),
    (r"\\(Windows Defender( Security Center)?|Windows Advanced Threat Protection|Microsoft Antimalware)(\\|$)",
     "Microsoft Defender"),
    (r"\\CurrentVersion\\(AppHost|Internet Settings)(\\|$)", "SmartScreen and the security zones"),
    (r"\\(PhishingFilter|SystemCertificates|EnterpriseCertificates)(\\|$)", "SmartScreen and certificates"),
    (r"\\(Run|RunOnce|RunOnceEx|RunServices|RunServicesOnce|Active Setup|StartupApproved)(\\|$)",
     "programs that start by themselves"),
    (r"\\(KnownDLLs|AppCertDlls|SilentProcessExit|ShellServiceObjectDelayLoad|ShellIconOverlayIdentifiers)(\\|$)",
     "code loaded into other programs"),
    (r"\\Image File Execution Options\\(?![^\\]+\\PerfOptions$)", "code loaded into other programs"),
    (r"\\Windows NT\\CurrentVersion\\Windows$", "code loaded into other programs"),
)]
# Values that no tweak may write, whatever the key.
FORBIDDEN_NAMES = [(re.compile(n + r"$", re.I), why) for n, why in (
    (r"Debugger|GlobalFlag|VerifierDlls|MitigationOptions|MitigationAuditOptions", "what a program is started with"),
    (r"BootExecute|SetupExecute|PendingFileRenameOperations2?|ProtectionMode|SafeDllSearchMode", "starting"),
    (r"EnableLUA|ConsentPromptBehavior(Admin|User)|PromptOnSecureDesktop|FilterAdministratorToken",
     "user account control"),
    (r"EnableFirewall|DisableNotifications|DoNotAllowExceptions", "the firewall"),
    (r".*SmartScreen.*|EnableWebContentEvaluation|PreventOverride.*|SitePerProcess", "SmartScreen"),
    (r"DisableAntiSpyware|DisableRealtimeMonitoring|DisableBehaviorMonitoring|TamperProtection", "Microsoft Defender"),
    (r"RunAsPPL|LmCompatibilityLevel|UseLogonCredential|EveryoneIncludesAnonymous|RestrictAnonymous(SAM)?",
     "signing in"),
    (r"FeatureSettingsOverride(Mask)?|MoveImages|DisableExceptionChainValidation|KernelSEHOPEnabled",
     "protection of memory"),
    (r"(Require|Enable)SecuritySignature|RestrictNullSessAccess|AllowInsecureGuestAuth|SMB1", "network shares"),
    (r"ImagePath|ServiceDll|ObjectName|Type|ErrorControl|FailureActions|FailureCommand", "what a service runs"),
    (r"AppInit_DLLs|LoadAppInit_DLLs|Shell|Userinit|SCRNSAVE\.EXE|ScreenSaverIsSecure",
     "programs that start by themselves"),
    (r"(Use)?WUServer|WUStatusServer|DisableWindowsUpdateAccess", "where updates come from"),
)]
# Values that take protection away on purpose: only these entries may write them, and they have to warn.
PROTECTION = {
    (r"system\currentcontrolset\control\deviceguard", "enablevirtualizationbasedsecurity"): "opt.disable-vbs",
    (r"system\currentcontrolset\control\deviceguard\scenarios\hypervisorenforcedcodeintegrity", "enabled"):
        "opt.disable-vbs",
    (r"software\policies\microsoft\windows\windowsupdate\au", "noautoupdate"): "opt.disable-windows-update",
    (r"software\microsoft\windows\currentversion\searchsettings", "safesearchmode"): "tweaks.disable-safesearch",
}
ROOTS = {
    "HKLM": ("software\\", "system\\", "hardware\\"),
    "HKCU": ("software\\", "control panel\\", "system\\", "environment\\"),
    "HKU": (".default\\",),
}
CONTROL_SET = re.compile(r"^system\\controlset001(?=\\|$)")

SHELL_EXTENSION = r"{86ca1aa0-34aa-4e8b-a509-50c905bae2a2}"
# What a command may be, as a whole.
COMMANDS = [re.compile(pattern) for pattern in (
    r"ipconfig /flushdns",
    r'del /s /f /q "(%TEMP%\\\*\.\*|%WINDIR%\\Temp\\\*\.\*|%WINDIR%\\\*\.log|'
    r'%LOCALAPPDATA%\\Microsoft\\Windows\\INetCache\\IE\\\*\.\*)"',
    r'powershell -NoProfile -Command "(Clear-RecycleBin -Force -ErrorAction SilentlyContinue|'
    r'(Disable|Enable)-MMAgent -MemoryCompression)"',
    r"powershell -NoProfile -ExecutionPolicy Bypass -Command \"\$n=('\w+',)+'\w+'; "
    r"Get-ChildItem -Path 'HKLM:\\SYSTEM\\CurrentControlSet\\Enum(\\USB)?' -Recurse -ErrorAction SilentlyContinue \| "
    r"ForEach-Object { \$k=\$_; foreach\(\$v in \$n\){ if\(\$k\.GetValue\(\$v,\$null\) -ne \$null\){ "
    r"Set-ItemProperty -Path \$k\.PSPath -Name \$v -Value [01] -Type DWord -ErrorAction SilentlyContinue } } }\"",
    r'reg (add "HK(CU|U\\%%TORV_SID%%)\\Software\\Classes\\CLSID\\%s\\InprocServer32" /f /ve|'
    r'delete "HK(CU|U\\%%TORV_SID%%)\\Software\\Classes\\CLSID\\%s" /f)' % (2 * (re.escape(SHELL_EXTENSION),)),
    r"taskkill /f /im explorer\.exe & start explorer\.exe",
    r'schtasks /Change /TN "\\Microsoft\\Windows\\(Defrag\\ScheduledDefrag|'
    r'MemoryDiagnostic\\(ProcessMemoryDiagnosticEvents|RunFullMemoryDiagnostic))" /(Disable|Enable)',
)]


@functools.lru_cache(maxsize=None)
def permitted_keys():
    """The keys of keys.txt, in small letters: the values that may be written there, or None for any."""
    keys = {}
    with open(os.path.join(HERE, "keys.txt"), encoding="utf-8") as file:
        for line in file:
            if line.startswith("#") or not line.strip():
                continue
            key, bar, names = line.strip().partition(" | ")
            keys[key.lower()] = {name.lower() for name in names.split(", ")} if bar else None
    return keys
