"""Bad input gets one clear message and leaves the host as it was."""

import pytest
from disposable_hosts.package_minder import SETTINGS_FILE, STAGING

WRONG_USAGE, NO_PACKAGE_MANAGER, NO_RIGHTS, BAD_CONFIGURATION = 64, 69, 77, 78
TEMPLATES = f"{STAGING}/config-files/apt/templates"

pytestmark = pytest.mark.xdist_group("bad input")


@pytest.fixture(scope="module")
def shared_site(open_shared_site):
    """One host for all tests here: none of them may change it."""
    return open_shared_site()


@pytest.fixture
def refused(shared_site):
    """Runs the program and returns its message, after checking that it is short and that nothing was changed."""

    def run(arguments, status, preparation="true", cleanup="true"):
        host = shared_site.host
        host.run(preparation)
        before = host.snapshot()
        result = host.run(arguments, check=False)
        assert (result.status, result.output) == (status, ""), str(result)
        assert 1 <= len(result.error.splitlines()) <= 3, str(result)
        assert shared_site.differences_since(before) == []
        host.run(cleanup)
        return result.error

    return run


@pytest.mark.parametrize("arguments", ["", "dance", "once --loudly", "once --set minder.interval", "--log-level hushed once"])
def test_wrong_usage_is_refused(shared_site, arguments):
    before = shared_site.host.snapshot()

    result = shared_site.minder.run(arguments, check=False)

    assert result.status == WRONG_USAGE, str(result)
    assert result.error
    assert shared_site.differences_since(before) == []


def test_a_settings_file_that_is_not_there_is_named(refused):
    assert "/etc/nowhere" in refused("package-minder --settings /etc/nowhere once", BAD_CONFIGURATION)


@pytest.mark.parametrize(
    "key, value",
    [
        ("minder.interval", "soon"),
        ("minder.interval", "0"),
        ("minder.interval", "3601"),
        ("minder.automatic_upgrades", "perhaps"),
        ("minder.command_time_limit", "-1"),
        ("package.apt.repo.bandwidth_limit", "fast"),
    ],
)
def test_a_bad_value_is_refused_with_its_key(refused, key, value):
    message = refused(f"package-minder --set {key}={value} once", BAD_CONFIGURATION)

    assert key in message
    assert value in message


def test_a_bad_value_in_the_settings_file_is_refused_with_its_key(refused):
    saved = f"cp {SETTINGS_FILE} /root/saved"
    message = refused(
        "package-minder once", BAD_CONFIGURATION,
        f"{saved} && echo minder.interval=soon >> {SETTINGS_FILE}", f"cp /root/saved {SETTINGS_FILE}",
    )

    assert "minder.interval" in message


def test_a_missing_staging_tree_is_named(refused):
    message = refused("package-minder --set minder.staging_directory=/srv/nothing once", BAD_CONFIGURATION)

    assert "/srv/nothing" in message


@pytest.mark.parametrize(
    "missing",
    [
        "keyrings/zant-velmora.gpg",
        "config-files/apt/20auto-upgrades",
        "config-files/apt/templates/50unattended-upgrades.template",
        "config-files/apt/templates/zant-on-calendar.conf.template",
    ],
)
def test_what_the_staging_tree_lacks_is_named(refused, missing):
    path = f"{STAGING}/{missing}"

    message = refused("package-minder once", BAD_CONFIGURATION, f"mv {path} /root/missing", f"mv /root/missing {path}")

    assert missing in message


def test_a_template_with_unbalanced_braces_is_named(refused):
    template = f"{TEMPLATES}/75lowerspeed.template"

    message = refused(
        "package-minder once", BAD_CONFIGURATION,
        f"cp {template} /root/saved && echo '}}' >> {template}", f"cp /root/saved {template}",
    )

    assert "75lowerspeed" in message


def test_only_root_may_work(refused):
    message = refused("setpriv --reuid=nobody --clear-groups package-minder once", NO_RIGHTS)

    assert "root" in message


@pytest.mark.parametrize("os_release", ["", "ID=templeos", "{}{0} %s \\x00"], ids=["empty", "another system", "nonsense"])
def test_a_host_without_a_supported_package_manager_is_told_so(refused, os_release):
    message = refused(
        "package-minder once", NO_PACKAGE_MANAGER,
        f"mv /etc/os-release /etc/saved && printf '%s' '{os_release}' > /etc/os-release", "mv /etc/saved /etc/os-release",
    )

    assert "package manager" in message
