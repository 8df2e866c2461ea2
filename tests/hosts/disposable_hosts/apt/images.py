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

# What hooks into every installation on many servers.
HOOKS = ("etckeeper", "git", "needrestart", "apt-listchanges")

# Where a host finds what package-minder's own packages depend on; Debian's archive would offer it to a real one.
DISTRIBUTION = "/srv/distribution"
RUNTIME_LIBRARIES = ("libboost-filesystem1.74.0", "libboost-log1.74.0", "libfmt9", "libpocoutil80")
DEVELOPMENT_LIBRARIES = ("libboost-filesystem-dev", "libboost-log-dev", "libpoco-dev")
COMPILER = ("g++", "make", "cmake", "pkg-config")


def _recipe(name, release, init, *more_packages):
    return Recipe(name, release, (*init, *SERVER, *more_packages), (KEEP_UNATTENDED_UPGRADES,))


def _offer(*packages):
    """Keeps these packages, with all that they need and the image lacks, as the host's distribution."""
    download = f"apt-get -qq --yes --no-install-recommends --download-only -o Dir::Cache::archives={DISTRIBUTION}"
    return (
        f'mkdir -p "$1{DISTRIBUTION}" && chroot "$1" sh -ec "cd {DISTRIBUTION}; {download} install {" ".join(packages)};'
        ' rm -rf lock partial; apt-ftparchive packages . > Packages"',
        f'echo "deb [trusted=yes] file:{DISTRIBUTION} ./" > "$1/etc/apt/sources.list.d/distribution.list"',
    )


RECIPES = (
    _recipe("bullseye", "bullseye", SYSTEMD),
    _recipe("bookworm", "bookworm", SYSTEMD),
    _recipe("trixie", "trixie", SYSTEMD),
    _recipe("bookworm-sysvinit", "bookworm", SYSVINIT),
    _recipe("bookworm-hooks", "bookworm", SYSTEMD, *HOOKS),
    # For package-minder's own packages: a server that has nothing of what they need, and a developer's machine.
    Recipe("bookworm-server", "bookworm", (*SYSTEMD, *SERVER), _offer(*RUNTIME_LIBRARIES)),
    Recipe("bookworm-developer", "bookworm", (*SYSTEMD, "apt-utils", *COMPILER), _offer(*RUNTIME_LIBRARIES, *DEVELOPMENT_LIBRARIES)),
)
