"""Why the package does not upgrade on an EL host: one story for each cause.

An administrator breaks the host, its own services run, and the old version is still there. The program says why, the
remedy is typed as it stands in the report, the services run again, and the new version is there.
"""

import shutil
import time
from dataclasses import dataclass
from typing import Callable, Optional, Union

import documents
import pytest
from disposable_hosts import snapshot
from disposable_hosts.dnf import site as dnf
from disposable_hosts.dnf.repository import PACKAGE, build_package
from disposable_hosts.polling import wait_until
from disposable_hosts.signing_key import SigningKey
from disposable_hosts.web_server import FAULT_FILE, PASSWORD_FILE

SERVICE = "dnf-automatic-install.service"
MAIN, AUTOMATIC, LOCKS = "/etc/dnf/dnf.conf", "/etc/dnf/automatic.conf", "/etc/dnf/plugins/versionlock.list"
FILES = f"/usr/share/{PACKAGE}"
SERVICE_DROP_IN = f"/etc/systemd/system/{SERVICE}.d/local.conf"
TIMER_DROP_IN = f"{dnf.DROP_INS}/local.conf"
AUTOMATIC_MODULE = "/usr/lib/python3/dist-packages/dnf/automatic/main.py"

# What the timer starts in the next night: DNF takes its caches for as old as they are then. After so many seconds it is morning.
NEXT_NIGHT = (
    "find /var/cache/dnf -path '*/repodata/*' -exec touch --date='25 hours ago' {} + ;"
    f"next=$(systemctl show --property=NextElapseUSecRealtime --value {dnf.TIMER}); unit=$(systemctl show --property=Unit --value {dnf.TIMER});"
    f'[ "$(systemctl show --property=ActiveState --value {dnf.TIMER})" != active ] || [ -z "$next" ] ||'
    ' [ $(date --date="$next" +%s) -gt $(($(date +%s) + 8 * 86400)) ] || { systemctl reset-failed $unit; timeout ${night:-90} systemctl start $unit; }'
)

# It would wait a minute for a server that is away.
IMPATIENT = f"sed -i 's/^network_online_timeout.*/network_online_timeout = 0/' {AUTOMATIC}"


def in_section(file, section, line):
    return f"sed -i '/^\\[{section}\\]/a {line}' {file}"


def drop_in(file, text):
    return f"mkdir -p $(dirname {file}) && printf '{text}' > {file} && systemctl daemon-reload"


def other_repository(site, options, *packages):
    """A further repository on the host's disk."""
    for package in packages:
        site.host.copy_in(package, f"/srv/other/{package.name}")
    site.host.run("createrepo_c --quiet /srv/other")
    site.host.write("/etc/yum.repos.d/other.repo", f"[other]\nname=other\nbaseurl=file:///srv/other\ngpgcheck=0\n{options}\n")


def preferred_repository(site):
    other_repository(site, "priority=10", build_package(PACKAGE, "1.0"))


def successor(site):
    other_repository(site, "", build_package("zant-successor", "1.0", package_tag=f"Obsoletes: {PACKAGE}"))


def conflicting_package(site):
    package = build_package("zant-rival", "1.0", package_tag=f"Conflicts: {PACKAGE} >= 2")
    site.host.copy_in(package, "/root/rival.rpm")
    site.host.run("rpm --install /root/rival.rpm")


def signed_by_somebody_else(site):
    with SigningKey(site.web_root / ".foreign", owner="Somebody Else <else@velmora.test>", algorithm="rsa2048") as foreign:
        right, site.repository._key = site.repository._key, foreign
        site.repository.publish("2.0")
        site.repository._key = right


def published_again(site):
    site.repository.withdraw_all_but("1.0")
    site.repository.publish("2.0")
    site.host.run("rm --recursive --force /var/cache/dnf/quorvane*")


SMALL_CACHE = (
    "cp --archive /var/cache/dnf /root/cache && mount -t tmpfs -o size=2M tmpfs /var/cache/dnf &&"
    "cp --archive /root/cache/. /var/cache/dnf && rm --recursive /root/cache"
)
FULL_CACHE = f"{SMALL_CACHE}; cat /dev/zero > /var/cache/dnf/full || true"
# Two pages are left, and the index of the repository takes more.
NEARLY_FULL_CACHE = f"{SMALL_CACHE} && head --bytes=$(($(stat --file-system --format='%a * %S' /var/cache/dnf) - 8192)) /dev/zero > /var/cache/dnf/full"


