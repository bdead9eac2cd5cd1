// External references: a block that shows another drawing file, read from that file
// each time the drawing opens and never written with the drawing.
#pragma once

#include <string>
#include <vector>

#include "host/db/merge.h"
#include "hostapi/db.h"

namespace dx::ed {

using dx::db::emptyBlock;
using dx::db::kDependentFlag;
using dx::db::kOverlayFlag;
using dx::db::kResolvedFlag;
using dx::db::kXrefFlag;

// A reference inside another one: its block is named "outer|inner".
inline bool isNestedXref(const DxDbBlockTableRecord& b) {
  return b.isFromExternalReference() && b.getName().find('|') != std::string::npos;
}

// The file of a reference's path: beside the drawing that refers to it (baseDir), as
// written, then on the search path. Empty when none is a file.
std::string findXrefFile(const std::string& path, const std::string& baseDir);

// Reads external references into their blocks: the file's records come in as
// "name|record", nested references as blocks "outer|inner" of their own; overlays
// inside a reference are left out.
class XrefLoader {
 public:
  // hostPath: the drawing's own file (a reference back to it is a cycle); may be empty.
  XrefLoader(DxDbDatabase* host, const std::string& hostPath);
  // Fills block from its file. False with why when it cannot; problems of nested
  // references go to notes and leave those unresolved.
  bool load(DxDbObjectId block, std::string& why);
  // The chain of files that leads back to one already being read; empty when none did.
  const std::string& cycle() const { return m_cycle; }
  const std::vector<std::string>& notes() const { return m_notes; }

 private:
  bool loadFrom(DxDbObjectId block, const std::string& baseDir, std::string& why);
  DxDbDatabase* m_host;
  std::string m_hostDir;
  std::vector<std::string> m_chain;  // files being read, outermost first
  std::vector<std::string> m_notes;
  std::string m_cycle;
};

// Loads every external reference of a drawing just read; what cannot be loaded is said
// once per reference and stays in the drawing, unresolved.
void resolveXrefs(DxDbDatabase* db, const std::string& path);

}  // namespace dx::ed
