// PURGE: removes unreferenced layers, linetypes, text styles, dimension styles and
// blocks, repeatedly, as the database's purge does.
#include "host/editor/commands/common.h"

namespace dx::ed::cmd {

void cmdPurge() {
  Session& s = session();
  Document* doc = s.current();
  if (!doc) return;
  std::string kw;
  int rc = askKeyword("\nEnter type of unused objects to purge [All]: ", "All", kw);
  if (rc == RTCAN) return;
  std::string names;
  if (askString("\nEnter name(s) to purge <*>: ", names, false) != RTNORM) return;
  if (names.empty()) names = "*";
  if (names != "*") {
    say("\nOnly all unreferenced names (*) can be purged.\n");
    return;
  }
  std::string verify;
  rc = askKeyword("\nVerify each name to be purged? [Yes/No] <N>: ", "Yes No", verify);
  if (rc == RTCAN) return;
  // What would go: a trial purge, rolled back.
  struct Item {
    std::string kind, name;
  };
  std::vector<Item> items;
  uint64_t pos = doc->journalPosition();
  purgeAllWithReport(
      doc->database(),
      [](void* ctx, const char* kind, const char* name) {
        static_cast<std::vector<Item>*>(ctx)->push_back({kind ? kind : "", name ? name : ""});
      },
      &items);
  if (items.empty()) {
    say("\nNo unreferenced objects found.\n");
    return;
  }
  if (verify == "Yes") {
    doc->rollbackTo(pos);
    for (auto& i : items) say("\n" + i.kind + " \"" + i.name + "\"\n");
    std::string ok;
    rc = askKeyword("\nPurge these " + std::to_string(items.size()) + " names? [Yes/No] <Y>: ", "Yes No", ok);
    if (rc == RTCAN || ok == "No") return;
    items.clear();
    purgeAllWithReport(
        doc->database(),
        [](void* ctx, const char* kind, const char* name) {
          static_cast<std::vector<Item>*>(ctx)->push_back({kind ? kind : "", name ? name : ""});
        },
        &items);
  } else {
    for (auto& i : items) say("\nDeleting " + i.kind + " \"" + i.name + "\".\n");
  }
  say("\n" + std::to_string(items.size()) + " item" + (items.size() == 1 ? "" : "s") + " purged.\n");
}

}  // namespace dx::ed::cmd