def module_of_another_repository(site):
    document = (
        "---\ndocument: modulemd\nversion: 2\ndata:\n  name: velmora\n  stream: '1'\n  version: 1\n  context: a1\n  arch: noarch\n  summary: x\n  description: x\n"
        f"  license: {{module: [MIT]}}\n  artifacts: {{rpms: ['{PACKAGE}-0:1.0-1.noarch']}}\n...\n"
    )
    other_repository(site, "", build_package(PACKAGE, "1.0"))
    site.host.write("/srv/modules.yaml", document)
    site.host.run("modifyrepo_c --mdtype=modules /srv/modules.yaml /srv/other/repodata")
    site.host.write("/etc/dnf/modules.d/velmora.module", "[velmora]\nname=velmora\nstream=1\nprofiles=\nstate=enabled\n")


def hiding_plugin(site):
    site.host.write(
        "/srv/other/plugins/hide.py",
        "import dnf\n\n\nclass Hide(dnf.Plugin):\n    name = 'hide'\n\n    def sack(self):\n        found = self.base.sack.query().available()\n"
        f"        self.base.sack.add_excludes(found.filterm(name='{PACKAGE}', version__neq='1.0'))\n",
    )
    site.host.run(f"sed -i '/^\\[main\\]/a pluginpath=/srv/other/plugins' {MAIN}")


def upgrade_of_another_package_that_excludes_ours(site):
    """DNF prefers it each night, and its script fails each night."""
    site.host.copy_in(build_package("zant-rival", "1.0"), "/root/rival.rpm")
    other_repository(site, "", build_package("zant-rival", "2.0", package_tag=f"Conflicts: {PACKAGE} >= 2", package_is_refused_by_its_script="1"))
    site.host.run(f"rpm --install /root/rival.rpm && sed -i s/^best=.*/best=0/ {MAIN}")


def upgrade_of_another_package(site, options, **more):
    site.host.copy_in(build_package("zant-rival", "1.0"), "/root/rival.rpm")
    site.host.run("rpm --install /root/rival.rpm")
    other_repository(site, options, build_package("zant-rival", "2.0", **more))


def upgrade_of_another_package_with_a_foreign_file(site):
    site.host.copy_in(build_package("zant-provider", "1.0", package_shares_a_file="1"), "/root/provider.rpm")
    site.host.run("rpm --install /root/provider.rpm")
    upgrade_of_another_package(site, "", package_shares_a_file="1")


def failing_plugin(site):
    site.host.write(
        "/srv/other/plugins/snapshot.py",
        "import dnf\n\n\nclass Snapshot(dnf.Plugin):\n    name = 'snapshot'\n\n    def pre_transaction(self):\n"
        "        raise dnf.exceptions.Error('no room for a snapshot')\n",
    )
    site.host.run(f"sed -i '/^\\[main\\]/a pluginpath=/srv/other/plugins' {MAIN}")


def repository_of_somebody_else(site):
    """A copy that nobody renews."""
    shutil.copytree(site.repository.location, site.web_root / "copy")
    site.host.run(f"sed -i s,^baseurl=.*,baseurl=http://repo.velmora.test/copy/, {dnf.REPO_FILE}; dnf --quiet makecache")


def package_with_the_same_file(site):
    site.host.copy_in(build_package("zant-rival", "1.0", package_shares_a_file="1"), "/root/rival.rpm")
    site.host.run("rpm --install /root/rival.rpm")


def nobody_keeps_the_timer(site):
    site.minder.configure(site.settings({"minder.automatic_upgrades": "false"}))
    site.host.run(f"systemctl stop {dnf.TIMER}")


def package_minder_keeps_the_timer(site):
    site.minder.configure(site.settings())
    site.minder.once()


def locked_database(site):
    site.host.run(
        "setsid python3 -c 'import fcntl, time; file = open(\"/var/lib/rpm/.rpm.lock\", \"a\"); fcntl.lockf(file, fcntl.LOCK_EX); print(flush=True); time.sleep(900)'"
        " < /dev/null > /run/locked 2>&1 & until test -s /run/locked; do sleep 0.1; done"
    )


def forget_key(site):
    site.host.run("rpm --erase --allmatches gpg-pubkey")


Action = Union[str, Callable]


@dataclass(frozen=True)
class Story:
    name: str
    breaks: Action
    code: str
    evidence: str  # a part of it
    repair: Optional[Action] = None  # where the remedy is advice and no command
    new: Optional[Callable] = None  # publishes the new version, if it is not an ordinary one
    tells_before: bool = True  # while there is no new version yet
    version: str = "2.0"
    is_mended_in_time: bool = False  # the next night would do more than leave the old version
    night: int = 90  # seconds, for a run that does not end by itself


