// Dialogs as forms on the command line. The declaration in the resource library gives the
// caption and the controls; the form lists the controls that hold a value, numbered, and
// asks which one to change until OK, Cancel or a button closes it. Every question is an
// ordinary prompt, so scripts answer forms like anything else.
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/base/case.h"
#include "hostapi/editor.h"
#include "hostapi/resource.h"
#include "hostapi/ui.h"

namespace {

struct Field {
  const DxResControl* control;
  std::string text;
};

std::string controlText(void* library, const DxResControl& c) {
  char buf[1000];
  if (c.textId && dxrxLoadString(library, c.textId, buf, int(sizeof buf)) > 0) return buf;
  return c.text ? c.text : "";
}

bool is(const DxResControl& c, const char* kind) { return c.kind && std::string(c.kind) == kind; }

bool isOn(const DxUiDialogValues& v, uint32_t id) {
  auto it = v.find(id);
  return it != v.end() && it->second == "1";
}

std::string valueOf(const DxUiDialogValues& v, uint32_t id) {
  auto it = v.find(id);
  return it == v.end() ? std::string() : it->second;
}

using dx::base::upper;

// A keyword answer by its capital letters or in full, with or without "_".
bool answers(const std::string& in, const char* full, const char* shortForm) {
  std::string a = upper(in[0] == '_' ? in.substr(1) : in);
  return a == full || a == shortForm;
}

void show(const std::string& caption, const std::vector<Field>& fields, const DxUiDialogValues& v) {
  std::string out = "\n" + caption;
  int n = 0;
  for (const Field& f : fields) {
    const DxResControl& c = *f.control;
    out += "\n  ";
    if (is(c, "label") || is(c, "progress")) {
      // A label shows the text the dialog gave it, else its own.
      out += "    " + (is(c, "label") && v.count(c.id) ? valueOf(v, c.id) : f.text);
      if (is(c, "progress")) out += " " + valueOf(v, c.id) + "%";
      continue;
    }
    out += std::to_string(++n) + ". ";
    if (is(c, "check")) out += std::string(isOn(v, c.id) ? "[X] " : "[ ] ") + f.text;
    else if (is(c, "radio")) out += std::string(isOn(v, c.id) ? "(*) " : "( ) ") + f.text;
    else if (is(c, "button")) out += "<" + f.text + ">";
    else out += f.text + (f.text.ends_with(':') ? " " : ": ") + valueOf(v, c.id);
  }
  dxutPrintf("%s", out.c_str());
}

// Asks for a new value of one field. RTCAN ends the dialog; anything else goes back to
// the form.
int editField(const Field& f, const std::vector<Field>& all, DxUiDialogValues& v, const std::string& caption,
              const DxUiFieldCheck& check) {
  const DxResControl& c = *f.control;
  if (is(c, "check")) {
    std::string prompt = "\n" + f.text + " [On/Off] <" + (isOn(v, c.id) ? "On" : "Off") + ">: ";
    dxedInitGet(0, "On Off _On Off");
    char kw[64];
    int rc = dxedGetKword(prompt.c_str(), kw, sizeof kw);
    if (rc == RTNORM) v[c.id] = std::string(kw) == "On" ? "1" : "0";
    return rc;
  }
  if (is(c, "radio")) {
    // The radio buttons of a dialog form one group.
    for (const Field& other : all)
      if (is(*other.control, "radio")) v[other.control->id] = "0";
    v[c.id] = "1";
    return RTNORM;
  }
  if (is(c, "int")) {
    for (;;) {
      std::string prompt = "\n" + f.text + " (" + std::to_string(c.low) + "-" + std::to_string(c.high) +
                           ") <" + valueOf(v, c.id) + ">: ";
      int value = 0;
      int rc = dxedGetInt(prompt.c_str(), &value);
      if (rc != RTNORM) return rc;
      std::string text = std::to_string(value);
      std::string refusal = check ? check(c.id, text) : std::string();
      if (!check && (value < c.low || value > c.high))
        refusal = "The value must lie between " + std::to_string(c.low) + " and " + std::to_string(c.high) + ".";
      if (refusal.empty()) {
        v[c.id] = text;
        return RTNORM;
      }
      DxUiMessageBox(refusal.c_str(), caption.c_str(), MB_OK | MB_ICONWARNING);
    }
  }
  // Edit fields, lists and combo boxes take their text.
  std::string prompt = "\n" + f.text + " <" + valueOf(v, c.id) + ">: ";
  char buf[2049];
  int rc = dxedGetString(1, prompt.c_str(), buf, sizeof buf);
  if (rc != RTNORM || !buf[0]) return rc;
  std::string refusal = check ? check(c.id, buf) : std::string();
  if (refusal.empty()) v[c.id] = buf;
  else DxUiMessageBox(refusal.c_str(), caption.c_str(), MB_OK | MB_ICONWARNING);
  return rc;
}

}  // namespace

