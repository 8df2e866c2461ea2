"""Situations of DNF hosts."""

import itertools
import shutil
import subprocess

from disposable_hosts.dnf import site as dnf
from disposable_hosts.dnf.repository import KEY_ALGORITHM, SPEC, DnfRepository, build_package
from disposable_hosts.dnf.site import DnfSite
from disposable_hosts.signing_key import SigningKey

from predict.situation import Disturbance, Family, do, put, show, timer_fires

PACKAGE = "zant-velmora"
MAIN = "/etc/dnf/dnf.conf"
AUTOMATIC = "/etc/dnf/automatic.conf"
VERSION_LOCK = "/etc/dnf/plugins/versionlock.list"
SERVICE = "dnf-automatic-install.service"

_numbers = itertools.count(1)


# --- What decides on versions ---


def main_option(site, rng, _):
    line = rng.choice((
        f"excludepkgs={PACKAGE}", "exclude=zant*", "excludepkgs=*", "excludepkgs=bash", "exclude=zant-velmora-2*", "includepkgs=bash", f"includepkgs={PACKAGE}",
        "best=0", "strict=0", "obsoletes=0", "install_weak_deps=0", "gpgcheck=0", "cacheonly=1", "keepcache=1", "plugins=0", "assumeno=1",
        f"installonlypkgs={PACKAGE}", "metadata_expire=-1", "skip_if_unavailable=0", "proxy=http://127.0.0.1:9", "timeout=5", "module_platform_id=platform:el9",
        "pkgpolicy=last", "reposdir=/etc/other.repos.d", "varsdir=/nonexistent", "cachedir=/var/cache/other", "persistdir=/var/lib/other", "logdir=/var/log/dnf",
        "pluginpath=/nonexistent", "pluginconfpath=/nonexistent", "tsflags=noscripts", "tsflags=test", "downloadonly=1", "localpkg_gpgcheck=1", "exclude_from_weak=*", "ip_resolve=6",
        "sslverify=0", "max_parallel_downloads=1", "minrate=1M", "throttle=1", "exit_on_lock=1", "releasever=8", "installroot=/srv/elsewhere", "disable_excludes=all", "nonsense=1",
        "clean_requirements_on_remove=1", "ignorearch=1", f"protected_packages={PACKAGE}", "upgrade_group_objects_upgrade=0", "diskspacecheck=0",
    ))
    return do(site, f"sed -i '/^\\[main\\]/a {line}' {MAIN}")


def repository_option(site, rng, _):
    line = rng.choice((
        f"excludepkgs={PACKAGE}", "exclude=*", "exclude=bash", "includepkgs=bash", f"includepkgs={PACKAGE}", "enabled=0", "gpgcheck=0", "priority=99", "priority=1",
        "cost=5000", "metadata_expire=-1", "metadata_expire=never", "metadata_expire=30d", "metadata_expire=1", "skip_if_unavailable=0", "proxy=http://127.0.0.1:9/",
        "repo_gpgcheck=1", "module_hotfixes=1", "countme=1", "timeout=5", "retries=1", "gpgkey=file:///nonexistent", "type=rpm-md", "enabled_metadata=0",
        "sslverify=0", "sslcacert=/nonexistent", "sslclientcert=/nonexistent", "username=who", "password=secret", "ip_resolve=6", "throttle=1", "minrate=10M", "max_parallel_downloads=1",
        "proxy=_none_", "proxy=socks5://127.0.0.1:9", "metadata_expire=nonsense", "priority=nonsense", "exclude=zant-velmora-2.0*,bash", "excludepkgs=*-2.0-1*", "deltarpm=0", "mediaid=1",
        "bandwidth=1k", "user_agent=nobody", "gpgkey=", "repo_gpgcheck=0",
    ))
    name = line.split("=")[0]
    return do(site, f"sed -i -e '/^{name} *=/d' -e '/^\\[quorvane\\]/a {line}' {dnf.REPO_FILE}")


def address(site, rng, _):
    change = rng.choice((
        "s,repo.velmora.test,other.velmora.test,", "s,systemd-production,nowhere,", "s,^baseurl,mirrorlist,", "s,^baseurl,metalink,", "s,systemd-production,$channel,", "s,http:,ftp:,",
        "s,^baseurl=.*,baseurl=,", "s,^baseurl=,baseurl=http://repo.velmora.test/gone/\\n ,", "s,//repo,//who:secret@repo,", "s,repo.velmora.test,192.0.2.1,", "s,http:,https:,", "s,^baseurl=,baseurl=http://127.0.0.1:9/ ,",
    ))
    return do(site, f"sed -i '{change}' {dnf.REPO_FILE}")


