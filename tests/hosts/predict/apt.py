"""Situations of APT hosts."""

import base64
import itertools
import os
import subprocess

from disposable_hosts.apt import site as apt
from disposable_hosts.apt.repository import Contents
from disposable_hosts.apt.site import AptSite
from disposable_hosts.signing_key import SigningKey

from predict.situation import NEWEST, Disturbance, Family, do, put, timer_fires

PACKAGE = "zant-velmora"
CONFIGURATION = "/etc/apt/apt.conf.d"
UNITS = ("apt-daily.timer", "apt-daily.service", "apt-daily-upgrade.timer", "apt-daily-upgrade.service")
TIMERS = {"apt-daily.timer": "apt-daily.service", "apt-daily-upgrade.timer": "apt-daily-upgrade.service"}

_numbers = itertools.count(1)


def _conf(site, rng, text):
    """A file of APT's configuration, before or after those of package-minder; now and then one that APT passes over."""
    number = next(_numbers)
    usual = (f"{CONFIGURATION}/05local{number}", f"{CONFIGURATION}/99local{number}")
    rare = (f"{CONFIGURATION}/99local{number}.conf", f"{CONFIGURATION}/99local{number}.bak", f"{CONFIGURATION}/99local{number}~", "/etc/apt/apt.conf")
    return put(site, rng.choice(usual * 4 + rare), text)


# --- What decides on versions ---


def pin(site, rng, _):
    what = rng.choice((
        "version 1.0*", "release a=systemd-production", "origin repo.velmora.test", "release o=Debian", "version 2.*", 'origin "repo.velmora.test"',
        "release n=systemd-production", "release o=Quorvane*", "release l=Quorvane Velmora Core VMS Repo", "release c=main", "release a=now", "release *",
        "version *", 'origin ""', "release v=12*", "release a=systemd-production, c=contrib", "version /^[12]/", "release b=s390x", "origin *.test",
    ))
    who = rng.choice((
        PACKAGE, "zant-*", "*", f"src:{PACKAGE}", "src:*", "/^zant-/", "/VELMORA/", f"{PACKAGE}:any", f"{PACKAGE}:amd64", f"{PACKAGE}:s390x",
        f"bash {PACKAGE}", "*:amd64", "bash",
    ))
    priority = rng.choice((-1, 1, 99, 100, 500, 990, 1001, "", "nonsense", 0))
    name = rng.choice(("preferences.d/local", "preferences.d/local", "preferences.d/local.pref", "preferences.d/local.bak", "preferences.d/zz", "preferences"))
    return put(site, f"/etc/apt/{name}", f"Explanation: why\n# a comment\nPackage: {who}\nPin: {what}\nPin-Priority: {priority}\n")


def two_pins(site, rng, _):
    first, second = (rng.choice((-1, 1, 100, 500, 1001)) for _ in range(2))
    who = rng.choice((PACKAGE, "zant-*", "*"))
    text = f"Package: *\nPin: origin repo.velmora.test\nPin-Priority: {first}\n\nPackage: {who}\nPin: version {rng.choice(('1.*', '2.*', '*'))}\nPin-Priority: {second}\n"
    return put(site, "/etc/apt/preferences.d/local", text)


def hold(site, _, __):
    return do(site, f"apt-mark hold {PACKAGE}")


def default_release(site, rng, _):
    return _conf(site, rng, f'APT::Default-Release "{rng.choice(("stable", "systemd-production", "bookworm"))}";\n')


def phasing(site, rng, _):
    site.repository.index_lines = f"Phased-Update-Percentage: {rng.choice((0, 10, 50, 100))}\n"
    option = rng.choice(("", "", "", "APT::Get::Always-Include-Phased-Updates", "APT::Get::Never-Include-Phased-Updates", "Update-Manager::Never-Include-Phased-Updates"))
    return f"the repository phases: {site.repository.index_lines.strip()}; " + (_conf(site, rng, f'{option} "true";\n') if option else "no option of APT's")


# --- unattended-upgrades ---


def blacklist(site, rng, _):
    pattern = rng.choice((PACKAGE, "zant-", "velmora", ".*", "foo", "zant-velmora$", "Zant", "^zant-velmora", "", "(zant|bash)", "zant-velmora:amd64", "\\bzant", "*zant", "["))
    return _conf(site, rng, f'Unattended-Upgrade::Package-Blacklist {{ "{pattern}"; }};\n')


def whitelist(site, rng, _):
    pattern = rng.choice((PACKAGE, "bash", "zant-.*", "", "velmora", "("))
    strict = rng.choice(("true", "false"))
    return _conf(site, rng, f'Unattended-Upgrade::Package-Whitelist {{ "{pattern}"; }};\nUnattended-Upgrade::Package-Whitelist-Strict "{strict}";\n')


def origins(site, rng, _):
    pattern = rng.choice((
        "origin=Debian,codename=${distro_codename}", "o=Quorvane Velmora Core VMS Repo", "site=repo.velmora.test", "o=Other", "origin=*", "o=Quorvane*",
        "o=Quorvane Velmora Core VMS Repo,a=systemd-production", "o=Quorvane Velmora Core VMS Repo,c=main,l=Other", "a=${distro_codename}", "*", "n=systemd-production",
    ))
    return _conf(site, rng, f'#clear Unattended-Upgrade::Origins-Pattern;\nUnattended-Upgrade::Origins-Pattern {{ "{pattern}"; }};\n')


def allowed_origins(site, rng, _):
    """The older way to name them, beside the newer one or in its place."""
    origin = rng.choice(("Quorvane Velmora Core VMS Repo:systemd-production", "Debian stable", "nonsense", "Quorvane Velmora Core VMS Repo:*", "a:b:c"))
    clearing = rng.choice(("", "#clear Unattended-Upgrade::Origins-Pattern;\n"))
    return _conf(site, rng, f'{clearing}Unattended-Upgrade::Allowed-Origins {{ "{origin}"; }};\n')


