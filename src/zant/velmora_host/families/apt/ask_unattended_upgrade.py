"""Asks unattended-upgrade and APT, without running them, what they would do with one package.

The rules of unattended-upgrade are not repeated here: its own functions are called, over a cache that is built
in a private directory. Running it "dry" is no way to ask: that takes the locks, overwrites its file of the
process id, may repair dpkg's state, downloads, and writes a stamp and a log.

The only argument is a JSON object:
  program           the path of unattended-upgrade
  package           its name
  installed         its version on the host
  architecture      its architecture on the host
  url, suite, component    how APT's sources name the repository that it comes from
  configuration     a file of APT settings that win over the host's; it names the private directories
  private           a directory to write into
  days              dates; is upgrading allowed on them?
  planned           APT is asked with the configuration that the next cycle would leave, where the lists of the
                    repository may not be there yet
  origin            the pattern that the repository's origin is to match
  version           if given, only what the package of this version would ask is found out
  debs              directories where a downloaded package may lie, beside the host's own

Prints one JSON object. Nothing is written outside of the private directory.
"""

import datetime
import importlib.machinery
import importlib.util
import json
import logging
import os
import re
import subprocess
import sys

WORDS_LIMIT = 4000
# Of nothing, compressed.
EMPTY_LIMIT = 40
ENDINGS = ("", ".lz4", ".gz", ".xz", ".bz2", ".zst", ".lzma")


class Words(logging.Handler):
    """What unattended-upgrade would have written into its log."""

    def __init__(self):
        super().__init__(logging.DEBUG)
        self.lines = []

    def emit(self, record):
        self.lines.append(record.getMessage())

    def about(self, *texts):
        return [line for line in self.lines if any(text in line for text in texts)]


class OnePackage:
    """A cache as unattended-upgrade sees it, in which it finds a single package when it goes through all."""

    def __init__(self, cache, name):
        self._cache, self._name = cache, name

    def __iter__(self):
        yield self._cache[self._name]

    def __getitem__(self, name):
        return self._cache[name]

    def __getattr__(self, name):
        return getattr(self._cache, name)


def next_version(version):
    """A version that the package does not have yet: the next that would be called a major one."""
    match = re.match(r"((?:\d+:)?)(\d+)", version)
    return f"{match[1]}{int(match[2]) + 1}.0" if match else f"{version}+next"


def release_with(origin, suite):
    """What a repository would say of itself whose origin matches a pattern: "o=ORIGIN,l=LABEL"."""
    names = {"o": "Origin", "origin": "Origin", "l": "Label", "label": "Label", "a": "Suite", "suite": "Suite",
             "archive": "Suite", "n": "Codename", "codename": "Codename"}
    fields = {"Suite": suite}
    for part in origin.split(","):
        key, _, value = part.partition("=")
        if key.strip() in names:
            fields[names[key.strip()]] = value.strip()
    return "".join(f"{name}: {value}\n" for name, value in fields.items())


def what_lacks(release, component, architecture):
    """Why APT has no list of a repository's packages, by its Release: what is missing there, and the line that says so.

    None when the list is empty: APT keeps no empty one.
    """
    sizes = re.findall(rf"(?m) (\d+) {re.escape(component)}/binary-(?:{re.escape(architecture)}|all)/Packages(?:\.\w+)?$", release)
    if sizes:
        return None if min(map(int, sizes)) <= EMPTY_LIMIT else ["list", ""]
    architectures = re.search(r"(?mi)^Architectures:.*$", release)
    if architectures and not {architecture, "all"} & set(architectures[0].split()[1:]):
        return ["architecture", architectures[0]]
    components = re.search(r"(?mi)^Components:.*$", release)
    return ["component", components[0] if components else ""]


def shortened(text):
    text = str(text)
    return text if len(text) <= WORDS_LIMIT else text[:WORDS_LIMIT] + " ..."


def words_of(error):
    return shortened(f"{type(error).__name__}: {error}")


