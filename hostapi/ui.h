// Draxel host interface: user-interface family. The host presents message boxes on its
// command line: the text is printed, and boxes with a choice ask for it as a keyword
// that a script answers like any other prompt.
#pragma once

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
