"""package-minder in a host, used the way an administrator uses it."""

UNIT = "package-minder.service"
SETTINGS_FILE = "/etc/package-minder/package-minder.properties"
STAGING = "/usr/share/package-minder/staging"


class PackageMinder:
    def __init__(self, host):
        self.host = host

    def install(self, bundle):
        """Puts the program and its staging tree onto the host; starts nothing."""
        self.host.copy_in(bundle, "/")
        if self.host.exists("/run/systemd/system"):
            self.host.run("systemctl daemon-reload")

    def configure(self, settings):
        """Writes the settings file; keys that are not given have their defaults."""
        self.host.write(SETTINGS_FILE, "".join(f"{key}={value}\n" for key, value in settings.items()))

    def run(self, arguments, **options):
        """Runs the program in the foreground and returns how it ended."""
        return self.host.run(f"package-minder {arguments}", **options)

    def once(self, **options):
        return self.run("once", **options)

    def start(self):
        """Starts the service; returns once it reports that it is ready."""
        self.host.run(f"systemctl start {UNIT}")

    def stop(self):
        self.host.run(f"systemctl stop {UNIT}")

    def state(self):
        """What systemd says of the service: active, deactivating, inactive, failed, ..."""
        return self.host.output_of(f"systemctl show --property=ActiveState --value {UNIT}")

    def log(self):
        """What the service has written to the journal."""
        return self.host.journal(UNIT)
