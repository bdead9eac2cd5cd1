// Identifiers of the module's dialogs and of their controls, shared by the resource
// library that declares them and the commands that run them.
#pragma once

#include <cstdint>

namespace express::dlg {

inline constexpr uint32_t kTxt2mtxt = 3100;     // CTxt2mtxtDialog
inline constexpr uint32_t kSuperhatch = 3101;   // CSuperhatchDlg
inline constexpr uint32_t kBatchPurge = 3102;   // CBatchPurgeDwgDlg
inline constexpr uint32_t kDimex = 3103;        // CDxDimexDlg
inline constexpr uint32_t kDimim = 3104;        // CDxDimimDlg

// Standard buttons.
inline constexpr uint32_t kOk = 1;
inline constexpr uint32_t kCancel = 2;

// CTxt2mtxtDialog: one check box per "dxad.ini" key.
inline constexpr uint32_t kTxt2mtxtSelectType = 3110;
inline constexpr uint32_t kTxt2mtxtWordWrap = 3111;
inline constexpr uint32_t kTxt2mtxtMergeMText = 3112;

// CSuperhatchDlg: the pattern buttons end the dialog with their own code.
inline constexpr uint32_t kShImage = 30000;
inline constexpr uint32_t kShBlock = 30001;
inline constexpr uint32_t kShXref = 30002;
inline constexpr uint32_t kShWipeout = 30003;
inline constexpr uint32_t kShSelect = 30004;
inline constexpr uint32_t kShAccuracy = 3120;

// CBatchPurgeDwgDlg
inline constexpr uint32_t kBpFiles = 3130;
inline constexpr uint32_t kBpAddFiles = 3131;
inline constexpr uint32_t kBpAddFolder = 3132;
inline constexpr uint32_t kBpRemove = 3133;
inline constexpr uint32_t kBpFormat = 3134;
inline constexpr uint32_t kBpStart = 3135;
inline constexpr uint32_t kBpViewLog = 3136;
inline constexpr uint32_t kBpProgress = 3137;
inline constexpr uint32_t kBpPercent = 3138;
inline constexpr uint32_t kBpCheck = 3139;

// CDxDimexDlg and CDxDimimDlg
inline constexpr uint32_t kDimStyles = 3140;
inline constexpr uint32_t kDimFile = 3141;
inline constexpr uint32_t kDimFullTextInfo = 3142;

}  // namespace express::dlg