def own_file(site, rng, _):
    """The files that package-minder keeps are edited."""
    name, change = rng.choice((
        ("50unattended-upgrades", "s/Quorvane/Other/"), ("50unattended-upgrades", "/[Oo]rigin/d"), ("50unattended-upgrades", "s,^,//,"),
        ("50unattended-upgrades", "$aUnattended-Upgrade::Package-Blacklist { \"zant\"; };"), ("50unattended-upgrades", "$d"),
        ("20auto-upgrades", "/Unattended-Upgrade/d"), ("20auto-upgrades", "/Update-Package-Lists/d"), ("20auto-upgrades", "s/always/1/"),
        ("20auto-upgrades", "s/\"always\"/\"0\"/"), ("20auto-upgrades", "s/;$//"), ("75lowerspeed", "s/[0-9][0-9]*/1/g"), ("75lowerspeed", "d"),
    ))
    return do(site, f"sed -i '{change}' {CONFIGURATION}/{name}")


def clear(site, rng, _):
    what = rng.choice(("APT::Periodic", "APT", "Unattended-Upgrade", "Unattended-Upgrade::Origins-Pattern", "APT::Periodic::Update-Package-Lists", "Acquire", "Dir"))
    return _conf(site, rng, f"#clear {what};\n")


def included(site, rng, _):
    text = rng.choice(('APT::Periodic::Unattended-Upgrade "0";\n', f'Unattended-Upgrade::Package-Blacklist {{ "{PACKAGE}"; }};\n', "{\n"))
    return put(site, "/etc/apt/included", text) + "; " + _conf(site, rng, f'#include {rng.choice(("", "", "/nowhere"))}/etc/apt/included;\n')


def bad_origin(site, rng, _):
    pattern = rng.choice(("Quorvane", "x=y", "o=a=b", ""))
    return _conf(site, rng, f'Unattended-Upgrade::Origins-Pattern {{ "{pattern}"; }};\n')


def days(site, rng, _):
    names = rng.choice(('"Mon"; "Tue"; "Wed"; "Thu"; "Fri"; "Sat"; "Sun"', '"Noday"', '"0"; "1"; "2"; "3"; "4"; "5"; "6"'))
    return _conf(site, rng, f"Unattended-Upgrade::Update-Days {{ {names}; }};\n")


def upgrade_option(site, rng, _):
    name, value = rng.choice((
        ("InstallOnShutdown", "true"), ("MinimalSteps", "false"), ("OnlyOnACPower", "true"), ("Skip-Updates-On-Metered-Connections", "true"),
        ("DevRelease", "false"), ("DevRelease", "auto"), ("Remove-Unused-Dependencies", "true"), ("Automatic-Reboot", "false"), ("SyslogEnable", "false"),
        ("Allow-APT-Mark-Fallback", "false"), ("AutoFixInterruptedDpkg", "false"), ("LogDir", "/nonexistent/logs"), ("LogDir", "/dev/null"),
        ("LogDir", "/var/log/mine"), ("LogFile", "/nonexistent/a.log"), ("LogFile", "/var/log/a.log"), ("Mail", "root"), ("Debug", "true"),
        ("Verbose", "true"), ("Automatic-Reboot", "true"), ("Automatic-Reboot-Time", "nonsense"), ("Allow-downgrade", "true"),
        ("Remove-New-Unused-Dependencies", "true"), ("Keep-Debs-After-Install", "true"), ("SyslogEnable", "true"), ("SyslogFacility", "nonsense"),
        ("Dirs::Plugins", "/nonexistent"), ("IgnoreAppsRequireRestart", "true"), ("Package-Blacklist", PACKAGE), ("Update-Days", "Noday"),
        ("Origins-Pattern", "o=Other"), ("OnlyOnACPower", "nonsense"),
    ))
    return _conf(site, rng, f'Unattended-Upgrade::{name} "{value}";\n')


def without_unattended_upgrades(site, rng, _):
    return do(site, rng.choice((
        "dpkg --purge unattended-upgrades", "dpkg --remove unattended-upgrades", "chmod 644 /usr/bin/unattended-upgrade",
        "printf '#!/bin/sh\\nexec /usr/bin/unattended-upgrade \"$@\"\\n' > /usr/local/bin/unattended-upgrade && chmod 755 /usr/local/bin/unattended-upgrade",
        "printf '#!/bin/sh\\nexit 0\\n' > /usr/local/bin/unattended-upgrade && chmod 755 /usr/local/bin/unattended-upgrade",
        ": > /usr/bin/unattended-upgrade", "sed -i '1s,.*,#!/usr/bin/nothing,' /usr/bin/unattended-upgrade",
    )))


def broken_tool(site, rng, _):
    """Programs and modules that the runs need."""
    return do(site, rng.choice((
        "chmod 644 /usr/lib/apt/apt.systemd.daily", "rm /usr/lib/apt/apt.systemd.daily", "mv /usr/lib/apt/methods/http /root/", "chmod 644 /usr/lib/apt/methods/http",
        "rm /usr/bin/gpgv /usr/bin/sqv", "chmod 644 /usr/bin/dpkg-deb", "rm /usr/lib/apt/methods/store", "mv /usr/lib/python3/dist-packages/apt /root/",
        "mv /usr/bin/apt-config /root/", "mv /usr/bin/flock /root/", "deluser --quiet _apt; sed -i /^_apt:/d /etc/passwd", "rm /usr/bin/apt-mark",
        "printf '#!/bin/sh\\nexit 1\\n' > /usr/local/bin/apt-get && chmod 755 /usr/local/bin/apt-get", "mv /usr/bin/xz /root/", "mv /usr/sbin/ldconfig /root/",
        "printf '#!/bin/sh\\nexit 1\\n' > /usr/local/bin/python3 && chmod 755 /usr/local/bin/python3", "mv /usr/bin/tar /root/", "mv /sbin/start-stop-daemon /root/",
    )))


# --- APT's periodic work ---


