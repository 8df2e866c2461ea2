"""A host with zant-velmora on it, the vendor's repository in reach, and package-minder ready to start."""

import contextlib
import re
import tempfile
from dataclasses import dataclass
from pathlib import Path

from disposable_hosts import catalog, image, snapshot, web_server
from disposable_hosts.host import Host
from disposable_hosts.package_minder import PackageMinder
from disposable_hosts.polling import wait_until
from disposable_hosts.web_server import WebServer

# The shortest tick that no start limit of systemd's gets in the way of.
EVERY_FEW_SECONDS = "*:*:0/5"


@dataclass(frozen=True)
class Schedule:
    """When systemd fires a timer, as it reports it itself."""

    calendar: str
    delay: str


class Site:
    """One host and the repository that it can reach. Use it as a context manager.

    What depends on the package manager stands in the subclasses: the repository
    (`new_repository`), what is installed on the host, and what is `out_of_order`.
    """

    # The timer of the host's own upgrades.
    timer = None

    def __init__(self, image_name, bundle, key, *, authority=None, say=print):
        self._image_root = image.provide(catalog.RECIPES[image_name], say)
        self._bundle, self._key, self._authority = bundle, key, authority
        self._cleanup = contextlib.ExitStack()
        self.host = self.server = self.repository = self.minder = None
        self.web_root = None

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self.web_root = Path(stack.enter_context(tempfile.TemporaryDirectory(prefix="velmora-www-")))
            self.repository = self.new_repository()
            self.host = stack.enter_context(Host(self._image_root))
            self.server = stack.enter_context(WebServer(self.host, self.web_root, self._authority))
            self.minder = PackageMinder(self.host)
            self._cleanup = stack.pop_all()
        return self

    def __exit__(self, *_):
        self._cleanup.close()

    def new_repository(self):
        """The vendor's repository, below `web_root`."""
        raise NotImplementedError

    def out_of_order(self):
        """What package-minder has still to put right on this host; empty when nothing."""
        raise NotImplementedError

    def url(self, path, scheme=None, port=None):
        scheme = scheme or ("https" if self._authority else "http")
        return f"{scheme}://{web_server.NAME}{f':{port}' if port else ''}/{path}"

    def is_active(self, unit):
        return self.host.succeeds(f"systemctl is-active --quiet {unit}")

    def timer_schedule(self):
        properties = self.host.output_of(f"systemctl show --property=TimersCalendar,RandomizedDelayUSec {self.timer}")
        calendars = re.findall(r"OnCalendar=(.*?) ;", properties)
        delay = re.search(r"RandomizedDelayUSec=(.*)", properties)
        return Schedule(" and ".join(calendars), delay[1] if delay else "")

    def wait_until_in_order(self, timeout=60):
        wait_until(self.out_of_order, "package-minder to bring the host in order", expect=[], timeout=timeout)

    def wait_for_log(self, text, timeout=30):
        wait_until(self.minder.log, f"the service to log: {text}", expect=lambda log: text in log, timeout=timeout)

    def differences_since(self, before):
        """How /etc differs from an earlier snapshot."""
        return snapshot.differences(before, self.host.snapshot())
