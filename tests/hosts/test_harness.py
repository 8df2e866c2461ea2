"""The disposable hosts themselves: what every other test relies on."""

import os
import signal
import subprocess
import sys
from pathlib import Path

import pytest
from disposable_hosts import image, snapshot
from disposable_hosts.apt.repository import AptRepository
from disposable_hosts.catalog import RECIPES
from disposable_hosts.cgroup import PREFIX
from disposable_hosts.host import CommandFailed, Host, HostGone
from disposable_hosts.polling import TimedOut, wait_until
from disposable_hosts.web_server import WebServer

BOOT_AND_WAIT = """
import sys
from disposable_hosts import image
from disposable_hosts.catalog import RECIPES
from disposable_hosts.host import Host
with Host(image.provide(RECIPES["bookworm"])) as host:
    print(host.output_of("echo $$"), flush=True)
    host.run("sleep 600")
"""


@pytest.mark.parametrize("name", RECIPES)
def test_every_image_boots_to_a_host_of_its_own(boot, name):
    host = boot(name)

    assert host.output_of("hostname") != os.uname().nodename
    assert host.output_of("cat /proc/net/dev | grep --count :") == "1", "a host has no network but its loopback"
    assert not host.exists("/etc/apt/apt.conf.d/99mmdebstrap")


def test_what_a_host_writes_is_gone_with_it(boot, say):
    root = image.provide(RECIPES["bookworm"], say)
    with Host(root) as host:
        host.write("/etc/a-file", "text")
        assert host.read("/etc/a-file") == "text"

    assert not (root / "etc" / "a-file").exists()
    assert not boot("bookworm").exists("/etc/a-file")


def test_two_hosts_at_once_do_not_see_each_other(boot):
    first, second = boot("bookworm"), boot("bookworm")

    first.run("systemd-run --quiet --unit=only-here sleep 600")

    assert first.succeeds("systemctl is-active only-here")
    assert not second.succeeds("systemctl is-active only-here")


@pytest.mark.parametrize("ending", [signal.SIGKILL, signal.SIGINT, signal.SIGTERM])
def test_a_run_that_is_ended_takes_its_host_with_it(ending):
    run = subprocess.Popen([sys.executable, "-c", BOOT_AND_WAIT], cwd=Path(__file__).parent, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    run.stdout.readline()

    run.send_signal(ending)
    run.wait()

    wait_until(lambda: _processes_in_groups_of(run.pid), "the host's processes to end", expect=[])
    run.stdout.close()


def test_the_groups_of_a_killed_run_are_removed_by_the_next(boot):
    run = subprocess.Popen([sys.executable, "-c", BOOT_AND_WAIT], cwd=Path(__file__).parent, stdout=subprocess.PIPE)
    run.stdout.readline()
    run.kill()
    run.wait()
    run.stdout.close()
    wait_until(lambda: _processes_in_groups_of(run.pid), "the host's processes to end", expect=[])

    boot("bookworm")

    assert not _groups_of(run.pid)


def test_a_command_for_a_host_that_is_gone_does_not_reach_this_machine(say, tmp_path):
    with Host(image.provide(RECIPES["bookworm"], say)) as host:
        pass

    with pytest.raises(HostGone):
        host.run(f"touch {tmp_path}/reached")
    assert not (tmp_path / "reached").exists()


def test_a_command_for_a_host_that_has_died_does_not_reach_this_machine(boot, tmp_path):
    host = boot("bookworm")
    host.run("systemctl --force --force poweroff", check=False)
    wait_until(host.is_running, "the host to die", expect=False)

    host.run(f"touch {tmp_path}/reached", check=False)
    assert not (tmp_path / "reached").exists()


def test_a_failing_command_tells_what_it_printed(boot):
    host = boot("bookworm")

    with pytest.raises(CommandFailed, match="(?s)ls /missing.*No such file.*exit status 2"):
        host.run("ls /missing")


def test_waiting_in_vain_tells_what_was_seen():
    with pytest.raises(TimedOut, match="(?s)waited 0 s for the moon, in vain.*'clouds'"):
        wait_until(lambda: "clouds", "the moon", expect="moon", timeout=0)


def test_a_snapshot_shows_what_was_added_removed_and_changed(boot):
    host = boot("bookworm")
    host.write("/etc/changed", "old\n")
    before = host.snapshot()

    host.run("rm /etc/debian_version; echo new > /etc/changed; ln -s nowhere /etc/added; chmod 0600 /etc/fstab")

    text = "\n".join(snapshot.differences(before, host.snapshot()))
    assert "added   /etc/added (link 0777 0:0 -> nowhere)" in text
    assert "removed /etc/debian_version" in text
    assert "    -old\n    +new" in text
    assert "changed /etc/fstab (file 0644 0:0) is now (file 0600 0:0)" in text


@pytest.mark.parametrize("scheme", ["http", "https"])
@pytest.mark.parametrize("name", ["bullseye", "bookworm", "trixie"])
def test_apt_reads_a_published_repository(boot, tmp_path, signing_key, authority, name, scheme):
    repository = AptRepository(tmp_path / "www" / "repository", signing_key, suites=("stable",))
    repository.publish("1.0")
    host = boot(name)
    host.write("/etc/apt/trusted.gpg.d/test.gpg", signing_key.public_key())
    host.write("/etc/apt/sources.list.d/test.list", f"deb {scheme}://repo.velmora.test/repository stable main\n")

    with WebServer(host, tmp_path / "www", authority):
        host.run("apt-get update")
        repository.publish("2.0")
        host.run("apt-get update")

    assert "Candidate: 2.0" in host.output_of("apt-cache policy zant-velmora")


def test_a_silent_server_takes_the_request_and_never_answers(boot, tmp_path, signing_key):
    AptRepository(tmp_path / "www" / "repository", signing_key, suites=("stable",)).publish("1.0")
    host = boot("bookworm")
    host.write("/etc/apt/sources.list.d/test.list", "deb [trusted=yes] http://repo.velmora.test/repository stable main\n")
    update = "timeout 1 apt-get --quiet update"

    with WebServer(host, tmp_path / "www") as server:
        with server.silent():
            assert host.run(update, check=False).status == 124
        assert host.run("apt-get --quiet update").status == 0


def test_a_held_lock_stops_apt(boot):
    host = boot("bookworm")

    with host.locked("/var/lib/apt/lists/lock"):
        assert "Could not get lock" in host.run("apt-get update", check=False).error
    assert host.succeeds("apt-get update")


def _groups_of(pid):
    return [path for path in Path("/sys/fs/cgroup").rglob(f"{PREFIX}{pid}-*") if path.is_dir()]


def _processes_in_groups_of(pid):
    return [line for group in _groups_of(pid) for file in group.rglob("cgroup.procs") for line in file.read_text().split()]