def periodic(site, rng, _):
    name = rng.choice(("Enable", "Update-Package-Lists", "Unattended-Upgrade", "Download-Upgradeable-Packages", "Verbose"))
    return _conf(site, rng, f'APT::Periodic::{name} "{rng.choice(("0", "1", "2", "always", "3h", "30", "", "00", "yes", "true", "no", "7d", "1440m", "-1", "1.5", " 1", "1 0"))}";\n')


def stamps(site, rng, _):
    days_from_now = rng.choice((-10, 10))
    names = rng.choice(("upgrade-stamp", "update-stamp", "upgrade-stamp update-stamp download-upgradeable-stamp"))
    return do(site, f"cd /var/lib/apt/periodic && touch --date='{days_from_now} days' {names}")


def unit(site, rng, _):
    return do(site, f"systemctl {rng.choice(('mask', 'mask --now', 'disable', 'disable --now', 'stop'))} {rng.choice(UNITS)}")


def drop_in(site, rng, _):
    name = rng.choice(UNITS)
    if name.endswith(".timer"):
        text = rng.choice((
            "[Timer]\nOnCalendar=\nOnCalendar=2099-01-01\n", "[Timer]\nOnCalendar=\n", "[Timer]\nRandomizedDelaySec=1h\n", "[Timer]\nOnCalendar=nonsense\n",
            "[Timer]\nOnCalendar=\nOnCalendar=weekly\n", "[Timer]\nOnCalendar=\nOnBootSec=1d\nOnUnitActiveSec=1d\n", "[Timer]\nOnCalendar=\nOnUnitActiveSec=1d\n",
            "[Timer]\nOnCalendar=\nOnCalendar=*-02-30\n", "[Timer]\nPersistent=false\n", "[Timer]\nUnit=fstrim.service\n", "[Unit]\nConditionPathExists=/nonexistent\n",
            "[Timer]\nOnCalendar=\nOnCalendar=yearly\n", "[Timer]\nNonsense=1\n", "[Unit]\nAssertPathExists=/nonexistent\n",
            "[Timer]\nOnCalendar=\nOnCalendar=2020-01-01\nPersistent=false\n", "[Timer]\nOnClockChange=yes\nOnCalendar=\n",
        ))
    else:
        text = rng.choice((
            "[Service]\nExecStart=\nExecStart=/bin/true\n", "[Unit]\nConditionPathExists=/nonexistent\n", "[Service]\nNice=5\n",
            "[Service]\nUser=nobody\n", "[Service]\nReadOnlyPaths=/usr\n", "[Unit]\nConditionACPower=true\n",
            "[Service]\nExecStartPre=/bin/false\n", "[Service]\nExecStartPre=-/bin/false\n", "[Service]\nExecCondition=/bin/false\n", "[Service]\nTimeoutStartSec=1ms\n",
            "[Service]\nEnvironment=APT_CONFIG=/nonexistent\n", "[Service]\nEnvironment=http_proxy=http://127.0.0.1:9/\n", "[Service]\nEnvironmentFile=/nonexistent\n",
            "[Service]\nPATH=/nonexistent\n", "[Service]\nEnvironment=PATH=/nonexistent\n", "[Service]\nPrivateTmp=yes\n", "[Service]\nProtectSystem=full\n",
            "[Service]\nRestrictAddressFamilies=AF_UNIX\n", "[Service]\nMemoryMax=1M\n", "[Service]\nWorkingDirectory=/nonexistent\n", "[Unit]\nRequires=nonexistent.service\n",
            "[Unit]\nRequisite=rescue.service\n", "[Service]\nUMask=0777\n", "[Service]\nLimitNOFILE=4\n", "[Unit]\nAssertPathExists=/nonexistent\n",
            "[Service]\nExecStart=\n", "[Unit]\nStartLimitBurst=1\nStartLimitIntervalSec=1d\n",
        ))
    place = rng.choice(("/etc/systemd/system", "/etc/systemd/system", "/etc/systemd/system", "/run/systemd/system", "/usr/local/lib/systemd/system", "/usr/lib/systemd/system"))
    return put(site, f"{place}/{name}.d/zz-local.conf", text) + "; " + do(site, f"systemctl daemon-reload && systemctl try-restart {name}")


# --- Files that cannot be read ---


def broken_file(site, rng, _):
    path, text = rng.choice((
        (f"{CONFIGURATION}/98broken", 'APT::Foo "unterminated\n'), (f"{CONFIGURATION}/98broken", "APT { Foo\n"),
        ("/etc/apt/sources.list.d/broken.list", "deb nonsense\n"), ("/etc/apt/sources.list.d/broken.list", "rpm http://repo.velmora.test/ a b\n"),
        ("/etc/apt/preferences.d/broken", "Package: *\nPriority: 1\n"), ("/etc/apt/sources.list.d/broken.sources", "Types: deb\nURIs: http://repo.velmora.test/\n"),
        ("/etc/apt/apt.conf", "}\n"), (f"{CONFIGURATION}/98broken.bak", "APT { Foo\n"), ("/etc/apt/sources.list", "nonsense\n"),
        ("/etc/apt/sources.list.d/broken.list.save", "deb nonsense\n"), ("/etc/apt/sources.list.d/broken.sources", "Nonsense\n"), ("/etc/apt/sources.list.d/empty.list", ""),
        ("/etc/apt/sources.list.d/broken.sources", "Types: deb\nURIs: http://repo.velmora.test/\nSuites: a\nComponents: b\nEnabled: no\n"),
        ("/etc/apt/sources.list.d/broken.sources", "Types: deb\nURIs: http://repo.velmora.test/\nSuites: a/\nComponents: b\n"),
        ("/etc/apt/auth.conf", "nonsense\n"), ("/etc/apt/auth.conf.d/local.conf", "machine repo.velmora.test login\n"), ("/etc/apt/preferences", "Nonsense\n"),
        ("/etc/apt/preferences.d/broken", "Package: bash\nPin: nonsense\nPin-Priority: 1\n"), ("/etc/apt/preferences.d/empty", "\n\n"),
        ("/etc/dpkg/dpkg.cfg.d/local", "nonsense\n"), ("/etc/dpkg/dpkg.cfg.d/local", "force-confold\n"), ("/etc/dpkg/dpkg.cfg.d/local", "no-act\n"),
        ("/etc/dpkg/dpkg.cfg.d/local", "path-exclude=/usr/share/*\n"), ("/var/lib/dpkg/statoverride", "nobody-has-this root 0755 /usr/bin/bash\n"),
        ("/var/lib/dpkg/info/zant-velmora.list", "nonsense\n"), ("/var/lib/dpkg/diversions", "nonsense\n"), ("/var/lib/dpkg/arch", "nonsense!\n"), ("/var/lib/apt/extended_states", "nonsense\n"),
        ("/var/lib/dpkg/triggers/File", "nonsense\n"), ("/var/lib/dpkg/available", "nonsense\n"),
    ))
    return put(site, path, text)


