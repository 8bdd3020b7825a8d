"""Strangers with addresses of their own: network namespaces, and in each a program that calls a node without end.

Run as a program it is that program: strangers.py KIND ADDRESS PORT; it writes a line when it has begun, and at its end,
when its standard input closes, how much it did.
"""
import contextlib
import ctypes
import itertools
import os
import pathlib
import re
import select
import signal
import socket
import ssl
import subprocess
import sys

import wire

CLONE_NEWUSER, CLONE_NEWNET = 0x10000000, 0x40000000
LARGE = 4 << 20
LARGEST = 64 << 20  # a body may have so many bytes


def own_network():
    """Moves this process, and what it starts from now on, into a network of its own with a loopback device."""
    user, group = os.getuid(), os.getgid()
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(CLONE_NEWNET | (CLONE_NEWUSER if user else 0)) != 0:
        raise OSError(ctypes.get_errno(), "cannot make a network")
    if user:
        pathlib.Path("/proc/self/setgroups").write_text("deny")
        pathlib.Path("/proc/self/uid_map").write_text(f"0 {user} 1")
        pathlib.Path("/proc/self/gid_map").write_text(f"0 {group} 1")
    ip("link", "set", "lo", "up")


def ip(*arguments, inside=None):
    enter = ["nsenter", "--target", str(inside), "--net", "--"] if inside else []
    subprocess.run([*enter, "ip", *arguments], check=True, capture_output=True)


