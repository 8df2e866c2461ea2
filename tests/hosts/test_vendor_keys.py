"""What script/package says of the keys that a vendor gives it, before it builds anything."""

import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

CHECKOUT = Path(__file__).resolve().parents[2]
VENDOR = ("-D", "PACKAGE_MINDER_DEFAULT_REPO_HOST=repo.vendor.test")


class Keys:
    """A home of gpg's, and the files that are exported from it."""

    def __init__(self):
        # Sockets of the agent lie in the home, and their paths have to be short.
        self.home = tempfile.mkdtemp(prefix="keys-")
        self.files = tempfile.mkdtemp(prefix="files-")

    def remove(self):
        subprocess.run(["gpgconf", "--homedir", self.home, "--kill", "all"], check=False)
        shutil.rmtree(self.home)
        shutil.rmtree(self.files)

    def gpg(self, *arguments, stdin=None):
        command = ["gpg", "--homedir", self.home, "--batch", "--no-tty", "--quiet"]
        command += ["--pinentry-mode", "loopback", "--passphrase", ""]
        return subprocess.run([*command, *arguments], input=stdin, capture_output=True, check=True).stdout

    def make(self, owner, algorithm="ed25519", usage="sign", expiry="never", options=()):
        self.gpg(*options, "--quick-gen-key", owner, algorithm, usage, expiry)
        return owner

    def export(self, *owners, secret=False, armoured=False):
        return self.gpg(*(["--armor"] if armoured else []), "--export-secret-keys" if secret else "--export", *owners)

    def file(self, content, name="key"):
        path = Path(self.files) / name
        path.write_bytes(content)
        return path


