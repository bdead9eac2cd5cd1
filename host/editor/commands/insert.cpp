// -INSERT: a block of the drawing, or a drawing file brought in as a block.
#include <cmath>
#include <filesystem>

#include "host/editor/commands/common.h"

namespace fs = std::filesystem;

namespace dx::ed::cmd {
namespace {

// The block record of a name, loading "name.dxf" (or an explicit file) when the drawing
// has no such block. Null with a message when neither works.
DxDbObjectId blockFor(const std::string& answer) {
  DxDbDatabase* d = db();
  std::string name = answer, file;
  size_t eq = answer.find('=');
  if (eq != std::string::npos) {
    name = answer.substr(0, eq);
    file = answer.substr(eq + 1);
  } else if (answer.find('/') != std::string::npos ||
             iequals(fs::path(answer).extension().string(), ".dxf")) {
    file = answer;
    name = fs::path(answer).stem().string();
  }
  if (file.empty()) {
    DxDbObjectId id = findRecord(d->blockTableId(), name);
    if (!id.isNull()) return id;
    file = name + ".dxf";
  }
  char found[1024];
  std::string path = file;
  if (dxedFindFile(file.c_str(), found, sizeof found) == RTNORM) path = found;
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    say("\nBlock \"" + name + "\" not found.\n");
    return {};
  }
  DxDbDatabase source(false);
  if (source.readDwgFile(path.c_str()) != Dxad::eOk) {
    say("\nCannot read \"" + path + "\": " + source.lastError() + "\n");
    return {};
  }
  if (!findRecord(d->blockTableId(), name).isNull()) {
    // Redefining an existing block from its file.
    say("\nBlock \"" + name + "\" already exists; the drawing's definition is used.\n");
    return findRecord(d->blockTableId(), name);
  }
  DxDbObjectId id = insertDrawingAsBlock(d, name, &source);
  if (id.isNull()) {
    say("\nCannot insert \"" + path + "\" as a block.\n");
    return {};
  }
  return id;
}

// A drawing may name a current layer that its layer table lacks; new objects then go on
// layer 0, and the user is told so rather than finding the reference there later.
void warnMissingCurrentLayer(DxDbDatabase* d) {
  resbuf* rb = d->getHeaderVar("CLAYER");
  std::string named = rb && rb->restype == RTSTR && rb->resval.rstring ? rb->resval.rstring : "";
  dxutRelRb(rb);
  if (!named.empty() && findRecord(d->layerTableId(), named).isNull())
    say("\nCurrent layer \"" + named + "\" is not in the drawing; the block reference goes on layer \"" +
        recordName(d->clayer()) + "\".\n");
}

}  // namespace

int askPlacement(Placement& p) {
  Document* doc = session().current();
  if (!doc) return RTCAN;
  DxGeVector3d& scale = p.scale;
  double& rotation = p.rotation;
  DxGePoint3d& at = p.at;
  bool scaleGiven = false, rotationGiven = false;
  for (;;) {
    std::string kw;
    int rc = askPoint("\nSpecify insertion point or [Scale/X/Y/Z/Rotate]: ", nullptr, at,
                      "Scale X Y Z Rotate", &kw);
    if (rc == RTNORM) break;
    if (rc != RTKWORD) return RTCAN;
    if (kw == "Rotate") {
      if (askAngle("\nSpecify rotation angle <0>: ", nullptr, rotation) == RTCAN) return RTCAN;
      rotationGiven = true;
      continue;
    }
    double f = 1;
    dxedInitGet(RSG_NOZERO, nullptr);
    std::string prompt = kw == "Scale" ? "\nSpecify scale factor for XYZ axes <1>: "
                                       : "\nSpecify " + kw + " scale factor <1>: ";
    rc = dxedGetReal(prompt.c_str(), &f);
    if (rc == RTCAN) return RTCAN;
    if (rc == RTNONE) f = 1;
    if (kw == "Scale") scale = {f, f, f};
    else if (kw == "X") scale.x = f;
    else if (kw == "Y") scale.y = f;
    else scale.z = f;
    scaleGiven = true;
  }
  if (!scaleGiven) {
    double sx = 1;
    dxedInitGet(RSG_NOZERO, nullptr);
    int rc = dxedGetReal("\nEnter X scale factor <1>: ", &sx);
    if (rc == RTCAN) return RTCAN;
    if (rc == RTNONE) sx = 1;
    double sy = sx;
    dxedInitGet(RSG_NOZERO, nullptr);
    rc = dxedGetReal("\nEnter Y scale factor <use X scale factor>: ", &sy);
    if (rc == RTCAN) return RTCAN;
    if (rc == RTNONE) sy = sx;
    scale = {sx, sy, sx};
  }
  if (!rotationGiven) {
    int rc = askAngle("\nSpecify rotation angle <0>: ", &at, rotation);
    if (rc == RTCAN) return RTCAN;
    if (rc == RTNONE) rotation = 0;
  }
  // The UCS's rotation in the world's XY plane turns the reference as well.
  rotation += std::atan2(doc->ucs.x.y, doc->ucs.x.x);
  return RTNORM;
}

