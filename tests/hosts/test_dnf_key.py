"""The key that an EL host checks the vendor's packages with: a file that was shipped, or what an address yields."""

import subprocess

import pytest
from disposable_hosts import built_packages
from disposable_hosts.dnf import site as dnf
from disposable_hosts.dnf.repository import KEY_ALGORITHM, DnfRepository
from disposable_hosts.dnf.site import DnfSite
from disposable_hosts.package_minder import STAGING
from disposable_hosts.signing_key import SigningKey
from documents import parse
from packaged_minder import RpmMinder

SHIPPED = f"{STAGING}/keyrings/zant-velmora.asc"
FROM_FILE = {dnf.KEY_URL_KEY: f"file://{SHIPPED}"}


@pytest.fixture(scope="module")
def foreign_key(tmp_path_factory):
    owner = "Somebody else <somebody@elsewhere.test>"
    with SigningKey(tmp_path_factory.mktemp("foreign-key"), owner, KEY_ALGORITHM) as key:
        yield key


@pytest.fixture
def site_with_key_file(open_dnf_site, dnf_signing_key):
    site = open_dnf_site(settings=FROM_FILE)
    site.host.write(SHIPPED, dnf_signing_key.public_key(armoured=True))
    return site


def serve_key(site, key):
    """What whoever controls the server's address of the key can do."""
    (site.web_root / dnf.REPOSITORY / dnf.KEY).write_bytes(key.public_key(armoured=True))


def publish_foreign_package(site, key):
    """A newer package that the vendor has not signed, in the vendor's place."""
    foreign = DnfRepository(site.web_root / "foreign", key)
    foreign.publish("6.6")
    link = site.repository.location
    link.unlink()
    link.symlink_to(foreign.location.resolve())


def key_reasons(site):
    status = parse(site.minder.run("status --json", check=False).output)
    return [reason["message"] for reason in status["reasons"] if reason["code"] == "keys.new"]


def check(site, options=""):
    """The codes of the findings, and of what could not be checked."""
    report = parse(site.minder.run(f"{options} check --json", check=False).output)
    return [finding["code"] for finding in report["findings"]], [entry["code"] for entry in report["unchecked"]]


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_another_key_at_the_address_is_logged_and_shown(open_dnf_site, foreign_key, image):
    site = open_dnf_site(image)
    first = site.minder.once()
    assert "The repository's key address yielded a key" in first.error
    assert key_reasons(site) == [], "the first key is the one that the repository came with"

    serve_key(site, foreign_key)
    result = site.minder.once()

    message = "The repository's key address yielded a key that packages are checked with from now on: gpg-pubkey-"
    assert message in result.error and foreign_key.owner in result.error
    [reason] = key_reasons(site)
    assert foreign_key.owner in reason
    text = site.minder.run("status").output
    assert "Trusted keys        2" in text and foreign_key.owner in text

    third = site.minder.once()
    assert "key" not in third.error, "it is told once"
    assert len(key_reasons(site)) == 1, "and shown on"


def test_a_key_that_somebody_else_imports_is_logged(dnf_site, foreign_key):
    dnf_site.minder.once()
    dnf_site.host.write("/root/foreign.asc", foreign_key.public_key(armoured=True))
    dnf_site.host.run("rpm --import /root/foreign.asc")

    result = dnf_site.minder.once()

    assert "Packages are checked with one more key, which something else imported: gpg-pubkey-" in result.error
    assert foreign_key.owner in result.error
    assert key_reasons(dnf_site) == []


def test_a_removed_key_that_is_imported_again_is_no_news(dnf_site):
    dnf_site.minder.once()
    dnf_site.host.run("rpm --erase --allmatches gpg-pubkey")

    result = dnf_site.minder.once()

    assert dnf_site.knows_the_key()
    assert "yielded a key" not in result.error