int DxUiDoModal(uint32_t dialogId, DxUiDialogValues& values, void* resourceLibrary, const DxUiFieldCheck& check) {
  void* library = resourceLibrary ? resourceLibrary : dxrxCurrentResourceLibrary();
  const DxResDialog* dlg = dxrxFindDialog(library, dialogId);
  if (!dlg) return -1;
  std::string caption;
  {
    char buf[1000];
    caption = dlg->captionId && dxrxLoadString(library, dlg->captionId, buf, int(sizeof buf)) > 0
                  ? buf
                  : (dlg->caption ? dlg->caption : "");
  }
  std::vector<Field> fields;     // in declaration order, as shown
  std::vector<const Field*> numbered;
  bool hasOk = false, hasCancel = false;
  for (uint32_t i = 0; i < dlg->controlCount; ++i) {
    const DxResControl& c = dlg->controls[i];
    if (is(c, "ok")) hasOk = true;
    else if (is(c, "cancel")) hasCancel = true;
    else fields.push_back({&c, controlText(library, c)});
  }
  for (const Field& f : fields)
    if (!is(*f.control, "label") && !is(*f.control, "progress")) numbered.push_back(&f);

  // The form works on a copy: a cancelled dialog changes nothing.
  DxUiDialogValues work = values;
  std::string prompt = "\nField number";
  if (hasOk) prompt += hasCancel ? " [OK/Cancel] <OK>: " : " [OK] <OK>: ";
  else prompt += hasCancel ? " [Cancel] <Cancel>: " : ": ";
  const int emptyAnswer = hasOk ? IDOK : IDCANCEL;
  show(caption, fields, work);
  for (;;) {
    char buf[512];
    int rc = dxedGetString(0, prompt.c_str(), buf, sizeof buf);
    if (rc == RTCAN) return IDCANCEL;
    if (rc != RTNORM) return IDCANCEL;
    std::string in = buf;
    int result = 0;
    if (in.empty()) result = emptyAnswer;
    else if (hasOk && answers(in, "OK", "O")) result = IDOK;
    else if (hasCancel && answers(in, "CANCEL", "C")) result = IDCANCEL;
    if (result == IDOK) {
      values = work;
      return IDOK;
    }
    if (result == IDCANCEL) return IDCANCEL;
    char* end = nullptr;
    long n = std::strtol(in.c_str(), &end, 10);
    if (end == in.c_str() || *end || n < 1 || size_t(n) > numbered.size()) {
      dxutPrintf("\nAnswer a field number from 1 to %zu%s.", numbered.size(),
                 hasOk ? (hasCancel ? ", OK or Cancel" : " or OK") : (hasCancel ? " or Cancel" : ""));
      continue;
    }
    const Field& f = *numbered[size_t(n - 1)];
    if (is(*f.control, "button")) {
      values = work;
      return int(f.control->id);
    }
    if (editField(f, fields, work, caption, check) == RTCAN) return IDCANCEL;
    show(caption, fields, work);
  }
}
