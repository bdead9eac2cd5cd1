// Selection sets: the "Select objects:" loop, dxedSSGet modes, filter lists with the -4
// operators, and the selection-set functions.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <unordered_set>

#include "host/editor/core/geometry.h"
#include "host/editor/core/session.h"

namespace dx::ed {

// ---------------------------------------------------------------------------------------
// Selection-set names

namespace {

constexpr int64_t kSetTag = 0x5353;  // marks a name as a selection set

struct SelSet {
  std::vector<DxDbObjectId> ids;
  std::unordered_set<dx::db::Stub*> members;
  void add(DxDbObjectId id) {
    if (members.insert(id.stub()).second) ids.push_back(id);
  }
  void remove(DxDbObjectId id) {
    if (members.erase(id.stub())) std::erase(ids, id);
  }
};

std::unordered_map<int64_t, SelSet>& sets() {
  static std::unordered_map<int64_t, SelSet> s;
  return s;
}
int64_t g_nextSet = 1;

SelSet* lookup(const dx_name ss) {
  if (!ss || ss[1] != kSetTag) return nullptr;
  auto it = sets().find(ss[0]);
  return it == sets().end() ? nullptr : &it->second;
}

}  // namespace

void makeSelectionSet(const std::vector<DxDbObjectId>& ids, dx_name ss) {
  int64_t key = g_nextSet++;
  SelSet& s = sets()[key];
  s.ids.reserve(ids.size());
  s.members.reserve(ids.size());
  for (auto id : ids) s.add(id);
  ss[0] = key;
  ss[1] = kSetTag;
}

const std::vector<DxDbObjectId>* selectionSet(const dx_name ss) {
  SelSet* s = lookup(ss);
  return s ? &s->ids : nullptr;
}

void freeAllSelectionSets() { sets().clear(); }

// ---------------------------------------------------------------------------------------
// Entities of the drawing

std::vector<DxDbObjectId> currentSpaceEntities() {
  Document* doc = Session::get().current();
  if (!doc) return {};
  Opened<DxDbBlockTableRecord> space(doc->database()->currentSpaceId(), DxDb::kForRead);
  return space ? space->entityIds() : std::vector<DxDbObjectId>{};
}

double pickAperture() {
  Session& s = Session::get();
  VarValue screen;
  s.getVar("SCREENSIZE", screen);
  double h = screen.pt.y > 0 ? screen.pt.y : 800;
  double aperture = s.getInt("PICKBOX") * s.getReal("VIEWSIZE") / h;
  return aperture > 1e-9 ? aperture : 1e-9;
}

DxDbObjectId pickAt(const DxGePoint3d& wcs) {
  double aperture = pickAperture();
  DxGePoint2d p = wcs.to2d();
  DxDbObjectId best;
  double bestDist = std::numeric_limits<double>::infinity();
  for (DxDbObjectId id : currentSpaceEntities()) {
    Opened<DxDbEntity> e(id, DxDb::kForRead);
    if (!e) continue;
    double d = pickDistance(e.get(), p, aperture);
    // Later entities lie on top: they win ties.
    if (d <= aperture && d <= bestDist) {
      bestDist = d;
      best = id;
    }
  }
  return best;
}

std::vector<DxDbObjectId> windowSelect(const DxGePoint3d& a, const DxGePoint3d& b, bool crossing) {
  Box win{{std::min(a.x, b.x), std::min(a.y, b.y)}, {std::max(a.x, b.x), std::max(a.y, b.y)}};
  std::vector<DxDbObjectId> out;
  for (DxDbObjectId id : currentSpaceEntities()) {
    Opened<DxDbEntity> e(id, DxDb::kForRead);
    if (e && inWindow(e.get(), win, crossing)) out.push_back(id);
  }
  return out;
}

namespace {

// Locked state per layer, asked once per selection.
class LayerLocks {
 public:
  bool locked(DxDbObjectId layer) {
    auto it = m_cache.find(layer.stub());
    if (it != m_cache.end()) return it->second;
    Opened<DxDbLayerTableRecord> rec(layer, DxDb::kForRead);
    bool l = !rec || rec->isLocked();  // a layer that cannot be opened counts as locked
    m_cache.emplace(layer.stub(), l);
    return l;
  }

