"""The images of DNF hosts: a Debian with dnf and rpm, made like an EL host where that matters.

No mirror of an EL distribution is needed: what decides is dnf, rpm and systemd,
and those are the very programs.
"""

from pathlib import Path

from disposable_hosts.image import Recipe

SPECS = Path(__file__).with_name("specs")

SYSTEMD = ("systemd", "systemd-sysv", "dbus")
SYSVINIT = ("sysvinit-core", "initscripts")
# curl is what rpm fetches keys with; createrepo-c, file and gpg-agent serve the steps below.
SERVER = (
    "dnf", "dnf-plugins-core", "python3-dnf", "rpm", "createrepo-c", "gnupg", "gpg-agent", "curl",
    "file", "ca-certificates", "procps", "iproute2",
)

OS_RELEASE = """\
NAME="Test Enterprise Linux"
ID="testel"
ID_LIKE="rhel fedora"
VERSION_ID="9.4"
PRETTY_NAME="Test Enterprise Linux 9.4"
"""

# Where the host's own distribution comes from. It lies on the host's disk: a host has no mirror.
DISTRIBUTION = "/srv/distribution"
DISTRIBUTION_REPO = f"""\
[distribution]
name=Test Enterprise Linux
baseurl=file://{DISTRIBUTION}
enabled=1
gpgcheck=0
"""


def _write(path, content):
    return f"mkdir -p \"$1$(dirname {path})\" && rm -f \"$1{path}\" && cat > \"$1{path}\" <<'END_OF_FILE'\n{content}END_OF_FILE"


def _in_image(command):
    return f"chroot \"$1\" bash -ec '{command}'"


def _build_package(name):
    return (
        _write(f"/root/{name}.spec", (SPECS / f"{name}.spec").read_text()),
        _in_image(f'rpmbuild --quiet -bb --define "_rpmdir {DISTRIBUTION}" /root/{name}.spec && rm /root/{name}.spec'),
    )


LIKE_EL = (
    _write("/etc/os-release", OS_RELEASE),
    # On EL, sh is bash, and libraries are in /usr/lib64; Debian's rpm keeps its database in the home directory.
    _in_image("ln -sf bash /usr/bin/sh"),
    _in_image("echo /usr/lib64 > /etc/ld.so.conf.d/el.conf && mkdir /usr/share/licenses"),
    _write("/etc/rpm/macros", "%_dbpath /var/lib/rpm\n%__gpg /usr/bin/gpg\n"),
    *_build_package("system-release"),
    *_build_package("dnf-automatic"),
    _in_image(f"rm -r /root/rpmbuild && createrepo_c --quiet {DISTRIBUTION}"),
    _write("/etc/yum.repos.d/distribution.repo", DISTRIBUTION_REPO),
    # EL's settings of dnf; those of dnf-automatic come with its package, and the plugin that keeps
    # a local repository of everything installed is nothing that EL switches on.
    _in_image("mv /etc/dnf/dnf-strict.conf /etc/dnf/dnf.conf && rm /etc/dnf/automatic.conf"),
    _in_image('sed -i "s/^enabled *=.*/enabled = false/" /etc/dnf/plugins/local.conf'),
    _in_image("dnf --quiet --assumeyes --releasever=9 install system-release && dnf --quiet clean all"),
)


def _recipe(name, release, *more_packages, init=SYSTEMD):
    return Recipe(name, release, (*init, *SERVER, *more_packages), LIKE_EL)


RECIPES = (
    _recipe("el-bookworm", "bookworm"),
    _recipe("el-trixie", "trixie", "python3-systemd"),
    # As in a container that has a service of its own instead of an init.
    _recipe("el-bookworm-sysvinit", "bookworm", init=SYSVINIT),
)
