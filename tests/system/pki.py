"""Certificates made with the openssl command line, and nodes that have one."""
import pathlib
import ssl
import subprocess
import tempfile


def openssl(*arguments, cwd=None):
    done = subprocess.run(["openssl", *map(str, arguments)], capture_output=True, text=True, cwd=cwd)
    if done.returncode != 0:
        raise AssertionError(f"openssl {' '.join(map(str, arguments))}: {done.stderr}")


class Authority:
    """Issues P-256 certificates into a folder of its own, which lives as long as the object."""

    def __init__(self, name="authority"):
        self.name = name
        self.scratch = tempfile.TemporaryDirectory(prefix="lumpki.")
        self.folder = pathlib.Path(self.scratch.name)
        self.certificate, self.key = self.folder / "ca.pem", self.folder / "ca.key"
        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                "-subj", f"/CN={name}", "-addext", "basicConstraints=critical,CA:TRUE", "-keyout", self.key,
                "-out", self.certificate)

    def close(self):
        self.scratch.cleanup()

    def renew(self, path, start, end):
        """Writes a certificate of the same name and key that is valid at another time (YYYYMMDDHHMMSSZ)."""
        request = self.folder / "renew.csr"
        openssl("req", "-new", "-key", self.key, "-subj", f"/CN={self.name}", "-out", request)
        self.sign(request, path, start, end, "basicConstraints=critical,CA:TRUE", "-selfsign")

    def issue_for(self, common_name, start, end, names="DNS:localhost,IP:127.0.0.1"):
        """As issue, for another time than now."""
        base = self.folder / f"{common_name}.then"
        request, certificate, key = (pathlib.Path(f"{base}.{suffix}") for suffix in ("csr", "pem", "key"))
        openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={common_name}",
                "-keyout", key, "-out", request)
        self.sign(request, certificate, start, end, f"basicConstraints=critical,CA:FALSE\nsubjectAltName={names}",
                  "-cert", self.certificate)
        return certificate, key

    def sign(self, request, path, start, end, extensions, *options):
        settings = self.folder / "sign.cnf"
        settings.write_text(f"[ca]\ndefault_ca=own\n[own]\ndatabase={self.folder}/index\nnew_certs_dir={self.folder}\n"
                            "rand_serial=yes\ndefault_md=sha256\npolicy=any\nx509_extensions=said\n"
                            f"[any]\ncommonName=supplied\n[said]\n{extensions}\n")
        (self.folder / "index").write_text("")
        openssl("ca", "-batch", *options, "-config", settings, "-in", request, "-keyfile", self.key, "-startdate", start,
                "-enddate", end, "-notext", "-out", path)

    def issue(self, common_name, names="DNS:localhost,IP:127.0.0.1", file_name=None, subject=None):
        """Returns the paths of certificate and key. subject: in the form of openssl, for one that holds other names."""
        base = self.folder / (file_name or common_name)
        certificate, key = pathlib.Path(f"{base}.pem"), pathlib.Path(f"{base}.key")
        request, extensions = f"{base}.csr", pathlib.Path(f"{base}.ext")
        extensions.write_text(f"basicConstraints=critical,CA:FALSE\nsubjectAltName={names}\n")
        openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-utf8", "-subj",
                subject or f"/CN={common_name}", "-keyout", key, "-out", request)
        openssl("x509", "-req", "-in", request, "-CA", self.certificate, "-CAkey", self.key, "-CAcreateserial",
                "-days", "1", "-extfile", extensions, "-out", certificate)
        return certificate, key


class NoAuthority(Authority):
    """Issues as well, but its certificate does not say that it may."""

    KINDS = {"version 1": None, "keyCertSign alone": "keyUsage=critical,keyCertSign\n",
             "nsCertType alone": "nsCertType=sslCA\n"}

    def __init__(self, kind, name="trusted"):
        super().__init__(name)
        request, extensions = self.folder / "ca.csr", self.folder / "ca.ext"
        openssl("req", "-new", "-key", self.key, "-subj", f"/CN={name}", "-out", request)
        arguments = ["x509", "-req", "-in", request, "-signkey", self.key, "-days", "2", "-out", self.certificate]
        if self.KINDS[kind]:
            extensions.write_text(self.KINDS[kind])
            arguments += ["-extfile", extensions]
        openssl(*arguments)


def trust(node, authority, alias="ca"):
    folder = node.root / "etc/keystore/trusted"
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{alias}.pem").write_bytes(authority.certificate.read_bytes())


def install_identity(node, core_id, issued):
    """Gives the node, or the client that uses its root, a certificate of its own."""
    certificate, key = issued
    folder = node.root / "etc/keystore/own"
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{core_id}.pem").write_bytes(certificate.read_bytes())
    (folder / f"{core_id}.key").write_bytes(key.read_bytes())
    (folder / f"{core_id}.key").chmod(0o600)
    node.settings.setdefault("sec.core", {})["CORE_ID"] = core_id
    node.settings.setdefault("sec.cm.certificates", {})["CERT_INSTALLED"] = "true"
    node.write_settings()


def enroll(node, authority, core_id, issued=None):
    """Makes the node, or the client that uses its root, trust the authority and be known by a certificate of it."""
    trust(node, authority)
    install_identity(node, core_id, issued or authority.issue(core_id))


def client_context(authority, issued=None):
    """What a client of another make would use."""
    context = ssl.create_default_context(cafile=str(authority.certificate))
    if issued:
        context.load_cert_chain(*map(str, issued))
    return context
