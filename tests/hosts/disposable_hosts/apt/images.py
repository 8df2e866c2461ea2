"""The images of APT hosts."""

from disposable_hosts.image import Recipe

SYSTEMD = ("systemd", "systemd-sysv", "dbus")
SYSVINIT = ("sysvinit-core", "initscripts", "cron")
# What a Debian server has anyway; openssl serves update-ca-certificates for https with a test's own authority.
SERVER = ("unattended-upgrades", "apt-utils", "procps", "ca-certificates", "openssl")

# A host has no mirror: this copy lets a test remove unattended-upgrades and publish it again.
KEEP_UNATTENDED_UPGRADES = (
    'mkdir -p "$1/srv/packages" && chroot "$1" sh -c "cd /srv/packages && apt-get -qq download unattended-upgrades"'
)


def _recipe(name, release, init):
    return Recipe(name, release, (*init, *SERVER), (KEEP_UNATTENDED_UPGRADES,))


RECIPES = (
    _recipe("bullseye", "bullseye", SYSTEMD),
    _recipe("bookworm", "bookworm", SYSTEMD),
    _recipe("trixie", "trixie", SYSTEMD),
    _recipe("bookworm-sysvinit", "bookworm", SYSVINIT),
)
