// -GROUP: named (or unnamed) sets of entities kept in the drawing's group dictionary.
#include "host/editor/commands/common.h"
#include "host/editor/text_utils.h"

namespace dx::ed::cmd {
namespace {

DxDbObjectId groupNamed(const std::string& name) {
  Opened<DxDbDictionary> dict(db()->getGroupDictionaryId(), DxDb::kForRead);
  DxDbObjectId id;
  if (dict) dict->getAt(name.c_str(), id);
  return id;
}

// Asks for the name of an existing group; null (with a message) when there is none.
DxDbObjectId askGroup(const std::string& prompt) {
  std::string name;
  if (askString(prompt, name, false) != RTNORM || name.empty()) return {};
  DxDbObjectId id = groupNamed(name);
  if (id.isNull()) say("\nGroup \"" + name + "\" does not exist.\n");
  return id;
}

void list() {
  std::string pattern;
  if (askString("\nEnter group name(s) to list <*>: ", pattern, false) == RTCAN) return;
  if (pattern.empty()) pattern = "*";
  Opened<DxDbDictionary> dict(db()->getGroupDictionaryId(), DxDb::kForRead);
  if (!dict) return;
  say("\nDefined groups.\n");
  std::unique_ptr<DxDbDictionaryIterator> it(dict->newIterator());
  for (; !it->done(); it->next()) {
    if (!wcMatch(it->name(), pattern, true)) continue;
    Opened<DxDbGroup> g(it->objectId(), DxDb::kForRead);
    if (!g) continue;
    say("\n" + std::string(it->name()) + "  " + g->description() + "  (" +
        std::to_string(g->numEntities()) + (g->isSelectable() ? ", selectable)" : ")") + "\n");
  }
}

void create() {
  std::string name;
  for (;;) {
    if (askString("\nEnter a group name or [?]: ", name, false) != RTNORM) return;
    if (name == "?") {
      list();
      continue;
    }
    break;
  }
  bool unnamed = name.empty() || name == "*";
  if (!unnamed && !groupNamed(name).isNull()) {
    say("\nGroup \"" + name + "\" already exists.\n");
    return;
  }
  std::string description;
  if (askString("\nEnter a group description: ", description, true) != RTNORM) return;
  std::vector<DxDbObjectId> members;
  if (selectObjects(SelectOptions{}, members) != RTNORM) return;
  Opened<DxDbDictionary> dict(db()->getGroupDictionaryId(), DxDb::kForWrite);
  if (!dict) return;
  auto* group = new DxDbGroup(description.c_str(), true);
  DxDbObjectId id;
  if (dict->setAt(unnamed ? "*A" : name.c_str(), group, id) != Dxad::eOk) {
    delete group;
    say("\nThe group could not be added.\n");
    return;
  }
  if (unnamed) group->setAnonymous();
  for (auto m : members) group->append(m);
  group->close();
}

void changeMembers(bool adding) {
  DxDbObjectId id = askGroup("\nEnter a group name: ");
  if (id.isNull()) return;
  SelectOptions opt;
  opt.memberwise = true;
  if (!adding) opt.addPrompt = "\nRemove objects: ";
  std::vector<DxDbObjectId> picked;
  if (selectObjects(opt, picked) != RTNORM) return;
  Opened<DxDbGroup> g(id, DxDb::kForWrite);
  if (!g) return;
  for (auto m : picked) adding ? g->append(m) : g->remove(m);
  say("\nGroup now holds " + std::to_string(g->numEntities()) + " objects.\n");
}

// The group goes; its members stay as they are.
void explode() {
  DxDbObjectId id = askGroup("\nEnter a group name: ");
  if (id.isNull()) return;
  Opened<DxDbGroup> g(id, DxDb::kForWrite);
  if (!g) return;
  g->clear();
  std::string name;
  g->getName(name);
  g.close();
  if (Opened<DxDbDictionary> dict(db()->getGroupDictionaryId(), DxDb::kForWrite); dict)
    dict->remove(id);
  if (Opened<DxDbGroup> gone(id, DxDb::kForWrite); gone) gone->erase();
  say("\nGroup \"" + name + "\" has been exploded.\n");
}

void rename() {
  DxDbObjectId id = askGroup("\nEnter old group name: ");
  if (id.isNull()) return;
  std::string name;
  if (askString("\nEnter new group name: ", name, false) != RTNORM || name.empty()) return;
  Opened<DxDbGroup> g(id, DxDb::kForRead);
  if (g && g->setName(name.c_str()) == Dxad::eDuplicateKey)
    say("\nGroup \"" + name + "\" already exists.\n");
}

void selectable() {
  DxDbObjectId id = askGroup("\nEnter a group name: ");
  if (id.isNull()) return;
  std::string kw;
  int rc = askKeyword("\nMake the group selectable? [Yes/No] <Yes>: ", "Yes No", kw);
  if (rc == RTCAN) return;
  Opened<DxDbGroup> g(id, DxDb::kForWrite);
  if (g) g->setSelectable(rc == RTNONE || kw == "Yes");
}

}  // namespace

void cmdGroup() {
  std::string kw;
  int rc = askKeyword("\nEnter a group option [?/Add/Remove/Explode/REName/Selectable/Create] <Create>: ",
                      "? Add Remove Explode REName Selectable Create", kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE || kw == "Create") create();
  else if (kw == "?") list();
  else if (kw == "Add") changeMembers(true);
  else if (kw == "Remove") changeMembers(false);
  else if (kw == "Explode") explode();
  else if (kw == "REName") rename();
  else if (kw == "Selectable") selectable();
}

}  // namespace dx::ed::cmd