STORIES = (
    Story("exclude", in_section(MAIN, "main", "exclude=foo zant-*"), "package.excluded", f"{MAIN}:2: exclude=foo zant-*"),
    Story("exclude-continued", in_section(MAIN, "main", r"excludepkgs=foo,\n   zant-velmora"), "package.excluded", f"{MAIN}:3: zant-velmora"),
    Story("exclude-of-automatic", in_section(AUTOMATIC, "base", "excludepkgs=zant-velmora-2*"), "package.excluded", "excludepkgs=zant-velmora-2*"),
    Story("exclude-of-repository", in_section(dnf.REPO_FILE, "quorvane", "excludepkgs=zant-velmora"), "package.excluded", f"{dnf.REPO_FILE}:"),
    Story("hold", "package-minder hold", "hold.held", "exclude=*"),
    Story("include", in_section(MAIN, "main", "includepkgs=foo system-*"), "package.not_included", f"{MAIN}:2: includepkgs=foo system-*"),
    Story("include-of-repository", in_section(dnf.REPO_FILE, "quorvane", "includepkgs=foo"), "package.not_included", "includepkgs=foo"),
    Story("version-lock", f"echo '{PACKAGE}-0:1.0-1.*' >> {LOCKS}", "package.version_locked", f"{PACKAGE}-0:1.0-1.*"),
    Story("version-lock-exclusion", f"echo '!{PACKAGE}-2*' >> {LOCKS}", "package.version_locked", f"!{PACKAGE}-2*"),
    Story("switched-off", f"sed -i s/^enabled=1/enabled=0/ {dnf.REPO_FILE}", "repository.switched_off", "enabled=0"),
    Story("never-asked", f"sed -i s/^metadata_expire=.*/metadata_expire=never/ {dnf.REPO_FILE}", "repository.never_expires", "metadata_expire=never"),
    Story("cache-only", in_section(MAIN, "main", "cacheonly=1"), "repository.cache_only", f"{MAIN}:2: cacheonly=1"),
    Story("security-only", f"sed -i 's/^upgrade_type.*/upgrade_type = security/' {AUTOMATIC}", "upgrades.security_only", "upgrade_type = security"),
    Story("only-told",
          drop_in(SERVICE_DROP_IN, f"[Service]\\nExecStart=\\nExecStart=/usr/bin/dnf-automatic {AUTOMATIC} --timer --no-installupdates\\n"),
          "upgrades.not_applied", "dnf-automatic-install.service"),
    Story("timer-masked", f"systemctl mask --now {dnf.TIMER}", "timer.masked", "LoadState=masked"),
    Story("timer-stopped", f"systemctl stop {dnf.TIMER}", "timer.stopped", "ActiveState=inactive"),
    Story("timer-in-the-past",
          drop_in(TIMER_DROP_IN.replace("local", "zz-local"), "[Timer]\\nOnCalendar=\\nOnCalendar=2020-01-01 03:00\\n") + f" && systemctl restart {dnf.TIMER}",
          "timer.elapsed", "zz-local.conf", tells_before=True),
    Story("service-masked", f"systemctl mask {SERVICE}", "service.masked", "LoadState=masked"),
    Story("service-replaced", drop_in(SERVICE_DROP_IN, "[Service]\\nExecStart=\\nExecStart=/bin/true\\n"), "service.replaced", "/bin/true"),
    Story("service-condition", drop_in(SERVICE_DROP_IN, "[Unit]\\nConditionPathExists=/nowhere\\n"), "service.condition_unmet", "ConditionPathExists=/nowhere"),
    Story("repository-removed", f"rm {dnf.REPO_FILE}", "repository.not_registered", "no quorvane"),
    Story("repository-broken", f"echo nonsense >> {dnf.REPO_FILE}", "dnf.configuration_broken", dnf.REPO_FILE),
    Story("repository-without-address", f"sed -i /^baseurl/d {dnf.REPO_FILE}", "dnf.configuration_broken", "no baseurl"),
    Story("options-that-exclude-each-other", f"sed -i '/^\\[quorvane\\]/a minrate=10M' {dnf.REPO_FILE}", "dnf.configuration_broken", "Maximum download speed"),
    Story("options-of-all-that-exclude-those-of-one", f"sed -i '/^\\[main\\]/a minrate=10M' {MAIN}", "dnf.configuration_broken", f"{MAIN}:2: minrate=10M"),
    Story("configuration-broken", f"echo nonsense >> {MAIN}", "dnf.configuration_broken", "Missing '='"),
    Story("automatic-broken", f"echo nonsense >> {AUTOMATIC}", "dnf.configuration_broken", AUTOMATIC),
    Story("other-repository-broken", "printf '[other]\\nname=other\\nbaseurl=file:///nowhere\\n' > /etc/yum.repos.d/other.repo",
          "repository.unreadable", "'other'", repair="rm /etc/yum.repos.d/other.repo"),
    Story("other-repository-preferred", preferred_repository, "repository.outranked", "/etc/yum.repos.d/other.repo:5: priority=10"),
    Story("successor", successor, "package.obsoleted", "zant-successor", is_mended_in_time=True),
    Story("key-forgotten", forget_key, "repository.key_not_imported", "rpm --query gpg-pubkey"),
    Story("unmet", "true", "solver.unmet", "nothing-has-this", tells_before=False,
          new=lambda site: site.repository.publish("2.0", package_tag="Requires: nothing-has-this"),
          repair=lambda site: site.repository.publish("1.0", "zant-provider", package_tag="Provides: nothing-has-this")),
    Story("conflict", conflicting_package, "solver.conflict", "zant-rival", tells_before=False, repair="rpm --erase zant-rival"),
    Story("foreign-signature", "true", "repository.signature_refused", PACKAGE, tells_before=False, new=signed_by_somebody_else, repair=published_again),
    Story("script-fails", "true", "package.script_failed", f"{PACKAGE}-2.0", tells_before=False,
          new=lambda site: site.repository.publish("2.0", package_is_refused_by_its_script="1"),
          repair=lambda site: site.repository.publish("2.1"), version="2.1"),
    Story("no-room", FULL_CACHE, "disk.full", "/var/cache/dnf", repair="umount /var/cache/dnf"),
    Story("read-only", f"mount -t tmpfs tmpfs {FILES} && echo 1.0 > {FILES}/version && mount -o remount,ro {FILES}", "disk.read_only", FILES),
    Story("timer-far", drop_in(TIMER_DROP_IN.replace("local", "zz-local"), "[Timer]\\nOnCalendar=\\nOnCalendar=2099-01-01\\n") + f" && systemctl restart {dnf.TIMER}",
          "timer.far_ahead", "2099-01-01"),
    Story("timer-elsewhere",
          drop_in(TIMER_DROP_IN, "[Timer]\\nUnit=dnf-automatic-notifyonly.service\\n") + f" && systemctl restart {dnf.TIMER}",
          "timer.elsewhere", "Unit=dnf-automatic-notifyonly.service"),
    Story("timer-invalid", drop_in(TIMER_DROP_IN.replace("local", "zz-local"), "[Timer]\\nOnCalendar=\\n") + f"; systemctl restart {dnf.TIMER} || true",
          "timer.invalid", "LoadState=bad-setting"),
    Story("timer-condition", drop_in(TIMER_DROP_IN, "[Unit]\\nConditionPathExists=/nowhere\\n") + f" && systemctl restart {dnf.TIMER}",
          "timer.condition_unmet", "ConditionPathExists=/nowhere"),
    Story("timer-missing", f"rm /usr/lib/systemd/system/{dnf.TIMER} && systemctl stop {dnf.TIMER}; systemctl daemon-reload", "timer.missing", "LoadState=not-found"),
    Story("nobody-keeps-the-timer", nobody_keeps_the_timer, "upgrades.switched_off", "minder.automatic_upgrades=false", repair=package_minder_keeps_the_timer),
    Story("service-invalid", drop_in(SERVICE_DROP_IN, "[Service]\\nExecStart=\\n"), "service.invalid", "LoadState=bad-setting"),
    Story("service-missing", f"rm /usr/lib/systemd/system/{SERVICE} && systemctl daemon-reload", "service.missing", "LoadState=not-found"),
    Story("service-changed", drop_in(SERVICE_DROP_IN, "[Service]\\nExecStartPre=/bin/false\\n"), "service.changed", "local.conf:2: ExecStartPre=/bin/false"),
    Story("service-unprivileged", drop_in(SERVICE_DROP_IN, "[Service]\\nUser=nobody\\n"), "service.unprivileged", "User=nobody"),
    Story("service-confined", drop_in(SERVICE_DROP_IN, "[Service]\\nReadOnlyPaths=/usr\\n"), "service.confined", "ReadOnlyPaths=/usr"),
    Story("program-missing", "chmod 644 /usr/bin/dnf-automatic", "service.program_missing", "not executable"),
    Story("module", module_of_another_repository, "package.in_module", "velmora"),
    Story("plugin", hiding_plugin, "package.hidden", "repoquery", repair=f"sed -i /^pluginpath/d {MAIN}"),
    Story("same-file", package_with_the_same_file, "package.refused_by_rpm", "conflicts with file from package zant-rival", tells_before=False,
          new=lambda site: site.repository.publish("2.0", package_shares_a_file="1"), repair="rpm --erase zant-rival"),
    Story("lock-of-rpm", locked_database, "lock.held", "/var/lib/rpm/.rpm.lock"),
    Story("lock-of-dnf", "echo nonsense > /var/cache/dnf/metadata_lock.pid", "lock.held", "/var/cache/dnf/metadata_lock.pid: nonsense"),
    Story("passed-over", upgrade_of_another_package_that_excludes_ours, "package.passed_over", "dnf-automatic with this host's configuration"),
    Story("installed-beside", in_section(MAIN, "main", "installonlypkgs=foo zant-velmora"), "package.installed_beside", f"{MAIN}:2: installonlypkgs=foo"),
    Story("little-room", NEARLY_FULL_CACHE, "disk.low", "/var/cache/dnf: 8192 bytes are free", repair="umount /var/cache/dnf"),
    Story("other-package-unsigned", lambda site: upgrade_of_another_package(site, "gpgcheck=1"), "repository.signature_refused",
          "zant-rival-2.0-1.noarch.rpm is not signed"),
    Story("other-package-with-a-foreign-file", upgrade_of_another_package_with_a_foreign_file, "package.refused_by_rpm",
          "conflicts with file from package zant-provider", tells_before=False, repair="rpm --erase zant-provider"),
    Story("plugin-fails", failing_plugin, "run.failed", "no room for a snapshot", tells_before=False, repair=f"sed -i /^pluginpath/d {MAIN}"),
    Story("dnf-damaged", f"echo ')' >> {AUTOMATIC_MODULE}", "tools.failed", "SyntaxError", repair=f"sed -i '$d' {AUTOMATIC_MODULE}"),
    Story("dnf-waits", "mkfifo /etc/yum.repos.d/other.repo", "tools.time_limit", "no answer within 8 seconds", night=5,
          repair=f"rm /etc/yum.repos.d/other.repo && systemctl stop {SERVICE}"),
    Story("repository-elsewhere", repository_of_somebody_else, "repository.out_of_step", "baseurl=http://repo.velmora.test/copy/"),
    Story("never-refreshed", "rm --recursive --force /var/cache/dnf/quorvane*", "repository.never_refreshed", "no repomd.xml", is_mended_in_time=True),
    Story("removed", f"rpm --erase {PACKAGE}", "package.not_installed", "rpm --query"),
)


