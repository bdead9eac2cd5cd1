"""What the end-to-end tests share: draxel run as a user runs it, in a scratch folder with
a program folder and profile of its own, results read back with ezdxf, and dxfcompare.

Environment: DRAXEL (the program), DX_MODULE (express.drx), DX_SHARED_DATA (sample
drawings, optional).
"""

import os
import subprocess
import sys
import tempfile
import unittest

import ezdxf

HERE = os.path.dirname(os.path.abspath(__file__))
DRAXEL = os.environ.get("DRAXEL", "draxel")
MODULE = os.environ.get("DX_MODULE", "")
SHARED = os.environ.get("DX_SHARED_DATA", "")


def draxel(*args, module=None, program=DRAXEL, timeout=300, **kw):
    """Runs draxel with ARGS (and --load MODULE when given); output kept as text."""
    cmd = [program, *args] + (["--load", module] if module else [])
    kw.setdefault("stdin", subprocess.DEVNULL)
    return subprocess.run(cmd, capture_output=True, text=True, timeout=timeout, **kw)


def compare(a, b):
    """(equal, report) of dxfcompare.py on two drawings."""
    r = subprocess.run([sys.executable, os.path.join(HERE, "dxfcompare.py"), a, b],
                       capture_output=True, text=True, timeout=600)
    return r.returncode == 0, r.stdout + r.stderr


def shared(*parts):
    """A sample file's path, or None when the samples are not here."""
    path = os.path.join(SHARED, *parts)
    return path if SHARED and os.path.exists(path) else None


class DraxelTest(unittest.TestCase):
    """One scratch folder per test, holding the program folder (DRAXEL_APPDIR) and the
    profile, so no test reads or changes the user's settings."""

    module = None  # set to MODULE by tests of the module's commands

    def setUp(self):
        self.tmpdir = tempfile.TemporaryDirectory()
        self.tmp = self.tmpdir.name
        self.appdir = self.path("app")
        os.makedirs(self.appdir)
        self.profile = os.path.join(self.appdir, "profile.ini")

    def tearDown(self):
        self.tmpdir.cleanup()

    def path(self, name):
        return os.path.join(self.tmp, name)

    def env(self, **extra):
        return dict(os.environ, DRAXEL_APPDIR=self.appdir, DRAXEL_PROFILE=self.profile, **extra)

    def draxel(self, *args, **kw):
        kw.setdefault("env", self.env())
        kw.setdefault("module", self.module)
        return draxel(*args, cwd=self.tmp, **kw)

    def run_script(self, drawing, text, out="out.dxf", expect_ok=True):
        """Runs TEXT as a script on DRAWING and saves to OUT; the saved drawing read with
        ezdxf, or None when draxel failed and that was expected.  stdout is kept."""
        scr = self.path("run.scr")
        with open(scr, "w") as f:
            f.write(text)
        self.out = self.path(out)
        r = self.draxel(drawing, "-s", scr, "-o", self.out)
        self.result, self.stdout = r, r.stdout
        if expect_ok:
            self.assertEqual(r.returncode, 0, r.stdout + r.stderr)
            # The host reports objects a command left open; no command may leave one.
            self.assertNotIn("open", r.stderr.lower(), r.stderr)
        return ezdxf.readfile(self.out) if r.returncode == 0 else None

    def roundtrip(self, drawing):
        """DRAWING opened and saved by draxel alone: what an untouched drawing becomes."""
        rt = self.path("roundtrip.dxf")
        r = draxel(drawing, "-o", rt)
        self.assertEqual(r.returncode, 0, r.stderr)
        return rt

    def assertSameDrawing(self, a, b):
        ok, report = compare(a, b)
        self.assertTrue(ok, report)
