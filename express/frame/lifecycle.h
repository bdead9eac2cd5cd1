// What the module does on each message of its entry point.
#pragma once

#include <string>

class DxDbDatabase;
class DxRxClass;

namespace express {

void onInitialise();          // message 1
void onUnload();              // message 2
void onDrawingLoaded();       // message 3
void onDrawingUnloaded();     // message 4
void onDrawingSaved();        // message 9

// Registers a runtime class record, or checks the one cached: a different record under
// the same name stops the host with "Class mismatch".
void registerClass(DxRxClass*& cache, const char* name, DxRxClass* parent);
// Deletes a class record: the cached one, else the one registered under the name.
void deleteClass(DxRxClass*& cache, const char* name);

// Erases the spreadsheet-table blocks of db that have no reference.
void purgeSpreadsheetTableBlocks(DxDbDatabase* db);
// The extension-dictionary key that marks a spreadsheet-table block.
inline constexpr const char* kSpreadsheetTableKey = "{82380376-776B-484f-B3C4-9520E99003CF}";

// The LISP support files of the ExtendCmd folder beside the module.
inline constexpr const char* kLispSupportFiles[] = {"sptpl.lsp", "sp2pl.lsp", "dyjt.lsp", "eptdwg.lsp"};
void loadLispSupportFiles();
void unloadLispSupportFiles();
// The expression the helpers evaluate for one file: form is "(LOAD \"%s\")" or
// "(UNLOAD \"%s\")".
std::string lispSupportExpression(const char* form, const std::string& moduleFolder, const char* file);

// The system's language identifier, from the locale (1033 when unknown).
uint16_t systemLanguageId();

}  // namespace express
