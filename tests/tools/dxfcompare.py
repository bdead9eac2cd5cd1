#!/usr/bin/python3
"""Compare two DXF files the way an independent reader (ezdxf) sees them.

    dxfcompare.py INPUT.dxf OUTPUT.dxf

Exit status: 0 equal and OUTPUT has no new audit issues, 1 differences,
2 a file cannot be read.  Run with /usr/bin/python3, the interpreter that has
python3-ezdxf.
"""

import argparse
import collections
import difflib
import hashlib
import math
import re
import sys

try:
    import ezdxf
    from ezdxf import recover
    from ezdxf.entities.dxfentity import DXFTagStorage
    from ezdxf.lldxf.attributes import XType
    from ezdxf.lldxf.tagwriter import TagCollector
except ImportError:  # pragma: no cover - depends on the machine
    sys.stderr.write("dxfcompare: ezdxf is missing; run with /usr/bin/python3\n")
    sys.exit(2)

REL_TOL = 1e-9
ABS_TOL = 1e-12

# Group codes that only tie an entity into its own file: handles, owners,
# reactor and extension-dictionary links.
LINK_CODES = {5, 105, 330, 360}

# The namespace attributes of these types hold everything a reader sees; any
# other type known to ezdxf also gets its exported tags compared.
NAMESPACE_COMPLETE = {
    "LINE", "POINT", "CIRCLE", "ARC", "ELLIPSE", "TEXT", "ATTRIB", "ATTDEF",
    "SOLID", "TRACE", "3DFACE", "XLINE", "RAY", "SHAPE", "VIEWPORT",
    "DIMENSION", "ARC_DIMENSION", "LARGE_RADIAL_DIMENSION", "INSERT",
    "LWPOLYLINE", "POLYLINE", "VERTEX", "SEQEND", "MTEXT", "SPLINE", "HATCH",
    "MPOLYGON", "LEADER", "MESH", "IMAGE", "WIPEOUT", "MLINE", "HELIX",
    "TOLERANCE", "UNDERLAY", "PDFUNDERLAY", "DWFUNDERLAY", "DGNUNDERLAY",
}

# Attributes that name a block; anonymous block names may change on save.
BLOCK_NAME_ATTRIBS = {
    "INSERT": "name",
    "DIMENSION": "geometry",
    "ARC_DIMENSION": "geometry",
    "LARGE_RADIAL_DIMENSION": "geometry",
}


class ReadFailure(Exception):
    pass


def is_handle_code(code):
    return (code in LINK_CODES or 320 <= code <= 369 or 390 <= code <= 399
            or 480 <= code <= 481 or code == 1005)


def load_doc(path):
    """Return (doc, note); note says when the recover loader was needed."""
    try:
        return ezdxf.readfile(path), "readfile"
    except IOError as err:
        raise ReadFailure(f"{path}: cannot open: {err}")
    except Exception as err:  # any structure error: try the tolerant loader
        first = f"{type(err).__name__}: {err}"
    try:
        doc, _auditor = recover.readfile(path)
    except Exception as err:
        raise ReadFailure(f"{path}: unreadable ({first}; recover: "
                          f"{type(err).__name__}: {err})")
    return doc, f"recover (readfile failed: {first})"


_HANDLE_IN_TEXT = re.compile(r"#[0-9A-Fa-f]+\b|\b(handle|owner)\s+[0-9A-Fa-f]+\b")


def normalise_message(message):
    return _HANDLE_IN_TEXT.sub(lambda m: "#H" if m.group(0).startswith("#")
                               else m.group(1) + " H", message)


def audit_issues(doc):
    """Audit problems as (kind, code, normalised message, original message).

    Fixed errors count too: they were wrong in the file, ezdxf only repaired
    them in memory.  An audit that crashes is reported as an issue itself.
    """
    issues = []
    try:
        auditor = doc.audit()
    except Exception as err:
        msg = f"audit raised {type(err).__name__}: {err}"
        return [("crash", 0, normalise_message(msg), msg)]
    for kind, entries in (("error", auditor.errors), ("fixed", auditor.fixes)):
        for e in entries:
            code = int(e.code)
            issues.append((kind, code, normalise_message(e.message), e.message))
    return issues


# --------------------------------------------------------------------------
# Canonical values


UNICODE_ESCAPE = re.compile(r"\\U\+([0-9A-Fa-f]{4})")


