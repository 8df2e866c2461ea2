"""Images: the kept root file systems that hosts boot over.

An image is built once per recipe with mmdebstrap from the machine's own package
mirror, and never written to again.
"""

import hashlib
import json
import re
import shlex
import shutil
import subprocess
import time
from dataclasses import asdict, dataclass

from disposable_hosts import machine
from disposable_hosts.locking import locked

# Part of every recipe's key: raise it when the steps below change what an image holds.
BUILDER_VERSION = 1

# Of the machine's APT settings, those without which its mirror may not be usable at all (an old
# snapshot, a proxy). Others would make the image unlike a real host's.
MIRROR_OPTIONS = re.compile(r"Acquire::(Check-|Max-ValidTime|Min-ValidTime|Retries|ForceIP|([a-z]+::)+(Proxy|Verify-|CaInfo))")

# The last steps of every image. A host has no network but its loopback, so a mirror in its sources
# would make every refresh fail; a fixed machine-id keeps a boot from being a first boot.
FINISHING_STEPS = (
    'rm -f "$1/etc/apt/apt.conf.d/99mmdebstrap" && : > "$1/etc/apt/sources.list"',
    'echo 0123456789abcdef0123456789abcdef > "$1/etc/machine-id"',
    'echo host > "$1/etc/hostname" && echo "127.0.0.1 localhost host" > "$1/etc/hosts" && : > "$1/etc/resolv.conf"',
)


@dataclass(frozen=True)
class Recipe:
    """All that decides what an image holds. Each step is a shell line; $1 is the image's root."""

    name: str
    release: str
    packages: tuple[str, ...]
    steps: tuple[str, ...] = ()

    def key(self):
        text = json.dumps([BUILDER_VERSION, FINISHING_STEPS, asdict(self)], sort_keys=True)
        return hashlib.sha256(text.encode()).hexdigest()[:12]


def is_built(recipe):
    return _tree(recipe).exists()


def provide(recipe, say=print):
    """The root directory of the recipe's image; builds it if it is not there yet."""
    tree = _tree(recipe)
    if tree.exists():
        return tree
    tree.parent.mkdir(parents=True, exist_ok=True)
    archive = tree.with_suffix(".tar")
    # Another builder may be at the same image; whoever comes second finds it made.
    with locked(tree.with_suffix(".lock")):
        if not archive.exists():
            _build(recipe, archive, say)
        if not tree.exists():
            _unpack(archive, tree)
    return tree


def _tree(recipe):
    return machine.cache_directory() / "images" / f"{recipe.name}-{recipe.key()}"


def _build(recipe, archive, say):
    unfinished = archive.with_suffix(".unfinished")
    log = archive.with_suffix(".log")
    command = ["mmdebstrap", "--variant=minbase", "--mode=root", "--format=tar", f"--include={','.join(recipe.packages)}"]
    command += [f"--aptopt={option}" for option in (*_mirror_options(), 'Acquire::Languages "none"')]
    command += [f"--customize-hook={step}" for step in (*recipe.steps, *FINISHING_STEPS)]
    command += [recipe.release, str(unfinished), f"deb {_mirror()} {recipe.release} main"]
    with open(log, "w", encoding="utf-8") as output:
        output.write(shlex.join(command) + "\n")
        output.flush()
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=output) as process:
            try:
                _show_progress(process, recipe.name, log, say)
            except BaseException:
                process.terminate()
                raise
    if process.returncode != 0:
        tail = "\n".join(log.read_text(errors="replace").splitlines()[-15:])
        raise RuntimeError(f"building host image {recipe.name} failed ({log}):\n{tail}")
    unfinished.rename(archive)


def _unpack(archive, tree):
    unfinished = tree.with_suffix(".unfinished.d")
    shutil.rmtree(unfinished, ignore_errors=True)
    unfinished.mkdir()
    subprocess.run(
        ["tar", "--extract", "--file", archive, "--directory", unfinished, "--numeric-owner", "--xattrs", "--acls"],
        check=True,
    )
    unfinished.chmod(0o755)
    unfinished.rename(tree)


def _show_progress(process, name, log, say):
    """Says what mmdebstrap is at, whenever it comes to something new."""
    start = time.monotonic()
    said = None
    say(f"building host image {name}, which is kept for the next time")
    while process.poll() is None:
        time.sleep(0.2)
        stages = re.findall(r"^I: (.*?)\.\.\.$", log.read_text(errors="replace"), re.MULTILINE)
        if stages and stages[-1] != said:
            said = stages[-1]
            say(f"building host image {name}: {time.monotonic() - start:3.0f} s  {said[:60]}")


def _mirror():
    """The mirror from which this machine gets its own distribution."""
    codename = subprocess.run(
        [". /etc/os-release && echo $VERSION_CODENAME"], shell=True, check=True, capture_output=True, text=True
    ).stdout.strip()
    targets = subprocess.run(
        ["apt-get", "indextargets", "--format", "$(ORIGIN)|$(CODENAME)|$(RELEASE)|$(REPO_URI)", "Created-By: Packages"],
        check=True, capture_output=True, text=True,
    ).stdout
    for line in targets.splitlines():
        origin, suite_codename, release, uri = line.split("|")
        if origin == "Debian" and codename in (suite_codename, release):
            return uri
    raise RuntimeError(f"no mirror of Debian {codename} among this machine's APT sources; has apt-get update been run?")


def _mirror_options():
    dump = subprocess.run(
        ["apt-config", "dump", "--no-empty", "--format", '%F "%v"%n', "Acquire"], check=True, capture_output=True, text=True
    ).stdout
    return [line for line in dump.splitlines() if MIRROR_OPTIONS.match(line)]
