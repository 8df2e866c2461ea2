"""The vendor's repository itself, and what is known of the others that a run needs."""

import glob
import os
import shutil
import time

import dnf.exceptions
import dnf.repo
import libdnf.conf
from automatic_setup import is_known, is_local, link_caches
from option_places import place_of_option, places_of

LONGEST_PROBES = 12
# How many addresses of a repository are tried.
MOST_ADDRESSES = 5


def look_for_broken_file(look, base):
    """DNF passes over a file that it cannot read, with all repositories in it."""
    for directory in base.conf.reposdir:
        for file in sorted(glob.glob(os.path.join(directory, "*.repo"))):
            try:
                with open(file, encoding="utf-8", errors="replace") as stream:
                    if "[%s]" % look.request["repository"] not in stream.read():
                        continue
                libdnf.conf.ConfigParser().read(file)
            except (RuntimeError, OSError, IOError) as problem:
                look.found("configuration_broken", words=problem)
                return
    look.found("not_registered")


def look_for_refused_options(look, vendor):
    """DNF sees only when it opens a connection that options exclude each other; a file of ours is enough for one."""
    request = os.path.join(look.directory, "request")
    with open(os.path.join(look.directory, "request-again"), "w+b") as copy:
        try:
            vendor._repo.downloadUrl("file://" + request, copy.fileno())
        except Exception as problem:
            place = place_of_option(look.automatic.main_places() + places_of(vendor), ("minrate",))
            look.found("options_refused", place, words="%s: %s" % (vendor.repofile, problem))


def refresh(look, base, vendor):
    link_caches(look.automatic.real.cachedir, base.conf.cachedir, vendor.id)
    own = os.path.join(look.automatic.real.cachedir, os.path.basename(vendor._repo.getCachedir()), "pubring")
    target = vendor._repo.getCachedir()
    os.makedirs(target, exist_ok=True)
    if os.path.isdir(own):
        shutil.copytree(own, os.path.join(target, "pubring"))
    vendor._repo.setSyncStrategy(dnf.repo.SYNC_TRY_CACHE)
    # A run goes on to the next address.
    tries = MOST_ADDRESSES if vendor.metalink or vendor.mirrorlist else min(len(vendor.baseurl), MOST_ADDRESSES)
    vendor._repo.setMaxMirrorTries(tries)
    timeout, vendor.timeout = vendor.timeout, 8 if tries == 1 else 3
    retries, vendor.retries = vendor.retries, 1
    vendor.throttle = 0
    try:
        vendor.load()
        look.answer["refreshed"] = int(time.time())
    except dnf.exceptions.RepoError as problem:
        look.found("unreachable", words=problem, address=look.answer["address"], proxy=str(vendor.proxy or ""))
        shutil.rmtree(target, ignore_errors=True)
        vendor._repo.setSyncStrategy(dnf.repo.SYNC_ONLY_CACHE)
    vendor.timeout, vendor.retries = timeout, retries


def prepare(look, base):
    """Leaves out what is not known of other repositories; a local one is read as the run reads it."""
    for repo in list(base.repos.iter_enabled()):
        if is_local(repo):
            repo._repo.setSyncStrategy(dnf.repo.SYNC_TRY_CACHE)
        elif not is_known(repo):
            look.unknown.append(repo.id)
            repo.disable()
        if look.request["online"] and repo.id != look.vendor.id:
            probe(look, base, repo)


def probe(look, base, repo):
    """A repository that must be there and is not ends the whole run. Only its first file is fetched."""
    is_asked = repo.id in look.unknown or (repo._metadata_expire_in()[1] or 1) <= 0
    if repo.skip_if_unavailable or is_local(repo) or not is_asked or time.time() > look.begin + LONGEST_PROBES:
        return
    address = repo.metalink or repo.mirrorlist or (repo.baseurl[0].rstrip("/") + "/repodata/repomd.xml" if repo.baseurl else "")
    if not address:
        return
    repo.timeout, repo.retries = 4, 1
    try:
        base.urlopen(address, repo=repo, mode="w+b").close()
    except Exception as problem:
        look.found("unreadable", words="repository '%s': %s" % (repo.id, problem))
