"""package-minder check finds what will keep it from working, with a remedy each."""

import shlex

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.package_minder import STAGING
from disposable_hosts.signing_key import SigningKey

FINDINGS = 1
LOCAL, PIN = "/etc/apt/apt.conf.d/99local", "/etc/apt/preferences.d/local"


class KeyOfLongAgo(SigningKey):
    """A primary key that certifies and has expired, with a signing subkey that never does."""

    def __init__(self, home):
        self.home = home
        self.home.mkdir(mode=0o700)
        self.owner = "Key of long ago <old@velmora.test>"
        long_ago = ("--faked-system-time", "20200101T000000!")
        self._gpg(*long_ago, "--quick-generate-key", self.owner, "ed25519", "cert", "1y")
        listing = self._gpg("--list-keys", "--with-colons", self.owner).decode()
        fingerprint = next(line.split(":")[9] for line in listing.splitlines() if line.startswith("fpr"))
        self._gpg(*long_ago, "--quick-add-key", fingerprint, "ed25519", "sign", "never")


pytestmark = pytest.mark.xdist_group("check")


@pytest.fixture(scope="module")
def site(open_shared_site):
    """One site for all tests here: each puts back what it changed."""
    return open_shared_site()


def findings(site, settings="", options=""):
    """The codes, after checking that nothing was changed and that each has all its parts."""
    before = site.host.snapshot()
    result = site.minder.run(f"{settings} check --json {options}", check=False)
    assert site.differences_since(before) == []
    found = documents.parse(result.output)["findings"]
    assert result.status == (FINDINGS if found else 0), str(result)
    assert all(finding["code"] and finding["where"] and finding["message"] and finding["remedy"] for finding in found)
    return [finding["code"] for finding in found]


def test_a_good_host_has_no_findings(site):
    assert findings(site) == []
    page = site.minder.run("check")
    assert "Nothing found that needs to be put right." in page.output


@pytest.mark.parametrize(
    "settings, code",
    [
        ("--set package.apt.repo.colour=blue", "settings.unknown_key"),
        ("--set minder.interval=soon", "settings.bad_value"),
        ("--set 'package.apt.repo.origins_pattern=x=y=z'", "settings.bad_value"),
        ("--set 'package.dnf.repo.gpg_key=https://a/$(reboot)'", "settings.bad_value"),
        ("--set 'package.apt.repo.url=${package.apt.repo.url}'", "settings.circular_reference"),
        ("--set 'package.apt.upgrade_timer.on_calendar=Mon 27:00'", "schedule.bad_calendar"),
        ("--set 'package.apt.upgrade_timer.randomized_delay=a while'", "schedule.bad_delay"),
        ("--set minder.metrics_file=/srv/nowhere/m.prom", "metrics.directory_missing"),
        ("--set minder.staging_directory=/srv/nothing", "staging.missing"),
    ],
)
def test_what_is_wrong_with_the_settings_is_found(site, settings, code):
    assert code in findings(site, settings)


@pytest.mark.parametrize(
    "spoil, mend, code",
    [
        (f"touch {STAGING}/config-files/apt/20auto-upgrade", f"rm {STAGING}/config-files/apt/20auto-upgrade", "staging.foreign_file"),
        (f"chmod 0777 {STAGING}/keyrings", f"chmod 0755 {STAGING}/keyrings", "staging.writable_by_others"),
        (f"mv {STAGING}/config-files/apt/20auto-upgrades /root/", f"mv /root/20auto-upgrades {STAGING}/config-files/apt/", "staging.file_missing"),
        ("systemctl mask apt-daily.timer", "systemctl unmask apt-daily.timer", "units.masked"),
        ("mount --bind /etc/apt/sources.list.d /etc/apt/sources.list.d && mount -o remount,ro,bind /etc/apt/sources.list.d",
         "umount /etc/apt/sources.list.d", "host.read_only"),
        ("mv /usr/bin/apt-mark /usr/bin/apt-mark.away", "mv /usr/bin/apt-mark.away /usr/bin/apt-mark", "tools.missing"),
        ("mv /etc/os-release /etc/saved", "mv /etc/saved /etc/os-release", "host.unsupported"),
    ],
)
def test_what_is_wrong_with_the_host_is_found(site, spoil, mend, code):
    site.host.run(spoil)
    try:
        assert findings(site) == [code]
    finally:
        site.host.run(mend)