def directory_mode(site, rng, _):
    return do(site, rng.choice((
        "rm -rf /var/lib/apt/lists/partial", "rm -rf /var/cache/apt/archives/partial", "chmod 700 /etc/apt/apt.conf.d", "rm -rf /var/cache/apt/archives",
        "rm -rf /var/lib/apt/lists", "rm -rf /var/cache/apt", "rm -rf /var/log/apt", "rm -rf /var/log/unattended-upgrades", "rm -rf /var/lib/apt/periodic", "chmod 700 /var/lib/apt/lists",
        "chmod 700 /etc/apt/trusted.gpg.d", "rm -rf /etc/apt/preferences.d", "rm -rf /var/lib/apt", "rm -rf /var/lib/dpkg/updates", "rm -f /var/lib/dpkg/lock*", "chmod 755 /tmp",
        "rm -rf /var/lib/apt/periodic && touch /var/lib/apt/periodic", "rm -rf /var/log/unattended-upgrades && touch /var/log/unattended-upgrades", "rm -rf /tmp",
        "rm -rf /var/backups", "rm -rf /var/cache/apt/archives && touch /var/cache/apt/archives", "rm -rf /var/lib/dpkg/info", "rm -f /var/lib/dpkg/info/format"),
    ))


# --- The repository's registration ---


def source_list(site, rng, _):
    change = rng.choice((
        f"rm {apt.SOURCE_LIST}", f"sed -i 's/^deb/# deb/' {apt.SOURCE_LIST}", f"sed -i 's/systemd-production/other/' {apt.SOURCE_LIST}",
        f"sed -i 's/ main$/ contrib/' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/arch=s390x/' {apt.SOURCE_LIST}",
        f"sed -i 's,velmora-apt-repo,nowhere,' {apt.SOURCE_LIST}", f"sed -i 's,repo.velmora.test,other.velmora.test,' {apt.SOURCE_LIST}",
        f"mv {apt.SOURCE_LIST} {apt.SOURCE_LIST}.off", f"mv {apt.SOURCE_LIST} /etc/apt/sources.list", f"cat {apt.SOURCE_LIST} >> /etc/apt/sources.list",
        f"sed -i 's/^deb/deb-src/' {apt.SOURCE_LIST}", f"sed -i 's,http:,https:,' {apt.SOURCE_LIST}", f"sed -i 's,http:,file:,' {apt.SOURCE_LIST}",
        f"sed -i 's/ main$/ main contrib/' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/trusted=yes/' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/trusted=no/' {apt.SOURCE_LIST}",
        f"sed -i 's,arch=[a-z0-9]*,signed-by=/nonexistent.gpg,' {apt.SOURCE_LIST}", f"sed -i 's,arch=[a-z0-9]*,signed-by={apt.KEYRING},' {apt.SOURCE_LIST}",
        f"sed -i 's,arch=[a-z0-9]*,signed-by=0123456789012345678901234567890123456789,' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/nonsense=1/' {apt.SOURCE_LIST}",
        f"sed -i 's/arch=[a-z0-9]*/lang=none by-hash=force/' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/check-valid-until=no/' {apt.SOURCE_LIST}",
        f"sed -i 's/arch=[a-z0-9]*/arch-=amd64/' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/target=Translations/' {apt.SOURCE_LIST}", f": > {apt.SOURCE_LIST}",
        f"chmod 600 {apt.SOURCE_LIST}", f"rm {apt.SOURCE_LIST} && mkdir {apt.SOURCE_LIST}", f"sed -i 's,//repo,//user:word@repo,' {apt.SOURCE_LIST}",
    ))
    return do(site, change)


def second_list(site, rng, _):
    options = rng.choice((
        "", "signed-by=/etc/apt/trusted.gpg.d/zant-velmora.gpg", "trusted=yes", "trusted=no", "signed-by=/nonexistent.gpg", "allow-insecure=yes", "arch=s390x", "check-valid-until=no",
    ))
    # A name before or after that of package-minder's list.
    name = rng.choice(("aaa", "zzz"))
    if rng.random() < 0.5:
        return put(site, f"/etc/apt/sources.list.d/{name}.list", f"deb {f'[{options}] ' if options else ''}{site.repository_url()} systemd-production main\n")
    field, _, value = options.partition("=")
    field = {"arch": "Architectures"}.get(field, field.title())
    enabled = rng.choice(("", "", "Enabled: no\n"))
    stanza = f"Types: deb\nURIs: {site.repository_url()}\nSuites: systemd-production\nComponents: main\n" + (f"{field}: {value}\n" if field else "") + enabled
    return put(site, f"/etc/apt/sources.list.d/{name}.sources", stanza)


def other_source(site, rng, _):
    line = rng.choice((
        "deb http://repo.velmora.test/nowhere stable main", "deb http://127.0.0.1:9/gone stable main", "deb file:/nonexistent ./",
        "deb [trusted=yes] file:/srv/packages ./", "deb https://repo.velmora.test/velmora-apt-repo/ sysvinit-production main", "deb-src http://repo.velmora.test/velmora-apt-repo/ systemd-production main",
        "deb http://unknown.velmora.test/gone stable main", "deb nonsense://repo.velmora.test/ stable main", "deb cdrom:[Debian]/ stable main", "deb [trusted=yes] copy:/srv/nowhere ./",
        "deb http://repo.velmora.test/velmora-apt-repo/ sysvinit-production main contrib",
    ))
    return put(site, "/etc/apt/sources.list.d/other.list", f"{line}\n")


