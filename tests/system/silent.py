"""Hosts that hang, for tests of what is waited for."""
import socket
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
                self.taken.append(self.listener.accept()[0])
            except OSError:
                return

    def close(self):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.thread.join()
        for connection in self.taken:
            connection.close()


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