class Shared:
    """One host for many stories; a new one after a story that went wrong."""

    def __init__(self, open_site):
        self._open_site, self._site, self._is_clean = open_site, None, False

    def take(self):
        if not self._is_clean:
            if self._site is not None:
                self._site.__exit__(None, None, None)
            self._site = self._open_site()
            self._site.minder.once()
            self._site.host.run(IMPATIENT)
            _night(self._site)
            self._site.host.run("mkdir /root/kept && cp --archive /etc/dnf /etc/yum.repos.d /root/kept")
        self._is_clean = False
        return self._site

    def give_back(self, site):
        site.repository.withdraw_all_but("1.0")
        site.host.copy_in(build_package(PACKAGE, "1.0"), "/root/package.rpm")
        site.host.run(
            f"umount /var/cache/dnf {FILES} 2> /dev/null; rm --recursive --force /srv/other /etc/yum.repos.d/other.repo;"
            f"rpm --upgrade --oldpackage --force --nosignature /root/package.rpm; rpm --erase zant-rival 2> /dev/null; rpm --erase zant-provider 2> /dev/null;"
            f"rm --force {SERVICE_DROP_IN} {TIMER_DROP_IN} {TIMER_DROP_IN.replace('local', 'zz-local')}; chmod 755 /usr/bin/dnf-automatic;"
            "rm --recursive --force /var/cache/dnf/*; : > /var/log/dnf.rpm.log;"
            "cd /etc && rm --recursive dnf yum.repos.d && cp --archive /root/kept/* /etc;"
            f"systemctl daemon-reload; systemctl reset-failed; package-minder once && dnf --quiet makecache && {NEXT_NIGHT}"
        )
        assert why(site)["causes"] == []
        self._is_clean = True


