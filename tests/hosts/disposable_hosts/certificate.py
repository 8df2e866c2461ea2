"""A certificate authority of the tests' own, for https inside hosts."""

import subprocess
from pathlib import Path

NEW_KEY = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2")
CA_DIRECTORY = "/usr/local/share/ca-certificates"


class CertificateAuthority:
    """Its files lie in one directory: `ca.crt` for the host, `server.pem` (key and certificate) for the server."""

    def __init__(self, directory, server_name):
        directory = Path(directory)
        directory.mkdir(parents=True, exist_ok=True)
        self.certificate = directory / "ca.crt"
        self.server_credentials = directory / "server.pem"
        self._directory = directory
        self._make(server_name)

    def issue(self, name):
        """A key and a certificate of it for this name, as two texts."""
        key, request, certificate, extensions = (self._directory / f"{name}.{kind}" for kind in ("key", "csr", "crt", "ext"))
        extensions.write_text(f"subjectAltName=DNS:{name}\n")
        _openssl("req", *NEW_KEY, "-subj", f"/CN={name}", "-keyout", key, "-out", request)
        _openssl(
            "x509", "-req", "-in", request, "-CA", self.certificate, "-CAkey", self._directory / "ca.key",
            "-CAcreateserial", "-days", "2", "-extfile", extensions, "-out", certificate,
        )
        return key.read_text(), certificate.read_text()

    def make_trusted_by(self, host):
        """Adds the authority to those that the host trusts, the way an administrator would."""
        host.run(f"mkdir -p {CA_DIRECTORY}")
        host.copy_in(self.certificate, f"{CA_DIRECTORY}/velmora-test.crt")
        host.run("update-ca-certificates")

    def _make(self, server_name):
        authority_key = self._directory / "ca.key"
        _openssl("req", "-x509", *NEW_KEY, "-subj", "/CN=Velmora test authority", "-keyout", authority_key, "-out", self.certificate)
        self.server_credentials.write_text("".join(self.issue(server_name)))


def _openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, capture_output=True)