def unescape(text):
    """The same text whether a writer kept "\\U+XXXX" escapes or wrote the characters."""
    return UNICODE_ESCAPE.sub(lambda m: chr(int(m.group(1), 16)), text)


# Attributes that name a table record.
CASELESS_NAMES = {"layer", "linetype", "style", "dimstyle", "text_style"}


def plain(value, depth=0):
    """Turn ezdxf values (vectors, paths, edges, tags) into comparable data."""
    if depth > 12:
        return repr(value)
    if isinstance(value, str):
        return unescape(value)
    if value is None or isinstance(value, (bool, int)):
        return value
    if isinstance(value, float):
        return value
    if hasattr(value, "x") and hasattr(value, "y") and hasattr(value, "z") \
            and hasattr(value, "isclose"):
        return (float(value.x), float(value.y), float(value.z))
    if hasattr(value, "x") and hasattr(value, "y") and hasattr(value, "isclose"):
        return (float(value.x), float(value.y))
    if isinstance(value, (bytes, bytearray, memoryview)):
        return bytes(value).hex()
    if isinstance(value, dict):
        return {str(k): plain(v, depth + 1) for k, v in value.items()}
    if isinstance(value, (list, tuple)) or type(value).__name__ in ("array", "ndarray"):
        return [plain(v, depth + 1) for v in value]
    if hasattr(value, "__iter__") and type(value).__name__.endswith(("Array", "Tags")):
        return [plain(v, depth + 1) for v in value]
    if hasattr(value, "code") and hasattr(value, "value"):  # a DXF tag
        return (value.code, plain(value.value, depth + 1))
    fields = {}
    names = list(getattr(value, "__dict__", {}).keys())
    for cls in type(value).__mro__:
        names.extend(getattr(cls, "__slots__", ()))
    for name in names:
        if name.startswith("_") or name in fields:
            continue
        if name.endswith("handles") or name.endswith("handle"):
            continue  # boundary associations etc. point into the file itself
        try:
            fields[name] = plain(getattr(value, name), depth + 1)
        except Exception:
            continue
    return {"class": type(value).__name__, **fields}