@pytest.fixture(scope="module")
def shared(open_shared_dnf_site):
    return Shared(open_shared_dnf_site)


def _night(site, seconds=90):
    site.host.run(f"night={seconds}; {NEXT_NIGHT}", check=False)


def _do(site, action):
    if callable(action):
        action(site)
    else:
        site.host.run(action)


def why(site, options=""):
    result = site.minder.run(f"why --json {options}", check=False)
    return documents.parse(result.output)


def check(site):
    """Codes, without what is true of every site here: its key comes from an http address."""
    found = documents.parse(site.minder.run("check --json", check=False).output)["findings"]
    return [finding["code"] for finding in found if finding["code"] != "repository.key_address_unprotected"]


def causes(site, options=""):
    return {cause["code"]: cause for cause in why(site, options)["causes"]}


@pytest.mark.parametrize("story", STORIES, ids=lambda story: story.name)
def test_the_cause_is_named_and_its_remedy_brings_the_upgrade(shared, story):
    site = shared.take()
    assert why(site)["causes"] == []
    _do(site, story.breaks)
    if story.tells_before:
        assert story.code in causes(site), "it is told before there is a new version"

    if story.is_mended_in_time:
        site.host.run(causes(site)[story.code]["remedy"])
        site.repository.publish("2.0")
        _night(site)
        assert site.installed_version() == "2.0"
        shared.give_back(site)
        return

    (story.new or (lambda one: one.repository.publish("2.0")))(site)
    _night(site, story.night)
    assert site.installed_version() in ("1.0", ""), "the host's own services do not bring the new version"

    report = why(site)
    assert report["verdict"] in ("blocked", "cannot_be_told")
    found = {cause["code"]: cause for cause in report["causes"]}
    assert story.code in found, report["causes"]
    cause = found[story.code]
    assert story.evidence in cause["evidence"]
    if story.repair is None:
        assert not cause["remedy"][0].isupper(), f"a command to type: {cause['remedy']}"
        site.host.run(cause["remedy"])
    else:
        assert cause["remedy"][0].isupper(), f"advice: {cause['remedy']}"
        _do(site, story.repair)
    _night(site)

    assert site.installed_version() == story.version, why(site)["causes"]
    shared.give_back(site)


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_a_healthy_host_has_no_cause(open_dnf_site, image):
    site = open_dnf_site(image)
    assert check(site) == []
    site.minder.once()
    assert check(site) == ["units.not_enabled"], "cycles start the timer and do not enable it"
    site.host.run(IMPATIENT)
    before = [site.host.snapshot(directory) for directory in ("/var/cache/dnf", "/var/lib/dnf", "/var/lib/rpm", "/var/log")]

    fresh = why(site)
    assert (fresh["verdict"], fresh["causes"], fresh["installed"], fresh["offered"]) == ("up_to_date", [], "1.0-1", "1.0-1")
    assert (why(site, "--online")["verdict"], why(site, "--online")["causes"]) == ("up_to_date", [])
    for directory, kept in zip(("/var/cache/dnf", "/var/lib/dnf", "/var/lib/rpm", "/var/log"), before):
        written = [path for path in snapshot.differences(kept, site.host.snapshot(directory)) if "/journal/" not in path and "-shm " not in path]
        assert written == [], "nothing of the host's is written"

    _night(site)
    assert why(site)["causes"] == [], "after a run"
    site.repository.publish("2.0")
    waiting = why(site, "--online")
    assert (waiting["verdict"], waiting["offered"], waiting["causes"]) == ("waiting", "2.0-1", [])
    assert waiting["next_run"]
    with site.server.gone():
        _night(site)
        assert why(site)["causes"] == [], "the server was away in one night"
    _night(site)
    upgraded = why(site)
    assert (upgraded["verdict"], upgraded["installed"], upgraded["causes"]) == ("up_to_date", "2.0-1", [])
    for _ in range(7):
        # Nights follow each other faster here than systemd starts one service.
        site.host.run(f"systemctl reset-failed {SERVICE}", check=False)
        _night(site)
    assert why(site)["causes"] == [], "a week without anything new"