def repository_file(site, rng, _):
    return do(site, rng.choice((
        f"rm {dnf.REPO_FILE}", f"mv {dnf.REPO_FILE} {dnf.REPO_FILE}.off", f": > {dnf.REPO_FILE}", f"chmod 600 {dnf.REPO_FILE}",
        f"rm {dnf.REPO_FILE} && mkdir {dnf.REPO_FILE}", f"mv {dnf.REPO_FILE} /root && ln -s /root/quorvane.repo {dnf.REPO_FILE}", f"sed -i 's/$/\\r/' {dnf.REPO_FILE}"),
    ))


def same_repository_again(site, rng, _):
    """Another file has a repository of the same name."""
    path = rng.choice(("/etc/yum.repos.d/aaa.repo", "/etc/yum.repos.d/zzz.repo"))
    text = rng.choice(("enabled=0", f"excludepkgs={PACKAGE}", "baseurl=http://repo.velmora.test/nowhere", "gpgcheck=0"))
    address = "" if text.startswith("baseurl") else f"baseurl={site.base_url()}\n"
    return put(site, path, f"[quorvane]\nname=again\n{address}{text}\n")


def mirrors(site, rng, _):
    """A list of mirrors instead of an address."""
    good, bad = site.base_url(), rng.choice(("http://127.0.0.1:9/gone/", "http://repo.velmora.test/nowhere/"))
    lines = rng.choice(([good], [bad, good], [bad], [], ["nonsense"]))
    (site.web_root / "mirrors").write_text("".join(f"{line}\n" for line in lines))
    return f"the mirror list has {lines}; " + do(site, f"sed -i 's,^baseurl=.*,mirrorlist=http://repo.velmora.test/mirrors,' {dnf.REPO_FILE}")


def variable(site, rng, _):
    value = rng.choice(("production", "nowhere", ""))
    return put(site, "/etc/dnf/vars/channel", f"{value}\n") + "; " + do(site, f"sed -i 's,systemd-production,systemd-$channel,' {dnf.REPO_FILE}")


def plugin(site, rng, _):
    return do(site, rng.choice((
        "sed -i 's/enabled *= *1/enabled = 0/' /etc/dnf/plugins/versionlock.conf", "sed -i 's,^locklist.*,locklist = /root/locks,' /etc/dnf/plugins/versionlock.conf; echo zant-velmora-1.0-1.* > /root/locks",
        "sed -i 's,^locklist.*,locklist = /nonexistent,' /etc/dnf/plugins/versionlock.conf", "rm /etc/dnf/plugins/versionlock.list", "rm -r /etc/dnf/plugins",
        f"mkdir -p /etc/dnf/protected.d; echo {PACKAGE} > /etc/dnf/protected.d/local.conf", "echo 'raise SystemExit(1)' > $(python3 -c 'import dnf, os; print(os.path.dirname(dnf.__file__))')-plugins/zz_local.py",
    )))


def module(site, rng, _):
    """The package's name stands in a module of a further repository."""
    state = rng.choice(("enabled", "disabled"))
    document = (
        "---\ndocument: modulemd\nversion: 2\ndata:\n  name: velmora\n  stream: '1'\n  version: 1\n  context: a1\n  arch: noarch\n  summary: x\n  description: x\n"
        f"  license: {{module: [MIT]}}\n  artifacts: {{rpms: ['{PACKAGE}-0:1.0-1.noarch']}}\n...\n"
    )
    site.host.write("/srv/modular/modules.yaml", document)
    for package in site.repository.location.resolve().glob(f"{PACKAGE}-1.0*.rpm"):
        site.host.copy_in(package, f"/srv/modular/{package.name}")
    site.host.run("createrepo_c --quiet /srv/modular; modifyrepo_c --mdtype=modules /srv/modular/modules.yaml /srv/modular/repodata", check=False)
    put(site, "/etc/yum.repos.d/modular.repo", "[modular]\nname=modular\nbaseurl=file:///srv/modular\ngpgcheck=0\n")
    return "a repository has the module velmora:1; " + put(site, "/etc/dnf/modules.d/velmora.module", f"[velmora]\nname=velmora\nstream=1\nprofiles=\nstate={state}\n")