namespace {

// Lists the names of the drawing's blocks that a user may insert.
void listBlocks(DxDbDatabase* d) {
  Opened<DxDbSymbolTable> table(d->blockTableId(), DxDb::kForRead);
  if (!table) return;
  for (auto id : table->recordIds()) {
    std::string n = recordName(id);
    if (!n.empty() && n[0] != '*') say("\n  \"" + n + "\"\n");
  }
}

// The block to insert: by name or file, the last one by default ("?" lists them).
DxDbObjectId askBlock(Document& doc) {
  std::string answer;
  const std::string& def = doc.lastBlockName;
  if (askString("\nEnter block name or [?]" + (def.empty() ? std::string() : " <" + def + ">") + ": ",
                answer) != RTNORM)
    return {};
  if (answer.empty()) answer = def;
  if (answer.empty()) return {};
  if (answer == "?") {
    listBlocks(doc.database());
    return {};
  }
  DxDbObjectId block = blockFor(answer);
  if (!block.isNull()) doc.lastBlockName = recordName(block);
  return block;
}

using AttributeValues = std::vector<std::pair<DxDbObjectId, std::string>>;

// The value of each attribute the block defines (constant ones have none), asked for
// when ATTREQ says so. RTCAN when the user cancels.
int askAttributeValues(DxDbObjectId block, AttributeValues& values) {
  Opened<DxDbBlockTableRecord> btr(block, DxDb::kForRead);
  std::vector<DxDbObjectId> ents = btr ? btr->entityIds() : std::vector<DxDbObjectId>{};
  btr.close();
  bool ask = session().getInt("ATTREQ") != 0;
  for (auto id : ents) {
    Opened<DxDbAttributeDefinition> def(id, DxDb::kForRead);
    if (!def || def->isConstant()) continue;
    std::string value = def->textString();
    if (ask && !def->isPreset()) {
      std::string prompt = *def->prompt() ? def->prompt() : def->tag();
      std::string typed;
      def.close();
      if (askString("\n" + prompt + " <" + value + ">: ", typed) == RTCAN) return RTCAN;
      if (!typed.empty()) value = typed;
    }
    values.emplace_back(id, value);
  }
  return RTNORM;
}

// Gives the reference its attributes, placed as their definitions are in the block.
void attachAttributes(DxDbObjectId refId, const AttributeValues& values) {
  Opened<DxDbBlockReference> r(refId, DxDb::kForWrite);
  if (!r) return;
  DxGeMatrix3d xf = r->blockTransform();
  for (auto& [defId, value] : values) {
    Opened<DxDbAttributeDefinition> def(defId, DxDb::kForRead);
    if (!def) continue;
    auto* att = new DxDbAttribute();
    att->setPropertiesFrom(r.get());
    att->setAttributeFromBlock(def.get(), xf);
    att->setTextString(value.c_str());
    DxDbObjectId attId;
    if (r->appendAttribute(attId, att) == Dxad::eOk) att->close();
    else delete att;
  }
}

}  // namespace

void cmdInsert() {
  Document* doc = session().current();
  if (!doc) return;
  DxDbObjectId block = askBlock(*doc);
  if (block.isNull()) return;
  warnMissingCurrentLayer(doc->database());
  Placement place;
  if (askPlacement(place) != RTNORM) return;
  // Attribute values are asked for before the reference goes into the drawing.
  AttributeValues values;
  if (askAttributeValues(block, values) == RTCAN) return;
  auto* ref = new DxDbBlockReference(ucsToWorld(place.at), block);
  ref->setScaleFactors(place.scale);
  ref->setRotation(place.rotation);
  ref->setDatabaseDefaults(doc->database());
  DxDbObjectId refId = appendToCurrentSpace(ref, false);
  if (refId.isNull()) {
    say("\nThe block reference could not be added.\n");
    return;
  }
  if (!values.empty()) attachAttributes(refId, values);
}

}  // namespace dx::ed::cmd
