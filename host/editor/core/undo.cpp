// Undo steps and groups over the database journal: a step is a range of journal
// positions, and undoing it rolls the journal back to where the step began.
#include "host/editor/core/session.h"

namespace dx::ed {

void UndoManager::commandEnded(const std::string& name, uint64_t start, size_t stepsBefore,
                               uint64_t end) {
  if (!enabled || m_depth > 0) return;  // an open group collects the command
  // Groups and steps the command made inside itself become part of its one step.
  if (m_steps.size() > stepsBefore) m_steps.resize(stepsBefore);
  if (end <= start) return;  // nothing changed: no step to undo
  m_steps.push_back({start, end, name, false});
}

void UndoManager::beginGroup(uint64_t pos, const std::string& name) {
  if (!enabled) return;
  if (m_depth++ == 0) {
    m_groupStart = pos;
    m_groupSteps = m_steps.size();
    m_groupName = name;
  }
}

bool UndoManager::endGroup(uint64_t pos) {
  if (m_depth == 0) return false;
  if (--m_depth == 0) {
    if (m_steps.size() > m_groupSteps) m_steps.resize(m_groupSteps);
    if (pos != m_groupStart) m_steps.push_back({m_groupStart, pos, "Group of commands", false});
  }
  return true;
}

void UndoManager::mark() {
  if (enabled) m_steps.push_back({0, 0, "Mark", true});
}

bool UndoManager::popStep(uint64_t now, Step& out) {
  while (m_depth > 0) endGroup(now);
  while (!m_steps.empty() && m_steps.back().mark) m_steps.pop_back();
  if (m_steps.empty()) return false;
  out = m_steps.back();
  m_steps.pop_back();
  return true;
}

bool UndoManager::popToMark(uint64_t now, std::vector<Step>& out) {
  while (m_depth > 0) endGroup(now);
  size_t i = m_steps.size();
  while (i > 0 && !m_steps[i - 1].mark) --i;
  if (i == 0) return false;
  for (size_t k = m_steps.size(); k > i; --k) out.push_back(m_steps[k - 1]);
  m_steps.resize(i - 1);
  return true;
}

void UndoManager::clear() {
  m_steps.clear();
  m_depth = 0;
}

void Session::undoSteps(int count) {
  Document* doc = m_current;
  if (!doc) return;
  for (int i = 0; i < count; ++i) {
    UndoManager::Step step;
    if (!doc->undo.popStep(doc->journalPosition(), step)) {
      output().message("\nEverything has been undone\n");
      return;
    }
    doc->rollbackTo(step.start);
    output().message("\n" + step.name + "\n");
  }
}

void Session::undoBack() {
  Document* doc = m_current;
  if (!doc) return;
  std::vector<UndoManager::Step> steps;
  if (!doc->undo.popToMark(doc->journalPosition(), steps)) {
    // No mark: everything goes.
    UndoManager::Step step;
    bool any = false;
    while (doc->undo.popStep(doc->journalPosition(), step)) {
      doc->rollbackTo(step.start);
      any = true;
    }
    output().message(any ? "\nEverything has been undone\n" : "\nNothing to undo\n");
    return;
  }
  for (auto& s : steps) doc->rollbackTo(s.start);
  output().message("\nMark encountered\n");
}

}  // namespace dx::ed
