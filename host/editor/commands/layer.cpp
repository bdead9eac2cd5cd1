// -LAYER: layers made, set current and switched from the command line, so that a script
// can set up its layers before it draws.
#include <cstring>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

bool validLayerName(const std::string& s) {
  return !s.empty() && s.size() <= 255 && s.find_first_of("<>/\\\":;?*|,=`") == std::string::npos;
}

std::vector<std::string> splitNames(const std::string& list) {
  std::vector<std::string> out;
  size_t start = 0;
  for (;;) {
    size_t comma = list.find(',', start);
    std::string part = list.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    while (!part.empty() && part.front() == ' ') part.erase(0, 1);
    while (!part.empty() && part.back() == ' ') part.pop_back();
    if (!part.empty()) out.push_back(part);
    if (comma == std::string::npos) return out;
    start = comma + 1;
  }
}

// Layers whose names match the wildcard list, in table order.
std::vector<DxDbObjectId> matchingLayers(const std::string& pattern) {
  std::vector<DxDbObjectId> out;
  DxDbLayerTable* table = nullptr;
  if (db()->getSymbolTable(table, DxDb::kForRead) != Dxad::eOk) return out;
  DxDbSymbolTableIterator* it = nullptr;
  table->newIterator(it);
  table->close();
  for (; it && !it->done(); it->step()) {
    DxDbObjectId id;
    if (it->getRecordId(id) != Dxad::eOk) continue;
    std::string name = recordName(id);
    if (dxutWcMatch(name.c_str(), pattern.c_str()) == RTNORM) out.push_back(id);
  }
  delete it;
  return out;
}

DxDbObjectId makeLayer(const std::string& name) {
  DxDbObjectId id = findRecord(db()->layerTableId(), name);
  if (!id.isNull()) return id;
  DxDbLayerTable* table = nullptr;
  if (db()->getSymbolTable(table, DxDb::kForWrite) != Dxad::eOk) return id;
  auto* rec = new DxDbLayerTableRecord();
  rec->setName(name.c_str());
  DxDbObjectId continuous = findRecord(db()->linetypeTableId(), "Continuous");
  if (!continuous.isNull()) rec->setLinetypeObjectId(continuous);
  if (table->add(id, rec) == Dxad::eOk) rec->close();
  else {
    delete rec;
    id = DxDbObjectId();
  }
  table->close();
  return id;
}

// Asks for a name list (Enter: the current layer) and changes every matching layer.
void changeLayers(const std::string& what, const std::function<void(DxDbLayerTableRecord*, bool current)>& change) {
  std::string list;
  std::string current = recordName(db()->clayer());
  if (askString("\nEnter name list of layer(s) " + what + " <" + current + ">: ", list) != RTNORM) return;
  if (list.empty()) list = current;
  std::vector<DxDbObjectId> ids = matchingLayers(list);
  if (ids.empty()) {
    say("\nNo matching layer names found.\n");
    return;
  }
  for (DxDbObjectId id : ids) {
    Opened<DxDbLayerTableRecord> layer(id, DxDb::kForWrite);
    if (layer) change(layer.get(), id == db()->clayer());
  }
}

void listLayers() {
  std::string pattern;
  if (askString("\nEnter layer name(s) to list <*>: ", pattern) != RTNORM) return;
  if (pattern.empty()) pattern = "*";
  std::string text = "\nLayer name                       State         Color      Linetype\n";
  std::vector<DxDbObjectId> ids = matchingLayers(pattern);
  for (DxDbObjectId id : ids) {
    Opened<DxDbLayerTableRecord> layer(id, DxDb::kForRead);
    if (!layer) continue;
    std::string name = layer->getName();
    std::string state = std::string(layer->isOff() ? "Off " : "On  ") + (layer->isFrozen() ? "Frozen " : "Thawed ") +
                        (layer->isLocked() ? "L" : " ");
    char line[256];
    std::snprintf(line, sizeof line, "%-32s %-13s %-10s %s\n", name.c_str(), state.c_str(),
                  colorText(layer->color()).c_str(), recordName(layer->linetypeObjectId()).c_str());
    text += line;
  }
  text += "\nCurrent layer: " + recordName(db()->clayer()) + "\n";
  say(text);
}

}  // namespace

