# What dnf-automatic would do with one package, asked of DNF's own library in the way dnf-automatic asks it.
#
#     ask_dnf_automatic.py REQUEST
#
# REQUEST is a JSON object: "package", "repository" (its id), "address" (of the repository, for a host on which it
# is not registered yet), "directory" (private, for all that DNF writes), "arguments" (of dnf-automatic), "online"
# (ask the repository itself). The answer is a JSON object on standard output: what is installed and offered, and
# the obstacles as facts; package-minder makes its words of them.
#
# DNF reads its caches through links in the private directory and writes beside them, so nothing of the host's
# changes. It runs under the interpreter of the host's DNF, Python 3.6 and later.

import glob
import hashlib
import json
import os
import re
import shutil
import sys
import time
from xml.sax.saxutils import quoteattr, escape

import dnf
import dnf.cli
import dnf.cli.cli
import dnf.exceptions
import dnf.repo
import dnf.subject
import hawkey
import libdnf.conf
import rpm

try:
    import dnf.automatic.main
except ImportError:
    # It comes with the first cycle.
    dnf.automatic = None

NEXT_REPOSITORY = "package-minder-next"
LONGEST_WORDS = 2000
# A cache that is not asked anew for longer than DNF's own default hides what is new.
LONGEST_EXPIRY = 172800
LONGEST_PROBES = 12
# How many addresses of a repository are tried.
MOST_ADDRESSES = 5
# Less than the first is no room for anything; less than the second may do for a run, or not.
LEAST_ROOM = 4 * 1024
USUAL_ROOM = 1024 * 1024
# What --online fetches of a package to see whether rpm takes its signature.
LARGEST_PACKAGE = 20 * 1024 * 1024
# DNF's history of transactions, when it has to be made.
ROOM_FOR_HISTORY = 512 * 1024
LONGEST_LOG = 8 * 1024 * 1024
OPERATORS = {"=": "EQ", "<": "LT", ">": "GT", "<=": "LE", ">=": "GE"}


def words_of(problem):
    text = str(problem).strip() or type(problem).__name__
    return text if len(text) <= LONGEST_WORDS else text[:LONGEST_WORDS] + " ..."


# --- Where a setting stands --------------------------------------------------------------------------------


def lines_of_option(file, section, names):
    """Numbers and texts of the lines that set an option, continued ones too; of repeated ones all."""
    try:
        with open(file, encoding="utf-8", errors="replace") as stream:
            lines = stream.read().splitlines()
    except OSError:
        return []
    found, current, is_inside = [], None, False
    for number, line in enumerate(lines, 1):
        stripped = line.strip()
        if not stripped or stripped[0] in "#;":
            continue
        if stripped[0] == "[" and "]" in stripped:
            current, is_inside = stripped[1 : stripped.index("]")].strip(), False
        elif line[0] in " \t":
            if is_inside:
                found.append((number, line))
        else:
            is_inside = current == section and stripped.partition("=")[0].strip() in names
            if is_inside:
                found.append((number, line))
    return found


def place_of_option(places, names, word=None):
    """The last place of an option, or the one that holds a word: file, line and text."""
    found = None
    for file, section in places:
        for number, line in lines_of_option(file, section, names):
            values = re.split(r"[\s,]+", line.partition("=")[2] if "=" in line else line)
            if word is None or word in values:
                found = {"file": file, "line": number, "text": line.strip()}
    return found or {"file": "", "line": 0, "text": ""}


# --- DNF as dnf-automatic sets it up -----------------------------------------------------------------------


