"""Situations of DNF hosts."""

import itertools
import shutil
import subprocess

from disposable_hosts.dnf import site as dnf
from disposable_hosts.dnf.repository import KEY_ALGORITHM, SPEC, DnfRepository
from disposable_hosts.dnf.site import DnfSite
from disposable_hosts.signing_key import SigningKey

from predict.situation import Disturbance, Family, do, put, timer_fires

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
        "pkgpolicy=last", "clean_requirements_on_remove=1", "ignorearch=1", f"protected_packages={PACKAGE}", "upgrade_group_objects_upgrade=0", "diskspacecheck=0",
    ))
    return do(site, f"sed -i '/^\\[main\\]/a {line}' {MAIN}")


def repository_option(site, rng, _):
    line = rng.choice((
        f"excludepkgs={PACKAGE}", "exclude=*", "exclude=bash", "includepkgs=bash", f"includepkgs={PACKAGE}", "enabled=0", "gpgcheck=0", "priority=99", "priority=1",
        "cost=5000", "metadata_expire=-1", "metadata_expire=never", "metadata_expire=30d", "metadata_expire=1", "skip_if_unavailable=0", "proxy=http://127.0.0.1:9/",
        "repo_gpgcheck=1", "module_hotfixes=1", "countme=1", "timeout=5", "retries=1", "gpgkey=file:///nonexistent", "type=rpm-md", "enabled_metadata=0",
    ))
    name = line.split("=")[0]
    return do(site, f"sed -i -e '/^{name} *=/d' -e '/^\\[quorvane\\]/a {line}' {dnf.REPO_FILE}")


def address(site, rng, _):
    change = rng.choice((
        "s,repo.velmora.test,other.velmora.test,", "s,systemd-production,nowhere,", "s,^baseurl,mirrorlist,", "s,http:,https:,", "s,^baseurl=,baseurl=http://127.0.0.1:9/ ,",
    ))
    return do(site, f"sed -i '{change}' {dnf.REPO_FILE}")


def repository_file(site, rng, _):
    return do(site, rng.choice((f"rm {dnf.REPO_FILE}", f"mv {dnf.REPO_FILE} {dnf.REPO_FILE}.off", f": > {dnf.REPO_FILE}", f"chmod 600 {dnf.REPO_FILE}")))


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


def gone_repository(site, rng, _):
    skip = rng.choice((0, 1))
    url = rng.choice(("http://127.0.0.1:9/gone", "file:///nonexistent", "http://repo.velmora.test/nowhere"))
    return put(site, "/etc/yum.repos.d/gone.repo", f"[gone]\nname=gone\nbaseurl={url}\nenabled=1\ngpgcheck=0\nskip_if_unavailable={skip}\n")


# --- dnf-automatic ---


def automatic_option(site, rng, _):
    section, line = rng.choice((
        ("commands", "upgrade_type = security"), ("commands", "upgrade_type = default"), ("commands", "apply_updates = no"), ("commands", "download_updates = no"),
        ("commands", "network_online_timeout = 0"), ("commands", "reboot = never"), ("emitters", "emit_via = motd"), ("emitters", "emit_via = nothing"),
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
    return do(site, rng.choice(("rpm --erase --nodeps dnf-automatic", "chmod 644 /usr/bin/dnf-automatic", f"rm -f {AUTOMATIC}", "chmod 600 /etc/dnf/dnf.conf")))


def unit(site, rng, _):
    verb = rng.choice(("mask", "mask --now", "disable", "disable --now", "stop"))
    return do(site, f"systemctl {verb} {rng.choice((dnf.TIMER, SERVICE))}")


def drop_in(site, rng, _):
    name = rng.choice((dnf.TIMER, SERVICE))
    if name == dnf.TIMER:
        text = rng.choice(("[Timer]\nOnCalendar=\nOnCalendar=2099-01-01\n", "[Timer]\nOnCalendar=\n", "[Timer]\nRandomizedDelaySec=1h\n", "[Timer]\nOnCalendar=nonsense\n"))
    else:
        text = rng.choice((
            "[Service]\nExecStart=\nExecStart=/bin/true\n", "[Unit]\nConditionPathExists=/nonexistent\n", "[Service]\nNice=5\n", "[Service]\nUser=nobody\n",
            "[Service]\nExecStart=\nExecStart=/usr/bin/dnf-automatic /etc/dnf/automatic.conf --no-installupdates\n", "[Service]\nReadOnlyPaths=/usr\n",
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


def server_gone(site, _, stack):
    stack.enter_context(site.server.gone())
    return "the server refuses connections"


# --- rpm and the machine ---


def keys(site, rng, _):
    return do(site, rng.choice(("rpm --erase $(rpm --query gpg-pubkey)", "rpm --erase --allmatches gpg-pubkey", "true")))


def no_room(site, rng, _):
    directory = rng.choice(("/var/cache/dnf", "/usr/share/zant-velmora", "/var/lib/dnf"))
    size = rng.choice(("4k", "64k", "16m"))
    return do(site, f"mkdir -p {directory} && mount -t tmpfs -o size={size} tmpfs {directory}")


def read_only(site, rng, _):
    directory = rng.choice(("/usr", "/var/lib/rpm", "/var/cache/dnf", "/etc"))
    return do(site, f"mount --bind {directory} {directory} && mount -o remount,ro,bind {directory}")


def locked(site, _, stack):
    stack.enter_context(site.host.locked("/var/lib/rpm/.rpm.lock"))
    return "another program holds rpm's lock"


def without_cache(site, _, __):
    return do(site, "rm -rf /var/cache/dnf/*")


def nothing(_, __, ___):
    return "-"


def _newest_with(site, line, scripts=""):
    """What is published from now on has this line and these scripts in its recipe."""

    def publish(version, name=PACKAGE):
        work = site.repository._store / f"build-{next(_numbers)}"
        work.mkdir()
        spec = SPEC.read_text().replace("%description", f"{line}\n\n%description", 1).replace("%files", f"{scripts}\n%files", 1)
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
            main_option, repository_option, address, repository_file, version_lock, hold, other_repository, gone_repository, automatic_option, broken_file,
            without_automatic, unit, drop_in, server_gone, keys, no_room, without_cache, nothing,
        )),
        *(Disturbance(function.__name__, function, comes_with_newest=True) for function in (
            foreign_signature, unsigned, missing_file, damaged_file, damaged_index, dependencies,
        )),
        *(Disturbance(function.__name__, function, shows_in_a_run=True) for function in (failing_script, read_only, locked)),
    )

    def __init__(self, bundle, key, say=print):
        self._bundle, self._key, self._say = bundle, key, say

    def open(self, image, stack):
        site = stack.enter_context(DnfSite(image, self._bundle, self._key, say=self._say))
        site.install_package("1.0")
        site.install_minder()
        site.minder.once()
        # As an administrator sets it who wants no delay: a run would wait up to five minutes.
        site.host.run(f"sed -i 's/^random_sleep *=.*/random_sleep = 0/' {AUTOMATIC}")
        self.run_services(site)
        return site

    def run_services(self, site):
        # A day has passed since the repository was asked.
        site.host.run("find /var/cache/dnf -path '*/repodata/*' -exec touch --date='25 hours ago' {} +", check=False)
        if timer_fires(site, dnf.TIMER):
            site.host.run(f"systemctl reset-failed {SERVICE}; systemctl start {SERVICE}", check=False, timeout=300)