class Canon:
    """Build the comparable form of entities and table entries of one file."""

    def __init__(self, doc):
        self.doc = doc
        self._export_version = "AC1032"
        self._defs = {}
        self.defaults = {}  # class name -> {attribute: default}

    def ref(self, handle):
        """Describe what a handle points to, so files with other handles compare."""
        target = self.doc.entitydb.get(handle) if handle else None
        if target is None:
            return None if not handle or handle == "0" else "<dangling>"
        name = target.dxf.get("name") if target.dxf.is_supported("name") else None
        return f"{target.dxftype()}:{name}" if name is not None else target.dxftype()

    def definitions(self, entity):
        """(name, attr, is_handle, default) per namespace attribute, once per class."""
        cls = type(entity)
        defs = self._defs.get(cls)
        if defs is None:
            defs, seen = [], set()
            for name, attr in entity.DXFATTRIBS._attribs.items():
                if name in ("handle", "owner") or (attr.alias and attr.alias in seen):
                    continue
                seen.add(name)
                # DIMSTYLE keeps a block name in group 5; its own handle is 105
                handle = (is_handle_code(attr.code) and attr.code != 5) or name.endswith("_handle")
                defs.append((name, attr, handle, plain(attr.default)))
            self._defs[cls] = defs
            self.defaults[cls.__name__] = {name: d for name, _, h, d in defs if not h}
        return defs

    def attribs(self, entity):
        """Namespace attributes that differ from their default value; what is
        left out reads as the default, so writing a default or not is the same."""
        result = {}
        values = entity.dxf.__dict__
        for name, attr, handle, default in self.definitions(entity):
            if attr.xtype == XType.callback:
                try:
                    value = attr.get_callback_value(entity)
                except Exception:
                    continue
            else:
                value = values.get(name)
            if value is None:
                continue
            if handle:
                if self.ref(value) is not None:
                    result[name] = ("->", self.ref(value))
                continue
            value = plain(value)
            if name in CASELESS_NAMES and isinstance(value, str):
                # Table names are case-insensitive in CAD: "BYBLOCK" is "ByBlock".
                value = value.upper()
                default = default.upper() if isinstance(default, str) else default
            if value != default:
                result[name] = value
        return result

    def raw_tags(self, entity):
        """Tags of an entity ezdxf does not know, minus the file's own links."""
        out = []
        groups = list(entity.xtags.subclasses[1:])
        groups.extend(entity.embedded_objects or [])
        for tags in groups:
            in_app_group = False
            for tag in tags:
                code = tag.code
                if code == 102:
                    in_app_group = str(tag.value).startswith("{")
                    continue
                if in_app_group:
                    continue
                if is_handle_code(code):
                    continue
                out.append((code, plain(tag.value)))
        return out

    def exported_tags(self, entity):
        collector = TagCollector(dxfversion=self._export_version)
        try:
            entity.export_dxf(collector)
        except Exception as err:
            return [f"<export failed: {type(err).__name__}>"]
        out = []
        in_app_group = False
        for tag in collector.tags:
            code = tag[0]
            if code == 102:
                in_app_group = str(tag[1]).startswith("{")
                continue
            if in_app_group or is_handle_code(code):
                continue
            out.append((code, plain(tag[1])))
        return out

    def extras(self, entity):
        """Content an entity holds outside its namespace attributes."""
        kind = entity.dxftype()
        ex = {}
        if isinstance(entity, DXFTagStorage):
            ex["tags"] = self.raw_tags(entity)
            return ex
        if kind == "LWPOLYLINE":
            ex["points"] = [list(p) for p in entity.get_points("xyseb")]
        elif kind == "POLYLINE":
            ex["vertices"] = [self.entity(v) for v in entity.vertices]
        elif kind == "INSERT":
            attribs = list(entity.attribs)
            ex["attribs"] = [(a.dxf.get("tag", ""), a.dxf.get("text", ""))
                             for a in attribs]
            ex["attrib_entities"] = [self.entity(a) for a in attribs]
        elif kind == "MTEXT":
            ex["text"] = entity.text
        elif kind == "SPLINE":
            ex["control_points"] = plain(list(entity.control_points))
            ex["fit_points"] = plain(list(entity.fit_points))
            ex["knots"] = plain(list(entity.knots))
            ex["weights"] = plain(list(entity.weights))
        elif kind in ("HATCH", "MPOLYGON"):
            ex["paths"] = plain(list(entity.paths))
            ex["pattern"] = plain(entity.pattern)
            ex["gradient"] = plain(entity.gradient)
            ex["seeds"] = plain(list(entity.seeds))
        elif kind == "LEADER":
            ex["vertices"] = plain(list(entity.vertices))
        elif kind == "MLINE":
            ex["vertices"] = plain(list(entity.vertices))
        elif kind == "MESH":
            data = entity.data() if hasattr(entity, "data") else None
            if data is not None:
                ex["vertices"] = plain(list(data.vertices))
                ex["faces"] = plain(list(data.faces))
                ex["edges"] = plain(list(data.edges))
        elif kind in ("IMAGE", "WIPEOUT"):
            ex["boundary"] = plain(list(entity.boundary_path))
        elif kind not in NAMESPACE_COMPLETE:
            ex["tags"] = self.exported_tags(entity)
        if entity.xdata is not None:
            xd = {}
            for appid, tags in entity.xdata.data.items():
                xd[appid] = [(t.code, plain(t.value)) for t in tags
                             if t.code != 1005]
            if xd:
                ex["xdata"] = xd
        if entity.extension_dict is not None:
            try:
                xdict = entity.extension_dict.dictionary
                ex["extension_dict"] = sorted(
                    (k, v.dxftype() if hasattr(v, "dxftype") else str(type(v)))
                    for k, v in xdict.items())
            except Exception:
                ex["extension_dict"] = "<unreadable>"
        return ex

    def entity(self, entity):
        attribs = self.attribs(entity)
        return {"type": entity.dxftype(), "class": type(entity).__name__,
                "attribs": attribs, "extras": self.extras(entity)}


def _fingerprint_value(value, anon):
    if isinstance(value, float):
        if value == 0.0 or not math.isfinite(value):
            return repr(value + 0.0)
        return f"{value:.9g}"
    if isinstance(value, str) and anon and is_anonymous(value):
        return anon_kind(value)
    if isinstance(value, dict):
        return "{" + ",".join(f"{k}:{_fingerprint_value(v, anon)}"
                              for k, v in sorted(value.items())) + "}"
    if isinstance(value, (list, tuple)):
        # 2D and 3D forms of one point read alike
        items = list(value)
        if len(items) == 3 and all(isinstance(v, float) for v in items) and items[2] == 0.0:
            items = items[:2]
        return "[" + ",".join(_fingerprint_value(v, anon) for v in items) + "]"
    return repr(value)


