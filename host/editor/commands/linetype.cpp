// -LINETYPE: load linetypes from a ".lin" file, set the current one, list them.
#include <cmath>
#include <filesystem>
#include <fstream>

#include "host/editor/commands/common.h"
#include "host/editor/commands/shape_files.h"

namespace dx::ed::cmd {

struct LinDef {
  std::string name, description;
  std::vector<DxDbLinetypeTableRecord::Dash> dashes;
  bool hasShapes = false;
  std::string shapeProblem;
};

namespace {
// The text style record of a shape file (flag 1), made when the drawing has none.
DxDbObjectId shapeFileStyle(const std::string& file) {
  Opened<DxDbSymbolTable> table(db()->textStyleTableId(), DxDb::kForRead);
  if (!table) return {};
  for (DxDbObjectId id : table->recordIds()) {
    Opened<DxDbTextStyleTableRecord> rec(id, DxDb::kForRead);
    if (rec && rec->isShapeFile() && iequals(rec->fileName(), file)) return id;
  }
  table.close();
  std::string name = upper(std::filesystem::path(file).stem().string());
  resbuf* list = dxutBuildList(RTDXF0, "STYLE", 2, name.c_str(), 70, 1, 40, 0.0, 41, 1.0, 3, file.c_str(), 0);
  dxdbEntMake(list);
  dxutRelRb(list);
  return findRecord(db()->textStyleTableId(), name);
}
}  // namespace

// Reads every definition of a ".lin" file: "*NAME,description" then "A,dash,..." with
// optional [text or shape] elements attached to the dash before them.
// Longer patterns are beyond the linetype format (and other programs refuse them).
constexpr size_t kMostDashes = 12;

namespace {

std::string trimmedFront(const std::string& s) {
  size_t first = s.find_first_not_of(' ');
  return first == std::string::npos ? std::string() : s.substr(first);
}

// Splits at the commas that are outside brackets (a pattern line) or outside quotes (the
// fields of an element).
std::vector<std::string> splitAtCommas(const std::string& s, bool brackets) {
  std::vector<std::string> parts(1);
  int depth = 0;
  bool quoted = false;
  for (char c : s) {
    if (brackets && c == '[') ++depth;
    if (brackets && c == ']') --depth;
    if (!brackets && c == '"') quoted = !quoted;
    if (c == ',' && depth == 0 && !quoted) parts.emplace_back();
    else parts.back() += c;
  }
  return parts;
}

// The "S=", "X=", "Y=" and rotation options of an element.
void applyElementOptions(DxDbLinetypeTableRecord::Dash& d, const std::vector<std::string>& fields) {
  for (size_t k = 2; k < fields.size(); ++k) {
    const std::string& kv = fields[k];
    size_t eq = kv.find('=');
    if (eq == std::string::npos) continue;
    std::string key = trimmedFront(upper(kv.substr(0, eq)));
    double v = 0;
    parseDistance(kv.substr(eq + 1), v);
    if (key == "S") d.scale = v;
    else if (key == "X") d.xOffset = v;
    else if (key == "Y") d.yOffset = v;
    else if (key == "R" || key == "U" || key == "A") {
      double r;
      if (parseAngle(kv.substr(eq + 1), 0, r)) d.rotationRad = r;
      if (key == "A") d.shapeFlags |= 1;
      if (key == "U") d.shapeFlags |= 8;
    }
  }
}

// A ["text",style,...] or [shape,file,...] element: it decorates the dash before it.
void applyElement(LinDef& def, const std::string& element) {
  if (def.dashes.empty()) return;
  size_t close = element.rfind(']');
  std::vector<std::string> fields =
      splitAtCommas(element.substr(1, close == std::string::npos ? std::string::npos : close - 1), false);
  auto& d = def.dashes.back();
  if (fields[0].size() >= 2 && fields[0].front() == '"') {
    d.shapeFlags = 2;
    d.text = fields[0].substr(1, fields[0].size() - 2);
    // Text in a style the drawing lacks is drawn in Standard, as a pattern
    // pointing at no style would not load elsewhere.
    std::string styleName = trimmedFront(fields.size() > 1 ? fields[1] : "Standard");
    d.style = findRecord(db()->textStyleTableId(), styleName);
    if (d.style.isNull()) d.style = findRecord(db()->textStyleTableId(), "Standard");
  } else {
    std::string file = trimmedFront(fields.size() > 1 ? fields[1] : "");
    int number = 0;
    if (!shapeNumber(file, trimmedFront(fields[0]), number, def.shapeProblem)) {
      def.hasShapes = true;  // a shape that cannot be found is kept as a plain dash
      return;
    }
    d.shapeFlags = 4;
    d.shapeNumber = int16_t(number);
    d.style = shapeFileStyle(file);
  }
  applyElementOptions(d, fields);
}

// The dashes and elements of an "A,..." line. False with a message when the definition
// cannot be loaded.
bool readPatternLine(LinDef& def, const std::string& line, std::string& problem) {
  std::vector<std::string> parts = splitAtCommas(line, true);
  if (!iequals(parts[0], "A")) return true;
  for (size_t i = 1; i < parts.size(); ++i) {
    std::string p = trimmedFront(parts[i]);
    if (!p.empty() && p.front() == '[') {
      applyElement(def, p);
      continue;
    }
    double v;
    if (!parseDistance(p, v)) {
      problem = "\"" + p + "\" is not a dash length";
      return false;
    }
    if (def.dashes.size() == kMostDashes) {
      problem = "linetype \"" + def.name + "\" has more than " + std::to_string(kMostDashes) +
                " dashes; it was not loaded";
      return false;
    }
    DxDbLinetypeTableRecord::Dash d;
    d.length = v;
    def.dashes.push_back(d);
  }
  return true;
}

}  // namespace

std::vector<LinDef> readLinFile(const std::string& path, std::string& error) {
  std::ifstream in(path);
  std::vector<LinDef> defs;
  if (!in) {
    error = "cannot read \"" + path + "\"";
    return defs;
  }
  std::string line;
  LinDef* cur = nullptr;
  int lineNo = 0;
  while (std::getline(in, line)) {
    ++lineNo;
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (line.empty() || line.rfind(";;", 0) == 0) continue;
    if (line[0] == '*') {
      size_t comma = line.find(',');
      defs.push_back({line.substr(1, comma == std::string::npos ? std::string::npos : comma - 1),
                      comma == std::string::npos ? "" : line.substr(comma + 1), {}, false});
      cur = &defs.back();
      continue;
    }
    std::string problem;
    if (cur && !readPatternLine(*cur, line, problem)) {
      error = path + ":" + std::to_string(lineNo) + ": " + problem;
      defs.pop_back();
      cur = nullptr;
    }
  }
  return defs;
}

namespace {

// False when the user cancelled: the whole command ends.
bool loadLinetypes() {
  std::string pattern;
  int rc = askString("\nEnter linetype(s) to load: ", pattern, false);
  if (rc == RTCAN) return false;
  if (rc != RTNORM || pattern.empty()) return true;
  std::string file;
  rc = askString("\nEnter name of linetype file <acad.lin>: ", file);
  if (rc == RTCAN) return false;
  if (rc != RTNORM) return true;
  if (file.empty()) file = "acad.lin";
  char found[1024];
  if (dxedFindFile(file.c_str(), found, sizeof found) != RTNORM) {
    say("\nCannot find file \"" + file + "\".\n");
    return true;
  }
  std::string error;
  std::vector<LinDef> defs = readLinFile(found, error);
  if (!error.empty()) say("\n" + error + "\n");
  DxDbDatabase* d = db();
  int loaded = 0;
  for (const LinDef& def : defs) {
    if (!wcMatch(def.name, pattern, true)) continue;
    double total = 0;
    for (auto& dash : def.dashes) total += std::fabs(dash.length);
    DxDbObjectId existing = findRecord(d->linetypeTableId(), def.name);
    if (!existing.isNull()) {
      std::string kw;
      int rc = askKeyword("\nLinetype \"" + def.name + "\" is already loaded.  Reload it? [Yes/No] <Y>: ",
                          "Yes No", kw);
      if (rc == RTCAN) return false;
      if (rc == RTNORM && kw == "No") continue;
      Opened<DxDbLinetypeTableRecord> rec(existing, DxDb::kForWrite);
      if (!rec) continue;
      rec->setComments(def.description.c_str());
      rec->setDashes(def.dashes);
      rec->setPatternLength(total);
    } else {
      Opened<DxDbSymbolTable> table(d->linetypeTableId(), DxDb::kForWrite);
      if (!table) return true;
      auto* rec = new DxDbLinetypeTableRecord();
      rec->setName(def.name.c_str());
      rec->setComments(def.description.c_str());
      rec->setDashes(def.dashes);
      rec->setPatternLength(total);
      DxDbObjectId id;
      if (table->add(id, rec) != Dxad::eOk) {
        delete rec;
        say("\nCannot add linetype \"" + def.name + "\".\n");
        continue;
      }
      rec->close();
    }
    ++loaded;
    say("\nLinetype \"" + def.name + "\" loaded." +
        (def.hasShapes ? "  Its shapes are drawn as plain dashes (" + def.shapeProblem + ")." : "") + "\n");
  }
  if (!loaded) say("\nNo linetype matching \"" + pattern + "\" in " + std::string(found) + ".\n");
  return true;
}

}  // namespace

void cmdLinetype() {
  Session& s = session();
  for (;;) {
    VarValue cur;
    s.getVar("CELTYPE", cur);
    std::string kw;
    int rc = askKeyword("\nCurrent line type:  \"" + cur.text + "\"\nEnter an option [?/Load/Set]: ",
                        "? Load Set", kw);
    if (rc != RTNORM) return;
    if (kw == "Load") {
      if (!loadLinetypes()) return;
    } else if (kw == "Set") {
      std::string name;
      if (askString("\nSpecify linetype name or [?] <" + cur.text + ">: ", name, false) != RTNORM) return;
      if (name.empty()) continue;
      VarValue v;
      v.type = RTSTR;
      v.text = name;
      std::string why;
      if (s.setVar("CELTYPE", v, &why) != RTNORM) say("\n" + why + "\n");
    } else {
      Opened<DxDbSymbolTable> table(db()->linetypeTableId(), DxDb::kForRead);
      if (!table) continue;
      for (auto id : table->recordIds()) {
        Opened<DxDbLinetypeTableRecord> rec(id, DxDb::kForRead);
        if (rec) say("\n" + rec->getName() + "  " + rec->comments() + "\n");
      }
    }
  }
}

}  // namespace dx::ed::cmd