def damaged_index(site):
    (site.repository.location.resolve() / "repodata" / "repomd.xml").write_text("nonsense")


def ask_for_password(site):
    site.server.ask_for_password("somebody", "secret")


def faulty_server(site):
    (site.web_root / FAULT_FILE).touch()


ROADS = (
    ("name", f"sed -i s/repo.velmora.test/nobody.invalid/ {dnf.REPO_FILE}", "server.name_unknown"),
    ("closed", f"sed -i s,repo.velmora.test,repo.velmora.test:9, {dnf.REPO_FILE}", "server.unreachable"),
    ("nothing-there", f"sed -i s,systemd-production,elsewhere, {dnf.REPO_FILE}", "repository.not_found"),
    ("proxy", in_section(dnf.REPO_FILE, "quorvane", "proxy=http://repo.velmora.test:9"), "server.unreachable"),
    ("name-of-proxy", in_section(dnf.REPO_FILE, "quorvane", "proxy=http://nobody.invalid:3128"), "proxy.unreachable"),
    ("no-https", f"sed -i s,^baseurl=http:,baseurl=https:, {dnf.REPO_FILE}", "server.unreachable"),
    ("no-tls", f"sed -i s,^baseurl=http://repo.velmora.test,baseurl=https://repo.velmora.test:80, {dnf.REPO_FILE}", "server.tls_failed"),
    ("no-authorities",
     f"sed -i s,^baseurl=http://repo.velmora.test,baseurl=https://repo.velmora.test:80, {dnf.REPO_FILE} && " + in_section(dnf.REPO_FILE, "quorvane", "sslcacert=/nowhere"),
     "server.certificate_refused"),
    ("password", ask_for_password, "repository.access_denied"),
    ("fault", faulty_server, "server.failing"),
    ("index", damaged_index, "repository.inconsistent"),
)