 private:
  std::unordered_map<dx::db::Stub*, bool> m_cache;
};

}  // namespace

bool onLockedLayer(DxDbObjectId id) {
  Opened<DxDbEntity> e(id, DxDb::kForRead);
  if (!e) return true;
  DxDbObjectId layer = e->layerId();
  e.close();
  LayerLocks locks;
  return locks.locked(layer);
}

// ---------------------------------------------------------------------------------------
// Filters

namespace {

struct FilterNode {
  enum Op { Leaf, And, Or, Xor, Not } op = Leaf;
  const resbuf* value = nullptr;  // the filter item (group code and value)
  std::string relop;              // "=", "<", "&", ... ("" means "=")
  std::vector<FilterNode> kids;
  std::vector<std::string> apps;  // -3: extended data of these applications
};

bool isOpener(const char* s, FilterNode::Op& op) {
  std::string u = upper(s ? s : "");
  if (u == "<AND") return op = FilterNode::And, true;
  if (u == "<OR") return op = FilterNode::Or, true;
  if (u == "<XOR") return op = FilterNode::Xor, true;
  if (u == "<NOT") return op = FilterNode::Not, true;
  return false;
}
bool isCloser(const char* s) {
  std::string u = upper(s ? s : "");
  return u == "AND>" || u == "OR>" || u == "XOR>" || u == "NOT>";
}

// Parses items until the closer of the group (or the end at top level, closer empty);
// false on a malformed list.
bool parseItems(const resbuf*& rb, std::vector<FilterNode>& out, const std::string& closer,
                std::string& err) {
  bool nested = !closer.empty();
  std::string pendingRel;
  while (rb) {
    if (rb->restype == -4) {
      const char* s = rb->resval.rstring;
      FilterNode::Op op;
      if (isOpener(s, op)) {
        rb = rb->rbnext;
        FilterNode n;
        n.op = op;
        if (!parseItems(rb, n.kids, upper(s).substr(1) + ">", err)) return false;
        if ((op == FilterNode::Not && n.kids.size() != 1) ||
            (op == FilterNode::Xor && n.kids.size() != 2) || n.kids.empty()) {
          err = "wrong number of operands for " + upper(s);
          return false;
        }
        out.push_back(std::move(n));
        continue;
      }
      if (isCloser(s)) {
        if (upper(s) != closer) {
          err = "unexpected " + upper(s) + (nested ? ", " + closer + " expected" : "");
          return false;
        }
        rb = rb->rbnext;
        return true;
      }
      pendingRel = s ? s : "";
      rb = rb->rbnext;
      continue;
    }
    FilterNode n;
    if (rb->restype == -3) {
      rb = rb->rbnext;
      while (rb && rb->restype == 1001) {
        n.apps.push_back(rb->resval.rstring ? rb->resval.rstring : "");
        rb = rb->rbnext;
      }
      n.value = nullptr;
      n.relop = "-3";
      out.push_back(std::move(n));
      continue;
    }
    n.value = rb;
    n.relop = std::exchange(pendingRel, {});
    out.push_back(std::move(n));
    rb = rb->rbnext;
  }
  if (nested) {
    err = "missing " + closer;
    return false;
  }
  return true;
}

// What the filter needs of one entity: a few values straight from the object, the rest
// from its entity list, fetched once and only when needed.
class EntityView {
 public:
  EntityView(DxDbObjectId id, const DxDbEntity* e, std::unordered_map<dx::db::Stub*, std::string>& names)
      : m_id(id), m_ent(e), m_names(names) {}
  ~EntityView() {
    if (m_list) dxutRelRb(m_list);
    if (m_xlist) dxutRelRb(m_xlist);
  }