class VendorKeys(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.keys = Keys()
        cls.addClassCleanup(cls.keys.remove)
        cls.good = cls.keys.make("good@vendor.test")

    def check(self, *arguments):
        command = [CHECKOUT / "script" / "package", "--check", *VENDOR, *map(str, arguments)]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def assert_accepted(self, option, content):
        done = self.check(option, self.keys.file(content))
        self.assertEqual((done.returncode, [line for line in done.stderr.splitlines() if "no --" not in line]), (0, []))

    def assert_refused(self, option, content, reason):
        done = self.check(option, self.keys.file(content))
        self.assertEqual(done.returncode, 65, done.stderr)
        self.assertIn(reason, done.stderr)

    def test_a_good_key_is_accepted_in_its_form(self):
        self.assert_accepted("--keyring", self.keys.export(self.good))
        self.assert_accepted("--dnf-key", self.keys.export(self.good, armoured=True))

    def test_several_good_keys_are_accepted(self):
        other = self.keys.make("other@vendor.test", "rsa2048")
        self.assert_accepted("--keyring", self.keys.export(self.good, other))
        blocks = self.keys.export(self.good, armoured=True) + self.keys.export(other, armoured=True)
        self.assert_accepted("--dnf-key", blocks)

    def test_a_secret_key_is_refused_in_every_form(self):
        for option in ("--keyring", "--dnf-key"):
            for armoured in (False, True):
                secret = self.keys.export(self.good, secret=True, armoured=armoured)
                self.assert_refused(option, secret, "holds a secret key")

    def test_a_secret_key_among_public_ones_is_refused(self):
        public = self.keys.export(self.good)
        self.assert_refused("--keyring", public + self.keys.export(self.good, secret=True), "holds a secret key")
        public = self.keys.export(self.good, armoured=True)
        secret = self.keys.export(self.good, secret=True, armoured=True)
        self.assert_refused("--dnf-key", public + secret, "holds a secret key")

    def test_the_wrong_form_is_refused(self):
        self.assert_refused("--keyring", self.keys.export(self.good, armoured=True), "is ASCII-armoured")
        self.assert_refused("--dnf-key", self.keys.export(self.good), "is not ASCII-armoured")

    def test_what_holds_no_key_is_refused(self):
        self.assert_refused("--keyring", b"", "is empty")
        self.assert_refused("--dnf-key", b"\n", "is empty")
        self.assert_refused("--keyring", b"<html>not found</html>\n", "is of a format that gpg does not read")
        keybox = (Path(self.keys.home) / "pubring.kbx").read_bytes()
        self.assert_refused("--keyring", keybox, "is of a format that gpg does not read")
        self.assert_refused("--dnf-key", self.keys.export(self.good, armoured=True)[:200], "no whole armoured block")

    def test_an_expired_key_is_refused(self):
        expired = self.keys.make("expired@vendor.test", expiry="1d", options=("--faked-system-time", "20200101T000000"))
        self.assert_refused("--keyring", self.keys.export(expired), "is expired")
        self.assert_refused("--keyring", self.keys.export(self.good, expired), "is expired")

    def test_an_expired_primary_key_is_refused_whatever_its_subkey_is(self):
        then = ("--faked-system-time", "20200101T000000")
        owner = self.keys.make("primary@vendor.test", usage="cert", expiry="1d", options=then)
        listing = self.keys.gpg("--with-colons", "--list-keys", owner).decode()
        fingerprint = next(line.split(":")[9] for line in listing.splitlines() if line.startswith("fpr"))
        self.keys.gpg(*then, "--quick-add-key", fingerprint, "ed25519", "sign", "never")
        self.assert_refused("--keyring", self.keys.export(owner), "is expired")

    def test_a_revoked_key_is_refused(self):
        owner = self.keys.make("revoked@vendor.test")
        newest = max((Path(self.keys.home) / "openpgp-revocs.d").glob("*.rev"), key=lambda path: path.stat().st_mtime_ns)
        self.keys.gpg("--import", stdin=newest.read_bytes().replace(b":-----BEGIN", b"-----BEGIN"))
        self.assert_refused("--keyring", self.keys.export(owner), "is revoked")

    def test_a_key_that_cannot_sign_is_refused(self):
        owner = self.keys.make("certifies@vendor.test", usage="cert")
        self.assert_refused("--keyring", self.keys.export(owner), "cannot sign")

    def test_a_weak_key_is_refused(self):
        rsa = self.keys.make("rsa@vendor.test", "rsa1024")
        dsa = self.keys.make("dsa@vendor.test", "dsa1024")
        self.assert_refused("--keyring", self.keys.export(rsa), "is weak: RSA with 1024 bits")
        self.assert_refused("--keyring", self.keys.export(dsa), "is weak: DSA with 1024 bits")
        self.assert_refused("--dnf-key", self.keys.export(rsa, armoured=True), "is weak: RSA with 1024 bits")

    def test_a_key_that_is_bound_with_sha1_is_refused(self):
        owner = self.keys.make("sha1@vendor.test", "rsa2048", options=("--cert-digest-algo", "SHA1"))
        self.assert_refused("--keyring", self.keys.export(owner), "with SHA-1 or older")

    def test_nothing_is_left_behind_and_no_key_is_taken_into_the_own_keyring(self):
        with tempfile.TemporaryDirectory() as home, tempfile.TemporaryDirectory() as temporary:
            keyring = self.keys.file(self.keys.export(self.good))
            command = [CHECKOUT / "script" / "package", "--check", "--keyring", keyring]
            environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": home, "TMPDIR": temporary}
            subprocess.run(command, env=environment, capture_output=True, check=True)
            self.assertEqual(list(Path(home).iterdir()) + list(Path(temporary).iterdir()), [])


class Warnings(unittest.TestCase):
    @staticmethod
    def warnings(*arguments):
        done = subprocess.run([CHECKOUT / "script" / "package", "--check", *arguments], capture_output=True, text=True, check=True)
        return done.stderr.replace("script/package: warning: ", "").splitlines()

    def test_each_value_that_is_the_default_is_named(self):
        self.assertEqual(
            self.warnings(),
            [
                "no --keyring: the administrator of each APT host has to put the repository's key in its place",
                "no --dnf-key: every cycle on a DNF host fetches the key, and whoever controls its address becomes trusted",
                "no -D PACKAGE_MINDER_DEFAULT_REPO_HOST: the default repositories are those of repo.velmora.example",
            ],
        )

    def test_what_is_not_built_is_not_missed(self):
        self.assertEqual([warning.split(":")[0] for warning in self.warnings("deb", *VENDOR)], ["no --keyring"])
        self.assertEqual([warning.split(":")[0] for warning in self.warnings("rpm", *VENDOR)], ["no --dnf-key"])