def keyring(site, rng, _):
    return do(site, rng.choice((
        f"rm {apt.KEYRING}", f": > {apt.KEYRING}", f"chmod 600 {apt.KEYRING}", f"echo nonsense > {apt.KEYRING}", "chmod 700 /etc/apt/trusted.gpg.d", f"mv {apt.KEYRING} {apt.KEYRING.replace('.gpg', '.asc')}", f"mv {apt.KEYRING} {apt.KEYRING}.bak",
        f"head --bytes=20 {apt.KEYRING} > /root/k && cat /root/k > {apt.KEYRING}", "echo nonsense > /etc/apt/trusted.gpg.d/other.gpg", "echo nonsense > /etc/apt/trusted.gpg.d/other.asc",
        f"cp {apt.KEYRING} /etc/apt/trusted.gpg && rm {apt.KEYRING}", f"rm {apt.KEYRING} && mkdir {apt.KEYRING}"),
    ))


def acquire_option(site, rng, _):
    line = rng.choice((
        'Acquire::http::Proxy "http://127.0.0.1:9/";', 'Acquire::http::Proxy::repo.velmora.test "DIRECT";', 'Acquire::Retries "1";',
        'Acquire::Languages "none";', 'Acquire::Check-Valid-Until "false";', 'Acquire::GzipIndexes "true";', 'Acquire::By-Hash "no";',
        'APT::Sandbox::User "root";', 'Dir::Cache::archives "/var/cache/apt/elsewhere/";', 'APT::Get::AllowUnauthenticated "true";',
        'Acquire::http::Timeout "5";', 'APT::Install-Recommends "false";', 'Acquire::AllowReleaseInfoChange "true";', 'APT::Architecture "s390x";',
        'APT::Architectures { "s390x"; };', 'Acquire::http::Proxy::repo.velmora.test "http://127.0.0.1:9/";', 'Acquire::http::Proxy "DIRECT";', 'Acquire::http::Proxy "nonsense";',
        'Acquire::http::Proxy-Auto-Detect "/bin/false";', 'Acquire::http::Proxy-Auto-Detect "/nonexistent";', 'Acquire::http::ProxyAutoDetect "/bin/echo";',
        'Acquire::https::Proxy "http://127.0.0.1:9/";', 'Acquire::http::Proxy "http://repo.velmora.test:80/";', 'Acquire::http::Proxy "socks5h://127.0.0.1:9/";', 'Acquire::ForceIPv6 "true";',
        'Acquire::ForceIPv4 "true";', 'Acquire::http::Dl-Limit "1";', 'Acquire::Max-ValidTime "1";', 'Acquire::AllowInsecureRepositories "true";', 'Acquire::http::AllowRedirect "false";',
        'Acquire::IndexTargets::deb::Packages::DefaultEnabled "false";', 'Acquire::CompressionTypes::Order { "xz"; };', 'Acquire::Check-Date "false";', 'Acquire::PDiffs "false";',
        'Dir::State::lists "/var/lib/apt/elsewhere";', 'Dir::Etc::sourceparts "/dev/null";', 'Dir::Etc::sourcelist "/dev/null";', 'Dir::Etc::trustedparts "/nonexistent";',
        'Dir::Log "/nonexistent";', 'Dir::Bin::dpkg "/bin/false";', 'Dir::Cache::pkgcache "";', 'Dir::Cache "/nonexistent";', 'Dir::Etc::preferencesparts "/nonexistent";',
        'Dir::State::status "/nonexistent";', 'Dir::Ignore-Files-Silently:: "velmora";', 'Dir "/nonexistent";', 'Dir::Bin::methods "/nonexistent";',
        'DPkg::Options { "--no-act"; };', 'DPkg::Options { "--nonsense"; };', 'DPkg::Options { "--force-all"; };', 'DPkg::Lock::Timeout "1";', 'DPkg::Path "/nonexistent";', 'DPkg::Run-Directory "/nonexistent";',
        'DPkg::Chroot-Directory "/nonexistent";', 'DPkg::Tools::Options::cat::Version "2";', 'DPkg::Pre-Install-Pkgs { "cat > /dev/null"; };',
        'APT::Get::Assume-No "true";', 'APT::Get::Upgrade "false";', 'APT::Get::Download-Only "true";', 'APT::Get::Simulate "true";', 'APT::Get::Trivial-Only "true";',
        'APT::Cache-Limit "1000";', 'APT::Cache-Start "1000";', 'APT::Solver "3.0";', 'APT::Solver "nonsense";', 'APT::Planner "nonsense";', 'APT::Sandbox::User "nobody-has-this";',
        'APT::Sandbox::Seccomp "true";', 'APT::Key::gpgvcommand "/bin/false";', 'APT::Key::GPGVCommand "1";', 'APT::Ignore-Hold "true";', 'APT::Clean-Installed "true";',
        'APT::Get::ReInstall "true";', 'APT::Never-Markauto-Sections { "main"; };', 'APT::Update::Error-Mode "any";', 'APT::Get::Fix-Missing "true";', 'quiet "5";',
        'APT::Hashes::SHA256::Untrusted "true";', 'APT::Immediate-Configure "false";', 'APT::Default-Release "/^system/";', 'APT::Install-Suggests "true";', 'APT::Machine-ID "0123";',
        'Debug::pkgAcquire "true";', 'Debug::pkgDPkgPM "true";', 'Debug::NoLocking "true";', 'RootDir "/nonexistent";', 'Binary::apt-get::APT::Periodic::Enable "0";',
    ))
    return _conf(site, rng, line + "\n")


# --- The vendor's side ---


def foreign_signature(site, _, stack):
    directory = site.web_root / f".foreign-{next(_numbers)}"
    directory.mkdir()
    site.repository._key = stack.enter_context(SigningKey(directory, owner="Somebody Else <else@velmora.test>"))
    return "the repository is signed with another key"


