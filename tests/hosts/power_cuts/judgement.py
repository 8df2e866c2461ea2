"""What must be true of a host whose power was cut, at the next boot and later."""

import re
from dataclasses import replace

from disposable_hosts.apt import site as apt

# Under these names files are on their way, and APT looks at none of them.
ON_THE_WAY = re.compile(r"/\.[^/]*\.package-minder$|/\.zant-backups\.(new|old)(/|$)")


def after_the_boot(found, described, scenario, has_ended):
    """Sentences about a host that has just booted again."""
    if not found.is_configuration_accepted:
        yield f"APT does not accept its configuration: {found.answers['configuration without lists']}"
    known = [described["fresh"], described[scenario.begins_with], described[scenario.ends_with]]
    for path, entry in found.etc.items():
        if not any(one.etc.get(path) == entry for one in known) and not _may_lie_there(path):
            yield f"{path} is neither the host's nor ours: {entry}"
    for path in _lost(found, known):
        yield f"{path} is missing"
    yield from _own_files_lost(found, described)
    if has_ended:
        yield from _differences(found, described[scenario.ends_with], "the work had ended with success")


def after_a_cycle(result, found, described):
    yield from _after_work("once", result, found, described["set-up"])


def after_a_purge(result, found, described, before):
    """`before` is what the host was like that is purged."""
    expected = described["purged"]
    if apt.SOURCE_LIST not in before.etc:
        # Without the list the hold is released only by a purge that finds it unfinished.
        expected = replace(expected, answers={question: answer for question, answer in expected.answers.items() if question != "held"})
    yield from _after_work("purge", result, found, expected)
    # The purge that nothing disturbs is no measure for what it is to give back.
    yield from _etc_differences(found.etc, described["fresh"].etc, "after the purge")


def _after_work(command, result, found, expected):
    if result.status != 0:
        yield f"the next {result}"
    yield from _differences(found, expected, f"after {command}")
    yield from (f"after {command}, {path} lies about" for path in sorted(found.ours - expected.ours))


def _differences(found, expected, when):
    yield from _etc_differences(found.etc, expected.etc, when)
    for question, answer in expected.answers.items():
        if found.answers.get(question) != answer:
            yield f"{when}, {question} is {found.answers.get(question)!r} instead of {answer!r}"


def _etc_differences(found, expected, when):
    for path in sorted(found.keys() | expected.keys()):
        if found.get(path) != expected.get(path):
            yield f"{when}, {path} is {found.get(path)} instead of {expected.get(path)}"


def _may_lie_there(path):
    return ON_THE_WAY.search(path)


def _lost(found, known):
    """What every state has, and this one has not."""
    managed = {path for path in known[0].etc if any(one.etc.get(path) != known[0].etc[path] for one in known)}
    return sorted(known[0].etc.keys() - managed - found.etc.keys())


def _own_files_lost(found, described):
    """The host's own files that are neither in place nor among complete backups."""
    fresh = described["fresh"].etc
    for path in apt.SERVICE_FILES:
        if path not in fresh or fresh[path] == found.etc.get(path):
            continue
        backup = f"{apt.BACKUPS}/{path.rsplit('/', 1)[1]}"
        if found.etc.get(backup) != fresh[path]:
            yield f"{path} of the host's own is lost: there is {found.etc.get(path)}, its copy is {found.etc.get(backup)}"
