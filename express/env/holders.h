// Small owners of host resources, so that every object opened is closed and every result
// buffer and selection set released on every way out of a command.
#pragma once

#include <utility>

#include "hostapi/db.h"
#include "hostapi/editor.h"

namespace express {

// An object open for read or write; closed when the holder goes.
template <class T>
class CDbObjectPtr {
 public:
  CDbObjectPtr() = default;
  CDbObjectPtr(DxDbObjectId id, DxDb::OpenMode mode, bool openErased = false) { open(id, mode, openErased); }
  // Takes over an object the caller opened.
  explicit CDbObjectPtr(T* opened) : m_obj(opened) {}
  ~CDbObjectPtr() { close(); }
  CDbObjectPtr(const CDbObjectPtr&) = delete;
  CDbObjectPtr& operator=(const CDbObjectPtr&) = delete;
  CDbObjectPtr(CDbObjectPtr&& o) noexcept : m_obj(std::exchange(o.m_obj, nullptr)), m_status(o.m_status) {}
  CDbObjectPtr& operator=(CDbObjectPtr&& o) noexcept {
    if (this != &o) {
      close();
      m_obj = std::exchange(o.m_obj, nullptr);
      m_status = o.m_status;
    }
    return *this;
  }

  Dxad::ErrorStatus open(DxDbObjectId id, DxDb::OpenMode mode, bool openErased = false) {
    close();
    m_status = dxdbOpenObject(m_obj, id, mode, openErased);
    return m_status;
  }
  Dxad::ErrorStatus close() {
    Dxad::ErrorStatus es = Dxad::eOk;
    if (m_obj) es = m_obj->close();
    m_obj = nullptr;
    return es;
  }
  // Hands the open object back to the caller, who closes it.
  T* release() { return std::exchange(m_obj, nullptr); }

  T* get() const { return m_obj; }
  T* operator->() const { return m_obj; }
  explicit operator bool() const { return m_obj != nullptr; }
  Dxad::ErrorStatus status() const { return m_status; }

 private:
  T* m_obj = nullptr;
  Dxad::ErrorStatus m_status = Dxad::eNullObjectPointer;
};

// A result-buffer chain; released when the holder goes.
class CResbufPtr {
 public:
  CResbufPtr() = default;
  explicit CResbufPtr(resbuf* chain) : m_rb(chain) {}
  ~CResbufPtr() { reset(); }
  CResbufPtr(const CResbufPtr&) = delete;
  CResbufPtr& operator=(const CResbufPtr&) = delete;
  CResbufPtr(CResbufPtr&& o) noexcept : m_rb(std::exchange(o.m_rb, nullptr)) {}
  CResbufPtr& operator=(CResbufPtr&& o) noexcept {
    if (this != &o) reset(std::exchange(o.m_rb, nullptr));
    return *this;
  }
  void reset(resbuf* chain = nullptr) {
    if (m_rb && m_rb != chain) dxutRelRb(m_rb);
    m_rb = chain;
  }
  resbuf* release() { return std::exchange(m_rb, nullptr); }
  resbuf* get() const { return m_rb; }
  resbuf* operator->() const { return m_rb; }
  explicit operator bool() const { return m_rb != nullptr; }
  // The first buffer with a group code, or null.
  resbuf* find(int code) const {
    for (resbuf* rb = m_rb; rb; rb = rb->rbnext)
      if (rb->restype == code) return rb;
    return nullptr;
  }

 private:
  resbuf* m_rb = nullptr;
};

// A selection set; freed when the holder goes.
class CSelectionSet {
 public:
  CSelectionSet() = default;
  ~CSelectionSet() { free(); }
  CSelectionSet(const CSelectionSet&) = delete;
  CSelectionSet& operator=(const CSelectionSet&) = delete;

  // Selects with dxedSSGet and returns its status; the set is held only on RTNORM.
  int select(const char* mode, const void* pt1 = nullptr, const void* pt2 = nullptr,
             const resbuf* filter = nullptr) {
    free();
    int rc = dxedSSGet(mode, pt1, pt2, filter, m_name);
    m_held = rc == RTNORM;
    if (!m_held) m_name[0] = m_name[1] = 0;
    return rc;
  }
  // Takes over a set the caller made.
  void adopt(const dx_name ss) {
    free();
    m_name[0] = ss[0];
    m_name[1] = ss[1];
    m_held = true;
  }
  const int64_t* name() const { return m_name; }
  bool held() const { return m_held; }
  void free() {
    if (m_held) dxedSSFree(m_name);
    m_held = false;
    m_name[0] = m_name[1] = 0;
  }
  // Number of members (0 when none is held).
  int32_t length() const {
    int32_t n = 0;
    if (!m_held || dxedSSLength(m_name, &n) != RTNORM) return 0;
    return n;
  }

 private:
  dx_name m_name = {0, 0};
  bool m_held = false;
};

// Short variables saved on construction and written back on every way out.
class CShortVarSaver {
 public:
  explicit CShortVarSaver(const char* name) : m_name(name) { m_ok = dxedGetVar(name, &m_saved) == RTNORM; }
  ~CShortVarSaver() {
    if (m_ok) dxedSetVar(m_name, &m_saved);
  }
  CShortVarSaver(const CShortVarSaver&) = delete;
  CShortVarSaver& operator=(const CShortVarSaver&) = delete;
  static void set(const char* name, int value) {
    resbuf rb{};
    rb.restype = RTSHORT;
    rb.resval.rint = short(value);
    dxedSetVar(name, &rb);
  }

 private:
  const char* m_name;
  resbuf m_saved{};
  bool m_ok = false;
};

}  // namespace express