def release_fields(site, rng, _):
    fields = rng.choice((
        {"Valid-Until": "Wed, 01 Jan 2020 00:00:00 UTC"}, {"Valid-Until": "Fri, 01 Jan 2100 00:00:00 UTC"}, {"Origin": "Somebody Else"},
        {"Label": "Other"}, {"Suite": "other"}, {"Codename": "other"}, {"Components": "contrib"}, {"Architectures": "s390x"}, {"Version": "9"},
        {"NotAutomatic": "yes"}, {"NotAutomatic": "yes", "ButAutomaticUpgrades": "yes"}, {"Acquire-By-Hash": "yes"}, {"Date": "Sat, 01 Jan 2039 00:00:00 UTC"},
        {"Date": "Sat, 01 Jan 2000 00:00:00 UTC"}, {"Date": "nonsense"}, {"Valid-Until": "nonsense"}, {"Signed-By": "0123456789012345678901234567890123456789"}, {"Codename": ""}, {"Suite": ""},
        {"Snapshots": "nonsense"}, {"No-Support-for-Architecture-all": "Packages"}, {"Changelogs": "no"}, {"Description": "x"},
    ))
    site.repository.release_fields = fields
    return f"the repository's Release says {fields}"


def dependencies(site, rng, _):
    fields = rng.choice((
        "Depends: not-there\n", "Depends: bash (>= 99)\n", "Conflicts: procps\n", "Breaks: unattended-upgrades\n", "Depends: bash\n", "Pre-Depends: not-there\n",
        "Recommends: not-there\n", "Essential: yes\n", "Protected: yes\n", "Multi-Arch: same\n", "Multi-Arch: foreign\n", "Conflicts: zant-velmora\n", "Depends: bash:s390x\n",
        "Breaks: procps (<< 99)\n", "Depends: openssl (<< 1)\n", "Section: metapackages\n", "Priority: required\n", "Conflicts: dpkg\n", "Replaces: bash\n", "Depends: not-there | bash\n", "Provides: bash-completion\n",
    ))
    _contents_of_newest(site, Contents(fields=fields))
    return f"the newest version says {fields.strip()}"


def conffile(site, rng, _):
    path = "/etc/zant-velmora.conf"
    old = site.repository.publish("1.0.1", contents=Contents(conffiles={path: "old\n"}))
    site.install_file(old)
    changed = rng.choice((True, False))
    if changed:
        site.host.run(f"echo mine >> {path}")
    _contents_of_newest(site, Contents(conffiles={path: rng.choice(("old\n", "new\n"))}))
    option = rng.choice(("", 'Dpkg::Options { "--force-confold"; };\n', 'Dpkg::Options { "--force-confdef"; };\n'))
    return f"a configuration file{' that the administrator changed' if changed else ''}; " + (_conf(site, rng, option) if option else "no option of dpkg's")


def failing_script(site, rng, _):
    script = rng.choice(("preinst", "postinst", "prerm"))
    _contents_of_newest(site, Contents(scripts={script: "#!/bin/sh\nexit 1\n"}))
    return f"{script} of the newest version fails"


def dependency(site, rng, _):
    """The newest version needs a newer version of another package of the vendor's, with which something is done."""
    other = "zant-core"
    site.install_package("1.0", other)
    site.repository.publish("2.0", other, contents=Contents(fields=rng.choice(("", "", "Depends: not-there\n", "Conflicts: procps\n"))))
    _contents_of_newest(site, Contents(fields=f"Depends: {other} ({rng.choice(('>= 2', '>= 2', '>= 1', '= 2.0'))})\n"))
    change = rng.choice((
        "true", f"apt-mark hold {other}", f"apt-mark auto {other}", f"dpkg --purge {other}",
        f"printf 'Package: {other}\\nPin: release *\\nPin-Priority: -1\\n' > /etc/apt/preferences.d/other",
        f"echo 'Unattended-Upgrade::Package-Blacklist {{\"{other}\";}};' > {CONFIGURATION}/99other",
    ))
    return f"the newest version needs another package: {do(site, change)}"


def neighbour(site, rng, _):
    """Another package of the vendor's has a newer version too."""
    return _publish_neighbour(site, rng, Contents(fields=rng.choice((
        "", "Depends: not-there\n", f"Breaks: {PACKAGE} (<< 2)\n", f"Conflicts: {PACKAGE}\n", f"Provides: {PACKAGE}\n", f"Depends: {PACKAGE} (>= 2)\n",
    ))))


def failing_neighbour(site, rng, _):
    """It does not get installed, and what is installed with it may not be, either."""
    return _publish_neighbour(site, rng, Contents(scripts={rng.choice(("preinst", "postinst", "prerm")): "#!/bin/sh\nexit 1\n"}))


def _publish_neighbour(site, rng, contents):
    name = rng.choice(("aaa-velmora", "zzz-velmora"))
    site.install_package("1.0", name)
    site.repository.publish("2.0", name, contents=contents)
    return f"{name} has a newer version: {contents}"


def epoch(site, rng, _):
    """Versions of which the later looks earlier."""
    old, new = rng.choice((("1.0", "1:0.5"), ("1:1.0", "1:2.0"), ("1.0~rc1", "1.0"), ("1.0-1", "1.0-1+b1"), ("9.0", "10.0")))
    publish = site.repository.publish
    site.install_file(publish(old, contents=Contents()))
    site.newest = (new,)
    site.repository.publish = lambda version, name=PACKAGE, **given: publish(new if (version, name) == ("2.0", PACKAGE) else version, name, **given)
    return f"{old} is installed, and the newest is {new}"


def architecture(site, rng, _):
    other = rng.choice(("i386", "s390x"))
    line = rng.choice(("", f"deb [arch={other}] {site.repository_url()} systemd-production main", f"deb {site.repository_url()} systemd-production main"))
    return do(site, f"dpkg --add-architecture {other}") + "; " + (put(site, "/etc/apt/sources.list.d/second.list", f"{line}\n") if line else "no source of it")