def version_lock(site, rng, _):
    return put(site, VERSION_LOCK, rng.choice((f"{PACKAGE}-0:1.0-1.*\n", f"!{PACKAGE}-0:2.0-1.*\n", "bash-0:1-1.*\n", f"{PACKAGE}-0:2.0-1.*\n", f"{PACKAGE}\n", "# nothing\n")))


def hold(site, _, __):
    return do(site, "package-minder hold")


def other_repository(site, rng, _):
    """On the host's disk: its own packages, or also the package in a version that this family knows."""
    directory = f"/srv/other{next(_numbers)}"
    site.host.run(f"cp -r /srv/distribution {directory}")
    priority = rng.choice(("", "priority=1\n", "cost=1\n"))
    if rng.choice((True, False)):
        edition = site.repository.location.resolve()
        for package in edition.glob(f"{PACKAGE}-1.0*.rpm"):
            site.host.copy_in(package, f"{directory}/{package.name}")
        site.host.run(f"createrepo_c --quiet {directory}")
    return put(site, "/etc/yum.repos.d/other.repo", f"[other]\nname=other\nbaseurl=file://{directory}\nenabled=1\ngpgcheck=0\n{priority}")


def upgrade_of_another_package(site, rng, _):
    """In the same run: a rival in a further repository, which may end the run or take the package's turn."""
    check, best = rng.choice(("gpgcheck=0", "gpgcheck=1", "gpgcheck=1\ngpgkey=file:///nonexistent")), rng.choice(("best=0", "best=1"))
    more = rng.choice(({}, {"package_tag": f"Conflicts: {PACKAGE} >= 2"}, {"package_is_refused_by_its_script": "1"}, {"package_tag": "Requires: not-there"}))
    directory = f"/srv/rival{next(_numbers)}"
    site.host.copy_in(build_package("rival", "1.0"), "/root/rival.rpm")
    site.host.copy_in(build_package("rival", "2.0", **more), f"{directory}/rival-2.0-1.noarch.rpm")
    site.host.run(f"rpm --install /root/rival.rpm; createrepo_c --quiet {directory}; sed -i 's/^best *=.*/{best}/' {MAIN}")
    address = f"[rival]\nname=rival\nbaseurl=file://{directory}\n{check}\n"
    return f"rival 1.0 is installed, and 2.0 offered with {more}; {best}; " + put(site, "/etc/yum.repos.d/rival.repo", address)


def gone_repository(site, rng, _):
    skip = rng.choice((0, 1))
    url = rng.choice(("http://127.0.0.1:9/gone", "file:///nonexistent", "http://repo.velmora.test/nowhere"))
    return put(site, "/etc/yum.repos.d/gone.repo", f"[gone]\nname=gone\nbaseurl={url}\nenabled=1\ngpgcheck=0\nskip_if_unavailable={skip}\n")


# --- dnf-automatic ---


def automatic_option(site, rng, _):
    section, line = rng.choice((
        ("commands", "upgrade_type = security"), ("commands", "upgrade_type = default"), ("commands", "apply_updates = no"), ("commands", "download_updates = no"),
        ("commands", "network_online_timeout = 0"), ("commands", "reboot = never"), ("emitters", "emit_via = motd"), ("emitters", "emit_via = nonsense"), ("emitters", "emit_via = command"), ("emitters", "emit_via = email"), ("commands", "base_config_file = /nonexistent"),
        ("commands", "random_sleep = nonsense"), ("base", "tsflags = test"), ("base", "reposdir = /nonexistent"), ("base", "excludepkgs ="), ("emitters", "emit_via = nothing"),
        ("base", f"excludepkgs = {PACKAGE}"), ("base", "excludepkgs = bash"), ("base", "debuglevel = 3"), ("base", "cacheonly = 1"), ("base", "best = 1"),
        ("commands", "upgrade_type = nonsense"), ("commands", "random_sleep = 1"), ("base", "includepkgs = bash"), ("base", "gpgcheck = 0"),
    ))
    name = line.split("=")[0].strip()
    return do(site, f"sed -i -e '/^{name} *=/d' -e '/^\\[{section}\\]/a {line}' {AUTOMATIC}")


def broken_file(site, rng, _):
    path = rng.choice((MAIN, AUTOMATIC, dnf.REPO_FILE, "/etc/yum.repos.d/broken.repo", "/etc/dnf/plugins/versionlock.conf"))
    line = rng.choice(("[unterminated", "nonsense", "= 1"))
    return do(site, f"echo '{line}' >> {path}")