def fingerprint(canon_entity):
    """Hash of an entity's comparable form, floats to 9 significant digits;
    names of anonymous blocks reduced to their kind so renaming does not count."""
    text = _fingerprint_value({k: v for k, v in canon_entity.items() if k != "class"}, True)
    return hashlib.blake2b(text.encode("utf-8", "surrogatepass"), digest_size=12).digest()


# --------------------------------------------------------------------------
# Comparison of values


def is_anonymous(name):
    return isinstance(name, str) and name.startswith("*") and not \
        name.upper().startswith(("*MODEL_SPACE", "*PAPER_SPACE"))


def anon_kind(name):
    return name.rstrip("0123456789").upper()


def fmt(value, limit=90):
    text = repr(value)
    return text if len(text) <= limit else text[:limit - 3] + "..."


class Differ:
    def __init__(self):
        self.diffs = []
        self.anon_map = {}  # INPUT anonymous block name -> OUTPUT name
        self.defaults = {}  # class name -> {attribute: default}, from both files

    def add(self, text):
        self.diffs.append(text)

    def same(self, a, b):
        if isinstance(a, bool) or isinstance(b, bool):
            return a == b
        if isinstance(a, (int, float)) and isinstance(b, (int, float)):
            if isinstance(a, int) and isinstance(b, int):
                return a == b
            if math.isnan(a) or math.isnan(b):
                return math.isnan(a) and math.isnan(b)
            return math.isclose(a, b, rel_tol=REL_TOL, abs_tol=ABS_TOL)
        if (a is None and b == "") or (a == "" and b is None):
            return True  # an empty name written or left out reads the same
        if isinstance(a, (list, tuple)) and isinstance(b, (list, tuple)):
            a, b = list(a), list(b)
            if len(a) != len(b) and all(isinstance(v, (int, float)) for v in a + b) \
                    and {len(a), len(b)} == {2, 3}:
                # a point read as 2D in one file and 3D in the other
                a = a + [0.0] * (3 - len(a))
                b = b + [0.0] * (3 - len(b))
            return len(a) == len(b) and all(self.same(x, y) for x, y in zip(a, b))
        if isinstance(a, dict) and isinstance(b, dict):
            return a.keys() == b.keys() and all(self.same(a[k], b[k]) for k in a)
        return a == b

    def first_difference(self, a, b, path=""):
        """Path and values of the first place where a and b differ."""
        if isinstance(a, dict) and isinstance(b, dict):
            for k in sorted(set(a) | set(b), key=str):
                if not self.same(a.get(k), b.get(k)):
                    return self.first_difference(a.get(k), b.get(k), f"{path}[{k!r}]")
        elif isinstance(a, (list, tuple)) and isinstance(b, (list, tuple)) \
                and not self.same(a, b) and not all(isinstance(v, (int, float)) for v in list(a) + list(b)):
            if len(a) != len(b):
                extra = f" (length {len(a)} != {len(b)})"
            else:
                extra = ""
            for i, (x, y) in enumerate(zip(a, b)):
                if not self.same(x, y):
                    return self.first_difference(x, y, f"{path}[{i}]" + extra)
            return f"{path}{extra}: {fmt(a[len(b):] or None)} != {fmt(b[len(a):] or None)}"
        return f"{path}: {fmt(a)} != {fmt(b)}"

    def same_block_name(self, a, b):
        if isinstance(a, str) and isinstance(b, str):
            if is_anonymous(a) and a in self.anon_map:
                return self.anon_map[a] == b
            if is_anonymous(a) and is_anonymous(b):
                return anon_kind(a) == anon_kind(b)
            return a == b
        return a == b

    def entities(self, where, a, b, ha="?", hb="?"):
        """Detailed comparison of two canonical entities."""
        label = f"{where} {a['type']} (#{ha} / #{hb})"
        if a["type"] != b["type"]:
            self.add(f"{label}: type {a['type']} != {b['type']}")
            return
        block_attr = BLOCK_NAME_ATTRIBS.get(a["type"])
        aa, ba = a["attribs"], b["attribs"]
        da = self.defaults.get(a.get("class"), {})
        db = self.defaults.get(b.get("class"), {})
        for key in sorted(set(aa) | set(ba)):
            va, vb = aa.get(key, da.get(key)), ba.get(key, db.get(key))
            if key == block_attr:
                ok = self.same_block_name(va, vb)
            else:
                ok = self.same(va, vb)
            if not ok:
                self.add(f"{label}: {key}: {fmt(va)} != {fmt(vb)}")
        ea, eb = a["extras"], b["extras"]
        for key in sorted(set(ea) | set(eb)):
            va, vb = ea.get(key), eb.get(key)
            if key == "attrib_entities":
                continue
            if key == "attribs":
                if va != vb:
                    self.add(f"{label}: attribs (tag, value): {fmt(va, 200)} != {fmt(vb, 200)}")
                    continue
                for ia, ib in zip(ea.get("attrib_entities", []), eb.get("attrib_entities", [])):
                    self.entities(f"{label} ATTRIB", ia, ib)
                continue
            if key == "vertices" and a["type"] == "POLYLINE" and va and vb and len(va) == len(vb):
                for i, (xa, xb) in enumerate(zip(va, vb)):
                    self.entities(f"{label} vertex {i}", xa, xb)
                continue
            if not self.same(va, vb):
                self.add(f"{label}: {key}{self.first_difference(va, vb)}")


