#!/usr/bin/env python3
"""hostile_server.py COMMAND...: runs a test program beside servers that misbehave in every way it asks for.

The path of a request says what comes back, see ANSWERS. The program finds in its environment
  HVT_HTTP        the address of the plain server, "http://127.0.0.1:PORT"
  HVT_HTTPS       the same answers, with a certificate of the authority
  HVT_STRANGER, HVT_OTHER_NAME, HVT_EXPIRED   the same, each with a certificate that must not be trusted
  HVT_MUTE        an HTTPS address where nothing is ever said, not even for TLS
  HVT_NOBODY      an address where nobody listens
  HVT_AUTHORITY   a PEM file with the authority, made for this run
The exit code is the program's.
"""

import gzip
import itertools
import os
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time

PACE = 0.2  # seconds between the pieces of a slow answer
PIECES = 60  # of a slow answer: enough for more than 10 s. Wine goes on reading what the program gave up.
HOP = 3  # seconds for each step of a slow chain of redirects
OK = b"HTTP/1.1 200 OK\r\n"
HERE = "IP:127.0.0.1,DNS:127.0.0.1"  # what a certificate has to name; Wine compares addresses as names
LENGTH_100 = OK + b"Content-Length: 100\r\n\r\n"


class Tally:
    """What is going on now; others can wait for a state of it."""

    def __init__(self):
        self.changed = threading.Condition()
        self.now = []

    def begin(self, what):
        with self.changed:
            self.now.append(what)
            self.changed.notify_all()

    def end(self, what):
        with self.changed:
            self.now.remove(what)
            self.changed.notify_all()

    def wait_for(self, condition):
        with self.changed:
            self.changed.wait_for(lambda: condition(self.now))


connections = Tally()
stalled = Tally()


def reply(client, status, body=b"", *headers):
    head = [f"HTTP/1.1 {status} Answer", f"Content-Length: {len(body)}", "Connection: close", *headers]
    client.sendall("\r\n".join(head).encode() + b"\r\n\r\n" + body)


def redirect(client, location, status=302):
    reply(client, status, b"Elsewhere.", f"Location: {location}")


def stall(client, name="", bytes_before=b""):
    client.sendall(bytes_before)
    stalled.begin(name)
    try:
        client.recv(1)  # until the other side gives up
    finally:
        stalled.end(name)


def drip(client, pieces):
    for piece in pieces:
        client.sendall(piece)
        time.sleep(PACE)


def flood(client, head, piece):
    client.sendall(head)
    while True:
        client.sendall(piece)


def reset(client, head):
    client.sendall(head + b"x" * 50)
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    client.close()


def chunked(client, count):
    client.sendall(OK + b"Transfer-Encoding: chunked\r\nConnection: close\r\n\r\n")
    while count > 0:
        size = min(1000, count)
        client.sendall(f"{size:x}\r\n".encode() + b"x" * size + b"\r\n")
        count -= size
    client.sendall(b"0\r\n\r\n")


def count_down(client, steps):
    redirect(client, f"/redirect/{steps - 1}" if steps else "/bytes/2")


def slow_redirect(client):
    time.sleep(HOP)
    redirect(client, "/slow-redirect")


def when(tally, condition, client):
    tally.wait_for(condition)
    reply(client, 200)


def manifest(version):
    return f'{{"latestVersion": "{version}", "releaseDate": "2030-01-31"}}\n'.encode()


# By the first part of the path; called with the client, the second part and the head of the request.
ANSWERS = {
    "manifest": lambda c, version, _: reply(c, 200, manifest(version)),
    "request": lambda c, _, head: reply(c, 200, head),
    "bytes": lambda c, n, _: reply(c, 200, b"x" * int(n)),
    "chunked": lambda c, n, _: chunked(c, int(n)),
    "no-length": lambda c, n, _: c.sendall(OK + b"\r\n" + b"x" * int(n)),
    "gzip": lambda c, *_: reply(c, 200, gzip.compress(b"{}", mtime=0), "Content-Encoding: gzip"),
    "status": lambda c, n, _: reply(c, n, b"" if n in ("204", "304") else b"{}"),
    "status-with-location": lambda c, n, _: redirect(c, "/bytes/2", n),
    "status-and-stall": lambda c, n, _: stall(c, "", f"HTTP/1.1 {n} No\r\nContent-Length: 9\r\n\r\n".encode()),
    "redirect": lambda c, n, _: count_down(c, int(n)),
    "loop": lambda c, *_: redirect(c, "/loop"),
    "to-http": lambda c, *_: redirect(c, os.environ["HVT_HTTP"] + "/bytes/2"),
    "to-file": lambda c, *_: redirect(c, "file:///etc/hostname"),
    "to-stranger": lambda c, *_: redirect(c, os.environ["HVT_STRANGER"] + "/bytes/2"),
    "cut": lambda c, *_: c.sendall(LENGTH_100 + b"x" * 50),
    "reset": lambda c, *_: reset(c, LENGTH_100),
    "no-answer": lambda *_: None,
    "no-http": lambda c, *_: c.sendall(b"SSH-2.0-OpenSSH_9.2\r\n"),
    "endless": lambda c, *_: flood(c, OK + b"\r\n", b"x" * 10000),
    "endless-headers": lambda c, *_: flood(c, OK, b"X-More: of the same\r\n" * 100),
    "endless-interim": lambda c, *_: flood(c, b"", b"HTTP/1.1 102 Processing\r\n\r\n" * 100),
    "silent": lambda c, name, _: stall(c, name),
    "slow-headers": lambda c, *_: drip(c, itertools.chain([OK, b"X-Slow: "], itertools.repeat(b"x", PIECES))),
    "slow-body": lambda c, *_: drip(c, itertools.chain([OK, b"\r\n"], itertools.repeat(b"x", PIECES))),
    "stalled-body": lambda c, name, _: stall(c, name, LENGTH_100 + b"x"),
    "slow-redirect": lambda c, *_: slow_redirect(c),
    "when-stalled": lambda c, name, _: when(stalled, lambda now: name in now, c),
    "when-alone": lambda c, *_: when(connections, lambda now: len(now) == 1, c),
}


