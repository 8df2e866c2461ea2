"""What rpm says of a package: its signature, its file, and the scripts that failed."""

import contextlib
import os
import re

import dnf.transaction
import rpm
from option_places import last_line

# What --online fetches of a package to see whether rpm takes its signature.
LARGEST_PACKAGE = 20 * 1024 * 1024
# Of one run; a host that has not been upgraded for long would take too long to be asked.
MOST_PACKAGES = 50


def has_file(package):
    try:
        return os.path.getsize(package.localPkg()) == package.downloadsize
    except OSError:
        return False


def look_at_keys(look, base, installed):
    if not look.vendor.gpgcheck:
        return
    transaction = rpm.TransactionSet()
    transaction.setVSFlags(-1)
    keys = {header["version"].lower() for header in transaction.dbMatch("name", "gpg-pubkey")}
    keys = {key.decode() if isinstance(key, bytes) else key for key in keys}
    look.answer["keys"] = len(keys)
    signer = ""
    for header in transaction.dbMatch("name", look.package):
        for tag in ("%{RSAHEADER:pgpsig}", "%{DSAHEADER:pgpsig}", "%{SIGPGP:pgpsig}", "%{SIGGPG:pgpsig}"):
            match = re.search(r"[Kk]ey ID ([0-9a-f]{8,})", header.sprintf(tag))
            signer = match.group(1)[-8:] if match else signer
    is_missing = signer not in {key[-8:] for key in keys} if signer else not keys
    if is_missing:
        look.found("no_key", words=signer, address=" ".join(look.vendor.gpgkey))


def look_at_signature(look, base, package):
    """Of a package whose file is there, or is fetched now, rpm itself is asked."""
    if look.request["online"] and look.answer["refreshed"] and package.downloadsize <= LARGEST_PACKAGE:
        if not any(each["kind"] == "unreachable" for each in look.obstacles):
            base.conf.cacheonly = 0
            try:
                base.download_packages([package])
            except Exception as problem:
                look.found("not_downloaded", words=problem, address=look.answer["address"])
                return
    if has_file(package):
        result, words = base.package_signature_check(package)
        lacks_key = any(each["kind"] == "no_key" for each in look.obstacles)
        look.obstacles[:] = [each for each in look.obstacles if each["kind"] != "no_key"]
        if result != 0:
            # Without the vendor's own key nothing can be said of the signature.
            kind = "no_key" if result == 1 and lacks_key else "signature_refused"
            look.found(kind, words=words, address=" ".join(look.vendor.gpgkey))
        else:
            try_transaction(look, base, package)


def look_at_other_signatures(look, base, items):
    """A run ends when rpm refuses the signature of any of its packages. It is asked about those whose files are there."""
    others = [item for item in items if item.name != look.package and has_file(item)]
    for item in others[:MOST_PACKAGES]:
        result, words = base.package_signature_check(item)
        if result != 0:
            keys = base.repos[item.reponame].gpgkey if result == 1 else []
            look.found("other_refused", words=words, by=item.name, other=item.reponame, address=" ".join(keys))


def fill_transaction(transaction, planned, streams):
    """In the way in which DNF does."""
    for item in planned:
        if item.pkg in planned.remove_set:
            transaction.addErase(item.pkg.idx)
        elif item.pkg in planned.install_set:
            path = item.pkg.localPkg()
            mode = "i" if item.action == dnf.transaction.PKG_INSTALL else "u"
            transaction.addInstall(transaction.hdrFromFdno(streams[path].fileno()), path, mode)
            streams[path].seek(0)


def try_transaction(look, base, package):
    """rpm is asked what it has against the packages of the run; without all of their files nothing can be said."""
    items = list(base.transaction.install_set) if base.transaction else []
    is_complete = len(items) <= MOST_PACKAGES and all(map(has_file, items))
    if str(package) not in map(str, items) or not is_complete:
        return
    transaction = rpm.TransactionSet()
    transaction.setFlags(rpm.RPMTRANS_FLAG_TEST)
    usual = transaction.setVSFlags(-1)
    with contextlib.ExitStack() as stack:
        streams = {item.localPkg(): stack.enter_context(open(item.localPkg(), "rb")) for item in items}
        fill_transaction(transaction, base.transaction, streams)
        # A macro may have it verify the packages, and it then looks for their keys.
        transaction.setVSFlags(usual)
        # It is called for other events too, some of them without a path.
        problems = transaction.run(lambda *event: streams[event[3]].fileno() if event[3] in streams else None, None) or []
    of_room = (rpm.RPMPROB_DISKSPACE, rpm.RPMPROB_DISKNODES)
    words = [text for text, problem in problems if problem[0] not in of_room]
    if words:
        look.found("refused_by_rpm", words="; ".join(words), version=package.version)


def look_at_log(look, package):
    """A script that ended an installation of this very version. The log outlives journal and restart."""
    name = "%s-%s-%s.%s" % (package.name, package.version, package.release, package.arch)
    for file in (os.path.join(look.automatic.real.logdir, "dnf.rpm.log" + end) for end in ("", ".1")):
        place = last_line(file, re.compile(r"error: %%\w+\(%s\) scriptlet failed" % re.escape(name)))
        if place:
            look.found("script_failed", place, version="%s-%s" % (package.version, package.release))
            return