def setting(text):
    return f"printf '%s\\n' {shlex.quote(text)} > {LOCAL}"


# No cycle has run: the repository is not registered, and nothing is known of it.
CONFIGURED = [
    ("package.pinned", f"printf 'Package: zant-velmora\nPin: version 1.*\nPin-Priority: 1001\n' > {PIN}", f"{PIN}:1: "),
    ("package.pinned", f"printf 'Package: *\nPin: origin repo.velmora.test\nPin-Priority: -1\n' > {PIN}", f"{PIN}:1: "),
    ("package.blacklisted", setting('Unattended-Upgrade::Package-Blacklist { "zant-"; };'), f"{LOCAL}:1: "),
    ("package.not_whitelisted", setting('Unattended-Upgrade::Package-Whitelist {"bash";};\nUnattended-Upgrade::Package-Whitelist-Strict "true";'), f"{LOCAL}:1: "),
    ("patterns.unreadable", setting('Unattended-Upgrade::Package-Blacklist:: "*zant";'), f"{LOCAL}:1: "),
    ("origin.not_allowed", setting("#clear Unattended-Upgrade::Origins-Pattern;"), "the repository: o="),
    ("periodic.off", setting('APT::Periodic::Enable "0";'), f'{LOCAL}:1: APT::Periodic::Enable "0";'),
    ("periodic.upgrades_off", setting('APT::Periodic::Unattended-Upgrade "0";'), f"{LOCAL}:1: "),
    ("periodic.unreadable", setting('APT::Periodic::Update-Package-Lists "1.5";'), f"{LOCAL}:1: "),
    ("upgrades.not_today", setting('Unattended-Upgrade::Update-Days {"Never";};'), f"{LOCAL}:1: "),
    ("upgrades.on_shutdown_only", setting('Unattended-Upgrade::InstallOnShutdown "true";'), f"{LOCAL}:1: "),
    ("apt.configuration_broken", setting("this is {not good"), "apt-config dump: "),
]


def test_what_the_first_cycle_sets_right_is_no_finding(site):
    """Switches in a file that sorts before the one which a cycle writes, and a timer that a cycle starts."""
    site.host.write("/etc/apt/apt.conf.d/05early", 'APT::Periodic::Enable "0";\nAPT::Periodic::Unattended-Upgrade "0";\n')
    site.host.run("systemctl disable --now apt-daily.timer")
    try:
        assert findings(site) == ["units.not_enabled"]
    finally:
        site.host.run("rm /etc/apt/apt.conf.d/05early && systemctl enable --now apt-daily.timer")


@pytest.mark.parametrize("code, spoil, where", CONFIGURED, ids=[f"{row[0]}-{number}" for number, row in enumerate(CONFIGURED)])
def test_what_will_stop_upgrades_is_found_before_the_first_cycle(site, code, spoil, where):
    site.host.run(spoil)
    try:
        assert findings(site) == [code]
        found = documents.parse(site.minder.run("check --json", check=False).output)["findings"][0]
        assert found["where"].startswith(where), found
        site.host.run(found["remedy"])
        assert findings(site) == []
    finally:
        site.host.run(f"rm -f {LOCAL}* {PIN} /etc/apt/apt.conf.d/zzz-zant-velmora")