def without_automatic(site, rng, _):
    return do(site, rng.choice((
        "rpm --erase --nodeps dnf-automatic", "chmod 644 /usr/bin/dnf-automatic", f"rm -f {AUTOMATIC}", "chmod 600 /etc/dnf/dnf.conf", "rm /etc/dnf/dnf.conf", "rm /etc/os-release", "mv /usr/bin/rpm /usr/bin/rpm.off",
        "sed -i '1s,.*,#!/usr/bin/nothing,' /usr/bin/dnf-automatic", "printf '#!/bin/sh\\nexit 0\\n' > /usr/bin/dnf-automatic", f"rm {MAIN} && mkdir {MAIN}", "rm -r /var/lib/dnf", "rm -r /etc/dnf/vars",
    )))


def unit(site, rng, _):
    verb = rng.choice(("mask", "mask --now", "disable", "disable --now", "stop"))
    return do(site, f"systemctl {verb} {rng.choice((dnf.TIMER, SERVICE))}")


def drop_in(site, rng, _):
    name = rng.choice((dnf.TIMER, SERVICE))
    if name == dnf.TIMER:
        text = rng.choice((
            "[Timer]\nOnCalendar=\nOnCalendar=2099-01-01\n", "[Timer]\nOnCalendar=\n", "[Timer]\nRandomizedDelaySec=1h\n", "[Timer]\nOnCalendar=nonsense\n",
            "[Timer]\nOnCalendar=\nOnCalendar=yearly\n", "[Timer]\nRandomizedDelaySec=1y\n", f"[Timer]\nUnit={dnf.CONFLICTING_TIMERS[0].replace('timer', 'service')}\n", "[Unit]\nConditionPathExists=/nonexistent\n",
            "[Timer]\nOnCalendar=weekly\n", "[Timer]\nPersistent=no\n", "[Timer]\nAccuracySec=1d\n", "[Timer]\nOnCalendar=\nOnBootSec=10y\n",
        ))
    else:
        text = rng.choice((
            "[Service]\nExecStart=\nExecStart=/bin/true\n", "[Unit]\nConditionPathExists=/nonexistent\n", "[Service]\nNice=5\n", "[Service]\nUser=nobody\n",
            "[Service]\nExecStart=\nExecStart=/usr/bin/dnf-automatic /etc/dnf/automatic.conf --no-installupdates\n", "[Service]\nReadOnlyPaths=/usr\n",
            "[Service]\nMemoryMax=20M\n", "[Service]\nTimeoutStartSec=1\n", "[Service]\nExecStartPre=/bin/false\n", "[Service]\nExecCondition=/bin/false\n", "[Service]\nTasksMax=2\n",
            "[Service]\nEnvironment=http_proxy=http://127.0.0.1:9\n", "[Service]\nPrivateTmp=yes\n", "[Service]\nLimitFSIZE=1\n", "[Service]\nCapabilityBoundingSet=\n", "[Service]\nProtectSystem=full\n",
            "[Service]\nWorkingDirectory=/nonexistent\n", "[Service]\nIPAddressDeny=any\n", "[Service]\nTemporaryFileSystem=/etc/yum.repos.d\n", "[Service]\nEnvironmentFile=/nonexistent\n", "[Service]\nIOWeight=10\n",
            "[Service]\nExecStart=\nExecStart=-/usr/bin/dnf-automatic /etc/dnf/automatic.conf --installupdates\n", "[Service]\nExecStart=/bin/false\n",
        ))
    return put(site, f"/etc/systemd/system/{name}.d/zz-local.conf", text) + "; " + do(site, f"systemctl daemon-reload && systemctl try-restart {name}")


# --- The vendor's side ---


def foreign_signature(site, _, stack):
    directory = site.web_root / f".foreign-{next(_numbers)}"
    directory.mkdir()
    site.repository._key = stack.enter_context(SigningKey(directory, owner="Somebody Else <else@velmora.test>", algorithm=KEY_ALGORITHM))
    return "the newest package is signed with another key"


def unsigned(site, _, __):
    site.repository._sign = lambda package: None
    return "the newest package is not signed"


def missing_file(site, _, __):
    _after_publication(site, lambda edition: [path.unlink() for path in edition.glob(f"{PACKAGE}-2.0*.rpm")])
    return "the newest package is not on the server"


def damaged_file(site, _, __):
    def damage(edition):
        for path in edition.glob(f"{PACKAGE}-2.0*.rpm"):
            data = bytearray(path.read_bytes())
            data[-10] ^= 0xFF
            path.write_bytes(data)

    _after_publication(site, damage)
    return "the newest package is damaged on the server"