@pytest.mark.parametrize(("breaks", "code"), [row[1:] for row in ROADS], ids=[row[0] for row in ROADS])
def test_the_road_to_the_repository_is_proved_when_asked(shared, breaks, code):
    site = shared.take()
    kept = site.host.read(dnf.REPO_FILE)
    site.repository.publish("2.0")
    _do(site, breaks)

    report = why(site, "--online")

    assert report["verdict"] in ("blocked", "cannot_be_told")
    assert code in [cause["code"] for cause in report["causes"]], report["causes"]
    _night(site)
    assert site.installed_version() == "1.0"
    for name in (PASSWORD_FILE, FAULT_FILE):
        (site.web_root / name).unlink(missing_ok=True)
    site.host.write(dnf.REPO_FILE, kept)
    shared.give_back(site)


def test_a_server_that_was_silent_for_a_night_is_named_when_it_is_asked(shared):
    site = shared.take()
    # It would try for minutes.
    site.host.run(in_section(MAIN, "main", r"timeout=2\nretries=1"))
    site.repository.publish("2.0")
    with site.server.silent():
        report = why(site, "--online")
        _night(site)
        assert site.installed_version() == "1.0"

    assert report["verdict"] == "cannot_be_told"
    silence = {cause["code"]: cause for cause in report["causes"]}["server.silent"]
    assert "Curl error (28)" in silence["evidence"]
    assert silence["remedy"][0].isupper()
    _night(site)
    assert site.installed_version() == "2.0"
    shared.give_back(site)


def test_a_host_without_systemd_upgrades_nothing_by_itself(open_dnf_site):
    site = open_dnf_site("el-bookworm-sysvinit")
    site.minder.once(check=False)
    site.repository.publish("2.0")

    report = why(site)

    assert report["verdict"] == "blocked"
    cause = {each["code"]: each for each in report["causes"]}["timer.no_systemd"]
    assert (cause["evidence"], cause["remedy"]) == ("/proc/1/comm is not systemd", "Run the host with systemd")
    # All else is there: what the timer would start brings the version.
    assert [each["code"] for each in report["causes"]] == ["timer.no_systemd"]
    site.host.run(f"{IMPATIENT} && rm --recursive --force /var/cache/dnf/quorvane* && dnf-automatic {AUTOMATIC} --installupdates")
    assert site.installed_version() == "2.0"


def test_a_second_address_is_tried_as_a_run_does(shared):
    site = shared.take()
    kept = site.host.read(dnf.REPO_FILE)
    site.repository.publish("2.0")
    site.host.run(f"sed -i 's,^baseurl=,baseurl=http://repo.velmora.test/nothing/\\n ,' {dnf.REPO_FILE}")

    report = why(site, "--online")

    assert (report["offered"], [cause["code"] for cause in report["causes"]]) == ("2.0-1", ["repository.out_of_step"])
    _night(site)
    assert site.installed_version() == "2.0"
    site.host.write(dnf.REPO_FILE, kept)
    shared.give_back(site)


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_an_rpm_that_verifies_packages_itself_is_no_cause(open_dnf_site, image):
    site = open_dnf_site(image)
    site.minder.once()
    site.host.run(f"{IMPATIENT}; echo '%_pkgverify_level all' >> /etc/rpm/macros")
    site.repository.publish("2.0")

    report = why(site, "--online")

    assert (report["verdict"], report["causes"]) == ("waiting", [])
    _night(site)
    assert site.installed_version() == "2.0"


def test_a_certificate_of_an_unknown_authority_is_named(open_dnf_site):
    site = open_dnf_site(https=True)
    site.minder.once()
    site.host.run(IMPATIENT)
    assert why(site, "--online")["causes"] == []
    site.host.run("rm /usr/local/share/ca-certificates/* && update-ca-certificates --fresh")

    report = why(site, "--online")

    assert (report["verdict"], [cause["code"] for cause in report["causes"]]) == ("blocked", ["server.certificate_refused"])
    site.repository.publish("2.0")
    _night(site)
    assert site.installed_version() == "1.0"