  // Values of a group code as result buffers (with the entity's defaults when absent).
  void values(int code, std::vector<const resbuf*>& out) {
    out.clear();
    switch (code) {
      case 0: {
        const char* dxf = m_ent->isA()->dxfName();
        if (dxf && *dxf && !DxRxObject::cast<DxDbUnknownEntity>(m_ent)) return str(code, dxf, out);
        break;
      }
      case 8: return str(code, name(m_ent->layerId()).c_str(), out);
      case 62: return shortValue(code, m_ent->colorIndex(), out);
      case 6: {
        std::string lt = name(m_ent->linetypeId());
        return str(code, lt.empty() ? "BYLAYER" : lt.c_str(), out);
      }
      case 67: return shortValue(code, 0, out);
      case 2:
        if (auto* ref = DxRxObject::cast<DxDbBlockReference>(m_ent))
          return str(code, name(ref->blockTableRecord()).c_str(), out);
        break;
      default: break;
    }
    for (const resbuf* rb = list(); rb; rb = rb->rbnext)
      if (rb->restype == code) out.push_back(rb);
    if (out.empty()) {
      if (code == 39 || code == 48 || code == 60) {
        if (code == 48) return realValue(code, 1.0, out);
        if (code == 39) return realValue(code, 0.0, out);
        return shortValue(code, 0, out);
      }
      if (code == 370) return shortValue(code, -1, out);
    }
  }

  bool hasXData(const std::string& app) {
    if (!m_xlist) {
      dx_name n;
      dxdbIdToName(n, m_id);
      resbuf* apps = dxutBuildList(RTSTR, "*", 0);
      m_xlist = dxdbEntGet(n, apps);
      dxutRelRb(apps);
    }
    for (const resbuf* rb = m_xlist; rb; rb = rb->rbnext)
      if (rb->restype == 1001 && rb->resval.rstring && wcMatch(rb->resval.rstring, app, true))
        return true;
    return false;
  }

 private:
  const resbuf* list() {
    if (!m_list) {
      dx_name n;
      dxdbIdToName(n, m_id);
      m_list = dxdbEntGet(n);
    }
    return m_list;
  }
  const std::string& name(DxDbObjectId id) {
    auto it = m_names.find(id.stub());
    if (it != m_names.end()) return it->second;
    Opened<DxDbSymbolTableRecord> rec(id, DxDb::kForRead);
    return m_names.emplace(id.stub(), rec ? rec->getName() : std::string()).first->second;
  }
  void str(int code, const char* s, std::vector<const resbuf*>& out) {
    m_tmp.restype = short(code);
    m_text = s;
    m_tmp.resval.rstring = m_text.data();
    out.push_back(&m_tmp);
  }
  void shortValue(int code, int v, std::vector<const resbuf*>& out) {
    m_tmp.restype = short(code);
    m_tmp.resval.rint = short(v);
    out.push_back(&m_tmp);
  }
  void realValue(int code, double v, std::vector<const resbuf*>& out) {
    m_tmp.restype = short(code);
    m_tmp.resval.rreal = v;
    out.push_back(&m_tmp);
  }

