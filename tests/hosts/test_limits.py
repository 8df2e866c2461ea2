"""Files that may not become as large as they have to be, and answers that are larger than they may be."""

import documents
import pytest
from disposable_hosts.apt import site as apt
from disposable_hosts.dnf import site as dnf
from disposable_hosts.endless_server import PORT, endless_server

NO_FILES = "ulimit -f 0; "
TEMPORARY = "find /tmp /var/tmp -name 'rpm-tmp*' -o -name 'package-minder*'"
ENDLESS = {dnf.KEY_URL_KEY: f"http://127.0.0.1:{PORT}/key"}
# What is fetched of it, and the room that the host's own files take.
MEBIBYTE = 1 << 20


@pytest.fixture(params=["bookworm", "el-bookworm"])
def any_site(request):
    kind = "open_dnf_site" if request.param.startswith("el-") else "open_site"
    return request.getfixturevalue(kind)(request.param)


def _drift(site):
    site.host.remove(dnf.CALENDAR_DROP_IN if isinstance(site, dnf.DnfSite) else apt.CALENDAR_DROP_IN)


def test_a_file_size_limit_fails_a_cycle_with_a_word_and_tears_nothing(any_site):
    site = any_site
    site.minder.once()
    _drift(site)
    before = site.host.snapshot()

    result = site.host.run(f"{NO_FILES}package-minder once", check=False)

    assert (result.status, "cannot copy" in result.error) == (1, True), result
    assert site.differences_since(before) == []
    site.minder.once()
    assert site.out_of_order() == []


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_an_endless_key_is_cut_off_named_and_removed(open_dnf_site, image):
    site = open_dnf_site(image)
    site.minder.once()
    before = site.host.output_of("df --output=used --block-size=1 / | tail -n 1")

    site.minder.configure(site.settings(ENDLESS))
    with endless_server(site.host):
        result = site.minder.once(check=False, timeout=60)

    assert result.status == 1
    assert f"What a command fetched is larger than 4 MiB and was cut off | Command: rpm --import http://127.0.0.1:{PORT}/key" in result.error
    assert "which no key is" in result.error
    assert site.host.output_of(TEMPORARY) == ""
    after = site.host.output_of("df --output=used --block-size=1 / | tail -n 1")
    assert int(after) - int(before) < 16 * MEBIBYTE
    status = documents.parse(site.minder.run("status --json", check=False).output)
    [failure] = [entry["message"] for entry in status["last_cycle"]["failures"] if "key could" in entry["message"]]
    assert failure == (
        f"The repository's key could not be imported: what \"rpm --import http://127.0.0.1:{PORT}/key\" fetched is larger than 4 MiB, "
        "which no key is"
    )


@pytest.mark.parametrize("image", ["el-bookworm", "el-trixie"])
def test_a_page_that_is_no_key_leaves_nothing_behind(open_dnf_site, image):
    site = open_dnf_site(image)
    (site.web_root / "page").write_text("<html>Not found</html>", encoding="utf-8")
    site.minder.configure(site.settings({dnf.KEY_URL_KEY: site.url("page")}))

    result = site.minder.once(check=False)

    assert (result.status, "The repository's key could not be imported" in result.error) == (1, True), result
    assert site.host.output_of(TEMPORARY) == ""


def test_the_rpm_settings_of_the_administrator_stay_in_force(dnf_site):
    dnf_site.host.write("/root/.rpmmacros", "%__urlhelper_localopts --user-agent of-the-administrator --trace-ascii /root/trace\n")

    dnf_site.minder.once()

    assert dnf_site.knows_the_key()
    assert "User-Agent: of-the-administrator" in dnf_site.host.read("/root/trace")