class Neighbour:
    """Another user of the node's own host: its programs call over loopback, the only road to a node in plain."""
    node_address = "127.0.0.1"
    command = ()

    def __init__(self):
        self.programs = []

    def call(self, kind, port, processor):
        """Starts a program there, and returns when it has begun."""
        program = subprocess.Popen(
            [*self.command, "taskset", "--cpu-list", str(processor), sys.executable, __file__, kind,
             self.node_address, str(port)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        program.kind = kind
        self.programs.append(program)
        program.stdout.readline()
        return program

    def pause(self):
        for program in self.programs:
            program.send_signal(signal.SIGSTOP)

    def resume(self):
        for program in self.programs:
            program.send_signal(signal.SIGCONT)

    def close(self):
        self.resume()
        for process in self.programs:
            process.stdin.close()
            process.wait()
            process.stdout.close()


class Host(Neighbour):
    """A network beside this process's, with one address. The network goes with its only process."""

    def __init__(self, number):
        super().__init__()
        self.number, self.node_address = number, f"10.99.{number}.1"
        self.holder = subprocess.Popen(["unshare", "--net", "sh", "-c", "echo; exec cat"], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE)
        self.holder.stdout.readline()
        inside, here = self.holder.pid, f"lum{number}"
        ip("link", "add", here, "type", "veth", "peer", "name", "out", "netns", str(inside))
        ip("addr", "add", f"{self.node_address}/24", "dev", here)
        ip("link", "set", here, "up")
        ip("addr", "add", f"10.99.{number}.2/24", "dev", "out", inside=inside)
        ip("link", "set", "out", "up", inside=inside)
        self.command = ("nsenter", "--target", str(inside), "--net", "--")

    def close(self):
        super().close()
        self.holder.stdin.close()
        self.holder.wait()
        self.holder.stdout.close()


# What a program does there.

def stranger_context():
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
    return context


class Callers:
    """Connections that send one request after another, and take the answers; those that the node closes are made anew."""

    def __init__(self, address, port, count, *requests, plain=False):
        self.address, self.port, self.requests = address, port, itertools.cycle(requests)
        self.context = None if plain else stranger_context()
        self.connections = [None] * count
        self.done = 0

    def step(self):
        for number, connection in enumerate(self.connections):
            with contextlib.suppress(OSError):
                if connection is None:
                    connection = wire.Connection(self.port, self.context, address=self.address)
                    connection.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                    self.connections[number] = connection
                connection.send(next(self.requests))
        for number, connection in enumerate(self.connections):
            if connection is None:
                continue
            try:
                self.done += connection.answer() is not None
            except OSError:
                connection.socket.close()
                self.connections[number] = None


class Silent:
    """Connections that say nothing. When it has a thousand it takes new ones for the oldest."""

    def __init__(self, address, port):
        self.address, self.port, self.sockets, self.done = address, port, [], 0

    def step(self):
        with contextlib.suppress(OSError):
            self.sockets.append(socket.create_connection((self.address, self.port), timeout=1))
            self.done += 1
        if len(self.sockets) > 1000:
            self.sockets.pop(0).close()


class Handshakes:
    """One handshake after another, each on a connection of its own."""

    def __init__(self, address, port):
        self.address, self.port, self.context, self.done = address, port, stranger_context(), 0

    def step(self):
        with contextlib.suppress(OSError):
            with wire.Connection(self.port, self.context, address=self.address):
                self.done += 1


class Drip:
    """Connections that send a byte of a header, or of a body, from time to time; those that the node closes are made
    anew."""

    def __init__(self, address, port, count=128):
        self.address, self.port, self.sockets, self.done = address, port, [None] * count, 0
        self.context = stranger_context()

    def step(self):
        with contextlib.suppress(OSError, ValueError):
            self.open(self.sockets.index(None))
        for number, connection in enumerate(self.sockets):
            if connection is None:
                continue
            try:
                connection.send(b"x")
                self.done += 1
            except OSError:
                connection.socket.close()
                self.sockets[number] = None

    def open(self, number):
        """One for each step: handshakes take time."""
        connection = self.sockets[number] = wire.Connection(self.port, self.context, address=self.address)
        head = wire.post(b"x" * 1000)
        connection.send(head[:-1000] if number % 2 else head[:20])


class Storm:
    """Connections as fast as they come, of which each sends the beginning of a handshake and is left open."""

    def __init__(self, address, port):
        self.silent = Silent(address, port)
        self.done = 0

    def step(self):
        self.silent.step()
        with contextlib.suppress(OSError, IndexError):
            self.silent.sockets[-1].sendall(b"\x16\x03\x01\x02\x00\x01")
        self.done = self.silent.done


def wrong_proofs(address, port):
    """Requests of the plain road: with a nonce that the node has made and a wrong response, in a small header and in a
    large one, with a nonce that looks like the node's, and with a wrong secret."""
    with wire.Connection(port, address=address) as connection:
        made = re.search('nonce="([0-9a-f]{96})"', connection.exchange(wire.post(b"")).head).group(1)

    def digest(nonce):
        return (f'Digest username="local-{port}", realm="lum", nonce="{nonce}", uri="{wire.PATH}", algorithm=SHA-256, '
                f'qop=auth, nc=00000001, cnonce="c", response="{"0" * 64}"')

    return [wire.post(wire.list_call(), secret=digest(made)),
            wire.post(wire.list_call(), secret=digest(made), fields=[f"X-{i}: {'x' * 1000}" for i in range(50)]),
            wire.post(wire.list_call(), secret=digest(made[:32] + "0" * 64)),
            wire.post(wire.list_call(), secret="LumLocal " + "0" * 64)]


def page(path):
    return f"GET {path} HTTP/1.1\r\nHost: localhost\r\n\r\n".encode()


def large_call():
    return wire.post(wire.install_call(bytes(LARGE)))


def largest_call():
    """The body ends where the limit is."""
    without = len(wire.install_call(b""))
    call = wire.install_call(bytes((LARGEST - without) // 4 * 3))
    return wire.post(call + b" " * (LARGEST - len(call)))


def long_question():
    types = " ".join(f"type{number}" for number in range(100000))
    return wire.post(wire.call("checkpolicy", wire.element("types", types)), wire.CHECK_PATH)


KINDS = {
    "questions": lambda address, port: Callers(address, port, 8, long_question()),
    "calls": lambda address, port: Callers(address, port, 16, wire.post(wire.list_call())),
    "malformed": lambda address, port: Callers(address, port, 16, wire.post(wire.call("list", "<PolicySelection><x"))),
    "bodies": lambda address, port: Callers(address, port, 8, large_call()),
    "largest": lambda address, port: Callers(address, port, 2, largest_call()),
    "silent": Silent,
    "drip": Drip,
    "storm": Storm,
    "proofs": lambda address, port: Callers(address, port, 16, *wrong_proofs(address, port), plain=True),
    "reloads": lambda address, port: Callers(address, port, 16, wire.post(wire.call("mgrconf"))),
    "pages": lambda address, port: Callers(address, port, 16, page(wire.PATH + "?wsdl"), page("/nothing")),
    "handshakes": Handshakes,
}


def main(kind, address, port):
    stranger = KINDS[kind](address, int(port))
    stranger.step()
    print("begun", flush=True)
    while not select.select([sys.stdin], [], [], 0)[0]:
        stranger.step()
    print(stranger.done, flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
