"""A certificate authority of the tests' own, for https inside hosts."""

import subprocess
from pathlib import Path

CA_DIRECTORY = "/usr/local/share/ca-certificates"


class CertificateAuthority:
    """Its files lie in one directory: `ca.crt` for the host, `server.pem` (key and certificate) for the server."""

    def __init__(self, directory, server_name):
        directory = Path(directory)
        directory.mkdir(parents=True, exist_ok=True)
        self.certificate = directory / "ca.crt"
        self.server_credentials = directory / "server.pem"
        self._make(directory, server_name)

    def make_trusted_by(self, host):
        """Adds the authority to those that the host trusts, the way an administrator would."""
        host.run(f"mkdir -p {CA_DIRECTORY}")
        host.copy_in(self.certificate, f"{CA_DIRECTORY}/velmora-test.crt")
        host.run("update-ca-certificates")

    def _make(self, directory, server_name):
        key = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2"]
        extensions = directory / "server.ext"
        extensions.write_text(f"subjectAltName=DNS:{server_name}\n")
        _openssl("req", "-x509", *key, "-subj", "/CN=Velmora test authority", "-keyout", directory / "ca.key", "-out", self.certificate)
        _openssl("req", *key, "-subj", f"/CN={server_name}", "-keyout", directory / "server.key", "-out", directory / "server.csr")
        _openssl(
            "x509", "-req", "-in", directory / "server.csr", "-CA", self.certificate, "-CAkey", directory / "ca.key",
            "-CAcreateserial", "-days", "2", "-extfile", extensions, "-out", directory / "server.crt",
        )
        self.server_credentials.write_text((directory / "server.key").read_text() + (directory / "server.crt").read_text())


def _openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, capture_output=True)
