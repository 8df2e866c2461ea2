#!/usr/bin/python3
"""Judges a vendor's file of public keys before it is packaged.

vendor_key.py binary|armoured FILE    prints what is wrong, one line for each fault; exit status 1 if anything is

It must hold OpenPGP public keys that APT and rpm accept, in the form that its reader takes, and nothing secret.
"""

import re
import subprocess
import sys
import tempfile
from pathlib import Path

ARMOUR = re.compile(rb"^-----BEGIN PGP ([A-Z ,0-9/]+)-----\r?$.*?^-----END PGP \1-----\r?$", re.MULTILINE | re.DOTALL)
ARMOURED_HEAD = re.compile(rb"^-----BEGIN PGP ", re.MULTILINE)
# Of the algorithms that keys sign with.
RSA, DSA, ECDSA, EDDSA = ("1", "3"), "17", "19", "22"
SMALLEST_RSA_OR_DSA_BITS = 2048
# MD5, SHA-1 and RIPEMD-160.
OUTDATED_DIGESTS = {"1", "2", "3"}
NOT_VALID = {"e": "is expired", "r": "is revoked", "i": "is not valid", "d": "is disabled", "n": "is not valid"}


class Unusable(Exception):
    """What makes any further judgement pointless."""


def run_gpg(home, *arguments, stdin):
    command = ["gpg", "--homedir", home, "--batch", "--no-options", "--no-autostart", *arguments]
    return subprocess.run(command, input=stdin, capture_output=True, check=False)


def binary_form(data, home):
    """The packets of an armoured file: gpg reads the first block of a file only."""
    packets = b""
    for block in ARMOUR.finditer(data):
        if b"PRIVATE KEY" in block[1]:
            raise Unusable("holds a secret key: export the public one, with \"gpg --export\"")
        done = run_gpg(home, "--dearmor", stdin=block[0] + b"\n")
        if done.returncode != 0:
            raise Unusable("holds a damaged armoured block")
        packets += done.stdout
    if not packets:
        raise Unusable("holds no whole armoured block")
    return packets


def packets_in(data, wanted, home):
    """The file in its binary form, if it has the wanted one."""
    if not data.strip():
        raise Unusable("is empty")
    is_armoured = ARMOURED_HEAD.search(data) is not None
    packets = binary_form(data, home) if is_armoured else data
    if wanted == "binary" and is_armoured:
        raise Unusable("is ASCII-armoured, and APT reads only binary keyrings under this name: convert it with \"gpg --dearmor\"")
    if wanted == "armoured" and not is_armoured:
        # Whatever else is wrong with it, a secret key must not pass for a formality.
        refuse_secrets(packets, home)
        raise Unusable("is not ASCII-armoured, and rpm imports no other keys: write it with \"gpg --armor --export\"")
    return packets


def listing_of(packets, home):
    done = run_gpg(home, "--list-packets", stdin=packets)
    listing = done.stdout.decode(errors="replace")
    if done.returncode != 0 or " packet:" not in listing:
        raise Unusable("is of a format that gpg does not read: write it with \"gpg --export\"")
    return listing


def refuse_secrets(packets, home):
    if re.search(r"^:secret (sub )?key packet:", listing_of(packets, home), re.MULTILINE):
        raise Unusable("holds a secret key: export the public one, with \"gpg --export\"")


class Key:
    """A primary key or a subkey, from a line of gpg's listing."""

    def __init__(self, fields):
        self.validity, self.bits, self.algorithm, self.id = fields[1], int(fields[2] or 0), fields[3], fields[4]
        self.can_sign = "s" in fields[11]
        self.subkeys = []

    def is_valid(self):
        return self.validity not in NOT_VALID

    def weakness(self):
        if (self.algorithm in RSA or self.algorithm == DSA) and self.bits < SMALLEST_RSA_OR_DSA_BITS:
            name = "RSA" if self.algorithm in RSA else "DSA"
            return f"is weak: {name} with {self.bits} bits, where {SMALLEST_RSA_OR_DSA_BITS} are the least"
        if self.algorithm not in (*RSA, DSA, ECDSA, EDDSA):
            return f"is of an algorithm (number {self.algorithm}) that APT or rpm may not take"
        return ""


def keys_in(packets, home):
    listing = run_gpg(home, "--with-colons", "--fixed-list-mode", "--show-keys", stdin=packets).stdout.decode(errors="replace")
    keys = []
    for line in listing.splitlines():
        fields = line.split(":")
        if fields[0] in ("pub", "sec"):
            keys.append(Key(fields))
        elif fields[0] in ("sub", "ssb") and keys:
            keys[-1].subkeys.append(Key(fields))
    return keys


def key_faults(key):
    if not key.is_valid():
        yield f"the key {key.id} {NOT_VALID[key.validity]}"
        return
    signing = [candidate for candidate in (key, *key.subkeys) if candidate.can_sign and candidate.is_valid()]
    if not signing:
        yield f"the key {key.id} cannot sign, and has no valid subkey that can"
    for judged in {id(one): one for one in (key, *signing)}.values():
        if judged.weakness():
            yield f"the key {judged.id} {judged.weakness()}"


def packet_faults(listing):
    """What gpg shows of keys only packet by packet: old versions, and bindings that are signed with outdated digests."""
    key, versions, digests = "", {}, {}
    for packet in re.split(r"^(?=:)", listing, flags=re.MULTILINE):
        version = re.search(r"^\tversion (\d+)", packet, re.MULTILINE)
        if packet.startswith(":public key packet:"):
            named = re.search(r"^\tkeyid: (\w+)", packet, re.MULTILINE)
            key = named[1] if named else "?"
            versions[key] = version[1] if version else "?"
        elif packet.startswith(":signature packet:") and f"keyid {key}" in packet and re.search(r"sigclass 0x1[0-3]", packet):
            digest = re.search(r"^\tdigest algo (\d+)", packet, re.MULTILINE)
            digests.setdefault(key, set()).add(digest[1] if digest else "?")
    for one, version in versions.items():
        if version != "4":
            yield f"the key {one} is of version {version}, which APT or rpm may not take"
        if digests.get(one) and digests[one] <= OUTDATED_DIGESTS:
            yield f"the key {one} is weak: its owner is bound to it with SHA-1 or older, which new releases of APT refuse"


def find_faults(data, wanted):
    # A home of its own: gpg creates files for any command.
    with tempfile.TemporaryDirectory() as home:
        try:
            packets = packets_in(data, wanted, home)
            refuse_secrets(packets, home)
            listing = listing_of(packets, home)
        except Unusable as fault:
            return [str(fault)]
        keys = keys_in(packets, home)
        faults = list(packet_faults(listing))
        if not keys and not faults:
            return ["holds no public key"]
        for key in keys:
            faults += key_faults(key)
        return faults


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("binary", "armoured"):
        sys.exit(__doc__)
    wanted, file = sys.argv[1:]
    faults = find_faults(Path(file).read_bytes(), wanted)
    for fault in faults:
        print(f"{file} {fault}" if not fault.startswith("the key") else f"{file}: {fault}")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
