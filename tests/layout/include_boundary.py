#!/usr/bin/python3
"""The dependency arrows of the tree: hostapi/ includes nothing of host/ or express/,
express/ nothing of host/, host/ nothing of express/; and inside the host, the editor
reaches the database through its host-side headers, never its core (database_impl.h).

    include_boundary.py [ROOT]      prints each include that crosses, exit 1 if any

An include counts by the file it names: a path from the top ("host/db/schema.h") or one
relative to the including file ("../../host/db/schema.h")."""

import os
import re
import sys

FORBIDDEN = {"hostapi": ("host", "express"), "express": ("host",), "host": ("express",)}
# Files of a folder that no file of another folder may include.
PRIVATE = {"host/editor": ("host/db/database_impl.h",)}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"]([^>"]+)[>"]', re.M)
SOURCES = (".h", ".hpp", ".cpp", ".cc", ".inc", ".def")


def top_folder(root, path):
    rel = os.path.relpath(os.path.normpath(path), root)
    return rel.split(os.sep)[0] if not rel.startswith("..") else None


def includes(root, folder):
    """(path, line, as written, the file it names relative to root) of each include."""
    for dirpath, _, files in os.walk(os.path.join(root, folder)):
        for name in files:
            if not name.endswith(SOURCES):
                continue
            path = os.path.join(dirpath, name)
            with open(path, encoding="utf-8", errors="replace") as f:
                text = f.read()
            for m in INCLUDE.finditer(text):
                target = m.group(1)
                beside = os.path.join(dirpath, target)
                named = beside if os.path.exists(beside) else os.path.join(root, target)
                line = text.count("\n", 0, m.start()) + 1
                yield os.path.relpath(path, root), line, target, os.path.relpath(os.path.normpath(named), root)


def crossings(root):
    root = os.path.abspath(root)
    found = []
    for folder, banned in FORBIDDEN.items():
        for path, line, target, named in includes(root, folder):
            if top_folder(root, os.path.join(root, named)) in banned:
                found.append(f"{path}:{line}: includes {target}")
    for folder, private in PRIVATE.items():
        for path, line, target, named in includes(root, folder):
            if named.replace(os.sep, "/") in private:
                found.append(f"{path}:{line}: includes {target}")
    return found


if __name__ == "__main__":
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "..")
    bad = crossings(root)
    for b in bad:
        print(b)
    sys.exit(1 if bad else 0)
