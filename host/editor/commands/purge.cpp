// PURGE: removes unreferenced blocks, layers, linetypes, text styles and dimension
// styles of the chosen types whose names match a pattern, optionally asking for each.
// Records that become unreferenced on the way (a block used only by a purged block) are
// offered too.
#include <set>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

struct PurgeType {
  const char* keyword;  // as answered at the type prompt
  const char* kind;     // as the database's purge names it
  const char* noun;     // in messages
};
const PurgeType kTypes[] = {{"Blocks", "Block", "block"},
                            {"Dimstyles", "Dimension style", "dimension style"},
                            {"LAyers", "Layer", "layer"},
                            {"LTypes", "Linetype", "linetype"},
                            {"STyles", "Text style", "text style"}};

struct Run {
  std::set<std::string> kinds;  // kinds chosen
  std::string pattern;
  bool verify = false;
  bool cancelled = false;
  std::set<std::string> declined;  // kind + "|" + upper-case name: not asked twice
  std::vector<std::pair<std::string, std::string>> purged;
};

const char* nounOf(const std::string& kind) {
  for (const PurgeType& t : kTypes)
    if (kind == t.kind) return t.noun;
  return "object";
}

bool wanted(void* ctx, const char* kind, const char* name) {
  Run& r = *static_cast<Run*>(ctx);
  if (r.cancelled || !r.kinds.count(kind) || !wcMatch(name, r.pattern, true)) return false;
  if (!r.verify) return true;
  std::string key = std::string(kind) + "|" + upper(name);
  if (r.declined.count(key)) return false;
  std::string yes;
  int rc = askKeyword(std::string("\nPurge ") + nounOf(kind) + " \"" + name + "\"? [Yes/No] <N>: ", "Yes No", yes);
  if (rc == RTCAN) {
    r.cancelled = true;
    return false;
  }
  if (yes == "Yes") return true;
  r.declined.insert(key);
  return false;
}

void purged(void* ctx, const char* kind, const char* name) {
  static_cast<Run*>(ctx)->purged.emplace_back(kind, name);
}

}  // namespace

void cmdPurge() {
  Session& s = session();
  Document* doc = s.current();
  if (!doc) return;
  Run run;
  std::string kw;
  int rc = askKeyword("\nEnter type of unused objects to purge [Blocks/Dimstyles/LAyers/LTypes/STyles/All]: ",
                      "Blocks Dimstyles LAyers LTypes STyles All", kw, RSG_NONULL);
  if (rc != RTNORM) return;
  for (const PurgeType& t : kTypes)
    if (kw == "All" || kw == t.keyword) run.kinds.insert(t.kind);
  if (askString("\nEnter name(s) to purge <*>: ", run.pattern, false) != RTNORM) return;
  if (run.pattern.empty()) run.pattern = "*";
  std::string verify;
  rc = askKeyword("\nVerify each name to be purged? [Yes/No] <Y>: ", "Yes No", verify);
  if (rc == RTCAN) return;
  run.verify = verify != "No";

  uint64_t before = doc->journalPosition();
  purgeSome(doc->database(), wanted, purged, &run);
  if (run.cancelled) {
    // A cancel at any question leaves the drawing as it was.
    doc->rollbackTo(before);
    return;
  }
  if (run.purged.empty()) {
    say("\nNo unreferenced " + std::string(kw == "All" ? "objects" : nounOf(*run.kinds.begin()) + std::string("s")) +
        " found" + (run.pattern == "*" ? "" : " matching \"" + run.pattern + "\"") + ".\n");
    return;
  }
  for (auto& [kind, name] : run.purged) say("\nDeleting " + std::string(nounOf(kind)) + " \"" + name + "\".\n");
  size_t n = run.purged.size();
  say("\n" + std::to_string(n) + (n == 1 ? " item" : " items") + " purged.\n");
}

}  // namespace dx::ed::cmd
