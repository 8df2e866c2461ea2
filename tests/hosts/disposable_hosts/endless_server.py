"""A server in a host's private network whose answer never ends, to whatever it is asked for."""

import contextlib
import os
import socket
import subprocess
import sys
import threading

PORT = 8080
HEAD = b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n\r\n"
PIECE = b"-" * 65536


@contextlib.contextmanager
def endless_server(host):
    """Answers at port 8080 of the host's own address while the context lasts."""
    command, descriptors = host.in_network(["setpriv", "--pdeathsig", "TERM", sys.executable, __file__])
    process = subprocess.Popen(
        command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, pass_fds=descriptors, start_new_session=True
    )
    try:
        if process.stdout.readline() != b"ready\n":
            raise RuntimeError("the endless server did not start")
        yield
    finally:
        process.terminate()
        process.wait(timeout=10)
        process.stdout.close()


def _answer(connection):
    with connection, contextlib.suppress(OSError):
        connection.recv(65536)
        connection.sendall(HEAD)
        while True:
            connection.sendall(PIECE)


def _serve():
    with socket.create_server(("127.0.0.1", PORT)) as listener:
        os.write(1, b"ready\n")
        while True:
            threading.Thread(target=_answer, args=(listener.accept()[0],), daemon=True).start()


if __name__ == "__main__":
    _serve()
