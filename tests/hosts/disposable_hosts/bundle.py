"""The program made independent of the host's libraries.

The program is built on one release and tested on several, none of which has its
libraries. The bundle carries all of them, down to the C library and its loader,
so that the very same build runs everywhere; the commands that it starts use the
host's own.
"""

import os
import re
import shutil
import subprocess
from pathlib import Path

PROGRAM = "usr/sbin/package-minder"
LIBRARIES = "usr/lib/package-minder"
COMPONENTS = ("runtime", "host")


def make(build_directory, target):
    """Installs the build below `target`, a new directory, and makes it self-contained; returns `target`."""
    if not (Path(build_directory) / "CMakeCache.txt").exists():
        raise RuntimeError(
            f"no build in {build_directory}; make one with: cmake --preset release && cmake --build --preset release"
        )
    target = Path(target)
    for component in COMPONENTS:
        subprocess.run(
            ["cmake", "--install", build_directory, "--strip", "--component", component],
            check=True, capture_output=True, env={**os.environ, "DESTDIR": str(target)},
        )
    _collect_libraries(target)
    return target


def _collect_libraries(target):
    program, libraries = target / PROGRAM, target / LIBRARIES
    libraries.mkdir(parents=True, exist_ok=True)
    own = list((target / "usr" / "lib").rglob("lib*.so.*"))
    listing = subprocess.run(
        ["ldd", program], check=True, capture_output=True, text=True,
        env={**os.environ, "LD_LIBRARY_PATH": ":".join({str(library.parent) for library in own})},
    ).stdout
    if "not found" in listing:
        raise RuntimeError(f"{program} lacks libraries:\n{listing}")
    for path in re.findall(r"(?:=> |^\t)(/\S+)", listing, re.MULTILINE):
        shutil.copy(path, libraries)
    for library in own:
        library.unlink()
    loader = _patchelf("--print-interpreter", program).strip()
    # As an RPATH, not a RUNPATH, it also holds for what the libraries need in turn.
    _patchelf("--force-rpath", "--set-rpath", f"/{LIBRARIES}", program)
    _patchelf("--set-interpreter", f"/{LIBRARIES}/{Path(loader).name}", program)


def _patchelf(*arguments):
    return subprocess.run(["patchelf", *arguments], check=True, capture_output=True, text=True).stdout
