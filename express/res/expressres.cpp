// expressres.dll: the module's string table and dialog declarations, nothing else. A
// translation replaces this library and leaves the module as it is.
#include <iterator>

#include "express/res/dialogs.h"
#include "hostapi/resource.h"

namespace {

#define DX_RES(name, id, text) {id, text},
#define DX_RES2(name, id, libraryText, defaultText) {id, libraryText},
const DxResString kStrings[] = {
#include "express/res/strings.inc"
};
#undef DX_RES
#undef DX_RES2

#define DX_RES(name, id, text) inline constexpr unsigned name##Id = id; inline constexpr const char* name = text;
#define DX_RES2(name, id, libraryText, defaultText) \
  inline constexpr unsigned name##Id = id; inline constexpr const char* name = libraryText;
namespace text {
#include "express/res/strings.inc"
}
#undef DX_RES
#undef DX_RES2

using namespace express::dlg;
#define TEXT(name) text::name##Id, text::name

const DxResControl kTxt2mtxtControls[] = {
    {"check", kTxt2mtxtSelectType, TEXT(Txt2mtxtSelectionOrder), 0, 0},
    {"check", kTxt2mtxtWordWrap, TEXT(Txt2mtxtWordWrap), 0, 0},
    {"check", kTxt2mtxtMergeMText, TEXT(Txt2mtxtMergeMText), 0, 0},
    {"ok", kOk, 0, "OK", 0, 0},
    {"cancel", kCancel, 0, "Cancel", 0, 0},
};

const DxResControl kSuperhatchControls[] = {
    {"button", kShImage, TEXT(ShImage), 0, 0},
    {"button", kShBlock, TEXT(ShBlock), 0, 0},
    {"button", kShXref, TEXT(ShXref), 0, 0},
    {"button", kShWipeout, TEXT(ShWipeout), 0, 0},
    {"button", kShSelect, TEXT(ShSelect), 0, 0},
    {"int", kShAccuracy, TEXT(ShAccuracyLabel), 16, 256},
    {"cancel", kCancel, 0, "Cancel", 0, 0},
};

const DxResControl kBatchPurgeControls[] = {
    {"list", kBpFiles, TEXT(BpColumnFile), 0, 0},
    {"button", kBpAddFiles, TEXT(BpAddFiles), 0, 0},
    {"button", kBpAddFolder, TEXT(BpAddFolder), 0, 0},
    {"button", kBpRemove, TEXT(BpRemove), 0, 0},
    {"button", kBpCheck, TEXT(BpCheckRows), 0, 0},
    {"combo", kBpFormat, TEXT(BpSaveFormat), 0, 0},
    {"button", kBpStart, TEXT(BpStart), 0, 0},
    {"button", kBpViewLog, TEXT(BpViewLog), 0, 0},
    {"progress", kBpProgress, 0, "", 0, 100},
    {"label", kBpPercent, TEXT(BpPercent), 0, 0},
    {"cancel", kCancel, 0, "Close", 0, 0},
};

const DxResControl kDimexControls[] = {
    {"list", kDimStyles, TEXT(DimStyles), 0, 0},
    {"edit", kDimFile, TEXT(DimexOutputFile), 0, 0},
    {"check", kDimFullTextInfo, TEXT(DimexFullTextInfo), 0, 0},
    {"ok", kOk, 0, "OK", 0, 0},
    {"cancel", kCancel, 0, "Cancel", 0, 0},
};

const DxResControl kDimimControls[] = {
    {"edit", kDimFile, TEXT(DimimInputFile), 0, 0},
    {"list", kDimStyles, TEXT(DimStyles), 0, 0},
    {"ok", kOk, 0, "OK", 0, 0},
    {"cancel", kCancel, 0, "Cancel", 0, 0},
};

#define CONTROLS(array) array, uint32_t(std::size(array))
const DxResDialog kDialogs[] = {
    {kTxt2mtxt, "CTxt2mtxtDialog", TEXT(Txt2mtxtDialogCaption), CONTROLS(kTxt2mtxtControls)},
    {kSuperhatch, "CSuperhatchDlg", TEXT(ShDialogCaption), CONTROLS(kSuperhatchControls)},
    {kBatchPurge, "CBatchPurgeDwgDlg", TEXT(BpCaption), CONTROLS(kBatchPurgeControls)},
    {kDimex, "CDxDimexDlg", TEXT(DimexCaption), CONTROLS(kDimexControls)},
    {kDimim, "CDxDimimDlg", TEXT(DimimCaption), CONTROLS(kDimimControls)},
};

const DxResTable kTable = {kDxResTableVersion, kStrings, uint32_t(std::size(kStrings)), kDialogs,
                           uint32_t(std::size(kDialogs))};

}  // namespace

extern "C" __attribute__((visibility("default"))) const DxResTable* dxResourceTable() { return &kTable; }
