"""A key to sign repositories with, made for one run and thrown away with it."""

import os
import subprocess
from pathlib import Path


class SigningKey:
    """A fresh key pair in a GnuPG home of its own. Use it as a context manager: leaving it ends GnuPG's agent."""

    def __init__(self, home, owner="Quorvane test repository <repository@velmora.test>", algorithm="ed25519"):
        self.home = Path(home)
        self.home.mkdir(mode=0o700, parents=True, exist_ok=True)
        self.owner = owner
        # SHA-1 anywhere, even in the key's own signature, is refused by current releases.
        self._gpg("--quick-generate-key", owner, algorithm, "sign", "never")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        subprocess.run(["gpgconf", "--homedir", self.home, "--kill", "all"], check=False, capture_output=True)

    def public_key(self, *, armoured=False):
        return self._gpg(*(["--armor"] if armoured else []), "--export", self.owner)

    def clearsign(self, source, target):
        self._gpg("--clearsign", "--output", target, source)

    def detach_sign(self, source, target):
        self._gpg("--armor", "--detach-sign", "--output", target, source)

    def _gpg(self, *arguments):
        command = ["gpg", "--homedir", self.home, "--batch", "--yes", "--quiet", "--passphrase", ""]
        command += ["--pinentry-mode", "loopback", "--digest-algo", "SHA512", "--cert-digest-algo", "SHA512"]
        done = subprocess.run([*command, *arguments], capture_output=True, check=False, env={**os.environ, "LANG": "C"})
        if done.returncode != 0:
            raise RuntimeError(f"gpg {arguments[0]} failed: {done.stderr.decode(errors='replace')}")
        return done.stdout
