"""Runs host_cycle on a disposable host that is in step: host_benchmark.py BUILD_DIRECTORY ROUNDS."""

import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "hosts"))

# pylint: disable=wrong-import-position
from disposable_hosts import bundle as bundles  # noqa: E402
from disposable_hosts.apt.site import AptSite  # noqa: E402
from disposable_hosts.signing_key import SigningKey  # noqa: E402

# The program's own libraries and loader, which the host does not have.
LOADER = "/usr/lib/package-minder/ld-linux-x86-64.so.2 --library-path /usr/lib/package-minder"


def measure_apt(bundle, key, program, rounds):
    with AptSite("bookworm", bundle, key) as site:
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
        base = pathlib.Path(directory)
        bundle = bundles.make(build_directory, base / "bundle")
        (base / "key").mkdir()
        with SigningKey(base / "key") as key:
            print("-- bookworm, APT", measure_apt(bundle, key, program, rounds), sep="\n")


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]))
