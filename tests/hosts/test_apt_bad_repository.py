"""A repository that APT rejects is removed again, so that APT keeps working on the host."""

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.signing_key import SigningKey
from disposable_hosts.web_server import CLOSED_PORT

COMPLAINT = (
    "The APT source list file for zant-velmora is invalid "
    "(it's likely misconfigured or the repo URL is unreachable)"
)


def _assert_taken_out_again(site, result):
    assert result.status == 1
    assert COMPLAINT in result.error
    assert not site.host.exists(apt.SOURCE_LIST)
    assert site.host.succeeds("apt-get update"), "APT must go on working"


@pytest.mark.parametrize(
    "url, why",
    [
        ("http://repo.velmora.test/nothing-here/", "the server answers 404"),
        (f"http://repo.velmora.test:{CLOSED_PORT}/velmora-apt-repo/", "the connection is refused"),
        ("http://nowhere.velmora.test/velmora-apt-repo/", "the name is unknown"),
        ("https://repo.velmora.test/velmora-apt-repo/", "nobody answers https"),
    ],
)
def test_a_repository_that_cannot_be_read_is_taken_out_again(open_site, url, why):
    site = open_site(settings={apt.URL_KEY: url})

    result = site.minder.once(check=False)

    _assert_taken_out_again(site, result)


def test_a_repository_with_a_bad_signature_is_taken_out_again(open_site, tmp_path):
    site = open_site()
    with SigningKey(tmp_path / "key", owner="Somebody else <somebody@velmora.test>") as stranger:
        site.add_repository("forged", key=stranger).publish("6.6.6")
    site.minder.configure(site.settings({apt.URL_KEY: site.url("forged/")}))

    result = site.minder.once(check=False)

    _assert_taken_out_again(site, result)
    assert "6.6.6" not in site.host.output_of("apt-cache policy zant-velmora")


def _codes_of_check(site):
    answer = documents.parse(site.minder.run("check --online --json", check=False).output)
    return [finding["code"] for finding in answer["findings"]]


def test_a_repository_whose_certificate_nobody_vouches_for_is_taken_out_again(open_site):
    site = open_site(https=True)
    assert _codes_of_check(site) == []
    site.host.run("rm /usr/local/share/ca-certificates/velmora-test.crt && update-ca-certificates --fresh")
    assert _codes_of_check(site) == ["server.certificate_refused"]

    result = site.minder.once(check=False)

    _assert_taken_out_again(site, result)


def test_a_repository_that_never_answers_is_given_up_after_the_time_limit(open_site):
    site = open_site(settings={"minder.command_time_limit": "2", "minder.command_kill_delay": "1"})

    with site.server.silent():
        result = site.minder.once(check=False)

    _assert_taken_out_again(site, result)


def test_a_broken_foreign_repository_is_tolerated(site):
    site.host.write("/etc/apt/sources.list.d/foreign.list", f"deb {site.url('not-there-any-more')} stable main\n")
    assert not site.host.succeeds("apt-get update"), "the foreign repository must be broken"

    site.minder.once()

    assert site.out_of_order() == []


def test_a_repository_that_comes_back_is_registered_by_a_later_cycle(open_site):
    site = open_site()
    site.repository.location.rename(site.web_root / "moved-away")
    site.minder.start()
    site.wait_for_log(COMPLAINT)
    assert site.minder.state() == "active"

    (site.web_root / "moved-away").rename(site.repository.location)

    site.wait_until_in_order()