def damaged_index(site, rng, _):
    which = rng.choice(("repomd.xml", "*primary.xml.*", "*filelists.xml.*"))

    def damage(edition):
        for path in (edition / "repodata").glob(which):
            path.write_bytes(b"nonsense")

    _after_publication(site, damage)
    return f"{which} of the newest edition is damaged on the server"


def dependencies(site, rng, _):
    line = rng.choice(("Requires: not-there", "Requires: dnf", "Conflicts: dnf-automatic", "Requires: not-there >= 3", "Obsoletes: bash", "Recommends: not-there", "Conflicts: system-release"))
    _newest_with(site, line)
    return f"the newest version says {line}"


def failing_script(site, rng, _):
    script = rng.choice(("%pre", "%post", "%preun"))
    _newest_with(site, "", f"{script}\nexit 1\n")
    return f"{script} of the newest version fails"


def epoch(site, rng, _):
    """rpm compares the number before the version first."""
    newest = rng.choice(("Epoch: 1", "Epoch: 0"))
    _newest_with(site, newest)
    return f"the newest version says {newest}"


def file_of_another_package(site, _, __):
    build = site.repository._store / f"rival-{next(_numbers)}"
    build.mkdir()
    (build / "rival.spec").write_text(
        "Name: rival\nVersion: 1\nRelease: 1\nSummary: x\nLicense: x\nBuildArch: noarch\n%description\nx\n"
        "%install\nmkdir -p %{buildroot}/srv/shared\necho rival > %{buildroot}/srv/shared/file\n%files\n/srv/shared/file\n"
    )
    subprocess.run(["rpmbuild", "--quiet", "-bb", "--define", f"_topdir {build}", "--define", f"_rpmdir {build}", build / "rival.spec"], check=True, capture_output=True)
    site.host.copy_in(next((build / "noarch").glob("*.rpm")), "/root/rival.rpm")
    site.host.run("rpm --install /root/rival.rpm")
    _newest_with(site, "", files="/srv/shared/file")
    return "the newest version has a file that another package has too"


def asks_for_password(site, _, __):
    site.server.ask_for_password("who", "secret")
    return "the server asks for a password"


def server_gone(site, _, stack):
    stack.enter_context(site.server.gone())
    return "the server refuses connections"


# --- rpm and the machine ---


def keys(site, rng, _):
    return do(site, rng.choice(("rpm --erase $(rpm --query gpg-pubkey)", "rpm --erase --allmatches gpg-pubkey", "true")))


def macro(site, rng, _):
    line = rng.choice((
        "%_pkgverify_level all", "%_pkgverify_level signature", "%_pkgverify_level none", "%_excludedocs 1", "%_install_langs C", "%_netsharedpath /usr/share", "%_tmppath /nonexistent",
        "%_minimize_writes 1", "%_transaction_color 3", "%_dbpath /nonexistent", "%__transaction_systemd_inhibit %{nil}", "%_plugindir /nonexistent", "%_gpg_name nobody",
    ))
    return do(site, f"echo '{line}' >> /etc/rpm/macros")


def installed_again(site, _, __):
    """rpm has the package twice, as after an upgrade that was cut off."""
    built = build_package(PACKAGE, "0.9")
    site.host.copy_in(built, "/root/older.rpm")
    return do(site, "rpm --install --force --oldpackage /root/older.rpm")


def no_room(site, rng, _):
    directory = rng.choice(("/var/cache/dnf", "/usr/share/zant-velmora", "/var/lib/dnf", "/tmp", "/var/tmp", "/var/log"))
    size = rng.choice(("4k", "64k", "16m"))
    return do(site, f"mkdir -p {directory} && mount -t tmpfs -o size={size} tmpfs {directory}")


def read_only(site, rng, _):
    directory = rng.choice(("/usr", "/var/lib/rpm", "/var/cache/dnf", "/etc", "/var/lib/dnf", "/var/log", "/tmp", "/var/tmp"))
    option = rng.choice(("ro", "ro", "noexec"))
    if directory == "/usr":
        option = "ro"  # Nothing at all could be run, the question neither.
    return do(site, f"mount --bind {directory} {directory} && mount -o remount,{option},bind {directory}")


