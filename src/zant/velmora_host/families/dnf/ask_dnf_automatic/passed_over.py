"""Why a run leaves a package as it is that DNF can see."""

import dnf.exceptions
import dnf.transaction
from option_places import place_of_option, places_of


def name_what_passes_over(look, base, target, items):
    for item in items:
        if item.name != look.package and any(
            dependency in target.provides or str(dependency).split()[0] == look.package for dependency in item.obsoletes
        ):
            look.found("obsoleted", words=str(item), by=item.name, other=item.reponame)
            return
    if look.upgrade_type == "security":
        place = place_of_option([(look.automatic.settings_file, "commands")], ("upgrade_type",))
        look.found("security_only", place)
        return
    if name_other_repository(look, base, target):
        return
    try:
        base.reset(goal=True)
        base._transaction = None
        base.conf.best = True
        base._update_security_filters = []
        base.package_upgrade(target)
        base.resolve()
        look.found("passed_over")
    except dnf.exceptions.Error as problem:
        look.found("unsolvable", words=problem, unknown=look.unknown)


def name_other_repository(look, base, target):
    own = base.repos[target.reponame].priority
    for package in base.sack.query().available().filterm(name=look.package):
        other = base.repos[package.reponame]
        if package.reponame not in (target.reponame, look.vendor.id) and other.priority < own:
            places = places_of(other) + places_of(look.vendor)
            place = place_of_option(places, ("priority",))
            look.found("outranked", place, words=str(package), by=other.id, priority=other.priority, own=own)
            return True
    return False


def name_what_installs_beside(look, base, package):
    """Some packages are not upgraded: each version is installed beside those before it."""
    if not any(item.pkg == package and item.action == dnf.transaction.PKG_INSTALL for item in base.transaction):
        return
    names = {package.name} | {str(dependency).split()[0] for dependency in package.provides}
    word = next((each for each in base.conf.installonlypkgs if each in names), package.name)
    place = place_of_option(look.automatic.main_places(), ("installonlypkgs",), word)
    look.found("installed_beside", place, word=word)
