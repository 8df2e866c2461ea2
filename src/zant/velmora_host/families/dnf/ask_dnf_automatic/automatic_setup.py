"""DNF as dnf-automatic sets it up, reading from links to the host's cache."""

import os
import re

import dnf
import dnf.cli
import dnf.cli.cli

NO_AUTOMATIC = ""
try:
    import dnf.automatic.main
except ImportError as problem:
    # It may come with the program, which the first cycle installs.
    NO_AUTOMATIC = str(problem)


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

    def upgrade(self, base, upgrade_type):
        dnf.automatic.main.upgrade(base, upgrade_type)

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

    def upgrade(self, base, upgrade_type):
        base.upgrade_all()


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