  DxDbObjectId m_id;
  const DxDbEntity* m_ent;
  std::unordered_map<dx::db::Stub*, std::string>& m_names;
  resbuf* m_list = nullptr;
  resbuf* m_xlist = nullptr;
  resbuf m_tmp{};
  std::string m_text;
};

bool numCompare(double v, double f, const std::string& op) {
  if (op.empty() || op == "=") return std::fabs(v - f) <= 1e-10;
  if (op == "!=" || op == "/=" || op == "<>") return std::fabs(v - f) > 1e-10;
  if (op == "<") return v < f;
  if (op == "<=") return v <= f + 1e-10;
  if (op == ">") return v > f;
  if (op == ">=") return v >= f - 1e-10;
  if (op == "*") return true;
  if (op == "&") return (int64_t(v) & int64_t(f)) != 0;
  if (op == "&=") return (int64_t(v) & int64_t(f)) == int64_t(f);
  return false;
}

bool valueMatches(int code, const resbuf* ent, const resbuf* flt, const std::string& op) {
  switch (dxutGroupCodeType(code)) {
    case RTSTR: {
      const char* v = ent->resval.rstring ? ent->resval.rstring : "";
      const char* f = flt->resval.rstring ? flt->resval.rstring : "";
      if (op.empty() || op == "=") return wcMatch(v, f, true);
      if (op == "!=" || op == "/=" || op == "<>") return !wcMatch(v, f, true);
      if (op == "*") return true;
      int c = upper(v).compare(upper(f));
      return op == "<" ? c < 0 : op == "<=" ? c <= 0 : op == ">" ? c > 0 : op == ">=" ? c >= 0 : false;
    }
    case RTREAL: return numCompare(ent->resval.rreal, flt->resval.rreal, op);
    case RTSHORT: return numCompare(ent->resval.rint, flt->resval.rint, op);
    case RTLONG: return numCompare(ent->resval.rlong, flt->resval.rlong, op);
    case RTINT64: return numCompare(double(ent->resval.rlong64), double(flt->resval.rlong64), op);
    case RT3DPOINT:
    case RTPOINT: {
      // "op" or "op1,op2,op3" per coordinate.
      std::vector<std::string> ops;
      size_t start = 0;
      for (size_t i = 0; i <= op.size(); ++i)
        if (i == op.size() || op[i] == ',') {
          ops.push_back(op.substr(start, i - start));
          start = i + 1;
        }
      for (int k = 0; k < 3; ++k) {
        std::string o = ops.size() == 3 ? ops[size_t(k)] : ops[0];
        if (!numCompare(ent->resval.rpoint[k], flt->resval.rpoint[k], o)) return false;
      }
      return true;
    }
    case RTENAME: {
      DxDbObjectId a, b;
      dxdbGetObjectId(a, ent->resval.rlname);
      dxdbGetObjectId(b, flt->resval.rlname);
      bool eq = a == b;
      return (op == "!=" || op == "/=" || op == "<>") ? !eq : eq;
    }
    default: return false;
  }
}

bool evaluate(const FilterNode& n, EntityView& view, std::vector<const resbuf*>& scratch) {
  switch (n.op) {
    case FilterNode::And:
      return std::all_of(n.kids.begin(), n.kids.end(), [&](auto& k) { return evaluate(k, view, scratch); });
    case FilterNode::Or:
      return std::any_of(n.kids.begin(), n.kids.end(), [&](auto& k) { return evaluate(k, view, scratch); });
    case FilterNode::Xor: return evaluate(n.kids[0], view, scratch) != evaluate(n.kids[1], view, scratch);
    case FilterNode::Not: return !evaluate(n.kids[0], view, scratch);
    case FilterNode::Leaf: break;
  }
  if (n.relop == "-3") {
    return std::all_of(n.apps.begin(), n.apps.end(), [&](auto& a) { return view.hasXData(a); });
  }
  // dxutBuildList takes RTDXF0 for group 0, since 0 ends its list.
  int code = n.value->restype == RTDXF0 ? 0 : n.value->restype;
  view.values(code, scratch);
  if (scratch.empty()) return n.relop == "!=" || n.relop == "/=" || n.relop == "<>";
  for (const resbuf* v : scratch)
    if (valueMatches(code, v, n.value, n.relop)) return true;
  return false;
}

// A parsed filter applied to many entities.
class Filter {
 public:
  explicit Filter(const resbuf* list) {
    const resbuf* rb = list;
    m_ok = parseItems(rb, m_items, "", m_error);
  }
  bool ok() const { return m_ok; }
  const std::string& error() const { return m_error; }
  bool empty() const { return m_items.empty(); }
  bool matches(DxDbObjectId id, const DxDbEntity* e) {
    if (m_items.empty()) return true;
    EntityView view(id, e, m_names);
    for (auto& item : m_items)
      if (!evaluate(item, view, m_scratch)) return false;
    return true;
  }

