"""A made-up repository with the next versions of a package."""

import hashlib
import os
import re
import time
from xml.sax.saxutils import escape, quoteattr

import dnf.repo

NEXT_REPOSITORY = "package-minder-next"
OPERATORS = {"=": "EQ", "<": "LT", ">": "GT", "<=": "LE", ">=": "GE"}


def next_versions(version):
    """A next version in the first number and one in the last."""
    first = re.match(r"\d+", version)
    big = str(int(first.group()) + 1) + ".0" if first else version + ".1"
    last = re.sub(r"(\d+)(\D*)$", lambda match: str(int(match.group(1)) + 1) + match.group(2), version)
    return [big] + ([last] if last not in (version, big) else [])


def entry_of(dependency, evr, new_evr):
    text = str(dependency)
    parts = text.split()
    if text.startswith("(") or len(parts) != 3 or parts[1] not in OPERATORS:
        return "<rpm:entry name=%s/>" % quoteattr(text)
    version = parts[2]
    if version in (evr, re.sub(r"^0:", "", evr)):
        version = new_evr
    epoch, _, rest = version.rpartition(":")
    number, dash, release = rest.partition("-")
    return '<rpm:entry name=%s flags="%s" epoch=%s ver=%s%s/>' % (
        quoteattr(parts[0]), OPERATORS[parts[1]], quoteattr(epoch or "0"), quoteattr(number),
        " rel=" + quoteattr(release) if dash else "",
    )


def dependencies_of(kind, dependencies, evr, new_evr):
    entries = [entry_of(each, evr, new_evr) for each in dependencies if not str(each).startswith("rpmlib(")]
    return "<rpm:%s>%s</rpm:%s>" % (kind, "".join(entries), kind) if entries else ""


def description_of(package, version, number):
    evr = "%d:%s-%s" % (package.epoch, package.version, package.release)
    new_evr = "%d:%s-%s" % (package.epoch, version, package.release)
    files = [name for name in package.files if re.search(r"bin/|^/etc/|^/usr/lib/", name)][:5000]
    return (
        '<package type="rpm"><name>%s</name><arch>%s</arch><version epoch="%d" ver=%s rel=%s/>'
        '<checksum type="sha256" pkgid="YES">%064x</checksum><summary/><description/><packager/><url/>'
        '<time file="%d" build="%d"/><size package="%d" installed="%d" archive="0"/><location href="%d.rpm"/>'
        "<format><rpm:license/>%s<rpm:sourcerpm/>%s%s%s%s%s</format></package>"
    ) % (
        escape(package.name), package.arch, package.epoch, quoteattr(version), quoteattr(package.release), number,
        time.time(), time.time(), package.downloadsize, package.installsize, number,
        "<rpm:vendor>%s</rpm:vendor>" % escape(getattr(package, "vendor", None) or ""),
        dependencies_of("provides", package.provides, evr, new_evr),
        dependencies_of("requires", package.requires, evr, new_evr),
        dependencies_of("conflicts", package.conflicts, evr, new_evr),
        dependencies_of("obsoletes", package.obsoletes, evr, new_evr),
        "".join("<file>%s</file>" % escape(name) for name in files),
    )


def make_next_repository(directory, packages, versions):
    """A repository in which these packages, all of one version, have these versions."""
    texts = [
        description_of(package, version, number * len(packages) + place)
        for number, version in enumerate(versions)
        for place, package in enumerate(packages)
    ]
    os.makedirs(os.path.join(directory, "repodata"))
    with open(os.path.join(directory, "repodata", "primary.xml"), "w", encoding="utf-8") as stream:
        stream.write(
            '<?xml version="1.0" encoding="UTF-8"?><metadata xmlns="http://linux.duke.edu/metadata/common" '
            'xmlns:rpm="http://linux.duke.edu/metadata/rpm" packages="%d">%s</metadata>' % (len(texts), "".join(texts))
        )
    with open(os.path.join(directory, "repodata", "primary.xml"), "rb") as stream:
        checksum = hashlib.sha256(stream.read()).hexdigest()
    with open(os.path.join(directory, "repodata", "repomd.xml"), "w", encoding="utf-8") as stream:
        stream.write(
            '<?xml version="1.0" encoding="UTF-8"?><repomd xmlns="http://linux.duke.edu/metadata/repo">'
            '<revision>1</revision><data type="primary"><checksum type="sha256">%s</checksum>'
            '<location href="repodata/primary.xml"/><timestamp>1</timestamp></data></repomd>' % checksum
        )


def add_next_repository(base, vendor, directory):
    """What holds for the vendor's repository holds for the made-up one."""
    repo = dnf.repo.Repo(NEXT_REPOSITORY, base.conf)
    repo.baseurl = ["file://" + directory]
    for option in ("excludepkgs", "includepkgs", "priority", "cost", "module_hotfixes"):
        setattr(repo, option, getattr(vendor, option))
    repo.gpgcheck = repo.repo_gpgcheck = False
    repo.skip_if_unavailable = False
    repo._repo.setSyncStrategy(dnf.repo.SYNC_TRY_CACHE)
    if vendor.id in base.conf.disable_excludes:
        base.conf.disable_excludes = list(base.conf.disable_excludes) + [NEXT_REPOSITORY]
    base.repos.add(repo)
