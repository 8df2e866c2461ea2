"""Situations of APT hosts."""

import itertools
import os

from disposable_hosts.apt import site as apt
from disposable_hosts.apt.repository import Contents
from disposable_hosts.apt.site import AptSite
from disposable_hosts.signing_key import SigningKey

from predict.situation import Disturbance, Family, do, put, timer_fires

PACKAGE = "zant-velmora"
CONFIGURATION = "/etc/apt/apt.conf.d"
UNITS = ("apt-daily.timer", "apt-daily.service", "apt-daily-upgrade.timer", "apt-daily-upgrade.service")
TIMERS = {"apt-daily.timer": "apt-daily.service", "apt-daily-upgrade.timer": "apt-daily-upgrade.service"}

_numbers = itertools.count(1)


def _conf(site, rng, text):
    """A file of APT's configuration, before or after those of package-minder."""
    return put(site, f"{CONFIGURATION}/{rng.choice(('05', '99'))}local{next(_numbers)}", text)


# --- What decides on versions ---


def pin(site, rng, _):
    what = rng.choice(("version 1.0*", "release a=systemd-production", "origin repo.velmora.test", "release o=Debian", "version 2.*"))
    who = rng.choice((PACKAGE, "zant-*", "*"))
    priority = rng.choice((-1, 1, 99, 100, 500, 990, 1001))
    return put(site, "/etc/apt/preferences.d/local", f"Package: {who}\nPin: {what}\nPin-Priority: {priority}\n")


def hold(site, _, __):
    return do(site, f"apt-mark hold {PACKAGE}")


def default_release(site, rng, _):
    return _conf(site, rng, f'APT::Default-Release "{rng.choice(("stable", "systemd-production", "bookworm"))}";\n')


def phasing(site, rng, _):
    site.repository.index_lines = f"Phased-Update-Percentage: {rng.choice((0, 10, 50, 100))}\n"
    return f"the repository phases: {site.repository.index_lines.strip()}"


# --- unattended-upgrades ---


def blacklist(site, rng, _):
    pattern = rng.choice((PACKAGE, "zant-", "velmora", ".*", "foo", "zant-velmora$", "Zant"))
    return _conf(site, rng, f'Unattended-Upgrade::Package-Blacklist {{ "{pattern}"; }};\n')


def whitelist(site, rng, _):
    pattern = rng.choice((PACKAGE, "bash", "zant-.*"))
    strict = rng.choice(("true", "false"))
    return _conf(site, rng, f'Unattended-Upgrade::Package-Whitelist {{ "{pattern}"; }};\nUnattended-Upgrade::Package-Whitelist-Strict "{strict}";\n')


def origins(site, rng, _):
    pattern = rng.choice(("origin=Debian,codename=${distro_codename}", "o=Quorvane Velmora Core VMS Repo", "site=repo.velmora.test", "o=Other"))
    return _conf(site, rng, f'#clear Unattended-Upgrade::Origins-Pattern;\nUnattended-Upgrade::Origins-Pattern {{ "{pattern}"; }};\n')


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
        ("Allow-APT-Mark-Fallback", "false"), ("AutoFixInterruptedDpkg", "false"), ("LogDir", "/nonexistent/logs"),
    ))
    return _conf(site, rng, f'Unattended-Upgrade::{name} "{value}";\n')


def without_unattended_upgrades(site, rng, _):
    return do(site, rng.choice(("dpkg --purge unattended-upgrades", "dpkg --remove unattended-upgrades", "chmod 644 /usr/bin/unattended-upgrade")))


# --- APT's periodic work ---


def periodic(site, rng, _):
    name = rng.choice(("Enable", "Update-Package-Lists", "Unattended-Upgrade", "Download-Upgradeable-Packages", "Verbose"))
    return _conf(site, rng, f'APT::Periodic::{name} "{rng.choice(("0", "1", "2", "always", "3h", "30"))}";\n')


def stamps(site, rng, _):
    days_from_now = rng.choice((-10, 10))
    names = rng.choice(("upgrade-stamp", "update-stamp", "upgrade-stamp update-stamp download-upgradeable-stamp"))
    return do(site, f"cd /var/lib/apt/periodic && touch --date='{days_from_now} days' {names}")


def unit(site, rng, _):
    return do(site, f"systemctl {rng.choice(('mask', 'mask --now', 'disable', 'disable --now', 'stop'))} {rng.choice(UNITS)}")


def drop_in(site, rng, _):
    name = rng.choice(UNITS)
    if name.endswith(".timer"):
        text = rng.choice(("[Timer]\nOnCalendar=\nOnCalendar=2099-01-01\n", "[Timer]\nOnCalendar=\n", "[Timer]\nRandomizedDelaySec=1h\n", "[Timer]\nOnCalendar=nonsense\n"))
    else:
        text = rng.choice((
            "[Service]\nExecStart=\nExecStart=/bin/true\n", "[Unit]\nConditionPathExists=/nonexistent\n", "[Service]\nNice=5\n",
            "[Service]\nUser=nobody\n", "[Service]\nReadOnlyPaths=/usr\n", "[Unit]\nConditionACPower=true\n",
        ))
    return put(site, f"/etc/systemd/system/{name}.d/zz-local.conf", text) + "; " + do(site, f"systemctl daemon-reload && systemctl try-restart {name}")


# --- Files that cannot be read ---


