"""A policy's document, as far as a play needs it: its id, its data files, and copies that say something else."""
import os
import shutil
from xml.etree import ElementTree

NAMESPACE = "http://lum.tessel.com/xmlns/conf/"


class DocumentError(Exception):
    """What is wrong with a document; the text names it."""


def found(root, place):
    return root.findall("/".join("{*}" + part for part in place.split("/")))


def texts(root, place):
    return ["".join(element.itertext()) for element in found(root, place)]


class Document:
    def __init__(self, path):
        self.path = path
        try:
            self.root = ElementTree.parse(path).getroot()
        except (OSError, ElementTree.ParseError, UnicodeError, LookupError) as reason:
            raise DocumentError("'%s' cannot be read as a policy: %s" % (path, reason)) from reason
        if not self.root.tag.startswith("{" + NAMESPACE) or not self.root.tag.endswith("}header"):
            raise DocumentError("'%s' is no policy: its root is no header of %s..." % (path, NAMESPACE))
        # Of texts that stand there twice the last one counts.
        self.id = (texts(self.root, "policy/ids/container_id") or [""])[-1]
        self.files = texts(self.root, "policy/files/data/file_name")
        for name in self.files:
            if os.path.basename(name) != name or name in ("", ".", ".."):
                raise DocumentError("'%s': '%s' is no plain name of a data file" % (path, name))

    def folder(self):
        return os.path.dirname(self.path) or "."

    def copy(self, folder, changes):
        """Writes the document and its data files into a folder; returns the document's path there. changes: {name: text}
        of what stands directly in its policy."""
        for name, text in changes.items():
            self.set(name, text)
        path = os.path.join(folder, os.path.basename(self.path))
        try:
            for name in self.files:
                shutil.copyfile(os.path.join(self.folder(), name), os.path.join(folder, name))
            ElementTree.ElementTree(self.root).write(path, encoding="UTF-8", xml_declaration=True)
        except OSError as reason:
            raise DocumentError("'%s' cannot be copied with its data files: %s" % (self.path, reason)) from reason
        return path

    def set(self, name, text):
        space = self.root.tag[:self.root.tag.index("}") + 1]
        places = found(self.root, "policy/" + name) or \
            [ElementTree.SubElement(policy, space + name) for policy in found(self.root, "policy")]
        for place in places:
            place[:] = []
            place.text = text
