// The module's two reactors. What they do on their notifications belongs to the
// spreadsheet-linked tables; the frame only creates, attaches and deletes them.
#pragma once

#include "hostapi/db.h"
#include "hostapi/editor.h"

class ZOTACmdEndReactor : public DxEditorReactor {
  DX_DECLARE_MEMBERS(ZOTACmdEndReactor);

 public:
  explicit ZOTACmdEndReactor(bool attached) : m_attached(attached) {}
  // Detaches itself from the editor when it was attached.
  ~ZOTACmdEndReactor() override;
  ZOTACmdEndReactor(const ZOTACmdEndReactor&) = delete;
  ZOTACmdEndReactor& operator=(const ZOTACmdEndReactor&) = delete;

  bool isAttached() const { return m_attached; }
  void setAttached(bool attached) { m_attached = attached; }

 private:
  bool m_attached;
};

class ZOTABlockChangeReactor : public DxDbDatabaseReactor {
  DX_DECLARE_MEMBERS(ZOTABlockChangeReactor);

 public:
  ZOTABlockChangeReactor() = default;
  ZOTABlockChangeReactor(const ZOTABlockChangeReactor&) = delete;
  ZOTABlockChangeReactor& operator=(const ZOTABlockChangeReactor&) = delete;

  void* tableData() const { return m_tableData; }
  void setTableData(void* data) { m_tableData = data; }

 private:
  void* m_tableData = nullptr;  // the spreadsheet-table tool's per-database record
};
