"""Serves a directory inside a host's private network, over http and https.

The server is a process of this machine in the host's network, so no image needs
one. It can fall silent: connections are then accepted and never answered. It can
ask who is there: a file in the directory says what it wants to see.
"""

import base64
import contextlib
import functools
import http.server
import os
import signal
import ssl
import subprocess
import sys
import threading
from pathlib import Path

NAME = "repo.velmora.test"
HTTP_PORT, HTTPS_PORT = 80, 443
# What it asks for; the first holds USER:PASSWORD.
PASSWORD_FILE, CERTIFICATE_FILE = ".password", ".certificate"
# It has a fault of its own while this file is there.
FAULT_FILE = ".fault"
# It holds the ending of the names of files that nobody gets.
REFUSED_FILE = ".refused"
# Nobody listens here.
CLOSED_PORT = 9


class WebServer:
    """Serves `directory` as http://repo.velmora.test/ inside `host` while the context lasts.

    With an authority it also answers https, and the host trusts that authority.
    """

    def __init__(self, host, directory, authority=None):
        self._host, self._directory, self._authority = host, directory, authority
        self._process = None

    def __enter__(self):
        self._host.add_name(NAME)
        if self._authority:
            self._authority.make_trusted_by(self._host)
        self._start()
        return self

    def __exit__(self, *_):
        self.answer()
        self._stop()

    @contextlib.contextmanager
    def gone(self):
        """Connections are refused while the context lasts."""
        self._stop()
        try:
            yield
        finally:
            self._start()

    def ask_for_password(self, user, password):
        """From now on it answers those alone who name this user and this password."""
        (Path(self._directory) / PASSWORD_FILE).write_text(f"{user}:{password}", encoding="utf-8")

    def refuse(self, ending):
        """From now on nobody gets the files whose names end so; an empty text allows all again."""
        (Path(self._directory) / REFUSED_FILE).write_text(ending, encoding="utf-8")

    def ask_for_certificate(self):
        """From now on it answers those alone who come by https with a certificate of the authority."""
        (Path(self._directory) / CERTIFICATE_FILE).touch()

    def _start(self):
        credentials = [str(self._authority.server_credentials), str(self._authority.certificate)] if self._authority else []
        command, descriptors = self._host.in_network(
            ["setpriv", "--pdeathsig", "TERM", sys.executable, __file__, str(self._directory), *credentials]
        )
        self._process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, pass_fds=descriptors, start_new_session=True
        )
        if self._process.stdout.readline() != b"ready\n":
            raise RuntimeError("the web server did not start")

    def _stop(self):
        self._process.terminate()
        self._process.wait(timeout=10)
        self._process.stdout.close()

    def fall_silent(self):
        """From now on the kernel takes connections and nobody answers them."""
        self._process.send_signal(signal.SIGSTOP)

    def answer(self):
        self._process.send_signal(signal.SIGCONT)

    @contextlib.contextmanager
    def silent(self):
        self.fall_silent()
        try:
            yield
        finally:
            self.answer()


class _Handler(http.server.SimpleHTTPRequestHandler):
    # Connections stay open between files: this server ends a TLS connection without saying so, which
    # recent releases of APT take for a cut-off answer.
    protocol_version = "HTTP/1.1"

    def send_head(self):
        # Its answers to this header compare whole seconds; tests publish more often.
        del self.headers["If-Modified-Since"]
        if (Path(self.directory) / FAULT_FILE).exists():
            self._refuse(503)
            return None
        if not self._has_password():
            self._refuse(401, "WWW-Authenticate", 'Basic realm="repository"')
            return None
        if not self._has_certificate() or self._is_refused():
            self._refuse(403)
            return None
        return super().send_head()

    def _has_password(self):
        wanted = Path(self.directory) / PASSWORD_FILE
        if not wanted.exists():
            return True
        return self.headers["Authorization"] == "Basic " + base64.b64encode(wanted.read_bytes()).decode()

    def _has_certificate(self):
        if not (Path(self.directory) / CERTIFICATE_FILE).exists():
            return True
        return isinstance(self.connection, ssl.SSLSocket) and bool(self.connection.getpeercert())

    def _is_refused(self):
        refused = Path(self.directory) / REFUSED_FILE
        ending = refused.read_text(encoding="utf-8") if refused.exists() else ""
        return bool(ending) and self.path.endswith(ending)

    def _refuse(self, status, *header):
        self.send_response(status)
        if header:
            self.send_header(*header)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def log_message(self, format, *args):
        pass


class _Server(http.server.ThreadingHTTPServer):
    def handle_error(self, request, client_address):
        pass  # Clients that are killed in the middle of an answer are what some tests are about.


def _serve(directory, credentials=None, authority=None):
    handler = functools.partial(_Handler, directory=directory)
    servers = [_Server(("127.0.0.1", HTTP_PORT), handler)]
    if credentials:
        context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        context.load_cert_chain(credentials)
        context.load_verify_locations(authority)
        context.verify_mode = ssl.CERT_OPTIONAL
        secure = _Server(("127.0.0.1", HTTPS_PORT), handler)
        # The handshake belongs to the connection's own thread: in the listener's, one slow client would stop all.
        secure.socket = context.wrap_socket(secure.socket, server_side=True, do_handshake_on_connect=False)
        servers.append(secure)
    for server in servers[1:]:
        threading.Thread(target=server.serve_forever, daemon=True).start()
    os.write(1, b"ready\n")
    servers[0].serve_forever()


if __name__ == "__main__":
    _serve(*sys.argv[1:])
