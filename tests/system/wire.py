"""The node's wire from below: HTTP requests byte by byte, SOAP calls as text, policies as transfer arrays."""
import base64
import re
import socket
import struct

from node import PATIENCE_S, escape, header

PATH = "/com.tessel.lum.conf.core/voxrpcserver"
CHECK_PATH = "/com.tessel.lum.conf.core/checkpolicy/voxrpcserver"
ENVELOPE = "http://schemas.xmlsoap.org/soap/envelope/"
DONE, NO_POLICIES, NOT_FOUND, NOTHING_TO_DO, OWNER, VERSION, FAILED, NOT_AUTHORIZED, CONTROL = range(1, 10)
REMOVE, ENABLE, NOTIFY, REINIT = 4, 3, 13, 15
ALL = "8"


def element(name, text):
    return f"<{name}>{text}</{name}>"


def envelope(inner, before='<?xml version="1.0" encoding="UTF-8"?>'):
    return (f'{before}<s:Envelope xmlns:s="{ENVELOPE}"><s:Body>{inner}</s:Body></s:Envelope>').encode()


def call(method, arguments=""):
    return envelope(f'<m:{method} xmlns:m="urn:lum:conf">{arguments}</m:{method}>')


def selection(kind=ALL, name=""):
    return element("PolicySelection", element("selection", kind) + element("name", escape(name)))


def list_call(kind=ALL, name=""):
    return call("list", selection(kind, name))


def operation_call(mode, kind=ALL, name="", string=""):
    return call("policyOp", element("PolicyOperationMode", mode) + element("PolicyString1", string)
                + selection(kind, name) + element("PolicyOptions", element("notify", "false")))


def install_call(data, method=1, file_name="x_header.xml", options=element("notify", "false")):
    return call("install", element("PolicyInstallFilename", escape(file_name))
                + element("PolicyByteArrayName", base64.b64encode(data).decode())
                + element("PolicyInstallOptions", options) + element("PolicyInstallMethod", method))


def int32(value):
    return struct.pack(">i", value)


def utf16(text):
    raw = text.encode("utf-16-be", "surrogatepass")
    return int32(len(raw) // 2) + raw


def entry(name, content):
    return utf16(name) + int32(len(content)) + content


def policy_array(policy_id, files=None, header_name=None, document=None, **fields):
    """A policy as it travels: files is {name: bytes}; its name is its id."""
    files = files or {}
    fields.setdefault("name", policy_id)
    text = document if document is not None else header(policy_id, files=list(files), **fields).encode()
    entries = [entry(header_name or f"{policy_id}_header.xml", text)]
    entries += [entry(name, content) for name, content in files.items()]
    return int32(len(entries)) + b"".join(entries)


def post(body, path=PATH, fields=(), secret=None):
    """A whole request; secret: the value of the Authorization header."""
    lines = [f"POST {path} HTTP/1.1", "Host: localhost", "Content-Type: text/xml; charset=utf-8", *fields]
    if secret:
        lines.append(f"Authorization: {secret}")
    lines.append(f"Content-Length: {len(body)}")
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + body


def secret_of(node):
    """What a caller that may read the node's secret sends."""
    return "LumLocal " + (node.root / "etc/local.secret").read_text()


class Answer:
    def __init__(self, status, head, body):
        self.status, self.head, self.body = status, head, body

    def value(self):
        """The return value of a call; None when the answer holds none."""
        found = re.search(rb"<Policy\w+RetValue[^>]*>(-?\d+)<", self.body)
        return int(found.group(1)) if found else None

    def fault(self):
        """The code of a SOAP fault; None when the answer is none."""
        found = re.search(rb"<faultcode>soap:(\w+)<", self.body)
        return found.group(1).decode() if found else None

    def __repr__(self):
        return f"status {self.status}, {self.body[:500]!r}"


class Connection:
    """One connection. Waits for an answer as long as a patient caller would."""

    def __init__(self, port, context=None, family=socket.AF_INET, address="127.0.0.1"):
        self.socket = socket.socket(family)
        self.socket.settimeout(PATIENCE_S)
        try:
            self.socket.connect((address, port))
            if context:
                self.socket = context.wrap_socket(self.socket, server_hostname="localhost")
        except BaseException:
            self.socket.close()
            raise
        self.received = b""

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.socket.close()

    def send(self, data):
        """Sends until all is sent or the node has closed, as it may when it refuses."""
        try:
            self.socket.sendall(data)
        except (BrokenPipeError, ConnectionResetError):
            pass

    def fill(self):
        try:
            more = self.socket.recv(262144)
        except ConnectionResetError:
            more = b""
        self.received += more
        return bool(more)

    def answer(self):
        """The next answer; None when the connection ends without one."""
        while b"\r\n\r\n" not in self.received:
            if not self.fill():
                return None
        head, self.received = self.received.split(b"\r\n\r\n", 1)
        length = re.search(rb"(?i)\r\ncontent-length: (\d+)", head)
        length = int(length.group(1)) if length else 0
        while len(self.received) < length:
            if not self.fill():
                return None
        body, self.received = self.received[:length], self.received[length:]
        return Answer(int(head.split(b" ", 2)[1]), head.decode("latin-1"), body)

    def is_closed(self):
        return not self.received and not self.fill()

    def exchange(self, data):
        self.send(data)
        return self.answer()


def exchange(node, data, context=None):
    """One request on a connection of its own."""
    with Connection(node.port, context) as connection:
        return connection.exchange(data)


def ask(node, body, path=PATH, secret=None):
    """One call of the node's own administrator, or of the caller with this secret."""
    return exchange(node, post(body, path, secret=secret if secret is not None else secret_of(node)))