def broken_file(site, rng, _):
    path, text = rng.choice((
        (f"{CONFIGURATION}/98broken", 'APT::Foo "unterminated\n'), (f"{CONFIGURATION}/98broken", "APT { Foo\n"),
        ("/etc/apt/sources.list.d/broken.list", "deb nonsense\n"), ("/etc/apt/sources.list.d/broken.list", "rpm http://repo.velmora.test/ a b\n"),
        ("/etc/apt/preferences.d/broken", "Package: *\nPriority: 1\n"), ("/etc/apt/sources.list.d/broken.sources", "Types: deb\nURIs: http://repo.velmora.test/\n"),
        ("/etc/apt/apt.conf", "}\n"),
    ))
    return put(site, path, text)


def directory_mode(site, rng, _):
    return do(site, rng.choice(("rm -rf /var/lib/apt/lists/partial", "rm -rf /var/cache/apt/archives/partial", "chmod 700 /etc/apt/apt.conf.d", "rm -rf /var/cache/apt/archives")))


# --- The repository's registration ---


def source_list(site, rng, _):
    change = rng.choice((
        f"rm {apt.SOURCE_LIST}", f"sed -i 's/^deb/# deb/' {apt.SOURCE_LIST}", f"sed -i 's/systemd-production/other/' {apt.SOURCE_LIST}",
        f"sed -i 's/ main$/ contrib/' {apt.SOURCE_LIST}", f"sed -i 's/arch=[a-z0-9]*/arch=s390x/' {apt.SOURCE_LIST}",
        f"sed -i 's,velmora-apt-repo,nowhere,' {apt.SOURCE_LIST}", f"sed -i 's,repo.velmora.test,other.velmora.test,' {apt.SOURCE_LIST}",
        f"mv {apt.SOURCE_LIST} {apt.SOURCE_LIST}.off",
    ))
    return do(site, change)


def second_list(site, rng, _):
    option = rng.choice(("", " [signed-by=/etc/apt/trusted.gpg.d/zant-velmora.gpg]", " [trusted=yes]"))
    return put(site, "/etc/apt/sources.list.d/second.list", f"deb{option} {site.repository_url()} systemd-production main\n")


def other_source(site, rng, _):
    line = rng.choice(("deb http://repo.velmora.test/nowhere stable main", "deb http://127.0.0.1:9/gone stable main", "deb file:/nonexistent ./"))
    return put(site, "/etc/apt/sources.list.d/other.list", f"{line}\n")


def keyring(site, rng, _):
    return do(site, rng.choice((f"rm {apt.KEYRING}", f": > {apt.KEYRING}", f"chmod 600 {apt.KEYRING}", f"echo nonsense > {apt.KEYRING}")))


def acquire_option(site, rng, _):
    line = rng.choice((
        'Acquire::http::Proxy "http://127.0.0.1:9/";', 'Acquire::http::Proxy::repo.velmora.test "DIRECT";', 'Acquire::Retries "1";',
        'Acquire::Languages "none";', 'Acquire::Check-Valid-Until "false";', 'Acquire::GzipIndexes "true";', 'Acquire::By-Hash "no";',
        'APT::Sandbox::User "root";', 'Dir::Cache::archives "/var/cache/apt/elsewhere/";', 'APT::Get::AllowUnauthenticated "true";',
        'Acquire::http::Timeout "5";', 'APT::Install-Recommends "false";', 'Acquire::AllowReleaseInfoChange "true";', 'APT::Architecture "s390x";',
        'APT::Architectures { "s390x"; };',
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
        {"NotAutomatic": "yes"}, {"NotAutomatic": "yes", "ButAutomaticUpgrades": "yes"},
    ))
    site.repository.release_fields = fields
    return f"the repository's Release says {fields}"


def dependencies(site, rng, _):
    fields = rng.choice((
        "Depends: not-there\n", "Depends: bash (>= 99)\n", "Conflicts: procps\n", "Breaks: unattended-upgrades\n", "Depends: bash\n", "Pre-Depends: not-there\n",
        "Recommends: not-there\n", "Conflicts: dpkg\n", "Replaces: bash\n", "Depends: not-there | bash\n", "Provides: bash-completion\n",
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
    )))


def no_room(site, rng, _):
    directory = rng.choice(("/var/cache/apt/archives", "/var/lib/apt/lists", "/usr/share/zant-velmora", "/var/lib/dpkg/updates"))
    size = rng.choice(("4k", "64k", "16m"))
    return do(site, f"mkdir -p {directory} && mount -t tmpfs -o size={size} tmpfs {directory}")


def read_only(site, rng, _):
    directory = rng.choice(("/usr", "/var/lib/apt", "/var/cache/apt", "/etc/apt"))
    return do(site, f"mount --bind {directory} {directory} && mount -o remount,ro,bind {directory}")


def locked(site, rng, stack):
    path = rng.choice(("/var/lib/dpkg/lock-frontend", "/var/lib/dpkg/lock", "/var/lib/apt/lists/lock", "/var/cache/apt/archives/lock"))
    stack.enter_context(site.host.locked(path))
    return f"another program holds {path}"


def nothing(_, __, ___):
    return "-"


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
            pin, hold, default_release, blacklist, whitelist, origins, bad_origin, days, upgrade_option, without_unattended_upgrades,
            periodic, stamps, unit, drop_in, broken_file, directory_mode, source_list, second_list, other_source, keyring, acquire_option,
            server_gone, interrupted_dpkg, no_room, nothing,
        )),
        *(Disturbance(function.__name__, function, comes_with_newest=True) for function in (
            phasing, foreign_signature, release_fields, dependencies, conffile, missing_file, damaged_file,
        )),
        *(Disturbance(function.__name__, function, shows_in_a_run=True) for function in (failing_script, failing_hook, read_only, locked)),
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