def test_a_masked_timer_is_found_once_before_the_first_cycle(site):
    site.host.run("systemctl mask --now apt-daily-upgrade.timer")
    try:
        assert findings(site) == ["units.masked"]
    finally:
        site.host.run("systemctl unmask apt-daily-upgrade.timer && systemctl start apt-daily-upgrade.timer")


def test_the_road_to_the_repository_is_proved_before_the_first_cycle(site):
    assert findings(site, options="--online") == []
    with site.server.gone():
        assert findings(site, options="--online") == ["server.unreachable"]


def test_an_armoured_keyring_is_found(site):
    keyring = f"{STAGING}/keyrings/zant-velmora.gpg"
    site.host.run(f"cp {keyring} /root/keyring && printf -- '-----BEGIN PGP PUBLIC KEY BLOCK-----\\n' > {keyring}")

    assert "keyring.armoured" in findings(site)
    site.host.run(f"cp /root/keyring {keyring}")


@pytest.mark.parametrize(
    "options, code", [("[signed-by=/usr/share/keyrings/x.gpg] ", "repository.listed_with_another_key"), ("", "repository.listed_twice")]
)
def test_the_same_repository_in_another_list_is_found(site, options, code):
    site.host.write("/etc/apt/sources.list.d/other.list", f"deb {options}{site.repository_url().rstrip('/')} systemd-production main\n")

    assert findings(site) == [code]
    site.host.remove("/etc/apt/sources.list.d/other.list")


def test_a_schedule_without_systemd_is_found(open_site):
    site = open_site("bookworm-sysvinit")

    assert "schedule.no_systemd" in findings(site, f"--set {apt.DELAY_KEY}=1h")


def test_the_keys_are_listed_with_their_names_and_without_gpg(site):
    site.host.run("test ! -e /usr/bin/gpg || mv /usr/bin/gpg /root/gpg")
    try:
        seen = documents.parse(site.minder.run("check --json").output)
        page = site.minder.run("check").output
    finally:
        site.host.run("test ! -e /root/gpg || mv /root/gpg /usr/bin/gpg")

    assert [key["user_names"] for key in seen["keys"]] == [["Quorvane test repository <repository@velmora.test>"]]
    assert f"Trusted key {seen['keys'][0]['fingerprint']} (EdDSA 255, created " in page
    assert seen["unchecked"] == []


def test_a_temporary_directory_with_a_quote_in_its_name_runs_nothing(site):
    site.host.run("mkdir -p /tmp/fake && printf '#!/bin/sh\\nexit 0\\n' > /tmp/fake/gpg && chmod +x /tmp/fake/gpg")
    site.host.run("""mkdir -p "/tmp/q';touch pwned;'" """)

    site.host.run("""cd / && TMPDIR="/tmp/q';touch pwned;'" PATH=/tmp/fake:$PATH package-minder check""", check=False)

    assert not site.host.succeeds("ls -d /pwned* /root/pwned* /tmp/pwned* 2> /dev/null | grep .")
    site.host.run("rm -r /tmp/fake /tmp/q*")


def test_a_subkey_of_an_expired_primary_key_is_refused_as_apt_refuses_it(site, tmp_path):
    saved = site.host.output_of(f"base64 -w0 {STAGING}/keyrings/zant-velmora.gpg")
    with KeyOfLongAgo(tmp_path / "old") as old:
        site.host.write(f"{STAGING}/keyrings/zant-velmora.gpg", old.public_key())

    assert findings(site) == ["keyring.key_expired"]
    site.host.run(f"echo {saved} | base64 -d > {STAGING}/keyrings/zant-velmora.gpg")


def test_what_stops_upgrades_is_found_after_the_first_cycle_too(site):
    """The last test here: the host is set up afterwards."""
    site.minder.once()
    assert findings(site) == []

    site.host.run(f"printf 'Package: zant-velmora\nPin: version 1.*\nPin-Priority: 1001\n' > {PIN}")
    assert findings(site) == ["package.pinned"]
    site.host.run(f"rm {PIN}")
