#!/usr/bin/python3
"""Time ezdxf loading and saving one DXF file, as the yardstick for our host.

    ezdxf_load_save.py FILE.dxf [--out SAVED.dxf]

Prints JSON: load_s, save_s (wall), load_cpu_s, save_cpu_s (processor time),
size_bytes (of FILE), saved_bytes and MB/s for
each direction (MB = 10^6 bytes of FILE).  Run with /usr/bin/python3.
"""

import argparse
import json
import os
import sys
import tempfile
import time

import ezdxf


def main(argv=None):
    parser = argparse.ArgumentParser(description="Time ezdxf load and save of a DXF file.")
    parser.add_argument("file")
    parser.add_argument("--out", help="where to save (default: a temporary file, removed)")
    args = parser.parse_args(argv)

    size = os.path.getsize(args.file)
    started, cpu = time.perf_counter(), time.process_time()
    doc = ezdxf.readfile(args.file)
    load_s, load_cpu_s = time.perf_counter() - started, time.process_time() - cpu

    out = args.out
    if out is None:
        handle, out = tempfile.mkstemp(suffix=".dxf")
        os.close(handle)
    try:
        started, cpu = time.perf_counter(), time.process_time()
        doc.saveas(out)
        save_s, save_cpu_s = time.perf_counter() - started, time.process_time() - cpu
        saved = os.path.getsize(out)
    finally:
        if args.out is None:
            os.unlink(out)

    mb = size / 1e6
    print(json.dumps({
        "file": args.file,
        "acadver": doc.dxfversion,
        "entities": len(doc.modelspace()),
        "size_bytes": size,
        "saved_bytes": saved,
        "load_s": round(load_s, 4),
        "save_s": round(save_s, 4),
        "load_cpu_s": round(load_cpu_s, 4),
        "save_cpu_s": round(save_cpu_s, 4),
        "load_mb_per_s": round(mb / load_s, 3) if load_s > 0 else None,
        "save_mb_per_s": round(mb / save_s, 3) if save_s > 0 else None,
    }))
    return 0


if __name__ == "__main__":
    sys.exit(main())
