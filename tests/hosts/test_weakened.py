"""What weakens a host, and what no longer arrives, is named by check and status, with the words of neither apt nor dnf."""

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf
from disposable_hosts.signing_key import SigningKey

INDEX = "/var/lib/apt/lists/*velmora-apt-repo*_InRelease"


@pytest.fixture
def foreign_key(tmp_path):
    with SigningKey(tmp_path / "foreign", owner="Somebody Else <else@velmora.test>") as key:
        yield key


def codes(site):
    """What both reports name, after checking that they agree; the codes of everything else are left out."""
    found = documents.parse(site.minder.run("check --json", check=False).output)["findings"]
    reasons = documents.parse(site.minder.run("status --json").output)["reasons"]
    topics = ("repository.", "upgrades.last_run_failed")
    of_check = [finding["code"] for finding in found if finding["code"].startswith(topics)]
    of_check = [code for code in of_check if not code.startswith("repository.key_")]
    of_status = [reason["code"] for reason in reasons if reason["code"].startswith(topics)]
    of_status = [code for code in of_status if code not in ("repository.out_of_step", "repository.not_registered")]
    assert of_check == of_status
    return of_check


def test_what_weakens_an_apt_host_is_named(site):
    site.minder.once()
    assert codes(site) == []

    site.host.write("/etc/apt/apt.conf.d/99weak", 'Acquire::AllowInsecureRepositories "yes";\nAcquire::https { Verify-Peer "false"; };\n')
    assert codes(site) == ["repository.unsigned_accepted", "repository.server_not_verified"]

    site.host.remove("/etc/apt/apt.conf.d/99weak")
    site.host.run(f"sed -i 's/\\[arch=/[trusted=yes arch=/' {apt.SOURCE_LIST}")
    assert codes(site) == ["repository.unsigned_accepted"]


@pytest.mark.parametrize("image", ["bookworm", "trixie"])
def test_an_index_signed_with_another_key_is_named_until_the_right_one_is_back(open_site, foreign_key, image):
    site = open_site(image)
    site.minder.once()
    right_key, site.repository._key = site.repository._key, foreign_key
    site.repository.publish("2.0")

    site.host.run("apt-get --quiet update", check=False)

    assert codes(site) == ["repository.signature_refused"]
    page = site.minder.run("status").output
    assert "which the keyring does not have" in page and "[repository.signature_refused]" in page

    site.repository._key = right_key
    site.repository.publish("2.1")
    site.host.run("apt-get --quiet update")
    assert codes(site) == []


def test_a_repository_that_has_not_been_refreshed_is_named(site):
    site.minder.once()

    # The time of the file's last change cannot be set: the host's clock is the machine's.
    site.host.run("mv /usr/bin/stat /usr/bin/stat.away")
    site.host.write("/usr/bin/stat", "#!/bin/sh\necho $(($(/usr/bin/stat.away \"$@\") - 4 * 86400))\n", mode="0755")
    assert codes(site) == ["repository.not_refreshed"]

    site.host.run("mv /usr/bin/stat.away /usr/bin/stat")
    site.host.run("apt-get --quiet update")
    assert codes(site) == []


def test_what_weakens_a_dnf_host_is_named(dnf_site):
    dnf_site.minder.once()
    assert codes(dnf_site) == []

    for option in ("gpgcheck", "sslverify"):
        dnf_site.set_option(option, "0")
    assert codes(dnf_site) == ["repository.unsigned_accepted", "repository.server_not_verified"]
    dnf_site.minder.once()
    assert codes(dnf_site) == ["repository.unsigned_accepted", "repository.server_not_verified"], "a cycle leaves them alone"

    dnf_site.host.remove(dnf.REPO_FILE)
    dnf_site.minder.once()
    assert codes(dnf_site) == []

    dnf_site.set_option("enabled", "0")
    assert "repository.switched_off" in codes(dnf_site)


def test_metadata_of_long_ago_is_named(dnf_site):
    dnf_site.minder.once()
    with dnf_site.server.gone():
        dnf_site.host.run("touch --date='4 days ago' /var/cache/dnf/quorvane-*/repodata/repomd.xml")

        assert codes(dnf_site) == ["repository.not_refreshed"]


def test_a_refused_package_is_named(dnf_site, tmp_path):
    dnf_site.minder.once()
    with SigningKey(tmp_path / "foreign", owner="Somebody Else <else@velmora.test>", algorithm="rsa2048") as foreign:
        dnf_site.repository._key = foreign
        dnf_site.repository.publish("6.6")
        dnf_site.host.run(dnf.UPGRADE, check=False)

    assert dnf_site.installed_version() == "1.0"
    assert codes(dnf_site) == ["repository.signature_refused"]