void cmdLayer() {
  for (;;) {
    std::string kw;
    int rc = askKeyword("\nEnter an option [?/Make/Set/New/ON/OFF/Color/Ltype/Freeze/Thaw/LOck/Unlock]: ",
                        "? Make Set New ON OFF Color Ltype Freeze Thaw LOck Unlock", kw);
    if (rc != RTNORM) return;
    std::string current = recordName(db()->clayer());
    if (kw == "?") {
      listLayers();
    } else if (kw == "Make" || kw == "Set") {
      std::string name;
      bool make = kw == "Make";
      if (askString(make ? "\nEnter name for new layer (becomes the current layer) <" + current + ">: "
                         : "\nEnter layer name to make current <" + current + ">: ",
                    name) != RTNORM)
        return;
      if (name.empty()) continue;
      if (make && !validLayerName(name)) {
        say("\nInvalid layer name \"" + name + "\".\n");
        continue;
      }
      DxDbObjectId id = make ? makeLayer(name) : findRecord(db()->layerTableId(), name);
      if (id.isNull()) {
        say("\nCannot find layer \"" + name + "\".\n");
        continue;
      }
      Opened<DxDbLayerTableRecord> layer(id, DxDb::kForRead);
      if (layer && layer->isFrozen()) {
        say("\nCannot set frozen layer \"" + name + "\" current.\n");
        continue;
      }
      layer.close();
      db()->setClayer(id);
    } else if (kw == "New") {
      std::string list;
      if (askString("\nEnter name list for new layer(s): ", list) != RTNORM) return;
      for (const std::string& name : splitNames(list)) {
        if (!validLayerName(name)) say("\nInvalid layer name \"" + name + "\".\n");
        else makeLayer(name);
      }
    } else if (kw == "ON" || kw == "OFF") {
      bool off = kw == "OFF";
      changeLayers(off ? "to turn off" : "to turn on", [&](DxDbLayerTableRecord* l, bool) { l->setIsOff(off); });
    } else if (kw == "Freeze" || kw == "Thaw") {
      bool freeze = kw == "Freeze";
      changeLayers(freeze ? "to freeze" : "to thaw", [&](DxDbLayerTableRecord* l, bool isCurrent) {
        if (freeze && isCurrent) say("\nCannot freeze layer \"" + l->getName() + "\": it is the current layer.\n");
        else l->setIsFrozen(freeze);
      });
    } else if (kw == "LOck" || kw == "Unlock") {
      bool lock = kw == "LOck";
      changeLayers(lock ? "to lock" : "to unlock", [&](DxDbLayerTableRecord* l, bool) { l->setIsLocked(lock); });
    } else if (kw == "Color") {
      std::string s;
      if (askString("\nNew color [Truecolor]: ", s, false) != RTNORM) return;
      if (iequals(s, "T") || iequals(s, "Truecolor"))
        if (askString("\nRed,Green,Blue: ", s, false) != RTNORM) return;
      // A negative number sets the colour and turns the layer off.
      bool off = !s.empty() && s[0] == '-';
      DxCmColor c;
      if (!parseColor(off ? s.substr(1) : s, c) || c.isByLayer() || c.isByBlock()) {
        say("\nInvalid color \"" + s + "\".\n");
        continue;
      }
      changeLayers("for color " + colorText(c), [&](DxDbLayerTableRecord* l, bool) {
        l->setColor(c);
        if (off) l->setIsOff(true);
      });
    } else if (kw == "Ltype") {
      std::string name;
      if (askString("\nEnter a loaded linetype name <Continuous>: ", name) != RTNORM) return;
      if (name.empty()) name = "Continuous";
      DxDbObjectId lt = findRecord(db()->linetypeTableId(), name);
      if (lt.isNull()) {
        say("\nLinetype \"" + name + "\" is not loaded.  Use -LINETYPE to load it.\n");
        continue;
      }
      changeLayers("for linetype \"" + name + "\"", [&](DxDbLayerTableRecord* l, bool) { l->setLinetypeObjectId(lt); });
    }
  }
}

}  // namespace dx::ed::cmd