 private:
  std::vector<FilterNode> m_items;
  bool m_ok = true;
  std::string m_error;
  std::unordered_map<dx::db::Stub*, std::string> m_names;
  std::vector<const resbuf*> m_scratch;
};

// Keeps the entities that pass the filter and the lock test; reports locked ones.
std::vector<DxDbObjectId> applyFilter(const std::vector<DxDbObjectId>& ids, Filter& filter,
                                      bool skipLocked, int* lockedCount = nullptr) {
  std::vector<DxDbObjectId> out;
  out.reserve(ids.size());
  LayerLocks locks;
  int locked = 0;
  for (DxDbObjectId id : ids) {
    Opened<DxDbEntity> e(id, DxDb::kForRead);
    if (!e || !filter.matches(id, e.get())) continue;
    if (skipLocked && locks.locked(e->layerId())) {
      ++locked;
      continue;
    }
    out.push_back(id);
  }
  if (lockedCount) *lockedCount = locked;
  return out;
}

}  // namespace

std::vector<DxDbObjectId> filterAll(const resbuf* filterList, bool skipLocked) {
  Filter f(filterList);
  if (!f.ok()) return {};
  return applyFilter(currentSpaceEntities(), f, skipLocked);
}

bool matchesFilter(DxDbObjectId id, const resbuf* filterList) {
  Filter f(filterList);
  Opened<DxDbEntity> e(id, DxDb::kForRead);
  return f.ok() && e && f.matches(id, e.get());
}

// ---------------------------------------------------------------------------------------
// "Select objects:"

namespace {

DxDbObjectId byHandle(const std::string& hex) {
  Document* doc = Session::get().current();
  DxDbObjectId id;
  if (!doc || hex.empty() || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    return id;
  doc->database()->getObjectId(id, false, DxDbHandle(hex.c_str()));
  if (id.isNull() || id.isErased() || !id.objectClass() ||
      !id.objectClass()->isDerivedFrom(DxDbEntity::desc()))
    return {};
  return id;
}

}  // namespace

namespace {

// With group selection on, an entity brings the other members of its selectable groups
// (those in the same space); a group is known from the entity's reactors.
std::vector<DxDbObjectId> withGroupMembers(std::vector<DxDbObjectId> found) {
  std::unordered_set<const void*> seen;
  for (auto id : found) seen.insert(id.stub());
  size_t n = found.size();
  for (size_t i = 0; i < n; ++i) {
    DxDbObjectIdArray reactors;
    DxDbObjectId space;
    if (Opened<DxDbEntity> e(found[i], DxDb::kForRead); e) {
      reactors = e->getPersistentReactorIds();
      space = e->ownerId();
    }
    for (const auto& r : reactors) {
      Opened<DxDbGroup> g(r, DxDb::kForRead);
      if (!g || !g->isSelectable()) continue;
      DxDbObjectIdArray members;
      g->allEntityIds(members);
      g.close();
      for (const auto& m : members) {
        if (seen.count(m.stub())) continue;
        Opened<DxDbEntity> me(m, DxDb::kForRead);
        if (!me || me->ownerId() != space) continue;
        seen.insert(m.stub());
        found.push_back(m);
      }
    }
  }
  return found;
}

}  // namespace

namespace {

// The objects of the previous selection that are still in the drawing.
std::vector<DxDbObjectId> previousSelection(const Document* doc) {
  std::vector<DxDbObjectId> prev;
  if (doc)
    for (auto id : doc->previousSet)
      if (id.isValid() && !id.isErased()) prev.push_back(id);
  return prev;
}

// One "Select objects:" session: the set chosen so far, and what each answer does to it.
class ObjectPicker {
 public:
  ObjectPicker(const SelectOptions& opt, Filter& filter)
      : m_opt(opt),
        m_filter(filter),
        m_session(Session::get()),
        m_groups(!opt.memberwise && (m_session.getInt("PICKSTYLE") & 1) != 0) {}

