"""The look at one package: what is installed and offered, and the obstacles as facts."""

import os
import time

import dnf
import dnf.exceptions
import dnf.repo
import hawkey
import libdnf.conf
from automatic_setup import NO_AUTOMATIC, Automatic, AutomaticToCome, is_known, is_local, link_caches
from disk_room import look_at_room
from hidden_packages import is_visible, name_what_hides
from next_repository import NEXT_REPOSITORY, add_next_repository, make_next_repository, next_versions
from option_places import place_of_option, places_of
from package_files import look_at_keys, look_at_log, look_at_other_signatures, look_at_signature
from passed_over import name_what_installs_beside, name_what_passes_over
from repository_state import look_for_broken_file, look_for_refused_options, prepare, refresh

LONGEST_WORDS = 2000
# A cache that is not asked anew for longer than DNF's own default hides what is new.
LONGEST_EXPIRY = 172800


def words_of(problem):
    text = str(problem).strip() or type(problem).__name__
    return text if len(text) <= LONGEST_WORDS else text[:LONGEST_WORDS] + " ..."


class Look:
    """What is asked, what is known of the host by now, and what was found; the other modules add to it."""

    def __init__(self, request):
        self.request = request
        self.package = request["package"]
        self.directory = request["directory"]
        self.obstacles = []
        self.answer = {"installed": "", "offered": "", "newer": False, "refreshed": None, "obstacles": self.obstacles}
        self.automatic = None
        self.unknown = []
        self.begin = time.time()

    def found(self, kind, place=None, words="", **more):
        self.obstacles.append(
            dict({"kind": kind, "file": "", "line": 0, "text": "", "words": words_of(words) if words else ""}, **dict(place or {}, **more))
        )

    def run(self):
        program = self.request["arguments"][0]
        is_absent = not os.path.exists(program) and (NO_AUTOMATIC or not os.path.exists("/etc/dnf/automatic.conf"))
        if NO_AUTOMATIC and not is_absent:
            self.found("failed", words=NO_AUTOMATIC)
            return
        if is_absent:
            self.found("no_automatic", words="%s: missing" % program)
        elif not os.access(program, os.X_OK):
            self.found("no_program", words="%s: %s" % (program, "not executable" if os.path.exists(program) else "missing"))
        try:
            self.automatic = (AutomaticToCome if is_absent else Automatic)(self.request)
            real = self.automatic.real
            self.answer["locks"] = [
                os.path.join(directory, name + "_lock.pid")
                for directory, name in (
                    (real.cachedir, "metadata"), (real.cachedir, "download"), (real.persistdir, "rpmdb"), (real.logdir, "log")
                )
            ]
            self.look_at_automatic_settings()
            base = self.automatic.open()
        except (Exception, SystemExit) as problem:
            self.found("configuration_broken", words=problem)
            return
        try:
            self.look_at_cache_settings(base)
            self.look_at_repository(base)
        finally:
            base.close()

    def look_at_automatic_settings(self):
        commands = self.automatic.settings.commands
        place = [(self.automatic.settings_file, "commands")]
        if not commands.apply_updates:
            is_of_configuration = self.automatic.options.installupdates is None
            self.found("not_applied", place_of_option(place, ("apply_updates",)) if is_of_configuration else None)
        self.upgrade_type = commands.upgrade_type

    def look_at_cache_settings(self, base):
        if self.automatic.real.cacheonly:
            self.found("cache_only", place_of_option(self.automatic.main_places(), ("cacheonly",)))

    def look_at_repository(self, base):
        vendor = base.repos.get(self.request["repository"])
        if vendor is None:
            look_for_broken_file(self, base)
            if self.obstacles[-1]["kind"] == "not_registered":
                self.foresee(base)
            return
        self.vendor = vendor
        self.answer["address"] = (list(vendor.baseurl) or [""])[0]
        if not vendor.enabled:
            self.found("switched_off", place_of_option(places_of(vendor), ("enabled",)))
            return
        if not (vendor.baseurl or vendor.metalink or vendor.mirrorlist):
            self.found("no_address", {"file": vendor.repofile or "", "line": 0, "text": ""})
            return
        look_for_refused_options(self, vendor)
        expiry = vendor.metadata_expire
        if expiry < 0 or expiry > LONGEST_EXPIRY:
            self.found("never_expires" if expiry < 0 else "expires_late", place_of_option(self.automatic.main_places() + places_of(vendor), ("metadata_expire",)), words=expiry)
        if self.request["online"]:
            refresh(self, base, vendor)
        link_caches(self.automatic.real.cachedir, base.conf.cachedir, None)
        if not is_known(vendor):
            if not self.request["online"]:
                self.found("never_refreshed")
            return
        self.load(base)
        if self.answer["refreshed"] is None and vendor.metadata:
            self.answer["refreshed"] = int(time.time() - vendor._repo.getAge())

    def foresee(self, base):
        """What becomes of the package once the repository is registered."""
        vendor = self.vendor = dnf.repo.Repo(self.request["repository"], base.conf)
        vendor.baseurl = [libdnf.conf.ConfigParser.substitute(self.request["address"], base.conf.substitutions)]
        self.answer["address"] = vendor.baseurl[0]
        # Its keys come with the registration.
        vendor.gpgcheck = vendor.repo_gpgcheck = False
        if self.request["online"]:
            refresh(self, base, vendor)
        link_caches(self.automatic.real.cachedir, base.conf.cachedir, vendor.id)
        if self.answer["refreshed"]:
            base.repos.add(vendor)
        self.load(base)

    # --- What is offered, and what the run would do ------------------------------------------------------------

    def load(self, base):
        try:
            prepare(self, base)
            base.fill_sack()
        except (Exception, SystemExit) as problem:
            self.found("unreadable", words=problem)
            return
        installed = list(base.sack.query(flags=hawkey.IGNORE_EXCLUDES).installed().filterm(name=self.package))
        newest = self.newest_of(base, self.vendor.id)
        current = max(installed) if installed else None
        if current:
            self.answer["installed"] = "%s-%s" % (current.version, current.release)
        if newest:
            self.answer["offered"] = "%s-%s" % (newest.version, newest.release)
        if not current:
            self.found("not_installed")
            return
        look_at_keys(self, base, current)
        if newest and newest > current:
            self.answer["newer"] = True
            self.judge(base, [newest], [newest])
            look_at_room(self, base, newest, current)
            look_at_signature(self, base, newest)
            look_at_log(self, newest)
        else:
            self.look_at_next(base, newest or current)
            look_at_room(self, base, newest or current, current)

    def newest_of(self, base, repository):
        query = base.sack.query(flags=hawkey.IGNORE_EXCLUDES).available()
        query.filterm(name=self.package, reponame=repository, arch=base.sack.list_arches())
        packages = list(query)
        return max(packages) if packages else None

    def look_at_next(self, known, package):
        directory = os.path.join(self.directory, "next")
        siblings = [package]
        if package.reponame == self.vendor.id:
            query = known.sack.query(flags=hawkey.IGNORE_EXCLUDES).available()
            query.filterm(reponame=self.vendor.id, evr=package.evr, sourcerpm=package.sourcerpm)
            siblings = list(query) or siblings
        versions = next_versions(package.version)
        make_next_repository(directory, siblings, versions)
        # Plugins are loaded once a process otherwise.
        known.unload_plugins()
        base = self.automatic.open()
        try:
            for repo in list(base.repos.iter_enabled()):
                if repo.id in self.unknown:
                    repo.disable()
                elif is_local(repo):
                    repo._repo.setSyncStrategy(dnf.repo.SYNC_TRY_CACHE)
            add_next_repository(base, base.repos.get(self.vendor.id, self.vendor), directory)
            base.fill_sack()
            query = base.sack.query(flags=hawkey.IGNORE_EXCLUDES).available()
            made_up = sorted(query.filterm(name=self.package, reponame=NEXT_REPOSITORY), reverse=True)
            self.judge(base, made_up[:1], made_up)
        except (Exception, SystemExit) as problem:
            self.found("unreadable", words=problem)
        finally:
            base.close()

    def judge(self, base, wanted, candidates):
        """Finds what the run does with the wanted packages, and what hides any of the candidates."""
        target = wanted[0]
        hidden = [each for each in candidates if not is_visible(base, each)]
        if hidden:
            name_what_hides(self, base, hidden[0])
            return
        try:
            self.automatic.upgrade(base, self.upgrade_type)
            base.resolve()
        except dnf.exceptions.Error as problem:
            self.found("unsolvable", words=problem, unknown=self.unknown)
            return
        items = list(base.transaction.install_set) if base.transaction else []
        chosen = [each for each in items if each.name == self.package and each >= target]
        if chosen:
            name_what_installs_beside(self, base, chosen[0])
            look_at_other_signatures(self, base, items)
            return
        name_what_passes_over(self, base, target, items)