def test_what_another_repository_may_have_is_unknown_until_it_was_asked(shared):
    site = shared.take()
    directory = site.web_root / "other"
    directory.mkdir()
    provider = build_package("zant-provider", "1.0", package_tag="Provides: nothing-has-this")
    (directory / provider.name).write_bytes(provider.read_bytes())
    site.host.copy_in(provider, f"/srv/other/{provider.name}")
    site.host.run("createrepo_c --quiet /srv/other")
    shutil.copytree(f"{site.host.root}/srv/other/repodata", directory / "repodata")
    site.repository.publish("2.0", package_tag="Requires: nothing-has-this")
    site.host.run("rm --recursive --force /var/cache/dnf/quorvane*; dnf --quiet makecache")
    site.host.write("/etc/yum.repos.d/other.repo", "[other]\nname=other\nbaseurl=http://repo.velmora.test/other/\ngpgcheck=0\n")

    cause = causes(site)["solver.unknown"]

    assert "nothing-has-this" in cause["evidence"]
    site.host.run(cause["remedy"])
    assert why(site)["verdict"] == "waiting"
    _night(site)
    assert site.installed_version() == "2.0"
    shutil.rmtree(directory)
    shared.give_back(site)


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_an_upgrade_at_work_is_no_cause(open_dnf_site, image):
    site = open_dnf_site(image)
    site.minder.once()
    site.repository.publish("2.0", package_takes_seconds="20")
    site.host.run(f"rm --recursive --force /var/cache/dnf/quorvane*; systemctl start --no-block {SERVICE}")
    wait_until(lambda: site.host.run("pgrep --exact sleep", check=False).status, "the script of the new version", expect=0, timeout=60)

    seen = [why(site), why(site, "--online")]

    assert site.host.succeeds("pgrep --exact sleep"), "the run is still going on"
    assert [report["causes"] for report in seen] == [[], []]
    site.wait_for_version("2.0")
    wait_until(lambda: site.host.run(f"systemctl is-active {SERVICE}", check=False).output.strip(), "the end of the run", expect="inactive")
    assert (why(site)["verdict"], why(site)["causes"]) == ("up_to_date", [])


# All that tells the time of the last nights, as after a week in which the host was off.
WEEK_LATER = (
    f"systemctl stop {dnf.TIMER};"
    "find /var/cache/dnf /var/lib/dnf /var/lib/systemd/timers /var/log -type f -not -path '*/journal/*' -exec touch --date='8 days ago' {} + ;"
    f"touch --date='8 days ago' /var/lib/systemd/timers/stamp-{dnf.TIMER}; systemctl start {dnf.TIMER}"
)


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_a_week_without_power_is_no_cause(open_dnf_site, image):
    site = open_dnf_site(image)
    site.minder.once()
    site.host.run(IMPATIENT)
    _night(site)
    site.host.run(WEEK_LATER)

    back = why(site)
    assert (back["verdict"], back["causes"]) == ("up_to_date", [])
    assert back["next_run"]
    site.repository.publish("2.0")
    assert (why(site, "--online")["verdict"], why(site, "--online")["causes"]) == ("waiting", [])
    _night(site)
    assert site.installed_version() == "2.0"
    assert (why(site)["verdict"], why(site)["causes"]) == ("up_to_date", [])


def test_what_is_known_of_the_repository_is_too_old_after_a_week_in_which_nothing_asked_it(shared):
    site = shared.take()
    site.repository.publish("2.0")
    site.host.run(f"systemctl stop {dnf.TIMER}")
    _night(site)
    assert site.installed_version() == "1.0"
    site.host.run("find /var/cache/dnf -path '*/repodata/*' -exec touch --date='8 days ago' {} +")

    found = causes(site)

    assert sorted(found) == ["repository.not_refreshed", "timer.stopped"]
    assert "/var/cache/dnf/quorvane-*/repodata/repomd.xml" in found["repository.not_refreshed"]["evidence"]
    site.host.run(found["repository.not_refreshed"]["remedy"])
    assert sorted(causes(site)) == ["timer.stopped"]
    site.host.run(found["timer.stopped"]["remedy"])
    _night(site)
    assert site.installed_version() == "2.0"
    shared.give_back(site)


def test_the_verdict_is_found_without_any_network(shared):
    site = shared.take()
    answer = documents.parse(site.host.output_of("unshare --net package-minder why --json"))

    assert (answer["verdict"], answer["causes"]) == ("up_to_date", [])
    shared.give_back(site)


@pytest.mark.parametrize("command", ["status", "status --monitoring", "check", "plan", "why", "why --online", "check --online"])
def test_no_report_waits_for_a_silent_server(shared, command):
    site = shared.take()
    limit = 30 if "--online" in command else 10
    site.host.run("find /var/cache/dnf -path '*/repodata/*' -exec touch --date='25 hours ago' {} +")
    with site.server.silent():
        begin = time.monotonic()
        site.minder.run(command, check=False)
        took = time.monotonic() - begin

    assert took < limit
    shared.give_back(site)