  int run(std::vector<DxDbObjectId>& out) {
    for (;;) {
      Answer a = m_session.ask(m_removing ? m_opt.removePrompt : m_opt.addPrompt);
      if (a.kind == Answer::Cancel) return RTCAN;
      if (a.isEmpty()) break;
      int rc = take(a);
      if (rc == RTCAN) return RTCAN;
      if (rc == RTNORM && m_opt.single && !m_chosen.ids.empty()) break;
    }
    if (m_locked)
      output().message("\n" + std::to_string(m_locked) + (m_locked == 1 ? " was" : " were") +
                       " on a locked layer.\n");
    if (m_chosen.ids.empty()) return RTERROR;
    out = std::move(m_chosen.ids);
    if (Document* doc = m_session.current()) doc->previousSet = out;
    return RTNORM;
  }

 private:
  // One answer: RTNORM when it selected (or changed the mode), RTNONE when it did not
  // come to a selection, RTCAN when the user cancelled.
  int take(const Answer& a) {
    if (a.kind == Answer::Name) {
      DxDbObjectId id;
      dxdbGetObjectId(id, a.name);
      add({id});
      return RTNORM;
    }
    if (a.kind == Answer::Picks) {
      if (const auto* ids = selectionSet(a.name)) add(*ids);
      return RTNORM;
    }
    std::string w = upper(a.text);
    DxGePoint3d p;
    bool isPoint = a.kind == Answer::Point;
    if (isPoint) p = a.pt;
    else if (a.kind == Answer::Text && !a.quoted && !w.empty() && w[0] != '#')
      isPoint = parsePoint(a.text, std::nullopt, p);
    if (isPoint) return pickAtPoint(p);
    if (w == "W" || w == "WINDOW" || w == "C" || w == "CROSSING" || w == "BOX") return box(w);
    return option(w);
  }

  // The object under the point, or else a box from it: left to right a window, else
  // crossing.
  int pickAtPoint(const DxGePoint3d& p) {
    DxDbObjectId hit = pickAt(ucsToWorld(p));
    if (!hit.isNull()) {
      add({hit});
      return RTNORM;
    }
    DxGePoint3d q;
    int rc = askPoint("\nSpecify opposite corner: ", &p, q);
    if (rc != RTNORM) return rc == RTCAN ? RTCAN : RTNONE;
    add(windowSelect(ucsToWorld(p), ucsToWorld(q), q.x < p.x));
    return RTNORM;
  }

  int box(const std::string& w) {
    DxGePoint3d p1, p2;
    int rc = askPoint("\nSpecify first corner: ", nullptr, p1);
    if (rc == RTNORM) rc = askPoint("\nSpecify opposite corner: ", &p1, p2);
    if (rc != RTNORM) return rc == RTCAN ? RTCAN : RTNONE;
    bool crossing = w[0] == 'C' || (w == "BOX" && p2.x < p1.x);
    add(windowSelect(ucsToWorld(p1), ucsToWorld(p2), crossing));
    return RTNORM;
  }

  int option(const std::string& w) {
    if (w == "ALL") {
      add(currentSpaceEntities());
    } else if (w == "L" || w == "LAST") {
      auto all = currentSpaceEntities();
      if (all.empty()) output().message("\n0 found\n");
      else add({all.back()});
    } else if (w == "P" || w == "PREVIOUS") {
      add(previousSelection(m_session.current()));
    } else if (w == "R" || w == "REMOVE") {
      m_removing = true;
    } else if (w == "A" || w == "ADD") {
      m_removing = false;
    } else if (!w.empty() && w[0] == '#') {
      DxDbObjectId id = byHandle(w.substr(1));
      if (id.isNull()) output().message("\nNo object with handle " + w.substr(1) + ".\n");
      else add({id});
    } else {
      output().message(
          "\n*Invalid selection*\nExpects a point or Window/Crossing/BOX/ALL/Last/Previous/"
          "Add/Remove/#handle\n");
      return RTNONE;
    }
    return RTNORM;
  }

