"""Runs host_cycle on disposable hosts that are in step: host_benchmark.py BUILD_DIRECTORY ROUNDS."""

import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "hosts"))

# pylint: disable=wrong-import-position
from disposable_hosts import bundle as bundles  # noqa: E402
from disposable_hosts.apt.site import AptSite  # noqa: E402
from disposable_hosts.dnf.repository import KEY_ALGORITHM as DNF_KEY_ALGORITHM  # noqa: E402
from disposable_hosts.dnf.site import DnfSite  # noqa: E402
from disposable_hosts.signing_key import SigningKey  # noqa: E402

# The program's own libraries and loader, which the host does not have.
LOADER = "/usr/lib/package-minder/ld-linux-x86-64.so.2 --library-path /usr/lib/package-minder"


def measure(image, bundle, program, rounds):
    is_dnf = image.startswith("el-")
    key_options = {"algorithm": DNF_KEY_ALGORITHM} if is_dnf else {}
    make_site = DnfSite if is_dnf else AptSite
    with tempfile.TemporaryDirectory() as directory, SigningKey(pathlib.Path(directory), **key_options) as key:
        with make_site(image, bundle, key) as site:
            site.install_package("1.0")
            site.install_minder()
            site.minder.once()
            return run(site.host, program, rounds, site.settings())


def run(host, program, rounds, settings):
    host.copy_in(program, "/root/host_cycle")
    keys = " ".join(f"'{key}={value}'" for key, value in settings.items() if key.startswith("package."))
    return host.output_of(
        f"chmod +x /root/host_cycle && {LOADER} /root/host_cycle /var/lib/package-minder/staging {rounds} {keys}", timeout=600
    )


def main(build_directory, rounds):
    program = pathlib.Path(build_directory) / "bench" / "host_cycle"
    with tempfile.TemporaryDirectory() as directory:
        bundle = bundles.make(build_directory, pathlib.Path(directory) / "bundle")
        for image in ("bookworm", "el-bookworm"):
            print(f"-- {image}", measure(image, bundle, program, rounds), sep="\n", flush=True)


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]))
