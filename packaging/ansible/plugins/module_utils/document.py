"""A policy's document, as far as a desired state is compared with it: the texts, and the data files beside it."""
import os
from xml.etree import ElementTree

NAMESPACE = "http://lum.tessel.com/xmlns/conf/"
# {name: place}. Of texts that stand there twice the last one counts.
TEXTS = {
    "id": "policy/ids/container_id", "version_id": "policy/ids/version_id", "name": "policy/name",
    "version": "policy/version", "description": "policy/description", "status": "policy/status", "owner": "policy/owner",
    "type": "policytype/name", "type_id": "policytype/container_id", "type_version": "policytype/version",
    "certificate": "certificate",
}
FILE_TEXTS = ("file_name", "encoding", "checksum", "signature")
SMALL = ("id", "type", "type_id")


class DocumentError(Exception):
    """What is wrong with a document; the text names it."""


def texts(root, place):
    found = root.findall("/".join("{*}" + part for part in place.split("/")))
    return ["".join(element.itertext()) for element in found]


class Document:
    def __init__(self, path):
        self.path = path
        try:
            root = ElementTree.parse(path).getroot()
        except (OSError, ElementTree.ParseError, UnicodeError, LookupError) as reason:
            raise DocumentError("'%s' cannot be read as a policy: %s" % (path, reason)) from reason
        if not root.tag.startswith("{" + NAMESPACE) or not root.tag.endswith("}header"):
            raise DocumentError("'%s' is no policy: its root is no header of %s..." % (path, NAMESPACE))
        self.fields = {name: (texts(root, place) or [""])[-1] for name, place in TEXTS.items()}
        self.fields.update((name, self.fields[name].lower()) for name in SMALL)
        self.fields["certificate"] = "".join(self.fields["certificate"].split())
        self.fields["categories"] = sorted(set(texts(root, "policy/categories/category")))
        # The node keeps them without the blanks around them.
        names, values = ([text.strip() for text in texts(root, "policy/attributes/attribute/" + name)]
                         for name in ("name", "value"))
        self.fields["attributes"] = sorted(zip(names, values))
        places = [texts(root, "policy/files/data/" + name) for name in FILE_TEXTS]
        self.files = places[0]
        self.fields["files"] = list(zip(*(self.padded(place) for place in places)))
        for name in self.files:
            if os.path.basename(name) != name or name in ("", ".", ".."):
                raise DocumentError("'%s': '%s' is no plain name of a data file" % (path, name))

    def padded(self, column):
        """An element that need not be there for each file."""
        return column + [""] * (len(self.files) - len(column))

    def folder(self):
        return os.path.dirname(self.path) or "."

    def contents(self):
        """{name: bytes}; None for one that is not there."""
        found = {}
        for name in self.files:
            try:
                with open(os.path.join(self.folder(), name), "rb") as file:
                    found[name] = file.read()
            except FileNotFoundError:
                found[name] = None
            except OSError as reason:
                raise DocumentError("the data file '%s' cannot be read: %s" % (name, reason)) from reason
        return found