  // Adds (or removes) what an answer found, through the filter, and says how many.
  void add(std::vector<DxDbObjectId> found) {
    if (m_groups) found = withGroupMembers(std::move(found));
    int locked = 0;
    size_t foundCount = found.size();
    found = applyFilter(found, m_filter, m_opt.skipLocked, &locked);
    m_locked += locked;
    size_t dup = 0, before = m_chosen.ids.size();
    for (auto id : found) {
      if (m_removing) m_chosen.remove(id);
      else if (m_chosen.members.count(id.stub())) ++dup;
      else m_chosen.add(id);
    }
    std::string msg = "\n" + std::to_string(foundCount) + " found";
    if (dup) msg += " (" + std::to_string(dup) + " duplicate)";
    if (m_removing) msg += ", " + std::to_string(before - m_chosen.ids.size()) + " removed";
    if (m_chosen.ids.size() != foundCount || m_removing)
      msg += ", " + std::to_string(m_chosen.ids.size()) + " total";
    // A command called by another with CMDECHO 0 works silently, counts included.
    if (Frame* f = m_session.running(); !f || f->echo) output().message(msg + "\n");
  }

  const SelectOptions& m_opt;
  Filter& m_filter;
  Session& m_session;
  const bool m_groups;
  SelSet m_chosen;
  bool m_removing = false;
  int m_locked = 0;
};

}  // namespace

int selectObjects(const SelectOptions& opt, std::vector<DxDbObjectId>& out) {
  Filter filter(opt.filter);
  if (!filter.ok()) {
    output().message("\nInvalid selection filter: " + filter.error() + ".\n");
    return RTERROR;
  }
  return ObjectPicker(opt, filter).run(out);
}

}  // namespace dx::ed

// ---------------------------------------------------------------------------------------
// The selection-set functions

using namespace dx::ed;

int dxedSSGet(const char* modeIn, const void* pt1, const void* pt2, const resbuf* filter,
              dx_name ss) {
  Session& s = Session::get();
  s.init();
  s.takeInitGet();
  if (!ss) return RTERROR;
  std::string mode = upper(modeIn ? modeIn : "");
  while (!mode.empty() && (mode[0] == '_' || mode[0] == '.')) mode.erase(0, 1);
  std::string main = mode.substr(0, mode.find(':'));
  std::vector<std::string> mods;
  for (size_t p = mode.find(':'); p != std::string::npos; p = mode.find(':', p + 1)) {
    size_t e = mode.find(':', p + 1);
    mods.push_back(mode.substr(p + 1, e == std::string::npos ? std::string::npos : e - p - 1));
  }
  auto has = [&](const char* m) { return std::find(mods.begin(), mods.end(), m) != mods.end(); };
  SelectOptions opt;
  opt.single = has("S");
  opt.skipLocked = has("L");
  opt.filter = filter;
  if (has("$") && pt1) {
    auto prompts = static_cast<const char* const*>(pt1);
    if (prompts[0]) opt.addPrompt = prompts[0];
    if (prompts[1]) opt.removePrompt = prompts[1];
  }
  Filter f(filter);
  if (!f.ok()) {
    output().message("\nInvalid selection filter: " + f.error() + ".\n");
    return RTERROR;
  }
  Document* doc = s.current();
  std::vector<DxDbObjectId> ids;
  auto fromPoint = [](const void* p) {
    const double* d = static_cast<const double*>(p);
    return ucsToWorld(DxGePoint3d(d[0], d[1], d[2]));
  };
  if (main.empty()) {
    // Pick-first set of a command that accepts one, otherwise ask.
    Frame* fr = s.running();
    bool usePick = doc && !doc->pickFirst.empty() && s.getInt("PICKFIRST") &&
                   (!fr || !fr->command || (fr->command->flags & DxEdCommandFlags::kUsePickSet));
    if (usePick) {
      ids = applyFilter(doc->pickFirst, f, opt.skipLocked);
    } else {
      int rc = selectObjects(opt, ids);
      if (rc != RTNORM) return rc;
    }
  } else if (main == "X" || main == "A") {
    ids = applyFilter(currentSpaceEntities(), f, opt.skipLocked);
  } else if (main == "L") {
    auto all = currentSpaceEntities();
    if (!all.empty()) ids = applyFilter({all.back()}, f, opt.skipLocked);
  } else if (main == "P") {
    ids = applyFilter(previousSelection(doc), f, opt.skipLocked);
  } else if (main == "I") {
    if (doc) ids = applyFilter(doc->pickFirst, f, opt.skipLocked);
  } else if ((main == "W" || main == "C") && pt1 && pt2) {
    ids = applyFilter(windowSelect(fromPoint(pt1), fromPoint(pt2), main == "C"), f, opt.skipLocked);
  } else {
    return RTERROR;  // an unknown mode, or a window without its corners
  }
  if (ids.empty()) return RTERROR;
  if (doc && main != "P") doc->previousSet = ids;
  makeSelectionSet(ids, ss);
  return RTNORM;
}

int dxedSSGetFirst(resbuf** gset, resbuf** pset) {
  Session& s = Session::get();
  s.init();
  if (gset) *gset = nullptr;
  if (pset) {
    *pset = nullptr;
    Document* doc = s.current();
    if (doc && !doc->pickFirst.empty()) {
      resbuf* rb = dxutNewRb(RTPICKS);
      makeSelectionSet(doc->pickFirst, rb->resval.rlname);
      *pset = rb;
    }
  }
  return RTNORM;
}

int dxedSSSetFirst(const dx_name pset, const dx_name) {
  Session& s = Session::get();
  s.init();
  Document* doc = s.current();
  if (!doc) return RTERROR;
  if (!pset) {
    doc->pickFirst.clear();
    return RTNORM;
  }
  const auto* ids = selectionSet(pset);
  if (!ids) return RTERROR;
  doc->pickFirst = *ids;
  return RTNORM;
}

int dxedSSFree(const dx_name ss) {
  if (!ss || ss[1] != kSetTag || !sets().erase(ss[0])) return RTERROR;
  return RTNORM;
}

int dxedSSLength(const dx_name ss, int32_t* len) {
  SelSet* s = lookup(ss);
  if (!s || !len) return RTERROR;
  *len = int32_t(s->ids.size());
  return RTNORM;
}

int dxedSSName(const dx_name ss, int32_t i, dx_name entity) {
  SelSet* s = lookup(ss);
  if (!s || !entity || i < 0 || size_t(i) >= s->ids.size()) return RTERROR;
  dxdbIdToName(entity, s->ids[size_t(i)]);
  return RTNORM;
}

int dxedSSAdd(const dx_name ent, const dx_name ss, dx_name result) {
  if (!result) return RTERROR;
  DxDbObjectId id;
  if (ent && (dxdbGetObjectId(id, ent) != Dxad::eOk || id.isNull())) return RTERROR;
  if (!ss) {
    std::vector<DxDbObjectId> ids;
    if (ent) ids.push_back(id);
    makeSelectionSet(ids, result);
    return RTNORM;
  }
  SelSet* s = lookup(ss);
  if (!s) return RTERROR;
  if (ent) s->add(id);
  if (result != ss) result[0] = ss[0], result[1] = ss[1];
  return RTNORM;
}

int dxedSSDel(const dx_name ent, const dx_name ss) {
  SelSet* s = lookup(ss);
  DxDbObjectId id;
  if (!s || !ent || dxdbGetObjectId(id, ent) != Dxad::eOk) return RTERROR;
  if (!s->members.count(id.stub())) return RTERROR;
  s->remove(id);
  return RTNORM;
}

int dxedSSMemb(const dx_name ent, const dx_name ss) {
  SelSet* s = lookup(ss);
  DxDbObjectId id;
  if (!s || !ent || dxdbGetObjectId(id, ent) != Dxad::eOk) return RTERROR;
  return s->members.count(id.stub()) ? RTNORM : RTERROR;
}