# --------------------------------------------------------------------------
# The two files


def describe(canon_entity, handle):
    at = canon_entity["attribs"]
    where = at.get("start") or at.get("center") or at.get("insert") or at.get("location")
    text = at.get("text") or canon_entity["extras"].get("text")
    parts = [canon_entity["type"], f"#{handle}", f"layer={at.get('layer')!r}"]
    if canon_entity["type"] == "INSERT":
        parts.append(f"block={at.get('name')!r}")
    if where is not None:
        parts.append(f"at {fmt(where, 60)}")
    if text:
        parts.append(f"text={fmt(text, 40)}")
    return " ".join(parts)


def entity_keys(canon, entities):
    keys = []
    for e in entities:
        keys.append(fingerprint(canon.entity(e)))
    return keys


def compare_sequences(differ, where, canon_a, canon_b, ents_a, ents_b):
    """Compare two entity sequences; a deletion or insertion is one difference,
    not a shifted cascade, because entities are aligned by their fingerprints."""
    types_a = [e.dxftype() for e in ents_a]
    types_b = [e.dxftype() for e in ents_b]
    if types_a != types_b:
        differ.add(f"{where}: entity types {summary_types(types_a)} != {summary_types(types_b)}")
    keys_a = entity_keys(canon_a, ents_a)
    keys_b = entity_keys(canon_b, ents_b)
    if keys_a == keys_b:
        return
    matcher = difflib.SequenceMatcher(None, keys_a, keys_b, autojunk=False)
    for op, i1, i2, j1, j2 in matcher.get_opcodes():
        if op == "equal":
            continue
        paired = min(i2 - i1, j2 - j1) if op == "replace" else 0
        for k in range(paired):
            ea, eb = ents_a[i1 + k], ents_b[j1 + k]
            before = len(differ.diffs)
            differ.entities(f"{where} entity {i1 + k}", canon_a.entity(ea), canon_b.entity(eb),
                            ea.dxf.handle, eb.dxf.handle)
            if len(differ.diffs) == before and ea.dxftype() != eb.dxftype():
                differ.add(f"{where} entity {i1 + k}: {ea.dxftype()} != {eb.dxftype()}")
        for i in range(i1 + paired, i2):
            differ.add(f"{where} entity {i}: missing in OUTPUT: "
                       f"{describe(canon_a.entity(ents_a[i]), ents_a[i].dxf.handle)}")
        for j in range(j1 + paired, j2):
            differ.add(f"{where} entity {j}: extra in OUTPUT: "
                       f"{describe(canon_b.entity(ents_b[j]), ents_b[j].dxf.handle)}")


def summary_types(types):
    counts = collections.Counter(types)
    return f"[{len(types)}: " + ", ".join(f"{k} {v}" for k, v in sorted(counts.items())) + "]"


def layouts_of(doc):
    """Model space first, then paper space layouts by name."""
    result = collections.OrderedDict()
    result["Model"] = doc.modelspace()
    for name in doc.layouts.names():
        if name != "Model":
            result[name] = doc.layouts.get(name)
    return result


