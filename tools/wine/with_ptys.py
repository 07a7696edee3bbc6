#!/usr/bin/env python3
"""with_ptys.py PROGRAM.exe ARGUMENTS...: runs a Windows program with pseudo-terminals for COM ports.

A client opens two TCP connections to 127.0.0.1:$HVT_PTY_BRIDGE in a row. They make one pseudo-terminal,
linked into the prefix under a COM name that no driver has. The first connection gets that name ("COM201")
and a line feed, and is from then on the device at the far end; closing it unplugs the device. What it does
not take stays in the line, so a client that stops reading is a stalled device. The second one repeats what
the device sent, once it is on the line. The exit code is the program's.
"""

import os
import pty
import select
import socket
import subprocess
import sys
import threading
import time
import tty

FIRST_PORT = 201
SMALL_QUEUE = 4096
PATIENCE = 5  # seconds that the lines of an ended program get to be taken down
HERE = os.path.dirname(os.path.abspath(__file__))
PREFIX = os.environ.get("WINEPREFIX") or os.environ.get("HVT_WINEPREFIX") or "/tmp/wine-prefix"


class Port:
    """One pseudo-terminal under a free COM name; the name lives as long as the device."""

    def __init__(self):
        # The line stays open here too: a program that closes the port and opens it again finds the device.
        self.device, self.line = pty.openpty()
        tty.setraw(self.line)
        os.set_blocking(self.device, False)
        number = FIRST_PORT
        while not self.link_as(number):
            number += 1

    def link_as(self, number):
        self.name = f"COM{number}"
        self.link = f"{PREFIX}/dosdevices/com{number}"
        try:
            os.symlink(os.ttyname(self.line), self.link)
        except FileExistsError:
            return False
        return True

    def unplug(self):
        os.unlink(self.link)
        os.close(self.device)
        os.close(self.line)


def serve(client, on_the_line):
    port = Port()
    try:
        client.sendall(port.name.encode() + b"\n")
        client.setblocking(False)
        pump(client, on_the_line, port.device)
    except OSError:
        pass  # a connection was cut
    finally:
        port.unplug()
        client.close()
        on_the_line.close()


def wanted(taken, to_give):
    return (0 if taken else select.POLLIN) | (select.POLLOUT if to_give else 0)


def pump(client, on_the_line, device):
    """Moves bytes both ways until the client ends; takes from a side only what the other one has room for."""
    to_line, from_line = b"", b""
    while True:
        poll = select.poll()
        poll.register(client, select.POLLRDHUP | wanted(to_line, from_line))
        poll.register(device, wanted(from_line, to_line))
        ready = dict(poll.poll())
        at_client = ready.get(client.fileno(), 0)
        at_device = ready.get(device, 0)
        if at_client & select.POLLIN:
            to_line = client.recv(4096)
        if at_device & select.POLLIN:
            from_line = os.read(device, 4096)
        if at_device & select.POLLOUT:
            written = os.write(device, to_line)
            on_the_line.sendall(to_line[:written])
            to_line = to_line[written:]
        if at_client & select.POLLOUT:
            from_line = from_line[client.send(from_line):]
        if at_client & (select.POLLRDHUP | select.POLLHUP | select.POLLERR):
            return


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: with_ptys.py PROGRAM.exe ARGUMENTS...")
    listener = socket.create_server(("127.0.0.1", 0))
    for queue in (socket.SO_SNDBUF, socket.SO_RCVBUF):
        listener.setsockopt(socket.SOL_SOCKET, queue, SMALL_QUEUE)

    lines = []

    def accept():
        while True:
            pair = [listener.accept()[0] for _ in range(2)]
            for connection in pair:
                connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            line = threading.Thread(target=serve, args=pair, daemon=True)
            line.start()
            lines.append(line)

    threading.Thread(target=accept, daemon=True).start()
    environment = dict(os.environ, WINEPREFIX=PREFIX, HVT_PTY_BRIDGE=str(listener.getsockname()[1]))
    code = subprocess.call([f"{HERE}/run.sh", *sys.argv[1:]], env=environment)
    # The program's connections ended with it; without this wait a name could stay behind in the prefix.
    deadline = time.monotonic() + PATIENCE
    for line in lines:
        line.join(max(0, deadline - time.monotonic()))
    sys.exit(code)


if __name__ == "__main__":
    main()