def locked(site, rng, _):
    command = rng.choice((
        "setsid python3 -c 'import fcntl, time; file = open(\"/var/lib/rpm/.rpm.lock\", \"a\"); fcntl.lockf(file, fcntl.LOCK_EX); time.sleep(600)'",
        *(f"setsid sh -c 'echo -n $$ > {path}; exec sleep 600'" for path in ("/var/cache/dnf/metadata_lock.pid", "/var/cache/dnf/download_lock.pid", "/var/lib/dnf/rpmdb_lock.pid")),
    ))
    return do(site, f"{command} > /dev/null 2>&1 < /dev/null & sleep 0.5")


def left_lock(site, rng, _):
    path = rng.choice(("/var/cache/dnf/metadata_lock.pid", "/var/cache/dnf/download_lock.pid", "/var/lib/dnf/rpmdb_lock.pid"))
    return put(site, path, rng.choice(("4000000", "nonsense", "", "\n")))


def without_cache(site, _, __):
    return do(site, "rm -rf /var/cache/dnf/*")


def nothing(_, __, ___):
    return "-"


def _newest_with(site, line, scripts="", files=""):
    """What is published from now on has this line and these scripts in its recipe."""

    def publish(version, name=PACKAGE):
        work = site.repository._store / f"build-{next(_numbers)}"
        work.mkdir()
        spec = SPEC.read_text().replace("%description", f"{line}\n\n%description", 1).replace("%files", f"{scripts}\n%files\n{files}", 1)
        for path in files.split():
            spec = spec.replace("%install", f"%install\nmkdir -p %{{buildroot}}$(dirname {path})\necho mine > %{{buildroot}}{path}", 1)
        (work / "package.spec").write_text(spec)
        macros = {"_topdir": work, "_rpmdir": work, "package_name": name, "package_version": version}
        options = [option for key, value in macros.items() for option in ("--define", f"{key} {value}")]
        subprocess.run(["rpmbuild", "--quiet", "-bb", *options, work / "package.spec"], check=True, capture_output=True)
        built = next((work / "noarch").glob("*.rpm"))
        try:
            return site.repository.publish_file(built)
        finally:
            shutil.rmtree(work)

    site.repository.publish = publish


def _after_publication(site, change):
    build = DnfRepository._build_edition

    def build_and_change():
        edition = build(site.repository)
        change(edition)
        return edition

    site.repository._build_edition = build_and_change


class DnfFamily(Family):
    name = "dnf"
    images = ("el-bookworm", "el-trixie")
    disturbances = (
        *(Disturbance(function.__name__, function) for function in (
            main_option, repository_option, address, repository_file, version_lock, hold, other_repository, upgrade_of_another_package, gone_repository, automatic_option, broken_file,
            without_automatic, unit, drop_in, server_gone, keys, no_room, without_cache, nothing, same_repository_again, mirrors, variable, plugin, module, asks_for_password,
            macro, installed_again, locked, left_lock,
        )),
        *(Disturbance(function.__name__, function, comes_with_newest=True) for function in (
            foreign_signature, unsigned, missing_file, damaged_file, damaged_index, dependencies, epoch, file_of_another_package,
        )),
        *(Disturbance(function.__name__, function, shows_in_a_run=True) for function in (failing_script, read_only)),
    )

    def __init__(self, bundle, key, say=print):
        self._bundle, self._key, self._say = bundle, key, say

    def installed_version(self, site):
        # The run does without the command, and what the run has done is asked afterwards.
        site.host.run("test -e /usr/bin/rpm || mv /usr/bin/rpm.off /usr/bin/rpm", check=False)
        return super().installed_version(site)

    def open(self, image, stack):
        site = stack.enter_context(DnfSite(image, self._bundle, self._key, say=self._say))
        site.install_package("1.0")
        site.install_minder()
        site.minder.once()
        # As an administrator sets it who wants no delay: a run would wait up to five minutes, and one for the network.
        site.host.run(f"sed -i -e 's/^random_sleep *=.*/random_sleep = 0/' -e 's/^network_online_timeout *=.*/network_online_timeout = 2/' {AUTOMATIC}")
        self.run_services(site)
        return site

    def run_services(self, site):
        # A day has passed since the repository was asked.
        site.host.run("find /var/cache/dnf -path '*/repodata/*' -exec touch --date='25 hours ago' {} +", check=False)
        if timer_fires(site, dnf.TIMER):
            # A run that waits for a lock waits for ever.
            service = show(site, dnf.TIMER, "Unit")["Unit"]
            site.host.run(f"systemctl reset-failed {service}; timeout 80 systemctl start {service} || systemctl stop {service}", check=False, timeout=300)
