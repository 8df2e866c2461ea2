"""Why zant-velmora does not upgrade on an APT host: each story as an administrator lives through it.

Something is broken, the host's own services run, the old version is still there. package-minder is asked why,
names the cause with its evidence, and a remedy; that is typed, the services run again, and the new version is there.
"""

import contextlib
import functools
import itertools
import shlex
import subprocess
import time
from dataclasses import dataclass, field
from typing import Callable, Optional

import documents
import pytest
from disposable_hosts.apt.repository import PACKAGE, Contents
from disposable_hosts.web_server import FAULT_FILE
from disposable_hosts.apt.site import APT_CONFIGURATION, CALENDAR_KEY, DELAY_KEY, KEYRING, SOURCE_LIST

PREFERENCES = "/etc/apt/preferences.d"
DROP_IN = "/etc/systemd/system/{}.d/of-the-story.conf"


@dataclass(frozen=True)
class Story:
    """What is broken, and what the report must say of it."""

    name: str
    code: str
    breaks: object  # a shell line, or what is done with the site
    evidence: str = ""
    repair: Optional[Callable] = None  # where the remedy is a sentence
    ahead: bool = False  # told while there is no newer version yet
    online: bool = False
    contents: Contents = field(default_factory=Contents)  # of the new version
    verdict: str = "blocked"
    effect_is_seen: bool = True  # the services leave the old version in place
    hangs: bool = False  # what the services wait for without end


def file(path, text):
    return f"mkdir -p $(dirname {path}) && printf '%s\\n' {shlex.quote(text)} > {path}"


def setting(text, name="99local"):
    return file(f"{APT_CONFIGURATION}/{name}", text)


def pin(text, name="local"):
    return file(f"{PREFERENCES}/{name}", text)


def drop_in(unit, text):
    return f"{file(DROP_IN.format(unit), text)} && systemctl daemon-reload"


def hold_lock(path):
    """As a program does that has nothing to do with APT."""
    program = f"import fcntl, time; file = open('{path}', 'a'); fcntl.lockf(file, fcntl.LOCK_EX); open('/root/locked', 'w'); time.sleep(900)"
    return f'rm -f /root/locked; setsid python3 -c "{program}" < /dev/null > /dev/null 2>&1 & until test -e /root/locked; do sleep 0.05; done'


def republish(**fields):
    def act(site):
        site.repository.release_fields = fields
        site.repository.publish_again()

    return act


def offered_again(command, *packages):
    """What is damaged can be had from the distribution."""

    def act(site):
        site.offer_distribution(*packages)
        site.host.run(command)

    return act


def from_now_on(**fields):
    """The vendor publishes like this."""

    def act(site):
        for name, value in fields.items():
            assert hasattr(site.repository, name)
            setattr(site.repository, name, value)
        site.repository.publish_again()

    return act


def both(first, second):
    def act_both(site):
        act(site, first)
        act(site, second)

    return act_both


def file_of_another_package(site):
    site.install_file(site.repository.publish("1.0", "zant-aux", contents=Contents(files={"/usr/share/velmora": "theirs\n"})))


def two_pins(site):
    site.host.run(pin(f"Package: {PACKAGE}\nPin: version {site.installed_version()}\nPin-Priority: 400"))
    site.host.run(pin("Package: *\nPin: release o=Quorvane*\nPin-Priority: 300", "more"))


FOR_OTHERS = Contents(fields="Phased-Update-Percentage: 0\n")
MODULES = "/usr/lib/python3/dist-packages"

