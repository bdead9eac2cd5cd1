#!/usr/bin/python3
"""Load one DXF file with ezdxf and audit it.

    dxfaudit.py FILE.dxf [--summary]

Exit status: 0 clean, 1 audit issues (errors, or errors ezdxf had to fix),
2 the file cannot be read.  --summary prints entity counts per layout as JSON.
"""

import argparse
import collections
import json
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import dxfcompare  # noqa: E402  (shares loading and auditing)


def main(argv=None):
    parser = argparse.ArgumentParser(description="Audit a DXF file with ezdxf.")
    parser.add_argument("file")
    parser.add_argument("--summary", action="store_true",
                        help="print entity counts per layout as JSON")
    args = parser.parse_args(argv)
    try:
        doc, note = dxfcompare.load_doc(args.file)
    except dxfcompare.ReadFailure as err:
        print(f"dxfaudit: {err}", file=sys.stderr)
        return 2
    layouts = {name: dict(sorted(collections.Counter(e.dxftype() for e in layout).items()))
               for name, layout in dxfcompare.layouts_of(doc).items()}
    issues = dxfcompare.audit_issues(doc)
    if note != "readfile":
        # the plain loader refused the file: that is a fault of the file too
        issues.insert(0, ("load", 0, note, f"loaded with {note}"))
    if args.summary:
        print(json.dumps({"file": args.file, "acadver": doc.dxfversion, "loaded_with": note,
                          "layouts": layouts,
                          "audit": [{"kind": k, "code": c, "message": m}
                                    for k, c, _, m in issues]}, indent=1, ensure_ascii=False))
    else:
        print(f"{args.file}: $ACADVER {doc.dxfversion}, "
              + ", ".join(f"{name} {sum(c.values())}" for name, c in layouts.items()))
        for kind, code, _, message in issues:
            print(f"  audit {kind} {code}: {message}")
        print("clean" if not issues else f"{len(issues)} audit issue(s)")
    return 0 if not issues else 1


if __name__ == "__main__":
    sys.exit(main())