def other_repository(site, rng, _):
    """The package is offered elsewhere too."""
    version, options = rng.choice(("1.5", "2.0", "2.5")), rng.choice(("trusted=yes", ""))
    other = site.add_repository("other-repo", suites=("stable",), **rng.choice(({"origin": "Other", "label": "Other"}, {})))
    other.publish(version)
    # Where both may be installed from, the higher version is.
    site.newest = (NEWEST, "2.5") if version == "2.5" else (NEWEST,)
    line = f"deb [{options}] {site.url('other-repo/')} stable main\n" if options else f"deb {site.url('other-repo/')} stable main\n"
    return f"another repository has {version}; " + put(site, "/etc/apt/sources.list.d/other.list", line)


def password(site, rng, _):
    site.server.ask_for_password("user", "word")
    machine = rng.choice(("repo.velmora.test", "http://repo.velmora.test", "repo.velmora.test/velmora-apt-repo", "other.test"))
    path, mode = rng.choice(("/etc/apt/auth.conf.d/local.conf", "/etc/apt/auth.conf", "/etc/apt/auth.conf.d/local")), rng.choice(("0644", "0600"))
    site.host.write(path, f"machine {machine} login user password {rng.choice(('word', 'word', 'wrong'))}\n", mode)
    return f"the server asks for a password, and {path} has one for {machine} (mode {mode})"


def damaged_index(site, rng, _):
    """What lies below dists is not what it should be."""
    change = rng.choice((
        "rm InRelease", "rm InRelease Release", "rm main/*/Packages", "rm main/*/Packages.gz", "rm main/*/Packages*", "echo >> main/*/Packages; echo >> main/*/Packages.gz",
        ": > main/*/Packages; rm main/*/Packages.gz", "echo '<html>sign in</html>' > InRelease", ": > InRelease", "sed -i s/main/other/ InRelease", "head -c 300 InRelease > x; mv x InRelease",
        "mv main other", "chmod 000 InRelease; rm InRelease; mkdir InRelease", "cp Release InRelease",
    ))

    def damage(edition):
        for suite in (edition / "dists").iterdir():
            subprocess.run(f'f() {{ {change}; }}; f', shell=True, cwd=suite, check=False, capture_output=True)

    _after_publication(site, damage)
    return f"in dists/*: {change}"


def withdrawn(site, rng, _):
    """The repository has nothing of the package any more, or an older version."""
    def keep(packages):
        return [path for path in packages if "_2.0" in path.name or not path.name.startswith(PACKAGE)]

    site.repository._packages = keep(site.repository._packages)
    return "older versions are not in the repository any more"


def big(site, rng, _):
    """The newest version is larger than what there is room for somewhere, or not."""
    size = rng.choice((3, 12))
    _contents_of_newest(site, Contents(fields=f"Installed-Size: {size * 1024}\n", conffiles={"/etc/zant-velmora.bulk": random_text(rng, size)}))
    directory = rng.choice(("/var/cache/apt/archives", "/usr/share/zant-velmora", "/etc", "/var/lib/dpkg", "/var/cache/apt", "/tmp", "/var/lib/apt"))
    room = rng.choice((2, 8, 40))
    # As when that directory has always been a file system of its own.
    move = f"mkdir -p {directory} && cp -a {directory} /root/moved && mount -t tmpfs -o size={room}m tmpfs {directory} && cp -a /root/moved/. {directory}/ && rm -r /root/moved"
    return f"the newest version has {size} MB; " + do(site, move)


def failing_hook(site, rng, _):
    return _conf(site, rng, rng.choice(('DPkg::Pre-Install-Pkgs { "exit 1"; };\n', 'DPkg::Pre-Invoke { "exit 1"; };\n', 'DPkg::Post-Invoke { "exit 1"; };\n', 'APT::Update::Pre-Invoke { "exit 1"; };\n')))


def missing_file(site, rng, _):
    _after_publication(site, lambda edition: [os.remove(path) for path in (edition / "pool").glob(f"{PACKAGE}_2.0_*.deb")])
    return "the newest version's file is not on the server"


def damaged_file(site, rng, _):
    def damage(edition):
        for path in (edition / "pool").glob(f"{PACKAGE}_2.0_*.deb"):
            data = bytearray(path.read_bytes())
            data[-10] ^= 0xFF
            path.write_bytes(data)

    _after_publication(site, damage)
    return "the newest version's file is damaged on the server"


def server_gone(site, _, stack):
    stack.enter_context(site.server.gone())
    return "the server refuses connections"


# --- dpkg and the machine ---


def interrupted_dpkg(site, rng, _):
    return do(site, rng.choice((
        "touch /var/lib/dpkg/updates/0001", "cp /var/lib/dpkg/status /var/lib/dpkg/updates/0000",
        "sed -i '/^Package: procps$/,/^$/s/^Status: .*/Status: install ok half-configured/' /var/lib/dpkg/status",
        "sed -i '/^Package: zant-velmora$/,/^$/s/^Status: .*/Status: install ok unpacked/' /var/lib/dpkg/status",
        "sed -i '/^Package: procps$/,/^$/s/^Status: .*/Status: install reinstreq half-installed/' /var/lib/dpkg/status",
        "sed -i '/^Package: zant-velmora$/,/^$/s/^Status: .*/Status: deinstall ok installed/' /var/lib/dpkg/status",
        "sed -i '/^Package: zant-velmora$/,/^$/s/^Status: .*/Status: purge ok installed/' /var/lib/dpkg/status",
        "sed -i '/^Package: zant-velmora$/,/^$/s/^Status: .*/Status: install reinstreq half-installed/' /var/lib/dpkg/status",
        "sed -i '/^Package: zant-velmora$/,/^$/s/^Status: .*/Status: install ok half-configured/' /var/lib/dpkg/status",
        "sed -i '/^Package: zant-velmora$/,/^$/s/^Status: .*/Status: install ok triggers-pending\\nTriggers-Pending: foo/' /var/lib/dpkg/status",
        "sed -i '/^Package: procps$/,/^$/s/^Status: .*/Status: install ok triggers-pending\\nTriggers-Pending: foo/' /var/lib/dpkg/status",
        "sed -i '/^Package: procps$/,/^$/s/^Status: .*/Status: install ok unpacked/' /var/lib/dpkg/status",
        "sed -i '/^Package: procps$/,/^$/s/^Depends: .*/Depends: not-there/' /var/lib/dpkg/status",
        "sed -i '/^Package: procps$/,/^$/s/^Version: .*/Version: nonsense!/' /var/lib/dpkg/status",
        "sed -i '/^Package: procps$/,/^$/s/^Status: .*/Status: nonsense/' /var/lib/dpkg/status",
        "touch /var/lib/dpkg/updates/tmp.i", "touch /var/lib/dpkg/updates/nonsense", ": > /var/lib/dpkg/status", "echo nonsense >> /var/lib/dpkg/status", "rm /var/lib/dpkg/status",
        "dpkg --remove --force-depends zant-velmora", "rm /var/lib/dpkg/info/zant-velmora.list", "mkdir -p /var/lib/dpkg/tmp.ci/x", "truncate --size=5000 /var/lib/dpkg/status",
        "printf 'zant-velmora purge\\n' | dpkg --set-selections", "printf 'zant-velmora hold\\n' | dpkg --set-selections", "apt-mark auto zant-velmora",
    )))


