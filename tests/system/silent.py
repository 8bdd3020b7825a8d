"""Hosts that hang, for tests of what is waited for."""
import socket
import ssl
import threading

import pki


class Silent:
    """Takes connections and says nothing; counts them."""

    def __init__(self):
        self.taken = []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.thread = threading.Thread(target=self.accept, daemon=True)
        self.thread.start()

    def accept(self):
        while True:
            try:
                connection = self.listener.accept()[0]
            except OSError:
                return
            self.take(connection)

    def take(self, connection):
        self.taken.append(connection)

    def close(self):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.thread.join()
        for connection in self.taken:
            connection.close()


class Unanswering(Silent):
    """Speaks TLS, reads what is sent to it, and never answers; one caller after another."""

    def __init__(self, authority):
        self.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.context.load_cert_chain(*authority.issue("unanswering"))
        self.read = []
        super().__init__()

    def take(self, connection):
        try:
            with self.context.wrap_socket(connection, server_side=True) as caller:
                while chunk := caller.recv(65536):
                    self.read.append(chunk)
        except OSError:
            pass  # the caller has gone


class CallsOthers:
    """For a test case with a node of its own that calls other hosts."""

    def trust_somebody(self):
        """Without anybody to trust no other node is called."""
        authority = pki.Authority()
        self.addCleanup(authority.close)
        pki.trust(self.node, authority)

    def silent(self):
        silent = Silent()
        self.addCleanup(silent.close)
        return silent