def read_head(client):
    head = b""
    while b"\r\n\r\n" not in head:
        more = client.recv(4096)
        if not more:
            raise OSError("no request")
        head += more
    return head


def answer(client, context):
    try:
        with client:
            if context is not None:
                client = context.wrap_socket(client, server_side=True)
            with client:
                head = read_head(client)
                name, _, argument = head.split()[1].decode().partition("?")[0].lstrip("/").partition("/")
                ANSWERS[name](client, argument, head)
    except OSError:
        pass  # the program went away, or did not trust the certificate
    finally:
        connections.end(None)


def serve(context):
    """Listens on a port of this machine and returns it."""
    listener = socket.create_server(("127.0.0.1", 0), backlog=64)

    def accept():
        while True:
            client, _ = listener.accept()
            connections.begin(None)
            threading.Thread(target=answer, args=(client, context), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    return listener.getsockname()[1]


class Authority:
    """A certificate authority and what it signs, as files of a folder."""

    KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]

    def __init__(self, folder, name):
        self.folder, self.name = folder, name
        self.pem = self.file(name, "pem")
        self.openssl("req", "-x509", *self.KEY, "-keyout", self.file(name, "key"), "-out", self.pem,
                     "-days", "2", "-subj", f"/CN={name} of the HalvetricSerialTest tests",
                     "-addext", "basicConstraints=critical,CA:TRUE")

    def file(self, name, kind):
        return os.path.join(self.folder, f"{name}.{kind}")

    @staticmethod
    def openssl(*arguments):
        subprocess.run(["openssl", *arguments], check=True, capture_output=True)

    def context(self, name, host, days=1):
        name = f"{self.name}_{name}"
        key, request, pem = (self.file(name, kind) for kind in ("key", "csr", "pem"))
        self.openssl("req", "-new", *self.KEY, "-keyout", key, "-out", request, "-subj", "/CN=server",
                     "-addext", f"subjectAltName={host}")
        self.openssl("x509", "-req", "-in", request, "-CA", self.pem, "-CAkey", self.file(self.name, "key"),
                     "-CAcreateserial", "-copy_extensions", "copy", "-days", str(days), "-out", pem)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(pem, key)
        return context


def listen_mutely():
    """A port whose connections the system takes and nobody ever looks at."""
    listener = socket.create_server(("127.0.0.1", 0), backlog=64)
    return listener, listener.getsockname()[1]


def unused_port():
    with socket.create_server(("127.0.0.1", 0)) as listener:
        return listener.getsockname()[1]


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: hostile_server.py COMMAND...")
    with tempfile.TemporaryDirectory() as folder:
        authority = Authority(folder, "authority")
        stranger = Authority(folder, "stranger")
        mute, mute_port = listen_mutely()
        ports = {
            "HVT_HTTP": serve(None),
            "HVT_HTTPS": serve(authority.context("good", HERE)),
            "HVT_STRANGER": serve(stranger.context("good", HERE)),
            "HVT_OTHER_NAME": serve(authority.context("other_name", "DNS:elsewhere.invalid")),
            "HVT_EXPIRED": serve(authority.context("expired", HERE, days=-1)),
            "HVT_MUTE": mute_port,
            "HVT_NOBODY": unused_port(),
        }
        for name, port in ports.items():
            scheme = "http" if name in ("HVT_HTTP", "HVT_NOBODY") else "https"
            os.environ[name] = f"{scheme}://127.0.0.1:{port}"
        os.environ["HVT_AUTHORITY"] = authority.pem
        os.environ["no_proxy"] = "*"
        code = subprocess.call(sys.argv[1:])
        mute.close()
    sys.exit(code)


if __name__ == "__main__":
    main()