def blocks_of(doc):
    result = collections.OrderedDict()
    for block in doc.blocks:
        try:
            if block.block_record.is_any_layout:
                continue
        except Exception:
            pass
        result[block.name] = block
    return result


def block_header(canon, block):
    head = {"base_point": plain(block.block.dxf.get("base_point", (0.0, 0.0, 0.0))),
            "flags": block.block.dxf.get("flags", 0)}
    xref = block.block.dxf.get("xref_path", "")
    if xref:
        head["xref_path"] = xref
    return head


def block_signature(canon, block):
    head = _fingerprint_value(block_header(canon, block), True)
    body = b"".join(fingerprint(canon.entity(e)) for e in block)
    return hashlib.blake2b(head.encode() + body, digest_size=16).hexdigest()


def compare_blocks(differ, canon_a, canon_b, blocks_a, blocks_b):
    named_a = {n: b for n, b in blocks_a.items() if not is_anonymous(n)}
    named_b = {n: b for n, b in blocks_b.items() if not is_anonymous(n)}
    for name in named_a:
        if name not in named_b:
            differ.add(f"block {name!r}: missing in OUTPUT")
    for name in named_b:
        if name not in named_a:
            differ.add(f"block {name!r}: extra in OUTPUT")

    # Anonymous blocks: pair equal content first, whatever the names are.
    anon_a = [(n, b) for n, b in blocks_a.items() if is_anonymous(n)]
    anon_b = [(n, b) for n, b in blocks_b.items() if is_anonymous(n)]
    by_sig = collections.defaultdict(list)
    for n, b in anon_b:
        by_sig[block_signature(canon_b, b)].append(n)
    unmatched_a = []
    for n, b in anon_a:
        candidates = by_sig.get(block_signature(canon_a, b))
        if candidates:
            # prefer the same name when content is the same
            pick = n if n in candidates else candidates[0]
            candidates.remove(pick)
            differ.anon_map[n] = pick
        else:
            unmatched_a.append(n)
    left_b = {n for names in by_sig.values() for n in names}
    pairs = []
    for n in unmatched_a:
        if n in left_b:  # same name, other content: show what changed
            left_b.discard(n)
            differ.anon_map[n] = n
            pairs.append((n, n))
        else:
            b = blocks_a[n]
            differ.add(f"anonymous block {n!r}: no block with the same content in OUTPUT "
                       f"({summary_types([e.dxftype() for e in b])})")
    for n in sorted(left_b):
        differ.add(f"anonymous block {n!r}: extra in OUTPUT "
                   f"({summary_types([e.dxftype() for e in blocks_b[n]])})")

    for name in named_a:
        if name in named_b:
            pairs.append((name, name))
    for na, nb in pairs:
        ba, bb = blocks_a[na], blocks_b[nb]
        ha, hb = block_header(canon_a, ba), block_header(canon_b, bb)
        for key in sorted(set(ha) | set(hb)):
            if not differ.same(ha.get(key), hb.get(key)):
                differ.add(f"block {na!r}: {key}: {fmt(ha.get(key))} != {fmt(hb.get(key))}")
        compare_sequences(differ, f"block {na!r}", canon_a, canon_b, list(ba), list(bb))


TABLES = (
    ("layer", "layers", True),
    ("text style", "styles", True),
    ("linetype", "linetypes", False),
    ("dimstyle", "dimstyles", True),
)


def table_entries(doc, attr):
    table = getattr(doc, attr)
    return collections.OrderedDict((unescape(entry.dxf.name), entry) for entry in table)


def compare_tables(differ, canon_a, canon_b):
    for label, attr, with_attribs in TABLES:
        ta, tb = table_entries(canon_a.doc, attr), table_entries(canon_b.doc, attr)
        for name in ta:
            if name not in tb:
                differ.add(f"{label} {name!r}: missing in OUTPUT")
        for name in tb:
            if name not in ta:
                differ.add(f"{label} {name!r}: extra in OUTPUT")
        for name in ta:
            if name not in tb:
                continue
            if attr == "linetypes":
                # description and pattern length; the pattern itself is version dependent
                keys = ("description", "length")
            elif not with_attribs:
                continue
            else:
                keys = None
            a, b = canon_a.attribs(ta[name]), canon_b.attribs(tb[name])
            for key in sorted(set(a) | set(b)) if keys is None else keys:
                if key == "name":
                    continue
                defaults = differ.defaults.get(type(ta[name]).__name__, {})
                va, vb = a.get(key, defaults.get(key)), b.get(key, defaults.get(key))
                if not differ.same(va, vb):
                    differ.add(f"{label} {name!r}: {key}: {fmt(va)} != {fmt(vb)}")