def test_with_a_key_file_nobody_who_controls_the_server_becomes_trusted(site_with_key_file, foreign_key):
    site = site_with_key_file
    site.minder.once()
    assert site.knows_the_key()
    site.ask_the_repository_often()

    serve_key(site, foreign_key)
    publish_foreign_package(site, foreign_key)
    site.minder.once()
    upgrade = site.host.run(dnf.UPGRADE, check=False)

    assert upgrade.status != 0, "dnf must have refused the package"
    assert len(site.imported_keys()) == 1
    assert site.installed_version() == "1.0"


def test_with_a_remote_address_whoever_controls_the_server_becomes_trusted_and_it_is_shown(dnf_site, foreign_key):
    site = dnf_site
    site.minder.once()
    site.ask_the_repository_often()

    serve_key(site, foreign_key)
    publish_foreign_package(site, foreign_key)
    site.minder.once()
    site.host.run(dnf.UPGRADE)

    assert site.installed_version() == "6.6", "this is what docs/security.md says of it"
    assert len(key_reasons(site)) == 1


def test_with_a_key_file_the_vendors_upgrades_come(site_with_key_file):
    site = site_with_key_file
    site.minder.once()
    site.ask_the_repository_often()
    site.repository.publish("2.0")

    site.upgrade_unattended()

    assert site.installed_version() == "2.0"


def test_an_address_that_is_not_protected_is_found(dnf_site):
    assert "repository.key_address_unprotected" in check(dnf_site)[0]


def test_what_a_remote_address_means_is_said(dnf_site):
    findings, unchecked = check(dnf_site, f"--set {dnf.KEY_URL_KEY}=https://repo.velmora.test/key")

    assert not [code for code in findings if code.startswith("repository.key")]
    assert "key_address" in unchecked


def test_a_key_file_passes_and_one_that_is_missing_is_found(site_with_key_file):
    findings, unchecked = check(site_with_key_file)
    assert not [code for code in findings if code.startswith("repository.key")]
    assert "key_address" not in unchecked

    site_with_key_file.host.remove(SHIPPED)
    assert "repository.key_missing" in check(site_with_key_file)[0]


@pytest.mark.slow
def test_packages_that_are_built_with_the_key_use_it_by_default(dnf_signing_key, tmp_path, say):
    key = tmp_path / "key.asc"
    key.write_bytes(dnf_signing_key.public_key(armoured=True))
    built = built_packages.with_dnf_key("rpm", key, say)
    with DnfSite("el-bookworm", None, dnf_signing_key, say=say) as site:
        site.install_package("1.0")
        minder = RpmMinder(site, (built, built))
        minder.install(built)
        settings = {name: value for name, value in site.settings().items() if name != dnf.KEY_URL_KEY}
        site.minder.configure(settings)

        site.minder.once()

        assert site.host.read(SHIPPED).encode() == dnf_signing_key.public_key(armoured=True)
        assert site.host.output_of(f"stat --format '%a %U:%G' {SHIPPED}") == "644 root:root"
        assert site.option("gpgkey") == f"file://{SHIPPED}"
        assert site.knows_the_key()
        assert check(site) == (["units.not_enabled"], [])
        shown = parse(site.minder.run("settings --json").output)["settings"]
        [key] = [setting for setting in shown if setting["key"] == dnf.KEY_URL_KEY]
        assert (key["value"], key["source"]) == (f"file://{SHIPPED}", "default")


def test_a_secret_key_is_packaged_nowhere(tmp_path, dnf_signing_key):
    secret = tmp_path / "secret"
    subprocess.run(
        ["gpg", "--homedir", dnf_signing_key.home, "--batch", "--pinentry-mode", "loopback", "--passphrase", "",
         "--armor", "--output", secret, "--export-secret-keys"], check=True, capture_output=True,
    )
    for option in ("--keyring", "--dnf-key"):
        command = [built_packages.CHECKOUT / "script" / "package", "--output", tmp_path, option, secret]
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        assert (done.returncode, "holds a secret key" in done.stderr) == (65, True)
    assert sorted(path.name for path in tmp_path.iterdir()) == ["secret"]
