"""A DNF host with zant-velmora on it, the vendor's repository in reach, and package-minder ready to start."""

import shlex

from disposable_hosts.dnf.repository import PACKAGE, DnfRepository
from disposable_hosts.polling import wait_until
from disposable_hosts.site import Schedule, Site

REPOSITORY = "velmora-yum-repo"
CHANNEL = "systemd-production"
KEY = "quorvane-yum-repo.gpg"
REPO_FILE = "/etc/yum.repos.d/quorvane.repo"
TIMER = "dnf-automatic-install.timer"
CONFLICTING_TIMERS = ("dnf-automatic.timer", "dnf-automatic-download.timer", "dnf-automatic-notifyonly.timer")
DROP_INS = f"/etc/systemd/system/{TIMER}.d"
CALENDAR_DROP_IN = f"{DROP_INS}/{TIMER}.on-calendar.conf"
DELAY_DROP_IN = f"{DROP_INS}/{TIMER}.randomized-delay.conf"

CALENDAR_KEY, DELAY_KEY = "package.dnf.upgrade_timer.on_calendar", "package.dnf.upgrade_timer.randomized_delay"
URL_KEY, KEY_URL_KEY = "package.dnf.repo.url", "package.dnf.repo.gpg_key"

# Whole at every moment, unlike what dnf's own tool writes: the service may be reading the file.
ASK_OFTEN = f"sed -i 's/^metadata_expire=.*/metadata_expire=1/' {REPO_FILE}"

# What dnf-automatic's timer would have it do later. It does not look for news twice in a second by itself, nor after
# "dnf clean expire-cache".
UPGRADE = "rm --recursive --force /var/cache/dnf/quorvane* && systemctl start dnf-automatic-install.service"

STOCK_SCHEDULE = Schedule("*-*-* 06:00:00", "1h")
# What stays in /etc after a purge: the settings of dnf-automatic, which stays installed.
RESIDUE_IN_ETC = ["/etc/dnf/automatic.conf"]


class DnfSite(Site):
    timer = TIMER

    def new_repository(self):
        directory = self.web_root / REPOSITORY
        (directory / "repos").mkdir(parents=True)
        (directory / KEY).write_bytes(self._key.public_key(armoured=True))
        return DnfRepository(directory / "repos" / CHANNEL, self._key)

    def base_url(self, **changes):
        return self.url(f"{REPOSITORY}/repos/{CHANNEL}/", **changes)

    def settings(self, changes=None):
        """Settings for this site: upgrades at night, a cycle every second; `changes` replace or add to them."""
        usual = {
            URL_KEY: self.url(f"{REPOSITORY}/repos"), KEY_URL_KEY: self.url(f"{REPOSITORY}/{KEY}"),
            CALENDAR_KEY: "*-*-* 03:00", DELAY_KEY: "15m", "minder.interval": 1,
        }
        return {**usual, **(changes or {})}

    def install_package(self, version, name=PACKAGE):
        """Publishes a version and installs it as the vendor's first installer does: from the file."""
        self.host.copy_in(self.repository.publish(version, name), "/root/package.rpm")
        self.host.run("dnf --quiet --assumeyes --disablerepo='*' install /root/package.rpm && rm /root/package.rpm")

    def install_minder(self, changes=None):
        """Puts package-minder and a settings file onto the host; `changes` as for settings()."""
        self.minder.install(self._bundle)
        self.minder.configure(self.settings(changes))

    def ask_the_repository_often(self):
        """Has dnf look for news in every run instead of once an hour; an option that an administrator may change."""
        self.host.run(ASK_OFTEN)

    def set_option(self, option, value):
        self.host.run(f"dnf --quiet config-manager --setopt=quorvane.{option}={shlex.quote(value)} --save")

    def option(self, name):
        """What the installed repository file says."""
        prefix = f"{name}="
        lines = self.host.run(f"cat {REPO_FILE}", check=False).output.replace(" = ", "=").splitlines()
        return next((line.removeprefix(prefix) for line in lines if line.startswith(prefix)), None)

    def installed_version(self, name=PACKAGE):
        """The version that rpm has, or an empty text."""
        result = self.host.run(f"rpm --query --queryformat '%{{VERSION}}' {shlex.quote(name)}", check=False)
        return result.output if result.status == 0 else ""

    def offered_versions(self):
        """The versions of zant-velmora that dnf sees in the vendor's repository."""
        query = f"dnf repoquery --quiet --repoid quorvane --queryformat '%{{version}}' {PACKAGE}"
        return self.host.run(query, check=False).output.split()

    def is_held(self):
        return self.option("exclude") == "*"

    def imported_keys(self):
        return self.host.run("rpm --query --queryformat '%{SUMMARY}\\n' gpg-pubkey", check=False).output.splitlines()

    def knows_the_key(self):
        return any(self._key.owner in key for key in self.imported_keys())

    def out_of_order(self):
        findings = [f"{path} is missing" for path in (REPO_FILE, CALENDAR_DROP_IN, DELAY_DROP_IN) if not self.host.exists(path)]
        findings += [] if self.knows_the_key() else ["the repository's key is not imported"]
        findings += [f"{PACKAGE} is held"] if self.is_held() else []
        findings += [] if self.is_active(TIMER) else [f"{TIMER} does not run"]
        return findings

    def paths_changed_since(self, before):
        """What is there, gone or different in /etc since an earlier snapshot."""
        after = self.host.snapshot()
        return sorted(path for path in before.keys() | after.keys() if before.get(path) != after.get(path))

    def upgrade_unattended(self):
        """Has dnf-automatic do now what its timer would have it do later."""
        self.host.run(UPGRADE)

    def wait_for_version(self, version, timeout=60):
        wait_until(self.installed_version, "the host to upgrade zant-velmora", expect=version, timeout=timeout)
