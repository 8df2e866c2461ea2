"""What hides a package from DNF: exclusions, version locks, modules, or a plugin."""

import dnf.subject
import hawkey
from option_places import place_of_option, places_of


def is_visible(base, package, flags=hawkey.APPLY_EXCLUDES):
    query = base.sack.query(flags=flags).available()
    return bool(query.filterm(name=package.name, evr=package.evr, arch=package.arch, reponame=package.reponame))


def name_what_hides(look, base, package):
    before = len(look.obstacles)
    if not is_visible(base, package, hawkey.IGNORE_REGULAR_EXCLUDES):
        name_module(look, base)
        return
    repo = base.repos[package.reponame]
    disabled = set(base.conf.disable_excludes)
    vendor_places = places_of(look.vendor)
    if "all" not in disabled and "main" not in disabled:
        name_patterns(look, base, package, base.conf, look.automatic.main_places())
    if "all" not in disabled and look.vendor.id not in disabled:
        name_patterns(look, base, package, repo, vendor_places)
    name_version_locks(look, base, package)
    if len(look.obstacles) == before:
        look.found("hidden", version=package.version)


def matches(base, pattern, package):
    query = dnf.subject.Subject(pattern).get_best_query(
        all_of(base), with_nevra=True, with_provides=False, with_filenames=False
    )
    return any(each.name == package.name and each.evr == package.evr for each in query)


def all_of(base):
    # Excludes are still in force in a plain query: DNF evaluated the patterns before they were.
    if not hasattr(base, "unrestricted"):
        sack = base.sack
        sack.set_use_includes(False)
        sack.reset_excludes()
        sack.reset_includes()
        base.unrestricted = sack
    return base.unrestricted


def name_patterns(look, base, package, options, places):
    for pattern in sorted(set(options.excludepkgs)):
        if matches(base, pattern, package):
            place = place_of_option(places, ("exclude", "excludepkgs"), pattern)
            look.found("excluded", place, word=pattern, version=package.version)
    included = sorted(set(options.includepkgs))
    if included and not any(matches(base, pattern, package) for pattern in included):
        place = place_of_option(places, ("includepkgs",))
        look.found("not_included", place, words=" ".join(included), version=package.version)


def name_version_locks(look, base, package):
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
            query = nevra.to_query(all_of(base))
            is_same = any(each.name == package.name and each.evr == package.evr for each in query)
            names = all_of(base).query().filterm(name__glob=nevra.name, name=package.name)
            if is_same if excludes else (names and not is_same):
                look.found(
                    "version_locked", {"file": file, "line": number, "text": line}, word=pattern, version=package.version
                )
                break
            if query:
                break


def name_module(look, base):
    names = []
    try:
        for module in base._moduleContainer.getModulePackages():
            artifacts = list(module.getArtifacts())
            if any(name.rsplit("-", 2)[0] == look.package for name in artifacts):
                names.append("%s:%s" % (module.getName(), module.getStream()))
    except Exception:  # Older bindings; the obstacle itself is sure.
        pass
    look.found("in_module", words=", ".join(sorted(set(names))) or "an enabled module")