class Automatic:
    """DNF with the configuration of one run of dnf-automatic, reading from its cache."""

    def __init__(self, request):
        self.request = request
        options = self.options = dnf.automatic.main.parse_arguments(request["arguments"][1:])[0]
        self.settings = dnf.automatic.main.AutomaticConfig(
            options.conf_path, options.downloadupdates, options.installupdates
        )
        self.settings_file = self.settings.filename
        dnf.automatic.main.build_emitters(self.settings)
        real = dnf.conf.Conf()
        real.read()
        self.settings.update_baseconf(real)
        self.real = real

    def open(self):
        base = dnf.Base()
        directory = self.request["directory"]
        base.conf.cachedir = os.path.join(directory, "cache")
        base.conf.logdir = os.path.join(directory, "log")
        base.conf.persistdir = os.path.join(directory, "persist")
        base.conf.cacheonly = 1
        for place in (base.conf.cachedir, base.conf.logdir, base.conf.persistdir):
            os.makedirs(place, exist_ok=True)
        cli = dnf.cli.cli.Cli(base)
        cli._read_conf_file()
        cli.demands.resolving = True
        self.settings.update_baseconf(base.conf)
        # It writes where it always does.
        base.init_plugins(disabled_glob=("generate_completion_cache",), cli=cli)
        base.pre_configure_plugins()
        base.read_all_repos()
        base.configure_plugins()
        return base

    def main_places(self):
        return [(self.real.config_file_path, "main"), (self.settings_file, "base")]


class AutomaticToCome(Automatic):
    """The same for a host on which dnf-automatic is not installed yet: it will have its usual settings."""

    class Settings:
        class commands:
            apply_updates, upgrade_type = True, "default"

        def update_baseconf(self, conf):
            pass

    def __init__(self, request):
        self.request, self.settings, self.settings_file = request, self.Settings(), ""
        self.real = dnf.conf.Conf()
        self.real.read()


def link_caches(source, target, without):
    """Links to everything that DNF keeps of repositories, but of one repository nothing if told so."""
    if not os.path.isdir(source):
        return
    for name in os.listdir(source):
        link = os.path.join(target, name)
        is_left_out = without and re.match(re.escape(without) + r"(-[0-9a-f]{16}$|\.solv|-.*\.solvx)", name)
        is_wanted = name.endswith((".solv", ".solvx")) or os.path.isdir(os.path.join(source, name))
        if not is_wanted or is_left_out or os.path.lexists(link):
            continue
        os.symlink(os.path.join(source, name), link)


def index_of(repo):
    return os.path.join(repo._repo.getCachedir(), "repodata", "repomd.xml")


def is_local(repo):
    return bool(repo.baseurl) and all(url.startswith(("file:", "/")) for url in repo.baseurl)


def is_known(repo):
    return is_local(repo) or os.path.exists(index_of(repo))


# --- Made-up next versions -----------------------------------------------------------------------------------


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


# --- The look ------------------------------------------------------------------------------------------------