def no_room(site, rng, _):
    directory = rng.choice((
        "/var/cache/apt/archives", "/var/lib/apt/lists", "/usr/share/zant-velmora", "/var/lib/dpkg/updates",
        "/var/log", "/var/log/apt", "/var/log/unattended-upgrades", "/tmp", "/var/tmp", "/var/cache/apt", "/var/lib/apt/periodic", "/run/lock", "/var/backups", "/etc/systemd/system/apt-daily.service.d",
    ))
    options = rng.choice(("size=4k", "size=64k", "size=16m", "nr_inodes=1", "nr_inodes=3", "nr_inodes=400", "noexec", "mode=000", "ro"))
    return do(site, f"mkdir -p {directory} && mount -t tmpfs -o {options} tmpfs {directory}")


def read_only(site, rng, _):
    directory = rng.choice(("/usr", "/var/lib/apt", "/var/cache/apt", "/etc/apt", "/etc", "/var", "/var/lib/dpkg", "/var/log", "/tmp", "/run", "/usr/share/zant-velmora", "/var/lib/apt/periodic"))
    return do(site, f"mount --bind {directory} {directory} && mount -o remount,ro,bind {directory}")


def locked(site, rng, _):
    path = rng.choice(("/var/lib/dpkg/lock-frontend", "/var/lib/dpkg/lock", "/var/lib/apt/lists/lock", "/var/cache/apt/archives/lock", "/run/unattended-upgrades.lock"))
    function = rng.choice(("lockf", "lockf", "flock"))
    # A process of the host's own: one outside of it shows in none of its tables.
    program = f"import fcntl, time; file = open('{path}', 'a'); fcntl.{function}(file, fcntl.LOCK_EX); open('/root/locked', 'w'); time.sleep(900)"
    site.host.run(f'setsid python3 -c "{program}" < /dev/null > /dev/null 2>&1 & until test -e /root/locked; do sleep 0.05; done')
    return f"python3 holds {path} with {function}"


def nothing(_, __, ___):
    return "-"


def random_text(rng, megabytes):
    """What no compression makes smaller by much."""
    return base64.b85encode(rng.randbytes(megabytes * 1024 * 1024 * 4 // 5)).decode()


def _contents_of_newest(site, contents):
    publish = site.repository.publish
    site.repository.publish = lambda version, *rest, **given: publish(version, *rest, **{"contents": contents, **given})


def _after_publication(site, change):
    build = site.repository._build_edition

    def build_and_change():
        edition = build()
        change(edition)
        return edition

    site.repository._build_edition = build_and_change


class AptFamily(Family):
    name = "apt"
    images = ("bullseye", "bookworm", "trixie")
    disturbances = (
        *(Disturbance(function.__name__, function) for function in (
            pin, two_pins, allowed_origins, own_file, clear, included, broken_tool, architecture, other_repository, password, hold, default_release, blacklist, whitelist, origins, bad_origin, days, upgrade_option, without_unattended_upgrades,
            periodic, stamps, unit, drop_in, broken_file, directory_mode, source_list, second_list, other_source, keyring, acquire_option,
            server_gone, interrupted_dpkg, no_room, nothing,
        )),
        *(Disturbance(function.__name__, function, comes_with_newest=True) for function in (
            dependency, neighbour, epoch, damaged_index, withdrawn, big, phasing, foreign_signature, release_fields, dependencies, conffile, missing_file, damaged_file,
        )),
        *(Disturbance(function.__name__, function, shows_in_a_run=True) for function in (failing_script, failing_neighbour, failing_hook, read_only, locked)),
    )

    def __init__(self, bundle, key, say=print):
        self._bundle, self._key, self._say = bundle, key, say

    def open(self, image, stack):
        site = stack.enter_context(AptSite(image, self._bundle, self._key, say=self._say))
        site.install_package("1.0")
        site.install_minder()
        site.minder.once()
        # The night before was a usual one.
        self.run_services(site)
        return site

    def run_services(self, site):
        for timer, service in TIMERS.items():
            self._age_stamps(site)
            if timer_fires(site, timer):
                site.host.run(f"systemctl reset-failed {service}; systemctl start {service}", check=False, timeout=300)

    @staticmethod
    def _age_stamps(site):
        """A day has passed since the services ran; a stamp of the future stays one."""
        site.host.run("cd /var/lib/apt/periodic && find . -name '*-stamp' ! -newermt now -exec touch --date='25 hours ago' {} +", check=False)

    def installed_version(self, site):
        state = site.host.run(f"dpkg-query --show --showformat='${{db:Status-Status}} ${{Version}}' {PACKAGE}", check=False).output
        return state.removeprefix("installed ") if state.startswith("installed ") else f"{site.installed_version()}, half installed"