CONFIGURATION = [
    Story("a pin", "package.pinned", pin(f"Package: {PACKAGE}\nPin: version 1.*\nPin-Priority: 1001"), f"{PREFERENCES}/local:1: Package: {PACKAGE}; Pin: version 1.*", ahead=True),
    Story("a forbidding pin", "package.pinned", pin("# why\n\nPackage: zant*\nPin: origin repo.velmora.test\nPin-Priority: -1"), f"{PREFERENCES}/local:3: Package: zant*", ahead=True),
    Story("a pin of everything", "package.pinned", pin("Package: *\nPin: release o=Quorvane*\nPin-Priority: 50"), f"{PREFERENCES}/local:1: Package: *", ahead=True),
    Story("a pin in the main file", "package.pinned", file("/etc/apt/preferences", f"Package: {PACKAGE}\nPin: release *\nPin-Priority: -10"), "/etc/apt/preferences:1:", ahead=True),
    Story("two pins that keep it back together", "package.not_preferred", two_pins, "its priority is 300", ahead=True),
    Story("a blacklist", "package.blacklisted", setting('Unattended-Upgrade::Package-Blacklist {\n  "bash";\n  "zant-";\n};'), f'{APT_CONFIGURATION}/99local:3: "zant-";', ahead=True),
    Story("a blacklist of all", "package.blacklisted", setting('Unattended-Upgrade::Package-Blacklist:: ".*";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("a blacklist that is no pattern", "patterns.unreadable", setting('Unattended-Upgrade::Package-Blacklist:: "*zant";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("a strict whitelist", "package.not_whitelisted", setting('Unattended-Upgrade::Package-Whitelist {"bash";};\nUnattended-Upgrade::Package-Whitelist-Strict "true";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("origins cleared", "origin.not_allowed", setting("#clear Unattended-Upgrade::Origins-Pattern;"), "o=Quorvane Velmora Core VMS Repo", ahead=True),
    Story("origins that cannot be read", "origins.unreadable", setting('Unattended-Upgrade::Origins-Pattern:: "somewhere";', "10local"), f"{APT_CONFIGURATION}/10local:1:", ahead=True),
    Story("our file of origins emptied", "origin.not_allowed", f": > {APT_CONFIGURATION}/50unattended-upgrades", ahead=True),
    Story("the periodic work off", "periodic.off", setting('APT::Periodic::Enable "0";'), f'{APT_CONFIGURATION}/99local:1: APT::Periodic::Enable "0";', ahead=True),
    Story("no refreshes", "periodic.refresh_off", setting('APT::Periodic {\n  Update-Package-Lists "0";\n};'), f"{APT_CONFIGURATION}/99local:2:", ahead=True),
    Story("no upgrades, in the main file", "periodic.upgrades_off", file("/etc/apt/apt.conf", 'APT::Periodic::Unattended-Upgrade "0";'), "/etc/apt/apt.conf:1:", ahead=True),
    Story("our switches edited", "periodic.upgrades_off", f"sed -i '/Unattended-Upgrade/s/always/0/' {APT_CONFIGURATION}/20auto-upgrades", f"{APT_CONFIGURATION}/20auto-upgrades:", ahead=True),
    Story("an upgrade once a month", "periodic.not_due", setting('APT::Periodic::Unattended-Upgrade "30";') + " && mkdir -p /var/lib/apt/periodic && touch /var/lib/apt/periodic/upgrade-stamp", f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("an interval that is none", "periodic.unreadable", "mkdir -p /var/lib/apt/periodic && touch /var/lib/apt/periodic/update-stamp && " + setting('APT::Periodic::Update-Package-Lists "1.5";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True, verdict=None),
    Story("upgrades when the host shuts down", "upgrades.on_shutdown_only", setting('Unattended-Upgrade::InstallOnShutdown "true";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("no day of the week", "upgrades.not_today", setting('Unattended-Upgrade::Update-Days {"Never";};'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("a held package", "hold.held", f"apt-mark hold {PACKAGE}", "apt-mark showhold", ahead=True),
    Story("a default release that nobody has", "apt.configuration_broken", setting('APT::Default-Release "nowhere";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
]

BROKEN = [
    Story("a setting that APT cannot read", "apt.configuration_broken", setting("this is {not good"), f"{APT_CONFIGURATION}/99local", ahead=True),
    Story("a source that APT cannot read", "apt.configuration_broken", file("/etc/apt/sources.list.d/local.list", "deb nonsense"), "/etc/apt/sources.list.d/local.list", ahead=True),
    Story("a preference that APT cannot read", "apt.configuration_broken", pin("Nonsense"), f"{PREFERENCES}/local", ahead=True),
    Story("our source list taken away", "repository.not_registered", f"rm {SOURCE_LIST}", "indextargets", ahead=True),
    Story("another suite", "repository.not_registered", f"sed -i s/systemd-production/testing/ {SOURCE_LIST}", "indextargets", ahead=True),
    Story("another component", "repository.not_registered", f"sed -i 's/ main$/ contrib/' {SOURCE_LIST}", "indextargets", ahead=True),
    Story("another architecture", "repository.not_registered", f"sed -i 's/arch=[a-z0-9]*/arch=riscv64/' {SOURCE_LIST}", "indextargets", ahead=True),
    Story("unattended-upgrade gone", "upgrades.not_installed", offered_again("rm /usr/bin/unattended-upgrade"), "command -v unattended-upgrade", ahead=True),
    Story("unattended-upgrade damaged", "upgrades.broken", offered_again("sed -i 's/^import apt_pkg$/& nonsense/' /usr/bin/unattended-upgrade"), "SyntaxError", ahead=True),
    Story("a module of Python gone", "upgrades.broken", offered_again(f"rm {MODULES}/distro_info.py", "python3-distro-info"), "distro_info", ahead=True),
    Story("python-apt broken", "upgrades.broken", offered_again(f"echo 'import nothing' > {MODULES}/apt/__init__.py", "python3-apt"), "No module named 'nothing'", ahead=True),
    Story("Python broken", "tools.failed", "python3 -c 'import logging; print(logging.__file__)' > /root/module && mv $(cat /root/module) /root/logging.py", "logging", lambda site: site.host.run("mv /root/logging.py $(cat /root/module)"), ahead=True, verdict="cannot_be_told"),
    Story("dpkg interrupted", "dpkg.interrupted", "printf '' > /var/lib/dpkg/updates/0001", "/var/lib/dpkg/updates/0001", ahead=True),
    Story("no room for downloads", "disk.full", "mkdir -p /var/cache/apt/archives && mount -t tmpfs -o size=64k tmpfs /var/cache/apt/archives && mkdir /var/cache/apt/archives/partial && head -c 64k /dev/zero > /var/cache/apt/archives/full; true", "/var/cache/apt/archives", lambda site: site.host.run("umount /var/cache/apt/archives"), ahead=True),
    Story("/usr mounted read-only", "disk.read_only", "mount --bind /usr /usr && mount -o remount,bind,ro /usr", "/usr is mounted with the option ro", ahead=True),
]

UNITS = [
    Story("the upgrade timer masked", "timer.masked", "systemctl mask --now apt-daily-upgrade.timer", "LoadState=masked", ahead=True, effect_is_seen=False),
    Story("the refresh timer stopped", "timer.stopped", "systemctl disable --now apt-daily.timer", "ActiveState=inactive", ahead=True, effect_is_seen=False),
    Story("a schedule of a later century", "timer.far_ahead", drop_in("apt-daily.timer", "[Timer]\nOnCalendar=\nOnCalendar=2101-01-01") + " && systemctl restart apt-daily.timer", "2101-01-01", ahead=True, effect_is_seen=False),
    Story("a schedule in the past", "timer.elapsed", drop_in("apt-daily.timer", "[Timer]\nOnCalendar=\nOnCalendar=2020-01-01\nPersistent=false") + " && systemctl restart apt-daily.timer", "SubState=elapsed", ahead=True, effect_is_seen=False),
    Story("a timer that starts something else", "timer.elsewhere", drop_in("apt-daily.timer", "[Timer]\nUnit=systemd-tmpfiles-clean.service") + " && systemctl restart apt-daily.timer", "Unit=systemd-tmpfiles-clean.service", ahead=True, effect_is_seen=False),
    Story("a service masked", "service.masked", "systemctl mask apt-daily-upgrade.service", "LoadState=masked", ahead=True),
    Story("a service replaced", "service.replaced", drop_in("apt-daily-upgrade.service", "[Service]\nExecStart=\nExecStart=/bin/true"), "argv[]=/bin/true", ahead=True, verdict="cannot_be_told"),
    Story("a service confined", "service.changed", drop_in("apt-daily.service", "[Service]\nPrivateNetwork=yes"), "PrivateNetwork=yes", ahead=True, verdict="cannot_be_told"),
    Story("a condition that is not met", "service.changed", drop_in("apt-daily.service", "[Unit]\nConditionPathExists=/nowhere"), "ConditionPathExists=/nowhere", ahead=True, verdict=None),
    Story("a lock held by something else", "lock.held", hold_lock("/var/lib/dpkg/lock-frontend"), "/var/lib/dpkg/lock-frontend", ahead=True, verdict="cannot_be_told"),
]


def edition(change):
    """The vendor's publications come out like this from now on."""

    def act(site):
        build = type(site.repository)._build_edition

        def build_and_change():
            directory = build(site.repository)
            subprocess.run(change, shell=True, cwd=directory, check=True)
            return directory

        site.repository._build_edition = build_and_change
        site.repository.publish_again()

    return act


def good_edition(site):
    site.repository.__dict__.pop("_build_edition", None)
    site.repository.publish_again()


def in_suites(change):
    return edition(f"for suite in dists/*; do (cd $suite && {change}) || exit 1; done")


def accepted(**fields):
    """The administrator has accepted what the repository says of itself."""

    def act(site):
        republish(**fields)(site)
        site.host.run("apt-get --quiet --allow-releaseinfo-change update")

    return act


def other_package(command, contents=Contents(), name="zant-aux"):
    """Another package of the vendor's is on the host, has a newer version, and something is done with it."""

    def act(site):
        site.install_package("1.0", name)
        site.repository.publish("2.0", name, contents=contents)
        site.host.run(command)

    return act


def package_of_another_origin(site):
    other = site.add_repository("other", suites=("stable",), origin="Other", label="Other")
    other.publish("1.0", "zant-other")
    site.host.run(file("/etc/apt/sources.list.d/other.list", f"deb {site.url('other/')} stable main"))


def dependency_removed_by_force(site):
    site.install_package("1.0", "zant-lib")
    site.install_file(site.repository.publish("4.0", "zant-aux", contents=Contents(fields="Depends: zant-lib\n")))
    site.host.run("apt-get --quiet update && dpkg --remove --force-depends zant-lib")


def edited_configuration_file(site):
    site.publish_next(Contents(conffiles={"/etc/velmora.conf": "old\n"}))
    run_services(site)
    site.host.run("echo mine >> /etc/velmora.conf")


def removed_package(site):
    site.removed = site.repository.publish("1.9.9")
    site.host.run(f"dpkg --purge {PACKAGE}")


def status_of(package, state):
    return f"sed -i '/^Package: {package}$/,/^$/s/^Status: .*/Status: {state}/' /var/lib/dpkg/status"


def speak_plainly(site):
    """Something else than the repository's server answers, and not in TLS."""
    site.server._stop()
    answer = "import socket; s = socket.create_server((\"\", 443)); open(\"/root/plain\", \"w\")\nwhile True: c = s.accept()[0]; c.sendall(b\"220 hello\\n\"); c.close()"
    site.host.run(f"rm -f /root/plain; setsid python3 -c '{answer}' < /dev/null > /dev/null 2>&1 & echo $! > /root/plain.pid; until test -e /root/plain; do sleep 0.05; done")


def speak_tls(site):
    site.host.run("kill $(cat /root/plain.pid)")
    site.server._start()


PROGRAM = "/usr/lib/apt/apt.systemd.daily"
# In the place of GLib's own, which tells of the connection.
METERED = file("/usr/lib/python3/dist-packages/gi/__init__.py", "") + " && " + file("/usr/lib/python3/dist-packages/gi/repository/__init__.py", "") + " && " + file(
    "/usr/lib/python3/dist-packages/gi/repository/Gio.py",
    "class NetworkMonitor:\n    get_default = staticmethod(lambda: None)\n    get_network_metered = staticmethod(lambda monitor: True)",
)
NEW = Contents(conffiles={"/etc/velmora.conf": "new\n"})
NEEDS_AUX = Contents(fields="Depends: zant-aux (>= 2)\n")

DPKG = [
    Story("a file of dpkg's configuration that it cannot read", "dpkg.fails", file("/etc/dpkg/dpkg.cfg.d/local", "nonsense"), "/etc/dpkg/dpkg.cfg.d/local:1: unknown option", ahead=True),
    Story("a dpkg that only tells what it would do", "dpkg.fails", file("/etc/dpkg/dpkg.cfg.d/local", "# ours\nno-act"), "/etc/dpkg/dpkg.cfg.d/local:2: no-act", ahead=True),
    Story("an owner of files that is gone", "dpkg.fails", file("/var/lib/dpkg/statoverride", "gone root 0755 /usr/bin/gone"), "unknown system user 'gone'", ahead=True),
    Story("the package unpacked only", "package.half_installed", status_of(PACKAGE, "install ok unpacked"), "|unpacked", ahead=True, effect_is_seen=False),
    Story("another package half installed", "dpkg.half_installed", other_package(status_of("zant-aux", "install reinstreq half-installed")), "zant-aux needs to be reinstalled", lambda site: site.install_package("3.0", "zant-aux"), ahead=True),
    Story("dpkg's list of packages damaged", "dpkg.status_broken", "cp -p /var/lib/dpkg/status /var/lib/dpkg/status-old && printf '\nnonsense\n' >> /var/lib/dpkg/status", "/var/lib/dpkg/status", ahead=True),
    Story("APT's lists damaged", "apt.lists_broken", "for list in /var/lib/apt/lists/*_Packages*; do echo nonsense > $list; done", "/var/lib/apt/lists", ahead=True),
    Story("a dependency removed by force", "dpkg.broken_dependencies", dependency_removed_by_force, "Unmet dependencies", ahead=True),
    Story("the package removed", "package.not_installed", removed_package, "no packages found", lambda site: site.install_file(site.removed)),
    Story("a cache that is too small", "apt.check_failed", setting('APT::Cache-Start "1000";\nAPT::Cache-Limit "1000";'), "MMap", lambda site: site.host.run(f"rm {APT_CONFIGURATION}/99local"), ahead=True),
    Story("on battery", "power.on_battery", file("/usr/local/bin/on_ac_power", "#!/bin/sh\nexit 1") + " && chmod 0755 /usr/local/bin/on_ac_power", "System is on battery power, stopping", lambda site: site.host.run("rm /usr/local/bin/on_ac_power"), ahead=True),
    Story("a battery that does not answer", "tools.time_limit", file("/usr/local/bin/on_ac_power", "#!/bin/sh\ntouch /root/hanging\nexec sleep 900") + " && chmod 0755 /usr/local/bin/on_ac_power", "python3", lambda site: site.host.run("rm /usr/local/bin/on_ac_power"), ahead=True, verdict="cannot_be_told", hangs=True),
    Story("a metered connection", "network.metered", METERED, "System is on metered connection, stopping", ahead=True),
    Story("unattended-upgrade not executable", "upgrades.broken", "chmod 0644 /usr/bin/unattended-upgrade", "-rw-r--r--", ahead=True),
    Story("another unattended-upgrade", "upgrades.replaced", file("/usr/local/bin/unattended-upgrade", "#!/bin/sh\nexit 0") + " && chmod 0755 /usr/local/bin/unattended-upgrade", "/usr/local/bin/unattended-upgrade", lambda site: site.host.run("rm /usr/local/bin/unattended-upgrade"), ahead=True, verdict="cannot_be_told"),
    Story("the daily script not executable", "service.program_missing", f"chmod 0644 {PROGRAM}", f"test -x {PROGRAM}", ahead=True),
    Story("no program to take the daily lock with", "service.program_missing", offered_again("apt-get --quiet update && rm /usr/bin/flock", "util-linux"), "command -v flock", ahead=True),
    Story("a file in the place of the log's directory", "upgrades.broken", "rm -r /var/log/unattended-upgrades && touch /var/log/unattended-upgrades", "ls -ld '/var/log/unattended-upgrades'", ahead=True),
    Story("a log in a directory that is not there", "upgrades.broken", setting('Unattended-Upgrade::LogFile "/nowhere/upgrades.log";'), f"{APT_CONFIGURATION}/99local:1:", ahead=True),
    Story("a night that failed", "run.failed", f"chmod 0644 {PROGRAM}; systemctl start apt-daily-upgrade.service; chmod 0755 {PROGRAM}", "Result=exit-code", ahead=True, verdict="cannot_be_told", effect_is_seen=False),
    Story("a file of another package", "package.install_failed", file_of_another_package, "trying to overwrite", lambda site: site.host.run("dpkg --purge zant-aux"), contents=Contents(files={"/usr/share/velmora": "ours\n"})),
    Story("a hook that fails", "upgrades.failed", setting('DPkg::Pre-Invoke {"exit 1";};'), "ERROR", lambda site: site.host.run(f"rm {APT_CONFIGURATION}/99local"), verdict="cannot_be_told"),
    Story("a /tmp that only root may use", "apt.temporary_directory_closed", "chmod 0700 /tmp", "drwx------", ahead=True),
    Story("the directory of APT's state removed", "apt.state_missing", "rm --recursive /var/lib/apt", "test -d '/var/lib/apt'", ahead=True),
    Story("a full file system for the log", "disk.full", "mount -t tmpfs -o size=4k tmpfs /var/log/unattended-upgrades", "/var/log/unattended-upgrades", lambda site: site.host.run("umount /var/log/unattended-upgrades"), ahead=True),
    Story("downloads to a directory that is not there", "archives.missing", setting('Dir::Cache::archives "/var/cache/apt/elsewhere/";'), "/var/cache/apt/elsewhere/partial", ahead=True, verdict="cannot_be_told", effect_is_seen=False),
    Story("a condition of the service's", "service.condition_unmet", drop_in("apt-daily-upgrade.service", "[Unit]\nConditionPathExists=/nowhere"), "ConditionPathExists=/nowhere", ahead=True),
    Story("a service that systemd cannot load", "service.invalid", drop_in("apt-daily-upgrade.service", "[Service]\nExecStart="), "LoadState=bad-setting", ahead=True),
    Story("a timer that systemd cannot load", "timer.invalid", drop_in("apt-daily.timer", "[Timer]\nOnCalendar=\nOnCalendar=nonsense") + "; systemctl restart apt-daily.timer; true", "LoadState=bad-setting", ahead=True, effect_is_seen=False),
    Story("a timer that is gone", "timer.missing", offered_again("systemctl stop apt-daily.timer && rm /lib/systemd/system/apt-daily.timer && systemctl daemon-reload", "apt"), "LoadState=not-found", ahead=True, effect_is_seen=False),
    Story("a service that is gone", "service.missing", offered_again("rm /lib/systemd/system/apt-daily-upgrade.service && systemctl daemon-reload", "apt"), "LoadState=not-found", ahead=True),
    Story("a timer that does not start with the host", "timer.disabled", "systemctl disable apt-daily.timer", "UnitFileState=disabled", ahead=True, verdict="cannot_be_told", effect_is_seen=False),
]

VENDOR = [
    Story("a question about a configuration file", "package.conffile_prompt", edited_configuration_file, "unattended-upgrade's own test", contents=NEW, online=True),
    Story("programs that must not run", "package.needs_restart", "true", "requires app-restart", contents=Contents(fields="Upgrade-Requires: app-restart\n")),
    Story("a held package is needed newer", "dependency.held", other_package("apt-mark hold zant-aux"), "zant-aux", contents=NEEDS_AUX),
    Story("an excluded package is needed newer", "dependency.excluded", other_package(setting('Unattended-Upgrade::Package-Blacklist {"zant-aux";};')), f"{APT_CONFIGURATION}/99local:1:", contents=NEEDS_AUX),
    Story("a package of another origin is needed", "dependency.origin_not_allowed", package_of_another_origin, "zant-other is not in an allowed origin", contents=Contents(fields="Depends: zant-other\n")),
    Story("the package's file missing on the server", "package.not_on_server", edition(f"rm pool/{PACKAGE}_*.deb"), "404", good_edition, online=True),
    Story("the package's file not for this host", "package.not_fetched", lambda site: site.server.refuse(".deb"), "403  Forbidden", lambda site: site.server.refuse(""), online=True, verdict="cannot_be_told"),
    Story("the package's file damaged on the server", "package.hash_mismatch", edition(f"for file in pool/{PACKAGE}_*.deb; do printf xxxx | dd of=$file bs=1 seek=200 conv=notrunc status=none; done"), "Hash Sum mismatch", good_edition, online=True),
    Story("an index without signature", "repository.not_signed", in_suites("rm InRelease"), "signed", good_edition, online=True),
    Story("a suite that is gone", "repository.suite_missing", in_suites("rm InRelease Release"), "Release file", good_edition, online=True),
    Story("a suite that was gone last night", "repository.refresh_failed", in_suites("rm InRelease Release"), "update-stamp is older than the last run", good_edition, verdict="cannot_be_told"),
    Story("files that do not fit together", "repository.inconsistent", in_suites("for file in main/*/Packages*; do echo >> $file; done"), "unexpected size", good_edition, online=True, verdict="cannot_be_told"),
    Story("a page to sign in", "repository.not_an_index", in_suites("echo '<html>Sign in</html>' > InRelease"), "NOSPLIT", good_edition, online=True, verdict="cannot_be_told"),
    Story("a changed index under an old signature", "repository.index_refused", in_suites("sed -i 's/^Components: main/Components: main more/' InRelease"), "", good_edition, verdict="cannot_be_told"),
    Story("a password that the host does not know", "repository.access_denied", lambda site: site.server.ask_for_password("user", "word"), "401  Unauthorized", lambda site: (site.web_root / ".password").unlink(), online=True),
    Story("a keyring that APT may not read", "keyring.unreadable", f"chmod 0600 {KEYRING}", "not readable", online=True),
    Story("nothing is automatic, as accepted", "repository.not_automatic", accepted(NotAutomatic="yes"), "NotAutomatic: yes"),
    Story("our list marked as not to be trusted", "repository.not_trusted", f"sed -i 's/arch=/trusted=no arch=/' {SOURCE_LIST}", "is not from a trusted origin"),
]

REPOSITORY = [
    Story("a version for other hosts", "package.phased", setting('APT::Get::Phase-Policy "true";'), "Phased-Update-Percentage: 0", contents=FOR_OTHERS),
    Story("another component than ours", "repository.component_missing", from_now_on(component="extra"), "Components: extra", from_now_on(component="main")),
    Story("another architecture than the host's", "repository.architecture_missing", from_now_on(published_architecture="riscv64"), "Architectures: riscv64", lambda site: from_now_on(published_architecture=site.repository.architecture)(site)),
    Story("the server has a fault", "server.failing", lambda site: (site.web_root / FAULT_FILE).touch(), "503  Service Unavailable", lambda site: (site.web_root / FAULT_FILE).unlink(), online=True, verdict="cannot_be_told"),
    Story("the server says nothing", "server.silent", both(setting('Acquire::Retries "0";\nAcquire::http::Timeout "2";'), lambda site: site.server.fall_silent()), "apt-get update", lambda site: site.server.answer(), online=True, verdict="cannot_be_told"),
    Story("something that nobody has is needed", "solver.unmet", "true", "nobody-has-this", lambda site: site.publish_next(), contents=Contents(fields="Depends: nobody-has-this\n")),
    Story("what conflicts is installed", "solver.removes", other_package("true"), "zant-aux", contents=Contents(fields="Conflicts: zant-aux\n")),
    Story("a script that fails", "package.script_failed", "true", "pre-installation script subprocess returned error", lambda site: site.publish_next(), contents=Contents(scripts={"preinst": "#!/bin/sh\nexit 3\n"})),
    Story("an expired index", "repository.expired", republish(**{"Valid-Until": "Sat, 01 Jan 2022 00:00:00 UTC"}), "is expired", republish(), online=True),
    Story("an index from the future", "repository.from_future", republish(Date="Sat, 01 Jan 2039 00:00:00 UTC"), "not valid yet", republish(), online=True),
    Story("nothing is automatic", "repository.changed", republish(NotAutomatic="yes"), "changed its default priority", online=True),
    Story("another origin", "repository.changed", republish(Origin="Somebody Else"), "changed its 'Origin' value", online=True),
    Story("the server does not answer", "server.unreachable", lambda site: site.server._stop(), "repo.velmora.test", lambda site: site.server._start(), online=True, verdict="cannot_be_told"),
    Story("a name without address", "server.name_unknown", "cp /etc/hosts /root/hosts && sed -i /velmora/d /etc/hosts", "repo.velmora.test", lambda site: site.host.run("cat /root/hosts > /etc/hosts"), online=True, verdict="cannot_be_told"),
    Story("a dead proxy", "proxy.unreachable", setting('Acquire::http::Proxy "http://127.0.0.1:9";'), f"{APT_CONFIGURATION}/99local:1:", online=True, verdict="cannot_be_told"),
    Story("a keyring emptied", "repository.signature_refused", f": > {KEYRING}", "", online=True),
]

STORIES = [*CONFIGURATION, *BROKEN, *UNITS, *DPKG, *REPOSITORY, *VENDOR]


# Older releases have every command of APT's fail.
SINCE_TRIXIE = [
    Story("the repository in another list, with another key", "repository.listed_with_another_key", file("/etc/apt/sources.list.d/aaa.list", "deb [signed-by=/nonexistent.gpg] http://repo.velmora.test/velmora-apt-repo/ systemd-production main"), "/etc/apt/sources.list.d/aaa.list: deb [signed-by=/nonexistent.gpg]", lambda site: site.host.run("rm /etc/apt/sources.list.d/aaa.list"), online=True),
]


class StoryTeller:
    """A host that stories are told on, one after the other, while each leaves it as it was."""

    def __init__(self, open_site, image="bookworm"):
        self._open_site, self._image = open_site, image
        self._site = None

    def site(self):
        if self._site is None:
            self._site = self._open_site(self._image)
            self._site.versions = itertools.count(2)
            self._site.publish_next = self._publish_next
            self._site.minder.once()
        return self._site

    def _publish_next(self, contents=Contents()):
        self._site.repository.publish(f"{next(self._site.versions)}.0", contents=contents)

    def forget(self):
        self._site = None


@pytest.fixture(scope="module")
def teller(open_shared_site):
    return StoryTeller(open_shared_site)


def why(site, options=""):
    return documents.parse(site.minder.run(f"why --json {options}").output)


def check(site, options=""):
    return documents.parse(site.minder.run(f"check --json {options}", check=False).output)["findings"]


def codes(answer):
    return [cause["code"] for cause in answer["causes"]]


def run_services(site):
    """What the timers start, in their order."""
    for service in ("apt-daily.service", "apt-daily-upgrade.service"):
        # Nights that follow one another within seconds reach systemd's limit of starts.
        site.host.run(f"systemctl reset-failed {service}; systemctl start {service}", check=False)


def run_services_until_they_hang(site):
    """Ends them then, for they would not do it themselves."""
    for service in ("apt-daily.service", "apt-daily-upgrade.service"):
        site.host.run(f"rm -f /root/hanging && systemctl start --no-block {service} && until test -e /root/hanging; do sleep 0.05; done")
        site.host.run(f"systemctl kill --signal=KILL {service}; while systemctl is-active {service} | grep -q activating; do sleep 0.05; done")


def act(site, action):
    return site.host.run(action) if isinstance(action, str) else action(site)


def tell(site, story):
    act(site, story.breaks)
    before = site.installed_version()
    if story.ahead:
        assert story.code in codes(why(site)), "it is told ahead"
    site.publish_next(story.contents)
    if story.hangs:
        run_services_until_they_hang(site)
    elif story.effect_is_seen:
        run_services(site)
    else:
        site.host.run("apt-get --quiet update")
    assert site.installed_version() == before

    answer = why(site, "--online" if story.online else "")
    cause = next((cause for cause in answer["causes"] if cause["code"] == story.code), None)
    assert cause, answer
    assert story.evidence in cause["evidence"]
    assert answer["verdict"] == story.verdict or not story.verdict, answer
    is_sentence = cause["remedy"][0].isupper()
    assert is_sentence == bool(story.repair), cause["remedy"]
    if story.repair:
        story.repair(site)
    else:
        site.host.run(cause["remedy"])

    run_services(site)
    answer = why(site)
    assert (answer["verdict"], answer["causes"]) == ("up_to_date", []), "the remedy has helped"
    assert site.installed_version() != before
    assert site.installed_version() == answer["offered"]


def clean_up(site):
    """Removes what remedies leave: files that have no effect any more, or replace others' effect."""
    left = (f"{APT_CONFIGURATION}/10local", f"{APT_CONFIGURATION}/99local", f"{APT_CONFIGURATION}/zzz-zant-velmora", "/etc/apt/preferences", "/etc/apt/apt.conf")
    site.host.run(f"rm -f {shlex.join(left)} {PREFERENCES}/*")
    if site.repository.release_fields:
        republish()(site)
        site.host.run("apt-get --quiet --allow-releaseinfo-change update")
    site.host.run(": > /etc/apt/sources.list; rm -rf /etc/apt/sources.list.d/other.list /etc/velmora.conf /usr/lib/python3/dist-packages/gi")
    others = site.host.output_of("dpkg-query --show --showformat='${Package}\\n' 'zant-*' | grep -v velmora || true").split()
    if others:
        # The version of the story may need them.
        site.install_file(site.repository.publish(f"{next(site.versions)}.0"))
        site.host.run(f"dpkg --purge {shlex.join(others)}")
    site.repository._packages = [path for path in site.repository._packages if path.name.startswith(PACKAGE)]


@pytest.mark.parametrize("story", STORIES, ids=lambda story: story.name.replace(" ", "-"))
def test_why_it_does_not_upgrade_and_what_helps(teller, story):
    tell_and_clean_up(teller, story)


def tell_and_clean_up(teller, story):
    site = teller.site()
    try:
        tell(site, story)
        clean_up(site)
    except BaseException:
        teller.forget()
        raise


SECURE = [
    Story("a certificate that nobody knows", "server.certificate_refused", "rm /usr/local/share/ca-certificates/velmora-test.crt && update-ca-certificates --fresh", "ertificate", lambda site: site._authority.make_trusted_by(site.host), online=True),
    Story("no TLS at its port", "server.tls_failed", speak_plainly, "", speak_tls, online=True, verdict="cannot_be_told"),
]


@pytest.fixture(scope="module")
def teller_with_https(open_shared_site):
    return StoryTeller(functools.partial(open_shared_site, https=True))


@pytest.mark.parametrize("story", SECURE, ids=lambda story: story.name.replace(" ", "-"))
def test_why_it_does_not_upgrade_over_https_and_what_helps(teller_with_https, story):
    tell_and_clean_up(teller_with_https, story)


@pytest.fixture(scope="module")
def teller_on_trixie(open_shared_site):
    return StoryTeller(open_shared_site, "trixie")


@pytest.mark.parametrize("story", SINCE_TRIXIE, ids=lambda story: story.name.replace(" ", "-"))
def test_why_it_does_not_upgrade_since_trixie_and_what_helps(teller_on_trixie, story):
    tell_and_clean_up(teller_on_trixie, story)


def assert_healthy(site, *options):
    for option in ("", *options):
        answer = why(site, option)
        assert (answer["verdict"], answer["causes"]) == ("up_to_date", []), option


@pytest.mark.parametrize("image", ["bullseye", "bookworm", "trixie"])
def test_a_healthy_host_has_no_cause(open_site, image):
    site = open_site(image)
    assert check(site) == check(site, "--online") == []
    site.minder.once()
    assert_healthy(site, "--online")
    assert check(site) == check(site, "--online") == []

    site.repository.publish("2.0")
    answer = why(site, "--online")
    assert (answer["verdict"], answer["offered"], answer["causes"]) == ("waiting", "2.0", [])
    assert answer["next_run"]
    assert_healthy(site), "without the network it is not known"

    run_services(site)
    assert site.installed_version() == "2.0"
    assert_healthy(site, "--online")

    # A server that is away for a short while is no alarm; asked, it is told.
    with site.server.gone():
        run_services(site)
        assert_healthy(site)
        assert codes(why(site, "--online")) == ["server.unreachable"]


@pytest.mark.parametrize("image, is_kept_back", [("bullseye", True), ("bookworm", False), ("trixie", False)])
def test_a_version_for_other_hosts_is_told_where_apt_keeps_it_back(open_site, image, is_kept_back):
    site = open_site(image)
    site.minder.once()
    site.repository.publish("2.0", contents=FOR_OTHERS)
    site.host.run("apt-get --quiet update")
    answer = why(site)
    run_services(site)

    assert (codes(answer), site.installed_version()) == ((["package.phased"], "1.0") if is_kept_back else ([], "2.0"))
    if not is_kept_back:
        # The share was this version's own, and says nothing of the next one.
        site.host.run(setting('APT::Get::Phase-Policy "true";'))
        assert_healthy(site, "--online")


def test_the_verdict_is_found_without_any_network(teller):
    site = teller.site()
    answer = documents.parse(site.host.output_of("unshare --net package-minder why --json"))

    assert (answer["verdict"], answer["causes"]) == ("up_to_date", [])


REPORTS = ["status", "status --monitoring", "check", "plan", "why", "why --online", "check --online"]


@pytest.mark.parametrize("command", REPORTS)
def test_no_report_waits_for_a_silent_server(teller, command):
    site = teller.site()
    with site.server.silent():
        begin = time.monotonic()
        result = site.minder.run(command, check=False)
        took = time.monotonic() - begin

    assert took < (30 if "--online" in command else 10)
    assert "server.silent" in result.output or "--online" not in command, result.output


WEEK_AGO = "8 days ago"


@contextlib.contextmanager
def lists_of_a_week_ago(site):
    """The time of a file's last change cannot be set, so what tells of it goes wrong by eight days."""
    site.host.run("cp -p /usr/bin/stat /usr/bin/stat.away")
    site.host.write("/usr/bin/stat", "#!/bin/sh\necho $(($(/usr/bin/stat.away \"$@\") - 8 * 86400))\n", mode="0755")
    yield
    site.host.run("mv /usr/bin/stat.away /usr/bin/stat")


@pytest.mark.parametrize("image", ["bullseye", "bookworm", "trixie"])
def test_a_host_that_was_off_for_a_week_and_one_that_idled_are_healthy(open_site, image):
    site = open_site(image)
    site.minder.once()
    timers = "apt-daily.timer apt-daily-upgrade.timer"
    traces = "/var/lib/apt/periodic/update-stamp /var/lib/apt/periodic/upgrade-stamp /var/lib/systemd/timers/stamp-apt-daily*.timer"
    # Its services have not run since it started, which makes it a host that was just switched on.
    site.host.run(f"systemctl stop {timers} && mkdir -p /var/lib/apt/periodic && touch --date='{WEEK_AGO}' {traces} && systemctl start {timers}")
    with lists_of_a_week_ago(site):
        assert_healthy(site)

        # One whose timer has fired in the meantime got no answer.
        site.host.run(f"systemctl stop {timers} && touch --date='2 days ago' /var/lib/systemd/timers/stamp-apt-daily.timer && systemctl start {timers}")
        assert codes(why(site)) == ["repository.not_refreshed"]

    site.host.run(f"touch --date='{WEEK_AGO}' {traces}")
    for _ in range(3):
        run_services(site)
    assert_healthy(site, "--online")


def test_nothing_is_changed_by_asking(open_site):
    site = open_site()
    site.minder.once()
    site.repository.publish("2.0")
    watched = "/etc /var/lib/apt /var/lib/dpkg /var/log /var/cache/apt/archives /usr/bin /tmp /root"
    listing = f"find {watched} -printf '%p %s %T@ %C@\\n' | sort"
    before = site.host.output_of(listing)

    why(site)
    why(site, "--online")

    after = site.host.output_of(listing)
    changed = {line for line in set(before.splitlines()) ^ set(after.splitlines()) if "/var/log/journal" not in line and not line.startswith("/tmp ")}
    assert changed == set()


def test_a_repository_without_the_list_is_asked_without_changing_what_apt_knows(open_site):
    site = open_site()
    site.minder.once()
    from_now_on(component="extra")(site)
    site.host.run("apt-get --quiet update")
    contents = "cat /var/lib/apt/lists/*_InRelease"
    before = site.host.output_of(contents)

    site.host.run(f"rm {APT_CONFIGURATION}/20auto-upgrades")
    check(site)
    site.minder.once()
    assert codes(why(site)) == ["repository.component_missing"]
    assert site.host.output_of(contents) == before

    # An empty list is no obstacle, and others are told ahead.
    from_now_on(component="main", _packages=[])(site)
    site.host.run("apt-get --quiet update")
    assert_healthy(site, "--online")
    site.host.run(f"apt-mark hold {PACKAGE}")
    assert codes(why(site)) == ["hold.held"]


def test_a_run_that_is_going_on_is_no_fault(open_site):
    site = open_site()
    site.minder.once()
    slow = Contents(scripts={"postinst": "#!/bin/sh\ntouch /root/going\nsleep 6\n"})
    site.repository.publish("2.0", contents=slow)
    site.host.run("systemctl start apt-daily.service && systemctl start --no-block apt-daily-upgrade.service")
    site.host.run("until test -e /root/going; do sleep 0.1; done")

    assert why(site)["causes"] == []

    run_services(site)
    assert_healthy(site)


def test_crons_daily_job_is_what_counts_without_systemd(open_site):
    site = open_site("bookworm-sysvinit", settings={CALENDAR_KEY: "", DELAY_KEY: ""})
    assert check(site) == []
    site.minder.once()
    assert_healthy(site, "--online")
    assert why(site)["next_run"]

    site.host.run("service cron stop && chmod 0644 /etc/cron.daily/apt-compat")
    answer = why(site)
    assert codes(answer) == ["cron.not_running", "cron.job_missing"]

    for cause in answer["causes"]:
        site.host.run(cause["remedy"])
    assert_healthy(site)