class Look:
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
        is_absent = dnf.automatic is None or not (os.path.exists(program) or os.path.exists("/etc/dnf/automatic.conf"))
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

    def vendor_places(self, repo):
        return [(repo.repofile or "", repo.id)]

    def look_at_repository(self, base):
        vendor = base.repos.get(self.request["repository"])
        if vendor is None:
            self.look_for_broken_file(base)
            if self.obstacles[-1]["kind"] == "not_registered":
                self.foresee(base)
            return
        self.vendor = vendor
        self.answer["address"] = (list(vendor.baseurl) or [""])[0]
        if not vendor.enabled:
            self.found("switched_off", place_of_option(self.vendor_places(vendor), ("enabled",)))
            return
        if not (vendor.baseurl or vendor.metalink or vendor.mirrorlist):
            self.found("no_address", {"file": vendor.repofile or "", "line": 0, "text": ""})
            return
        expiry = vendor.metadata_expire
        if expiry < 0 or expiry > LONGEST_EXPIRY:
            self.found("never_expires", place_of_option(self.automatic.main_places() + self.vendor_places(vendor), ("metadata_expire",)), words=expiry)
        if self.request["online"]:
            self.refresh(base, vendor)
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
            self.refresh(base, vendor)
        link_caches(self.automatic.real.cachedir, base.conf.cachedir, vendor.id)
        if self.answer["refreshed"]:
            base.repos.add(vendor)
        self.load(base)

    def look_for_broken_file(self, base):
        """DNF passes over a file that it cannot read, with all repositories in it."""
        for directory in base.conf.reposdir:
            for file in sorted(glob.glob(os.path.join(directory, "*.repo"))):
                try:
                    with open(file, encoding="utf-8", errors="replace") as stream:
                        if "[%s]" % self.request["repository"] not in stream.read():
                            continue
                    libdnf.conf.ConfigParser().read(file)
                except (RuntimeError, OSError, IOError) as problem:
                    self.found("configuration_broken", words=problem)
                    return
        self.found("not_registered")

    # --- The repository itself -----------------------------------------------------------------------------

    def refresh(self, base, vendor):
        link_caches(self.automatic.real.cachedir, base.conf.cachedir, vendor.id)
        own = os.path.join(self.automatic.real.cachedir, os.path.basename(vendor._repo.getCachedir()), "pubring")
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
            self.answer["refreshed"] = int(time.time())
        except dnf.exceptions.RepoError as problem:
            self.found("unreachable", words=problem, address=self.answer["address"], proxy=str(vendor.proxy or ""))
            shutil.rmtree(target, ignore_errors=True)
            vendor._repo.setSyncStrategy(dnf.repo.SYNC_ONLY_CACHE)
        vendor.timeout, vendor.retries = timeout, retries

    # --- What is offered, and what the run would do ------------------------------------------------------------

    def prepare(self, base):
        """Leaves out what is not known of other repositories; a local one is read as the run reads it."""
        for repo in list(base.repos.iter_enabled()):
            if is_local(repo):
                repo._repo.setSyncStrategy(dnf.repo.SYNC_TRY_CACHE)
            elif not is_known(repo):
                self.unknown.append(repo.id)
                repo.disable()
            if self.request["online"] and repo.id != self.vendor.id:
                self.probe(base, repo)

    def probe(self, base, repo):
        """A repository that must be there and is not ends the whole run. Only its first file is fetched."""
        is_asked = repo.id in self.unknown or (repo._metadata_expire_in()[1] or 1) <= 0
        if repo.skip_if_unavailable or is_local(repo) or not is_asked or time.time() > self.begin + LONGEST_PROBES:
            return
        address = repo.metalink or repo.mirrorlist or (repo.baseurl[0].rstrip("/") + "/repodata/repomd.xml" if repo.baseurl else "")
        if not address:
            return
        repo.timeout, repo.retries = 4, 1
        try:
            base.urlopen(address, repo=repo, mode="w+b").close()
        except Exception as problem:
            self.found("unreadable", words="repository '%s': %s" % (repo.id, problem))

    def load(self, base):
        try:
            self.prepare(base)
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
        self.look_at_keys(base, current)
        if newest and newest > current:
            self.answer["newer"] = True
            self.judge(base, [newest], [newest])
            self.look_at_room(base, newest, current)
            self.look_at_signature(base, newest)
            self.look_at_log(newest)
        else:
            self.look_at_next(base, newest or current)
            self.look_at_room(base, newest or current, current)

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
        hidden = [each for each in candidates if not self.is_visible(base, each)]
        if hidden:
            self.name_what_hides(base, hidden[0])
            return
        try:
            if dnf.automatic:
                dnf.automatic.main.upgrade(base, self.upgrade_type)
            else:
                base.upgrade_all()
            base.resolve()
        except dnf.exceptions.Error as problem:
            self.found("unsolvable", words=problem, unknown=self.unknown)
            return
        items = list(base.transaction.install_set) if base.transaction else []
        if any(each.name == self.package and each >= target for each in items):
            return
        self.name_what_passes_over(base, target, items)

    def is_visible(self, base, package, flags=hawkey.APPLY_EXCLUDES):
        query = base.sack.query(flags=flags).available()
        return bool(query.filterm(name=package.name, evr=package.evr, arch=package.arch, reponame=package.reponame))

    # --- What hides a package --------------------------------------------------------------------------------

    def name_what_hides(self, base, package):
        before = len(self.obstacles)
        if not self.is_visible(base, package, hawkey.IGNORE_REGULAR_EXCLUDES):
            self.name_module(base)
            return
        repo = base.repos[package.reponame]
        disabled = set(base.conf.disable_excludes)
        vendor_places = self.vendor_places(self.vendor)
        if "all" not in disabled and "main" not in disabled:
            self.name_patterns(base, package, base.conf, self.automatic.main_places())
        if "all" not in disabled and self.vendor.id not in disabled:
            self.name_patterns(base, package, repo, vendor_places)
        self.name_version_locks(base, package)
        if len(self.obstacles) == before:
            self.found("hidden", version=package.version)

    def matches(self, base, pattern, package):
        query = dnf.subject.Subject(pattern).get_best_query(
            self.all_of(base), with_nevra=True, with_provides=False, with_filenames=False
        )
        return any(each.name == package.name and each.evr == package.evr for each in query)

    def all_of(self, base):
        # Excludes are still in force in a plain query: DNF evaluated the patterns before they were.
        if not hasattr(base, "unrestricted"):
            sack = base.sack
            sack.set_use_includes(False)
            sack.reset_excludes()
            sack.reset_includes()
            base.unrestricted = sack
        return base.unrestricted

    def name_patterns(self, base, package, options, places):
        for pattern in sorted(set(options.excludepkgs)):
            if self.matches(base, pattern, package):
                place = place_of_option(places, ("exclude", "excludepkgs"), pattern)
                self.found("excluded", place, word=pattern, version=package.version)
        included = sorted(set(options.includepkgs))
        if included and not any(self.matches(base, pattern, package) for pattern in included):
            place = place_of_option(places, ("includepkgs",))
            self.found("not_included", place, words=" ".join(included), version=package.version)

    def name_version_locks(self, base, package):
        plugin = "/etc/dnf/plugins/versionlock.conf"
        place = place_of_option([(plugin, "main")], ("locklist",))
        file = place["text"].partition("=")[2].strip() or "/etc/dnf/plugins/versionlock.list"
        try:
            with open(file, encoding="utf-8", errors="replace") as stream:
                lines = stream.read().splitlines()
        except OSError:
            return
        forms = [hawkey.FORM_NEVRA, hawkey.FORM_NEVR, hawkey.FORM_NEV, hawkey.FORM_NA, hawkey.FORM_NAME]
        for number, line in enumerate(lines, 1):
            pattern = line.strip()
            if not pattern or pattern[0] == "#":
                continue
            excludes = pattern[0] == "!"
            for nevra in dnf.subject.Subject(pattern.lstrip("!")).get_nevra_possibilities(forms=forms):
                query = nevra.to_query(self.all_of(base))
                is_same = any(each.name == package.name and each.evr == package.evr for each in query)
                names = self.all_of(base).query().filterm(name__glob=nevra.name, name=package.name)
                if is_same if excludes else (names and not is_same):
                    self.found(
                        "version_locked", {"file": file, "line": number, "text": line}, word=pattern, version=package.version
                    )
                    break
                if query:
                    break

    def name_module(self, base):
        names = []
        try:
            for module in base._moduleContainer.getModulePackages():
                artifacts = list(module.getArtifacts())
                if any(name.rsplit("-", 2)[0] == self.package for name in artifacts):
                    names.append("%s:%s" % (module.getName(), module.getStream()))
        except Exception:  # Older bindings; the obstacle itself is sure.
            pass
        self.found("in_module", words=", ".join(sorted(set(names))) or "an enabled module")

    # --- What passes a package over ------------------------------------------------------------------------------

    def name_what_passes_over(self, base, target, items):
        for item in items:
            if item.name != self.package and any(
                dependency in target.provides or str(dependency).split()[0] == self.package for dependency in item.obsoletes
            ):
                self.found("obsoleted", words=str(item), by=item.name, other=item.reponame)
                return
        if self.upgrade_type == "security":
            place = place_of_option([(self.automatic.settings_file, "commands")], ("upgrade_type",))
            self.found("security_only", place)
            return
        if self.name_other_repository(base, target):
            return
        try:
            base.reset(goal=True)
            base._transaction = None
            base.conf.best = True
            base._update_security_filters = []
            base.package_upgrade(target)
            base.resolve()
            self.found("passed_over")
        except dnf.exceptions.Error as problem:
            self.found("unsolvable", words=problem, unknown=self.unknown)

    def name_other_repository(self, base, target):
        own = base.repos[target.reponame].priority
        for package in base.sack.query().available().filterm(name=self.package):
            other = base.repos[package.reponame]
            if package.reponame not in (target.reponame, self.vendor.id) and other.priority < own:
                places = self.vendor_places(other) + self.vendor_places(self.vendor)
                place = place_of_option(places, ("priority",))
                self.found("outranked", place, words=str(package), by=other.id, priority=other.priority, own=own)
                return True
        return False

    # --- Signatures and room -----------------------------------------------------------------------------------

    def look_at_keys(self, base, installed):
        if not self.vendor.gpgcheck:
            return
        transaction = rpm.TransactionSet()
        transaction.setVSFlags(-1)
        keys = {header["version"].lower() for header in transaction.dbMatch("name", "gpg-pubkey")}
        keys = {key.decode() if isinstance(key, bytes) else key for key in keys}
        self.answer["keys"] = len(keys)
        signer = ""
        for header in transaction.dbMatch("name", self.package):
            for tag in ("%{RSAHEADER:pgpsig}", "%{DSAHEADER:pgpsig}", "%{SIGPGP:pgpsig}", "%{SIGGPG:pgpsig}"):
                match = re.search(r"[Kk]ey ID ([0-9a-f]{8,})", header.sprintf(tag))
                signer = match.group(1)[-8:] if match else signer
        is_missing = signer not in {key[-8:] for key in keys} if signer else not keys
        if is_missing:
            self.found("no_key", words=signer, address=" ".join(self.vendor.gpgkey))

    def look_at_signature(self, base, package):
        """Of a package whose file is there, or is fetched now, rpm itself is asked."""
        if not self.vendor.gpgcheck:
            return
        if self.request["online"] and self.answer["refreshed"] and package.downloadsize <= LARGEST_PACKAGE:
            if not any(each["kind"] == "unreachable" for each in self.obstacles):
                base.conf.cacheonly = 0
                try:
                    base.download_packages([package])
                except Exception as problem:
                    self.found("not_downloaded", words=problem, address=self.answer["address"])
                    return
        try:
            is_there = os.path.getsize(package.localPkg()) == package.downloadsize
        except OSError:
            return
        if is_there:
            result, words = base.package_signature_check(package)
            lacks_key = any(each["kind"] == "no_key" for each in self.obstacles)
            self.obstacles[:] = [each for each in self.obstacles if each["kind"] != "no_key"]
            if result != 0:
                # Without the vendor's own key nothing can be said of the signature.
                kind = "no_key" if result == 1 and lacks_key else "signature_refused"
                self.found(kind, words=words, address=" ".join(self.vendor.gpgkey))
            else:
                self.try_transaction(base, package)

    def try_transaction(self, base, package):
        """rpm is asked what it has against the package; what others of the same run may mend is not asked."""
        items = list(base.transaction.install_set) if base.transaction else []
        if [str(item) for item in items] != [str(package)]:
            return
        transaction = rpm.TransactionSet()
        transaction.setFlags(rpm.RPMTRANS_FLAG_TEST)
        transaction.setVSFlags(-1)
        with open(package.localPkg(), "rb") as stream:
            transaction.addInstall(transaction.hdrFromFdno(stream.fileno()), package.localPkg(), "u")
            stream.seek(0)
            problems = transaction.run(lambda *_: stream.fileno(), None) or []
        of_room = (rpm.RPMPROB_DISKSPACE, rpm.RPMPROB_DISKNODES)
        words = [text for text, problem in problems if problem[0] not in of_room]
        if words:
            self.found("refused_by_rpm", words="; ".join(words), version=package.version)

    def look_at_log(self, package):
        """A script that ended an installation of this very version. The log outlives journal and restart."""
        name = "%s-%s-%s.%s" % (package.name, package.version, package.release, package.arch)
        for file in (os.path.join(self.automatic.real.logdir, "dnf.rpm.log" + end) for end in ("", ".1")):
            place = last_line(file, re.compile(r"error: %%\w+\(%s\) scriptlet failed" % re.escape(name)))
            if place:
                self.found("script_failed", place, version="%s-%s" % (package.version, package.release))
                return

    def look_at_room(self, base, package, installed):
        growth = package.installsize - installed.installsize
        directories = sorted({os.path.dirname(name) for name in installed.files}) or ["/usr"]
        by_device = {}
        for directory in map(existing, directories):
            is_read_only = os.statvfs(directory).f_flag & os.ST_RDONLY
            by_device.setdefault((os.stat(directory).st_dev, is_read_only), directory)
        for directory in by_device.values():
            self.look_at_disk(directory, 0, 0)
        # How much goes where is not known before the package is there.
        roomiest = max(by_device.values(), key=lambda directory: os.statvfs(directory).f_bavail)
        self.look_at_disk(roomiest, growth, 0)
        self.look_at_disk(self.automatic.real.cachedir, package.downloadsize, USUAL_ROOM)
        history = os.path.join(self.automatic.real.persistdir, "history.sqlite")
        self.look_at_disk(self.automatic.real.persistdir, 0 if os.path.exists(history) else ROOM_FOR_HISTORY, USUAL_ROOM)
        self.look_at_disk("/var/lib/rpm", 0, USUAL_ROOM)

    def look_at_disk(self, directory, needed, usual):
        directory = existing(directory)
        state = os.statvfs(directory)
        free = state.f_bavail * state.f_frsize
        # A file system without a number of files, like one of a network, names none.
        lacks_files = state.f_files > 0 and state.f_ffree == 0
        if any(each.get("directory") == directory for each in self.obstacles):
            return
        if state.f_flag & os.ST_RDONLY:
            self.found("read_only", directory=directory)
        elif free < max(needed, LEAST_ROOM) or lacks_files:
            self.found("disk_full", directory=directory, free=free, needed=max(needed, LEAST_ROOM))
        elif free < needed + usual:
            self.found("disk_low", directory=directory, free=free, needed=needed + usual)


def last_line(file, pattern):
    """The last line of a log that has the pattern: file, line and text."""
    try:
        if os.path.getsize(file) > LONGEST_LOG:
            return None
        with open(file, encoding="utf-8", errors="replace") as stream:
            lines = [(number, line) for number, line in enumerate(stream, 1) if pattern.search(line)]
    except OSError:
        return None
    return {"file": file, "line": lines[-1][0], "text": lines[-1][1].strip()} if lines else None


def existing(directory):
    while not os.path.isdir(directory):
        directory = os.path.dirname(directory)
    return directory


def main():
    with open(sys.argv[1], encoding="utf-8") as stream:
        request = json.load(stream)
    # Plugins print; the answer is alone on the real standard output.
    output = os.fdopen(os.dup(1), "w")
    os.dup2(2, 1)
    look = Look(request)
    try:
        look.run()
    except (Exception, SystemExit) as problem:
        look.found("failed", words="%s: %s" % (type(problem).__name__, problem))
    json.dump(look.answer, output)
    output.write("\n")


if __name__ == "__main__":
    main()
