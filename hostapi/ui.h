// Draxel host interface: user-interface family. The host presents message boxes on its
// command line: the text is printed, and boxes with a choice ask for it as a keyword
// that a script answers like any other prompt.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

// Buttons (low nibble) and icons of a message box.
#define MB_OK 0x0000
#define MB_OKCANCEL 0x0001
#define MB_ABORTRETRYIGNORE 0x0002
#define MB_YESNOCANCEL 0x0003
#define MB_YESNO 0x0004
#define MB_RETRYCANCEL 0x0005
#define MB_ICONERROR 0x0010
#define MB_ICONQUESTION 0x0020
#define MB_ICONWARNING 0x0030
#define MB_ICONINFORMATION 0x0040

// Answers.
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7

// Shows a message and returns the button chosen; an empty answer takes the first
// button, a cancelled prompt the cancel (or last) button.
int DxUiMessageBox(const char* text, const char* caption = nullptr, unsigned type = MB_OK);

// ---------------------------------------------------------------------------------------
// Progress of a long task

// True when the command line is an interactive terminal whose last line can be redrawn;
// false in scripts, with output to a file or a pipe, and while output is captured.
bool DxUiProgressInPlace();
// Redraws the progress line in place: a bar for position of range, the label (for
// example "45%") and the text (the current file). Does nothing when not in place.
void DxUiProgressShow(int position, int range, const char* label, const char* text);
// Ends the progress line, so that what follows starts on a line of its own.
void DxUiProgressEnd();

// ---------------------------------------------------------------------------------------
// Dialogs

// Values of a dialog's controls by control id, in and out: "1"/"0" for check boxes and
// radio buttons, the text of an edit field, the number of an "int" field in decimal.
using DxUiDialogValues = std::map<uint32_t, std::string>;

// The dialog's own check of a value typed into one of its fields, before the field takes
// it: "" when the value will do, else the message the user is shown (in a message box)
// before the field is asked again.
using DxUiFieldCheck = std::function<std::string(uint32_t controlId, const std::string& value)>;

// Presents a dialog declared in a resource library (null: the current one, see
// dxrxSetCurrentResourceLibrary) as a form on the command line: its fields are listed
// with their values, a field is changed by answering its number, and OK (or an empty
// answer) or Cancel close it, so a script answers it line by line. Returns IDOK, IDCANCEL
// (also for a cancelled prompt), or the id of a "button" control that closed it; -1 when
// the library declares no such dialog. values is changed only when the answer is IDOK or
// a button. Without a check, an "int" field keeps to its declared range with the host's
// own message; with one, the check decides.
int DxUiDoModal(uint32_t dialogId, DxUiDialogValues& values, void* resourceLibrary = nullptr,
                const DxUiFieldCheck& check = nullptr);