class Outlook:
    def __init__(self, request, apt_pkg, apt):
        self.request, self.apt_pkg, self.apt = request, apt_pkg, apt
        self.name = request["package"]
        self.words = Words()
        self.answer = {}
        logging.getLogger().addHandler(self.words)
        logging.getLogger().setLevel(logging.DEBUG)
        self._lists = None

    def apply_configuration(self):
        self.apt_pkg.read_config_file(self.apt_pkg.config, self.request["configuration"])
        if self._lists:
            self.apt_pkg.config.set("Dir::State::lists", self._lists)

    # --- what the repository is known to have

    def find_index(self):
        """The file that lists the repository's packages; None when APT's sources have no such repository, or none yet."""
        indexes = dict(self._registered_indexes())
        # Those for all architectures come with any architecture.
        for plain in indexes.values() if self.request["architecture"] in indexes else ():
            self.answer.setdefault("index", plain)
            found = [plain + ending for ending in ENDINGS if os.path.exists(plain + ending)]
            if found:
                self.answer["index"] = plain
                return found[0]
        return None

    def _registered_indexes(self):
        """Architectures, and where APT keeps the repository's lists for them, those that are not there included."""
        sources = self.apt_pkg.SourceList()
        sources.read_main_list()
        for meta in sources.list:
            if meta.uri.rstrip("/") != self.request["url"].rstrip("/") or meta.dist != self.request["suite"]:
                continue
            for index in meta.index_files:
                # "ADDRESS SUITE/COMPONENT ARCHITECTURE Packages (FILE)"
                match = re.search(r" (\S+) (\S+) Packages \((/\S+)\)$", index.describe)
                if (
                    match and match[1] == f"{self.request['suite']}/{self.request['component']}"
                    and match[2] in (self.request["architecture"], "all")
                ):
                    yield match[2], re.sub(r"_Packages\.\w+$", "_Packages", match[3])

    def can_make_up_index(self):
        """Whether it is known what the list of the repository's packages would be: a new one, or an empty one."""
        if "index" not in self.answer:
            return False
        release = self._release()
        if not release:
            return bool(self.request.get("planned"))
        lack = what_lacks(release, self.request["component"], self.request["architecture"])
        if lack:
            self.answer["lack"] = lack
        return not lack

    def make_up_index(self):
        """Lists in which the repository is known and has nothing; the file that lists its packages."""
        lists = os.path.join(self.request["private"], "made-up")
        os.makedirs(os.path.join(lists, "partial"))
        known = self.apt_pkg.config.find_dir("Dir::State::lists")
        for entry in os.scandir(known) if os.path.isdir(known) else ():
            if entry.name not in ("partial", "auxfiles", "lock"):
                os.symlink(entry.path, os.path.join(lists, entry.name))
        index = os.path.join(lists, os.path.basename(self.answer["index"]))
        if not self._release():
            with open(re.sub(r"_[^_]+_binary-[^_]+_Packages$", "_InRelease", index), "w") as file:
                file.write(release_with(self.request["origin"], self.request["suite"]))
        with open(index, "w"):
            pass
        return index

    def newest_in(self, index):
        """The repository's newest version of the package: its stanza, or None."""
        text = subprocess.run(
            ["/usr/lib/apt/apt-helper", "-c", self.request["configuration"], "cat-file", index], capture_output=True, check=True
        ).stdout
        self._index_text = text
        newest = None
        for stanza in re.split(rb"\n\s*\n", text):
            if not re.search(rb"(?mi)^Package:[ \t]*" + re.escape(self.name.encode()) + rb"[ \t]*$", stanza):
                continue
            section = self.apt_pkg.TagSection(stanza.strip(b"\n") + b"\n")
            if section.get("Architecture") not in (self.request["architecture"], "all"):
                continue
            if newest is None or self.apt_pkg.version_compare(section["Version"], newest["Version"]) > 0:
                newest = section
        return newest

    def add_next_version(self, index, newest):
        """From now on the cache has one more version, higher than all; returns it."""
        version = next_version(max(filter(None, [newest and newest["Version"], self.request["installed"]]), key=_order(self.apt_pkg)))
        if newest is None:
            stanza = f"Package: {self.name}\nVersion: {version}\nArchitecture: {self.request['architecture']}\n"
            stanza += f"Maintainer: nobody\nFilename: pool/{self.name}.deb\nSize: 1\nDescription: next version\n"
        else:
            stanza = re.sub(r"(?mi)^Version:.*$", lambda _: f"Version: {version}", str(newest)).strip("\n") + "\n"
            # The share of hosts is one version's own.
            stanza = re.sub(r"(?mi)^Phased-Update-Percentage:.*\n", "", stanza)
        lists = os.path.join(self.request["private"], "next")
        os.makedirs(os.path.join(lists, "partial"))
        plain = os.path.basename(self.answer["index"])
        for entry in os.scandir(os.path.dirname(index)):
            if entry.name not in ("partial", "auxfiles", "lock") and entry.name != os.path.basename(index):
                os.symlink(entry.path, os.path.join(lists, entry.name))
        with open(os.path.join(lists, plain), "wb") as file:
            stanzas = [self._index_text.rstrip(b"\n"), stanza.encode(errors="surrogateescape")]
            file.write(b"\n\n".join(filter(None, stanzas)) + b"\n")
        self._lists = lists + "/"
        self.apply_configuration()
        with open(self.request["configuration"], "a") as file:
            file.write(f'Dir::State::lists "{self._lists}";\n')
        return version

    # --- what APT prefers

    def ask_policy(self, version):
        cache = self.cache = self.apt_pkg.Cache(None)
        package = cache[self.name]
        target = next(v for v in package.version_list if v.ver_str == version)
        policy = self.apt_pkg.DepCache(cache).policy
        candidate = policy.get_candidate_ver(package)
        answer = {
            "candidate": candidate.ver_str if candidate else "",
            "priority": policy.get_priority(target),
            # Another repository has a still higher version; unattended-upgrade takes that of an allowed one.
            "is_foreign": bool(candidate) and self.apt_pkg.version_compare(candidate.ver_str, version) > 0,
            "is_held": package.selected_state == self.apt_pkg.SELSTATE_HOLD,
            "not_automatic": self._is_not_automatic(),
            "is_phased": False,
            "pinned_by": [],
        }
        # A repository may ask for a low priority itself.
        if answer["candidate"] != version and not self._is_pinned_by(None, cache, package, version):
            sources = [source for source in self._sources_of_pins() if self._is_pinned_by(source, cache, package, version)]
            answer["pinned_by"] = [self.place_of(source) for source in sources]
        if answer["candidate"] != version:
            answer["is_phased"] = self._is_phased(cache, package, version)
        return answer

    def _is_phased(self, cache, package, version):
        """Whether APT would take the version were it not for the share of hosts that it is given to."""
        setting = "APT::Get::Always-Include-Phased-Updates"
        before = self.apt_pkg.config.find(setting)
        try:
            self.apt_pkg.config.set(setting, "true")
            candidate = self.apt_pkg.DepCache(cache).policy.get_candidate_ver(package)
            return bool(candidate) and candidate.ver_str == version
        finally:
            self.apt_pkg.config.set(setting, before)

    def place_of(self, source):
        """The host's file that a planned one is a copy of."""
        planned = os.path.join(self.request["private"], "planned", "")
        return source.replace(planned, "/etc/apt/", 1) if source.startswith(planned) else source

    def _is_not_automatic(self):
        """As the repository says itself: newer releases of python-apt do not tell any more."""
        return re.search(r"(?mi)^NotAutomatic:[ \t]*yes", self._release()) is not None

    def _release(self):
        """What the repository says of itself; empty when nothing is known."""
        beginning = self.answer["index"].partition(f"_{self.request['component']}_binary-")[0]
        for ending in ("_InRelease", "_Release"):
            try:
                with open(beginning + ending, encoding="utf-8", errors="replace") as file:
                    return file.read()
            except OSError:
                continue
        return ""

    def _sources_of_pins(self):
        config = self.apt_pkg.config
        directory = config.find_dir("Dir::Etc::preferencesparts")
        names = sorted(os.listdir(directory)) if os.path.isdir(directory) else []
        files = [os.path.join(directory, name) for name in names if re.fullmatch(r"[\w.-]+?(\.pref)?", name) and (name.endswith(".pref") or "." not in name)]
        files.append(config.find_file("Dir::Etc::preferences"))
        return ["", *(file for file in files if os.path.isfile(file))]

    def _is_pinned_by(self, source, cache, package, version):
        """Whether this file alone, the default release (named by an empty text), or neither of them pins the package."""
        policy = self.apt_pkg.Policy(cache)
        default = self.apt_pkg.config.find("APT::Default-Release")
        if source:
            policy.read_pinfile(source)
        elif default and source is not None:
            policy.create_pin("Release", "", default, 990)
        policy.init_defaults()
        candidate = policy.get_candidate_ver(package)
        return candidate is None or candidate.ver_str != version

    # --- what unattended-upgrade does

    def load(self):
        path = self.request["program"]
        with open(path, "rb") as file:
            first = file.readline(200).decode(errors="replace").strip()
        words = first.lstrip("#!").split()
        if not first.startswith("#!") or "python" not in first:
            self.answer["stage"] = "foreign"
            raise ValueError(f"{path} is no program in Python: its first line is \"{first}\"")
        if not os.access(words[0], os.X_OK):
            raise OSError(f"{path} needs {words[0]}, which cannot be executed")
        loader = importlib.machinery.SourceFileLoader("unattended_upgrade", path)
        module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
        sys.modules[loader.name] = module
        loader.exec_module(module)
        return module

    def ask_days(self, module):
        days = []
        for text in self.request["days"]:
            day = datetime.date.fromisoformat(text)
            module.date = type("Date", (datetime.date,), {"today": classmethod(lambda _, day=day: day)})
            days.append(module.is_update_day())
        module.date = datetime.date
        return days

    def ask_stop(self, module):
        before = len(self.words.lines)
        # What it says before is about what it could not find out.
        return " ".join(self.words.lines[before:][-1:]) if module.should_stop() else ""

    def open_cache(self, module):
        # The cache reads the host's configuration anew, and APT is told of it by init_system.
        original = self.apt_pkg.init_system

        def init_system():
            if self.request.get("planned"):
                self.apt_pkg.config.clear("Unattended-Upgrade")
                self.apt_pkg.read_config_dir(self.apt_pkg.config, self.apt_pkg.config.find_dir("Dir::Etc::parts"))
            self.apply_configuration()
            original()

        self.apt_pkg.init_system = init_system
        self.apt.Cache._check_and_create_required_dirs = lambda *_: None
        try:
            return module.UnattendedUpgradesCache(rootdir="/")
        finally:
            self.apt_pkg.init_system = original

    def ask_origins(self, module, version):
        """What is wrong with the origins, what they are, and whether the version comes from one."""
        files = [file for v in self.cache[self.name].version_list if v.ver_str == version for file, _ in v.file_list]
        try:
            origins = module.get_allowed_origins()
            allowed = [module.is_allowed_origin(file, origins) for file in files]
        except Exception as error:
            return {"error": words_of(error)}
        described = [f"o={f.origin},a={f.archive},l={f.label},c={f.component},n={getattr(f, 'codename', '')},site={f.site}" for f in files]
        return {"error": "", "allowed": list(dict.fromkeys(origins)), "is_allowed": any(allowed), "origins": described}

    def matching(self, patterns, module):
        """Those of a list that name the package; an entry that is no pattern stops unattended-upgrade."""
        return [pattern for pattern in patterns if module.is_pkgname_in_blacklist(self.name, [pattern])]

    def ask_lists(self, module):
        config = self.apt_pkg.config
        answer = {"blacklisted_by": [], "error": "", "is_whitelisted": True}
        for pattern in dict.fromkeys(config.value_list("Unattended-Upgrade::Package-Blacklist")):
            try:
                answer["blacklisted_by"] += self.matching([pattern], module)
            except Exception as error:
                answer["error"] = f"Unattended-Upgrade::Package-Blacklist \"{pattern}\": {words_of(error)}"
                answer["unreadable"] = pattern
        whitelist = config.value_list("Unattended-Upgrade::Package-Whitelist")
        for pattern in dict.fromkeys(whitelist):
            try:
                module.is_pkgname_in_whitelist(self.name, [pattern])
            except Exception as error:
                answer["error"] = f"Unattended-Upgrade::Package-Whitelist \"{pattern}\": {words_of(error)}"
                answer["unreadable"] = pattern
        if not answer["error"]:
            answer["is_whitelisted"] = module.is_pkgname_in_whitelist(self.name, whitelist)
            answer["whitelist"] = list(dict.fromkeys(whitelist))
        return answer

    def ask_upgrade(self, module, version):
        cache = self.open_cache(module)
        answer = {"broken": cache._depcache.broken_count, "upgrades": False}
        options = module.Options()
        options.debug = True
        before = len(self.words.lines)
        package = cache[self.name]
        chosen = module.calculate_upgradable_pkgs(OnePackage(cache, self.name), options)
        if any(p.name == package.name for p in chosen):
            cache.mark_upgrade_adjusted(package, from_user=not package.is_auto_installed)
            answer["marked"] = package.candidate.version if package.candidate else ""
            answer["upgrades"] = answer["marked"] == version and (package.marked_upgrade or package.marked_install)
        lines = list(dict.fromkeys(self.words.lines[before:]))
        answer["words"] = shortened("\n".join(lines))
        answer["excluded"] = self.ask_excluded(module, lines)
        return answer

    def ask_excluded(self, module, lines):
        """The other package that must not change, and what says so."""
        for line in lines:
            match = re.search(r"pkg (\S+) is blacklisted or is not whitelisted", line)
            if match:
                name = match[1]
                patterns = self.apt_pkg.config.value_list("Unattended-Upgrade::Package-Blacklist")
                return {"package": name, "patterns": [p for p in dict.fromkeys(patterns) if module.is_pkgname_in_blacklist(name, [p])]}
        return {}

    def ask_conffiles(self, module, version):
        """The downloaded package that would ask about a file of configuration; empty when none is known to."""
        if not module.dpkg_conffile_prompt():
            return ""
        file = f"{self.name}_{version.replace(':', '%3a')}_"
        for directory in [*self.request["debs"], self.answer["archives"]]:
            for entry in sorted(os.listdir(directory)) if os.path.isdir(directory) else []:
                path = os.path.join(directory, entry)
                if not entry.startswith(file) or not entry.endswith(".deb"):
                    continue
                self.answer["downloaded"] = path
                if module.conffile_prompt(path):
                    return path
        return ""

    # --- all of it

    def find(self):
        self.answer["archives"] = self.apt_pkg.config.find_dir("Dir::Cache::archives")
        self.apply_configuration()
        if "version" in self.request:
            self.answer["conffile_prompt"] = self.ask_conffiles(self.load(), self.request["version"])
            return
        index = self.find_index()
        if index is None and not self.can_make_up_index():
            return
        if index is None:
            index, newest = self.make_up_index(), None
            self._index_text = b""
        else:
            newest = self.newest_in(index)
        self.answer["newest"] = newest["Version"] if newest is not None else ""
        self.answer["newer"] = newest is not None and self.apt_pkg.version_compare(newest["Version"], self.request["installed"]) > 0
        for field in ("Size", "Installed-Size", "Filename", "Phased-Update-Percentage"):
            self.answer[field] = newest.get(field, "") if newest is not None else ""
        version = self.answer["newest"] if self.answer["newer"] else self.add_next_version(index, newest)
        self.answer["judged"] = version
        self.answer["policy"] = self.ask_policy(version)
        self.ask(version)

    def ask(self, version):
        self.answer["stage"] = "load"
        module = self.load()
        self.answer["stage"] = "ask"
        self.answer["days"] = self.ask_days(module)
        self.answer["stop"] = self.ask_stop(module)
        self.answer["on_shutdown"] = self.apt_pkg.config.find_b("Unattended-Upgrade::InstallOnShutdown", False)
        self.answer["origins"] = self.ask_origins(module, version)
        self.answer["lists"] = self.ask_lists(module)
        try:
            self.answer["upgrade"] = self.ask_upgrade(module, version)
        except Exception as error:
            # It would end like this itself: an origin or a pattern that cannot be read does it.
            self.answer["crash"] = words_of(error)
            return
        self.answer["conffile_prompt"] = self.ask_conffiles(module, version)
        self.answer["stage"] = "done"


def _order(apt_pkg):
    import functools

    return functools.cmp_to_key(apt_pkg.version_compare)


def main():
    # Others' code may print; the answer has the output for itself.
    output = os.fdopen(os.dup(1), "w")
    os.dup2(2, 1)
    sys.dont_write_bytecode = True
    answer = {"stage": "start"}
    try:
        request = json.loads(sys.argv[1])
        import apt  # reads APT's configuration
        import apt_pkg

        outlook = Outlook(request, apt_pkg, apt)
        answer = outlook.answer
        answer["stage"] = "index"
        outlook.find()
    except BaseException as error:
        answer["error"] = words_of(error)
    json.dump(answer, output)
    output.write("\n")
    output.close()


if __name__ == "__main__":
    main()