def object_counts(doc):
    counts = collections.Counter()
    for obj in doc.objects:
        counts[obj.dxftype()] += 1
    return counts


def compare_objects(differ, doc_a, doc_b):
    ca, cb = object_counts(doc_a), object_counts(doc_b)
    for kind in sorted(set(ca) | set(cb)):
        if ca[kind] != cb[kind]:
            differ.add(f"objects: {kind}: {ca[kind]} in INPUT, {cb[kind]} in OUTPUT")
    ga = sorted(name for name, _ in doc_a.groups)
    gb = sorted(name for name, _ in doc_b.groups)
    if ga != gb and not (all(n.startswith("*") for n in ga + gb) and len(ga) == len(gb)):
        differ.add(f"groups: {fmt(ga, 200)} != {fmt(gb, 200)}")


def compare_docs(doc_a, doc_b):
    differ = Differ()
    canon_a, canon_b = Canon(doc_a), Canon(doc_b)
    differ.defaults = canon_a.defaults
    canon_b.defaults = canon_a.defaults  # one shared table: defaults do not depend on the file
    compare_tables(differ, canon_a, canon_b)
    # blocks first: layouts refer to anonymous blocks by their matched names
    compare_blocks(differ, canon_a, canon_b, blocks_of(doc_a), blocks_of(doc_b))
    la, lb = layouts_of(doc_a), layouts_of(doc_b)
    for name in la:
        if name not in lb:
            differ.add(f"layout {name!r}: missing in OUTPUT")
    for name in lb:
        if name not in la:
            differ.add(f"layout {name!r}: extra in OUTPUT")
    for name in la:
        if name in lb:
            where = "model space" if name == "Model" else f"layout {name!r}"
            compare_sequences(differ, where, canon_a, canon_b, list(la[name]), list(lb[name]))
    if doc_a.dxfversion == doc_b.dxfversion:
        # another version legitimately brings other objects along
        compare_objects(differ, doc_a, doc_b)
    return differ.diffs


def new_audit_issues(issues_in, issues_out):
    before = collections.Counter((code, norm) for _, code, norm, _ in issues_in)
    new = []
    for kind, code, norm, message in issues_out:
        if before[(code, norm)] > 0:
            before[(code, norm)] -= 1
        else:
            new.append((kind, code, message))
    return new


MAX_LISTED = 30


def main(argv=None):
    parser = argparse.ArgumentParser(description="Compare two DXF files as ezdxf reads them.")
    parser.add_argument("input")
    parser.add_argument("output")
    args = parser.parse_args(argv)

    docs = []
    for label, path in (("INPUT", args.input), ("OUTPUT", args.output)):
        try:
            docs.append(load_doc(path))
        except ReadFailure as err:
            print(f"dxfcompare: {label} {err}", file=sys.stderr)
            return 2
    (doc_a, note_a), (doc_b, note_b) = docs

    diffs = compare_docs(doc_a, doc_b)
    # audit last: it repairs the documents in memory
    new_issues = new_audit_issues(audit_issues(doc_a), audit_issues(doc_b))

    print(f"INPUT  {args.input}: $ACADVER {doc_a.dxfversion}, loaded with {note_a}")
    print(f"OUTPUT {args.output}: $ACADVER {doc_b.dxfversion}, loaded with {note_b}")
    if diffs:
        print(f"{len(diffs)} difference(s)" + (f", first {MAX_LISTED}:" if len(diffs) > MAX_LISTED else ":"))
        for line in diffs[:MAX_LISTED]:
            print("  " + line)
    if new_issues:
        print(f"{len(new_issues)} audit issue(s) in OUTPUT that INPUT does not have:")
        for kind, code, message in new_issues[:MAX_LISTED]:
            print(f"  audit {kind} {code}: {message}")
    if diffs or new_issues:
        return 1
    print("equal")
    return 0


if __name__ == "__main__":
    sys.exit(main())
