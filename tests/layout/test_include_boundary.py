#!/usr/bin/python3
"""The include boundary holds in the tree, and the check finds an include planted across it
(between the three parts, and from the editor into the database's core)."""

import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
CHECK = os.path.join(HERE, "include_boundary.py")


def run(root):
    p = subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True)
    return p.returncode, p.stdout.splitlines()


def write(root, rel, text):
    path = os.path.join(root, rel)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as f:
        f.write(text)


class IncludeBoundary(unittest.TestCase):
    def test_tree_keeps_the_arrows(self):
        code, lines = run(ROOT)
        self.assertEqual(lines, [])
        self.assertEqual(code, 0)

    def test_planted_includes_are_found(self):
        with tempfile.TemporaryDirectory() as t:
            write(t, "hostapi/db.h", "#pragma once\n")
            write(t, "host/db/schema.h", '#include "hostapi/db.h"\n')
            write(t, "express/env/env.h", '#include "hostapi/db.h"\n')
            write(t, "express/text/ok.cpp", '#include "express/env/env.h"\n#include <vector>\n')
            write(t, "express/text/top.cpp", "#include <cmath>\n\n#include \"host/db/schema.h\"\n")
            write(t, "express/text/up.cpp", '#include "../../host/db/schema.h"\n')
            write(t, "host/db/back.cpp", '#include "express/env/env.h"\n')
            write(t, "hostapi/leak.h", "#include <host/db/schema.h>\n")
            write(t, "host/db/database_impl.h", '#include "hostapi/db.h"\n')
            write(t, "host/db/merge.h", '#include "host/db/database_impl.h"\n')
            write(t, "host/editor/core/ok.cpp", '#include "host/db/merge.h"\n')
            write(t, "host/editor/core/core.cpp", '#include "host/db/database_impl.h"\n')
            write(t, "host/editor/commands/up.cpp", '#include "../../db/database_impl.h"\n')
            code, lines = run(t)
            self.assertEqual(code, 1)
            self.assertEqual(sorted(lines), [
                "express/text/top.cpp:3: includes host/db/schema.h",
                "express/text/up.cpp:1: includes ../../host/db/schema.h",
                "host/db/back.cpp:1: includes express/env/env.h",
                "host/editor/commands/up.cpp:1: includes ../../db/database_impl.h",
                "host/editor/core/core.cpp:1: includes host/db/database_impl.h",
                "hostapi/leak.h:1: includes host/db/schema.h",
            ])


if __name__ == "__main__":
    unittest.main()
